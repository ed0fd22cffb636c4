#include "evaluation/drives/discard.h"

#include <algorithm>

#include <unistd.h>

#include "base/command.h"
#include "evaluation/state/process_list.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kTool = "/sbin/kblkdiscard ";
constexpr int kListSize = 4096;

/// The discards of one device. What the tool's name and the device's print may be of a device with
/// a longer name, so that is looked at before anything is made of it.
class Discards {
  public:
    explicit Discards(const DriveName& device)
        : list_(kTool + device.text, device.text),
          lines_(
              "/bin/ps --columns 128  2>>/dev/null | /bin/grep -v grep  2>>/dev/null | "
              "/bin/grep '" +
              base::inside_single_quotes(list_.program()) + "'") {}

    bool run() const {
        return base::run(lines_ + " &>/dev/null 2>>/dev/null") == 0 && !look().only_others;
    }

    void kill() const {
        const auto printed =
            base::run_and_read(lines_ + "  2>>/dev/null | /bin/awk '{print $1}' 2>>/dev/null", 16);
        if (printed.result != 0) return;
        const Look found = look();
        if (found.only_others) return;
        // The buffer may have cut a second id short; only the first is sure to be whole.
        const int pid = found.pid != 0 ? found.pid : leading_process_id(printed.text);
        if (pid > 0) base::run("/bin/kill -9 " + std::to_string(pid) + " &>/dev/null 2>>/dev/null");
    }

  private:
    Look look() const { return list_.look(lines_ + " 2>>/dev/null", kListSize); }

    ProcessList list_;
    std::string lines_;
};

bool is_being_discarded(const RequestedDrive& drive) {
    const DriveName device = discarded_device(drive);
    return device && Discards(device).run();
}

void kill_discard(const RequestedDrive& drive) {
    if (const DriveName device = discarded_device(drive)) Discards(device).kill();
}

}  // namespace

DriveName discarded_device(const RequestedDrive& drive) {
    return drive.has_partition ? partition_name(drive.dev_id) : device_name(drive.dev_id);
}

int start_discard(const DriveName& device, const DiscardOptions& options) {
    if (!device) return device.result;
    const std::string tool = kTool + base::shell_word(device.text) + " ";
    const int first = base::run(tool + options.first_block + " &>/dev/null 2>>/dev/null");
    return first | base::run(tool + options.range + " &>/dev/null 2>>/dev/null &");
}

bool discards_end(const char* function, std::span<const RequestedDrive> drives, uint64_t max_gib) {
    const auto timeout = static_cast<unsigned>(max_gib);
    SM_TRACE(SM_TRACE_INFO, "%s: max_size: %llu GB.\n", function,
             static_cast<unsigned long long>(max_gib));
    SM_TRACE(SM_TRACE_INFO, "%s: timeout: %u seconds.\n", function, timeout);

    unsigned count = 0;
    bool running = true;
    while (running && count <= timeout) {
        running = std::any_of(drives.begin(), drives.end(), is_being_discarded);
        ++count;
        ::sleep(1);
    }
    if (!running && count < timeout) return true;

    SM_TRACE(SM_TRACE_INFO,
             "%s: kblkdiscard timeout! Kill the processes! finish(%d), count(%u), timeout(%u).\n",
             function, running ? 0 : 1, count, timeout);
    std::for_each(drives.begin(), drives.end(), kill_discard);
    return false;
}

}  // namespace ssd_op::evaluation
