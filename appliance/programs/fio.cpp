/// fio: puts a load on a drive, a partition or a volume and prints how fast it was, in the words of
/// the generation of the tool that the appliance has.
///
///     fio --filename=/dev/sda3 --direct=1 --rw=write --bs=1M --runtime=20 --name=test-write
///         --ioengine=libaio --iodepth=32 --ramp_time=30
///
/// For a measurement of a volume by steps, which the add-on makes:
///
///     --size=S                           the area, from --offset on
///     --size=S --io_limit=A              A bytes, in random places of the area: preconditioning
///     --offset=O --size=S                the area once, in order: filling
///     --size=S --runtime=60 --time_based a round of a minute
///
/// Without --time_based the job ends when the amount (--io_limit, else the area once) is done, or
/// after --runtime, whichever is first. It takes the time that it says, on the appliance's clock.

#include <algorithm>
#include <cstdint>
#include <memory>

#include "device/device.h"
#include "device/load.h"
#include "programs/program.h"
#include "provider/fio/options.h"
#include "provider/fio/summary.h"

namespace {

using appliance::flash::Direction;
using appliance::flash::Pattern;
using provider::fio::Job;

provider::fio::Summary summary_of(const appliance::flash::Progress& progress) {
    const double milliseconds = std::max(progress.seconds * 1000, 1.0);
    return {static_cast<uint64_t>(progress.bytes),
            static_cast<uint64_t>(progress.bytes_per_second() / 1024),
            static_cast<uint64_t>(progress.iops()), static_cast<uint64_t>(milliseconds)};
}

appliance::flash::Progress carry_out(const Job& job) {
    const std::unique_ptr<appliance::Device> device = appliance::open_device(job.device);
    appliance::flash::Workload workload;
    workload.pattern = job.random ? Pattern::random : Pattern::sequential;
    workload.direction = job.read ? Direction::read : Direction::write;
    workload.block_bytes = job.block;
    workload.queue_depth = job.depth;
    workload.range.offset = job.offset;
    if (job.size > 0) workload.range.length = job.size;
    appliance::PacedLoad load(*device, workload);

    const uint64_t left = device->bytes() > job.offset ? device->bytes() - job.offset : 0;
    const uint64_t area = job.size > 0 ? std::min(job.size, left) : left;
    const uint64_t amount = job.amount > 0 ? job.amount : area;
    if (job.ramp_time > 0) load.for_seconds(job.ramp_time);
    if (job.runtime <= 0) return load.for_bytes(amount);
    if (job.time_based) return load.for_seconds(job.runtime);
    return load.for_seconds(job.runtime, amount);
}

}  // namespace

int main(int argc, char** argv) {
    return appliance::run_program("fio", argc, argv, [&] {
        const auto [job, exit_status] = provider::fio::parse(argc, argv);
        if (!job) return exit_status;
        print_start(*job);
        print_summary(*job, summary_of(carry_out(*job)));
        return 0;
    });
}
