// What ssd-op tells of a running evaluation, by what the test script writes: a line for its status
// file, and the rest for both ini files of the runtime state.

#include "model/snapshot.h"

#include "fuzz/shown.h"
#include "fuzz/target.h"
#include "fuzz/world.h"
#include "support/files.h"
#include "support/records.h"
#include "support/state.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const support::Record record = [] {
        fuzz::renew_database();
        support::Record running = support::read_record(1);
        running->lv_size = running->test_size = 60'000;
        return running;
    }();
    std::string_view rest = fuzz::text_of(data, size);
    support::write_file("/etc/.sm_v2_ssd_op_test_1", fuzz::take_line(rest));
    support::write_file(support::kRuntimeInfo, std::string(rest));
    support::write_file(support::addon_conf(), std::string(rest));

    const cli::Snapshot snapshot = cli::take_snapshot(*record);
    constexpr unsigned long long kTenYears = 3650ULL * 86400;
    fuzz::require(snapshot.percent >= 0 && snapshot.percent < 100, "it is not over");
    fuzz::require(snapshot.remaining_seconds.value_or(0) <= kTenYears, "nor does it take for ever");
    fuzz::require(snapshot.iops.value_or(1) > 0, "an IOPS is one");
    fuzz::require(snapshot.step >= 0 && snapshot.step <= std::max(snapshot.step_count, 0),
                  "a step is one of the ratio's");
    fuzz::require(snapshot.ratio_no >= 0 && snapshot.ratio_no <= snapshot.ratio_count,
                  "a ratio is one of the record's");
    fuzz::require_harmless(cli::progress_line(snapshot));
    fuzz::require_harmless_data(cli::snapshot_json(snapshot));
    return 0;
}
