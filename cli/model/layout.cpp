#include "model/layout.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "output/failure.h"
#include "output/text.h"
#include "ssd_op.h"

namespace cli {

namespace {

/// What the library takes for a number of members.
struct Rule {
    std::vector<int> levels;
    std::string_view who;
    std::string_view may_be;
};

Rule rule_for(size_t members) {
    switch (members) {
        case 1:
            return {{1}, "One drive", "a single drive: --raid single"};
        case 2:
            return {{0, 1}, "Two drives", "RAID 0 or 1"};
        case 3:
            return {{0, 5}, "Three drives", "RAID 0 or 5"};
        default:
            break;
    }
    if (members % 2 == 1)
        return {{0, 5, 6}, "An odd number of drives from five up", "RAID 0, 5 or 6"};
    return {{0, 5, 6, 10}, "An even number of drives from four up", "RAID 0, 5, 6 or 10"};
}

}  // namespace

size_t Layout::data_members() const {
    switch (level) {
        case 1:
            return 1;
        case 5:
            return members - 1;
        case 6:
            return members - 2;
        case 10:
            return members / 2;
        default:
            return members;
    }
}

Layout::Operations Layout::random_write_operations() const {
    // Parities come from what changes, or from the rest of the stripe where that is less to read.
    const auto parity = [this](double parities) {
        const double rest = static_cast<double>(members) - parities - 1;
        return Operations{1 + parities, std::min(1 + parities, rest)};
    };
    switch (level) {
        case 1:
            return {static_cast<double>(members), 0};
        case 10:
            return {2, 0};
        case 5:
            return parity(1);
        case 6:
            return parity(2);
        default:
            return {1, 0};
    }
}

std::string Layout::text() const {
    if (members == 1) return "a single drive";
    return fmt::format("RAID {} over {}", level, count_text(members, "drive"));
}

int parse_level(const std::string& text) {
    if (text == "single") return 1;
    for (const int level : {0, 1, 5, 6, 10}) {
        if (text == std::to_string(level)) return level;
    }
    throw Failure(kRefused, fmt::format("There is no RAID level \"{}\" here.", printable(text)),
                  "Levels: 0, 1, 5, 6, 10 and single.");
}

void check_layout(const Layout& layout) {
    if (layout.members == 0)
        throw Failure(kRefused, "No drives are named.", "Name them: --drives sda,sdb");
    if (layout.members > SSD_OP_MAX_DRIVES) {
        throw Failure(kRefused, fmt::format("A RAID group has at most {} drives, these are {}.",
                                            SSD_OP_MAX_DRIVES, layout.members));
    }
    const Rule rule = rule_for(layout.members);
    if (std::find(rule.levels.begin(), rule.levels.end(), layout.level) == rule.levels.end()) {
        throw Failure(kRefused,
                      fmt::format("RAID {} does not go with {}.", layout.level,
                                  count_text(layout.members, "drive")),
                      fmt::format("{} can be {}.", rule.who, rule.may_be));
    }
}

}  // namespace cli
