#include "measuring/measurement.h"

#include <algorithm>
#include <optional>
#include <string>

#include <fcntl.h>
#include <fmt/format.h>

#include "core/failure.h"
#include "drives/partition.h"
#include "measuring/fill.h"
#include "measuring/fio_run.h"
#include "measuring/our_device.h"
#include "refusal/stack.h"
#include "shared/descriptor.h"
#include "taking/taking.h"

namespace host {

namespace {

using provider::fio::Job;
using ssd_op::shared::Descriptor;

constexpr double kSeconds = 15;
constexpr uint64_t kReadArea = uint64_t{1} << 30;
constexpr uint64_t kMib = uint64_t{1} << 20;

/// Sequential writes as the kernel's file cache sends them, 128 KiB and a few at once. Through the
/// cache itself, a host with much memory would measure that.
Job job_of(const Measurement& measurement) {
    Job job;
    job.direct = 1;
    job.random = !measurement.sequential;
    job.read = measurement.read;
    job.depth = 32;
    job.runtime = kSeconds;
    job.time_based = true;
    if (measurement.sequential) job.block = measurement.read ? kMib : kMib / 8;
    if (measurement.sequential && !measurement.read) job.depth = 4;
    return job;
}

uint64_t figure_of(const Measurement& measurement, const FioResult& result) {
    if (!measurement.sequential) return result.iops;
    return measurement.read ? result.bytes_per_second / 1024 : result.bytes_per_second;
}

bool is_in_use(const Roots& roots, const Drive& drive) {
    const auto family = family_of(drive);
    return std::any_of(family.begin(), family.end(),
                       [&](const Member& member) { return !holders_of(roots, member).empty(); });
}

/// What an array has cannot be held; it is only read.
Descriptor open_for_reading(const Roots& roots, const Drive& drive) {
    const UndoList undo(roots);
    enrolment_of(roots, drive);
    if (!is_taken(undo, drive))
        throw Failure("The drive " + drive.identity.serial + " is in use by somebody else.",
                      "Nothing was written to it.");
    const std::string device = drive.device(roots);
    Descriptor file(::open(device.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    if (!file) throw Failure("The drive " + drive.identity.serial + " cannot be read.", "");
    check_same(roots, drive);
    if (block_device_at(fmt::format("/proc/self/fd/{}", file.get())) != drive.number)
        fail_changed(drive);
    return file;
}

uint64_t measure_reads(const Roots& roots, const Drive& drive, const Measurement& measurement) {
    Job job = job_of(measurement);
    job.size = std::min(kReadArea, drive.bytes / kMib * kMib);
    if (is_in_use(roots, drive)) {
        const Descriptor file = open_for_reading(roots, drive);
        return figure_of(measurement, run_fio(job, file.get(), ""));
    }
    const OurDevice device(roots, drive.device(roots));
    const Descriptor file = device.open_for_writing();
    write_what_is_empty(file.get(), job.size);
    return figure_of(measurement, run_fio(job, file.get(), ""));
}

uint64_t measure_writes(const Roots& roots, const Drive& drive, const Measurement& measurement) {
    std::string device = drive.device(roots);
    if (measurement.part_no != 0) {
        const auto partition = partition_of(drive, measurement.part_no);
        if (!partition) {
            throw Failure(fmt::format("The drive {} has no partition {}.", drive.identity.serial,
                                      measurement.part_no),
                          "Nothing was written to it.");
        }
        device = partition->device(roots);
    }
    const OurDevice ours(roots, device);
    const Descriptor file = ours.open_for_writing();
    return figure_of(measurement, run_fio(job_of(measurement), file.get(), ""));
}

}  // namespace

uint64_t measure(const Roots& roots, const Drive& drive, const Measurement& measurement) {
    return measurement.read ? measure_reads(roots, drive, measurement)
                            : measure_writes(roots, drive, measurement);
}

}  // namespace host
