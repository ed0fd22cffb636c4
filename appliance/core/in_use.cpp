#include "core/in_use.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace appliance {

namespace {

int open_mark(const std::string& device) {
    const std::filesystem::path directory = "/var/lib/appliance/in_use";
    std::filesystem::create_directories(directory);
    std::string name = device;
    std::replace(name.begin(), name.end(), '/', '_');
    const int descriptor = ::open((directory / name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), name);
    return descriptor;
}

}  // namespace

InUse::InUse(const std::string& device) : descriptor_(open_mark(device)) {
    ::flock(descriptor_, LOCK_SH);
}

InUse::~InUse() { ::close(descriptor_); }

bool is_in_use(const std::string& device) {
    const int descriptor = open_mark(device);
    const bool taken = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    ::close(descriptor);
    return taken;
}

}  // namespace appliance
