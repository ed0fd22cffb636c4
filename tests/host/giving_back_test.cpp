#include "storage/giving_back.h"

#include <chrono>
#include <thread>

#include "core/tool.h"
#include "loop_drive.h"
#include "refusal/content.h"
#include "storage/cleanup.h"
#include "storage/idle_drives.h"
#include "storage/record.h"
#include "storage/unique.h"

namespace host {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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
    EXPECT_THAT(told_, Contains(HasSubstr("it holds partition 3: ext4")));
    EXPECT_EQ(signatures_in(open().get()).back().type, "ext4");
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
    EXPECT_THAT(told_, Contains(HasSubstr("it holds gpt")));
}

TEST_F(GivingBack, WaitsForWhoLooksIntoADriveForAMoment) {
    take_and_lay_out();
    link("proc/4711/fd/3", "dev/nvme0n1");
    const std::jthread udev([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        std::filesystem::remove(base_ + "/proc/4711/fd/3");
    });
    EXPECT_TRUE(cleans_up()) << ::testing::PrintToString(told_);
}

TEST_F(GivingBack, IsOfDrivesThatNoArrayWasMadeOfAndNoOtherEvaluationMayHave) {
    take_and_lay_out();
    UndoList undo(roots_);
    std::vector<std::string> kept;
    const auto give_back = [&](const std::vector<std::string>& of_the_array) {
        give_drives_back(roots_, undo, of_the_array,
                         [&](const auto& serial, const auto&) { kept.push_back(serial); });
        return undo.entries().size();
    };
    std::string stat = "77 (a) S";
    for (int field = 1; field < 19; ++field) stat += " 0";
    put("state/root/etc/.sm_v2_ssd_op_runtime_info", "[Record_1]\ndriver = 77 4711\n");
    put("proc/77/stat", stat + " 4711 0\n");
    std::filesystem::create_directories(base_ + "/proc/77/fd");
    EXPECT_EQ(give_back({}), 2U);
    std::filesystem::remove_all(base_ + "/proc/77");
    undo.add(entry_of(ArrayRecord{800, 0, "u", {"S1"}, {}, {}}));
    EXPECT_EQ(give_back({}), 3U);
    undo.remove(UndoEntry::Kind::kArray, "800");
    EXPECT_EQ(give_back({}), 0U);
    EXPECT_TRUE(is_empty());
    EXPECT_THAT(kept, IsEmpty());
}

}  // namespace
}  // namespace host
