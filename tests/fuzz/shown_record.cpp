// What ssd-op makes of a record whose values are not what they should be. Lines that begin with a
// digit are results (ratio, write amplification, IOPS), the others values as in database_values.

#include <sstream>

#include "fuzz/shown.h"
#include "fuzz/target.h"
#include "fuzz/world.h"
#include "model/snapshot.h"
#include "output/failure.h"
#include "page/report_data.h"
#include "view/comparison_output.h"
#include "view/recommendation_json.h"
#include "view/recommendation_output.h"
#include "view/record_output.h"

namespace {

constexpr double kEndurance = 100;  // TB

void put_results(std::string_view lines) {
    while (!lines.empty()) {
        std::istringstream line(fuzz::take_line(lines));
        int op = 0;
        double amplification = 0, iops = 0;
        if (line >> op >> amplification >> iops)
            SSD_OP_DB_Update_Test_Result(1, op, amplification, iops);
    }
}

void show_assessment(const cli::Wish& wish) {
    std::vector<cli::Assessment> same;
    for (int i = 0; i < 2; ++i) same.push_back(cli::assess(1, wish, kEndurance));
    fuzz::require_harmless(cli::recommendation_text(same.front()));
    fuzz::require_harmless_data(cli::recommendation_json(same.front()));
    fuzz::require_harmless(cli::comparison_text(same));
    fuzz::require_harmless_data(cli::comparison_json(same));
}

void show(const cli::Wish& wish) {
    const cli::Record record = cli::require_record(1);
    fuzz::require_harmless(cli::record_text(*record));
    fuzz::require_harmless(cli::progress_line(cli::take_snapshot(*record)));
    fuzz::require_harmless_data(cli::report_data({1}, wish, kEndurance));
    show_assessment(wish);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view lines = fuzz::text_of(data, size);
    fuzz::renew_database();
    put_results(lines);
    fuzz::put_values(lines);
    const auto wish = size % 2 == 0 ? cli::Wish{} : cli::Wish{20'000, 50};
    try {
        show(wish);
    } catch (const cli::Failure&) {
        // which says what is wrong with the record
    }
    return 0;
}
