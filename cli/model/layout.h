#pragma once

#include <cstddef>
#include <string>

namespace cli {

/// The RAID level of a group, as the platform codes it.
struct Layout {
    int level;
    size_t members;

    /// False for a damaged record, that has fewer members than its level takes.
    bool holds_data() const { return data_members() > 0 && data_members() <= members; }
    /// Members whose worth of data the group holds.
    size_t data_members() const;
    /// What the members do together for one small random write to the group.
    struct Operations {
        double writes;
        double reads;
    };
    Operations random_write_operations() const;
    /// "RAID 5 over 4 drives", "a single drive".
    std::string text() const;
};

/// "0", "1", "5", "6", "10" or "single".
/// @throws Failure for anything else
int parse_level(const std::string& text);

/// @throws Failure that names the rule which level and number of members break
void check_layout(const Layout& layout);

}  // namespace cli
