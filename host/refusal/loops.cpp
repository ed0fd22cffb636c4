#include "refusal/loops.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/text.h"
#include "shared/descriptor.h"

namespace host {

std::optional<DeviceNumber> behind_loop(const Roots& roots, const std::string& name) {
    const std::string directory = roots.sys + "/block/" + name;
    if (::access((directory + "/loop").c_str(), F_OK) != 0) return std::nullopt;
    const std::string device = roots.dev + "/" + name;
    const ssd_op::shared::Descriptor file(
        ::open(device.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    const auto number = device_number_in(directory);
    if (file && number && is_device(file.get(), *number)) {
        loop_info64 info{};
        if (::ioctl(file.get(), LOOP_GET_STATUS64, &info) == 0)
            return device_number_of(info.lo_rdevice != 0 ? info.lo_rdevice : info.lo_device);
        if (errno == ENXIO) return std::nullopt;  // it was detached since
    }
    throw Failure("What the loop device " + printable(name) + " shows cannot be told.",
                  "Detach it with losetup -d " + printable(device) + ", or run this as root.");
}

}  // namespace host
