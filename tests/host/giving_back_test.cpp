#include "storage/giving_back.h"

#include "core/tool.h"
#include "loop_drive.h"
#include "refusal/content.h"
#include "storage/cleanup.h"
#include "storage/unique.h"

namespace host {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

class GivingBack : public LoopDrive {
  protected:
    bool cleans_up() {
        told_.clear();
        return clean_up(roots_, "", [&](const std::string& line) { told_.push_back(line); });
    }
    bool is_empty() const {
        const auto file = open();
        return signatures_in(file.get()).empty() && !holds_data(file.get(), kBytes);
    }

    std::vector<std::string> told_;
};

TEST_F(GivingBack, SparesWhatSomebodyElseHasPutIntoThePartition) {
    take_and_lay_out();
    ASSERT_EQ(
        run_tool({"mkfs.ext4", "-q", "-E", fmt::format("offset={}", 4 * kMib), device(), "32M"})
            .status,
        0);
    EXPECT_FALSE(cleans_up());
    EXPECT_THAT(told_,
                Contains(HasSubstr("nvme0n1p3 on the drive S1 holds ext4, which is not ours")));
    EXPECT_EQ(signatures_in(open().get(), 4 * kMib, kBytes - 5 * kMib).size(), 1u);
    enroll(true);
    EXPECT_TRUE(cleans_up()) << ::testing::PrintToString(told_);
    EXPECT_TRUE(is_empty());
}

TEST_F(GivingBack, GoesOnWhereThePowerWasCutWithinATable) {
    const std::string zeros(kMib, '\0');
    // While it was taken off, by block: its copy, the old table before it, all of it. While it was
    // written: the copy alone.
    for (const std::vector<std::pair<uint64_t, uint64_t>>& gone :
         {std::vector<std::pair<uint64_t, uint64_t>>{{kBytes - kMib, kMib}},
          {{kBytes - kMib, kMib}, {0, 512}},
          {{0, 512}},
          {{0, kMib}}}) {
        take_and_lay_out();
        for (const auto& [from, bytes] : gone) write(from, zeros.substr(0, bytes));
        EXPECT_TRUE(cleans_up()) << ::testing::PrintToString(told_);
        EXPECT_TRUE(is_empty());
    }
    // The copy of a table that was never ours.
    take_and_lay_out();
    UndoList(roots_).add({UndoEntry::Kind::kPartitions, "S1", {{"guid", new_guid()}}});
    write(0, zeros);
    EXPECT_FALSE(cleans_up());
    EXPECT_THAT(told_, Contains(HasSubstr("holds gpt, which is not ours")));
}

}  // namespace
}  // namespace host
