// fio's output.

#include "evaluation/drives/fio_summary.h"

#include <algorithm>

#include "fuzz/target.h"

using namespace ssd_op::evaluation;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr unsigned long long kMostBytes = 0x7FFFFFFFULL << 30;
    constexpr std::string_view kDigits = "0123456789";
    std::string_view rest = fuzz::text_of(data, size);
    while (!rest.empty()) {
        const std::string line = fuzz::take_line(rest);
        static_cast<void>(is_write_summary(line));
        if (const auto rate = write_rate(line)) {
            fuzz::require(!rate->empty() && rate->find_first_not_of(kDigits) == rate->npos &&
                              std::stoull(*rate) <= kMostBytes,
                          "a rate is a whole number in bounds");
        }
        if (const auto iops = write_iops(line)) {
            fuzz::require(
                kDigits.find(iops->at(0)) != kDigits.npos && line.find(*iops) != line.npos,
                "a rate of operations is a number of the line");
            fuzz::require(iops->find_first_of(" ,\t\r\n") == iops->npos, "and one word");
        }
    }
    return 0;
}
