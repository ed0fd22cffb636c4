#include <optional>
#include <string>

#include <unistd.h>

#include "base/child.h"
#include "base/command.h"
#include "base/owners.h"
#include "evaluation/drives/drive_figures.h"
#include "evaluation/drives/drive_name.h"
#include "evaluation/drives/fio_summary.h"
#include "evaluation/drives/performance.h"
#include "ssd_op.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "ssd_op_test_disk_write_performance_test";
constexpr int kMaxWaits = 30;

/// In the C locale: a decimal comma in a rate would cut the number short.
std::string fio_line(const std::string& device, bool sequential) {
    const std::string tool =
        "LC_ALL=C /sbin/fio --filename=" + base::shell_word(device) + " --direct=1 --rw=";
    const std::string kind = sequential ? "write --bs=1M" : "randwrite --bs=4k";
    return tool + kind +
           " --runtime=20 --name=test-write --ioengine=libaio --iodepth=32 --ramp_time=30";
}

/// What fio found, as the text to store; none when it failed or printed something else.
std::optional<std::string> run_fio(const std::string& device, bool sequential) {
    const base::Pipe output(::popen(fio_line(device, sequential).c_str(), "r"));
    if (!output) return std::nullopt;
    char line[256];
    while (std::fgets(line, sizeof line, output.get()) != nullptr) {
        if (is_write_summary(line)) return sequential ? write_rate(line) : write_iops(line);
    }
    return std::nullopt;
}

void set_or_trace(const DriveFigures& figures, const char* value) {
    if (figures.set_in_enclosure(value)) return;
    SM_TRACE(SM_TRACE_ERROR, "%s: set %s fail!\n", "ssd_op_test_fio_performance_test",
             figures.key());
}

DriveFigures figures_of(uint32_t dev_id, bool sequential) {
    return {dev_id, sequential ? DriveFigures::Key::kWriteSpeed : DriveFigures::Key::kWriteIops};
}

int measure(uint32_t dev_id, int part_no, bool sequential) {
    DriveFigures figures = figures_of(dev_id, sequential);
    figures.read_wwn();
    set_or_trace(figures, "testing");
    const DriveName device = partition_name(dev_id, part_no);
    if (!device) {
        set_or_trace(figures, "fail");
        figures.set_in_list("fail");
        return -1;
    }
    const auto figure = run_fio(device.text, sequential);
    if (!figure) {
        figures.set_in_enclosure("fail");
        return -1;
    }
    figures.set_in_enclosure(*figure);
    figures.set_in_list(*figure);
    return 0;
}

/// Measures in a process of its own that has no parent to wait for it. Returns what fork returned.
int measure_detached(uint32_t dev_id, int part_no, bool sequential) {
    const base::Fork between = base::fork_process();
    if (between.in_child()) {
        base::end_with(kFunction, [&] {
            if (!base::fork_process().in_child()) return;
            ::sleep(1);
            measure(dev_id, part_no, sequential);
        });
    }
    ::usleep(100000);
    // The process between ends at once, so that waiting for it leaves no zombie and costs nothing.
    base::Child(between.child()).wait();
    return between.child();
}

void wait_for_detached(const unsigned* dev_ids, int count, bool sequential) {
    const auto any_is_measured = [&] {
        for (int i = 0; i < count; ++i) {
            if (figures_of(dev_ids[i], sequential).is_being_measured()) return true;
        }
        return false;
    };
    for (int waits = 0; waits < kMaxWaits && any_is_measured(); ++waits) ::sleep(1);
}

}  // namespace

int measure_writes(const unsigned* dev_ids, int count, const int* part_nos, bool sequential,
                   bool background) {
    int result = 0;
    for (int i = 0; i < count; ++i) {
        if (figures_of(dev_ids[i], sequential).is_being_measured()) continue;
        result |= background ? measure_detached(dev_ids[i], part_nos[i], sequential)
                             : measure(dev_ids[i], part_nos[i], sequential);
    }
    ::sleep(1);
    if (background) wait_for_detached(dev_ids, count, sequential);
    return result;
}

}  // namespace ssd_op::evaluation
