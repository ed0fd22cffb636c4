// Lists of numbers: "30,40,55".

#include "runtime/skip_list.h"

#include <algorithm>
#include <cstdlib>

#include "fuzz/target.h"

using namespace ssd_op::runtime;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(fuzz::text_of(data, size));
    SkipTable table{};
    const int count = ssd_op_test_parse_int_list(text.c_str(), table);
    fuzz::require(count >= 0 && count <= SSD_OP_MAX_SKIPPED, "a list fits its table");
    fuzz::require(std::all_of(table.begin() + count, table.end(), [](int op) { return op == 0; }),
                  "what is not counted is not touched");

    const auto is_short = [](int op) { return op > -1'000'000 && op < 10'000'000; };
    if (!std::all_of(table.begin(), table.end(), is_short)) return 0;
    SkipTable again{};
    fuzz::require(ssd_op_test_parse_int_list(list_text(table, count).c_str(), again) == count &&
                      again == table,
                  "a list comes back as it was written");
    return 0;
}
