/// fio: runs the host's fio on a drive, a data partition or a volume of ours, and prints how fast
/// that was in the words that the library and the add-on read. Any other device is refused.
///
/// It takes the options that the simulated appliance's fio takes. Where SSD_OP_FIO_DETAILS in the
/// environment names a file, it gets what the line has no room for, as lines KEY,VALUE:
///
///     mean_latency_us,1234.5
///     p99_latency_us,3456.0
///     iops,5012                 once for each second

#include <cstdlib>
#include <string>

#include "measuring/fio_run.h"
#include "measuring/our_device.h"
#include "programs/program.h"
#include "provider/fio/options.h"
#include "provider/fio/summary.h"

namespace {

provider::fio::Summary summary_of(const host::FioResult& result) {
    return {result.bytes, result.bytes_per_second / 1024, result.iops, result.milliseconds};
}

host::FioResult carry_out(const provider::fio::Job& job) {
    const host::OurDevice device(host::Roots{}, job.device);
    device.check_complete();
    const auto file = device.open_for_writing();
    const char* const details = std::getenv("SSD_OP_FIO_DETAILS");
    host::FioResult result = host::run_fio(job, file.get(), details != nullptr ? details : "");
    // An array goes on without a drive that is pulled meanwhile, at another speed.
    device.check_complete();
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    return host::run_called_program("fio", [&] {
        const auto [job, exit_status] = provider::fio::parse(argc, argv);
        if (!job) return exit_status;
        print_start(*job);
        print_summary(*job, summary_of(carry_out(*job)));
        return 0;
    });
}
