#include "model/steadiness.h"

namespace cli {

std::optional<Steadiness> steadiness_of(const std::vector<double>& rates) {
    if (rates.size() < 5) return std::nullopt;
    return ssd_op::shared::steadiness_of(std::span<const double, 5>(rates.end() - 5, 5));
}

const char* steadiness_word(const std::optional<Steadiness>& found) {
    if (!found) return "-";
    return found->is_steady() ? "steady" : "not steady";
}

}  // namespace cli
