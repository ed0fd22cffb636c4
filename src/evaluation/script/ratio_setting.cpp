#include <vector>

#include "base/command.h"
#include "db/record_owner.h"
#include "evaluation/drives/discard.h"
#include "evaluation/script/script.h"
#include "evaluation/state/status.h"
#include "platform/naslog.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Block_Discard_Device";
constexpr uint64_t kSectorsPerMib = 2048;

/// One step of a running test to another ratio.
class RatioStep {
  public:
    RatioStep(int record_no, const char* lv_name, int ratio)
        : record_no_(record_no), lv_name_(lv_name), ratio_(ratio) {}
    int take();

  private:
    uint64_t shrunken_size(int pool_id, uint64_t lv_size_mib) const;
    void discard_under(const POOL_MEMBER& member, const RAID_CONF& group);
    void discard_through_volume();

    int record_no_;
    const char* lv_name_;
    int ratio_;
    uint64_t sectors_ = 0;
    int result_ = 0;
    bool volume_discarded_ = false;
    /// Drives of the groups that the pool stripes over: cut at the same offset, all at once.
    std::vector<unsigned> together_;
};

int RatioStep::take() {
    const int lv_id = LV_Get_Id(lv_name_);
    if (lv_id < 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%s)] Fail to get ID by name.\n", kFunction, lv_name_);
        return -1;
    }
    const int pool_id = LV_Get_Pool_Id(lv_id);
    const db::RecordOwner record = db::load_record(record_no_);
    if (!record) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%s)] Fail to get database.\n", kFunction, lv_name_);
        return -1;
    }
    sectors_ = shrunken_size(pool_id, record->lv_size);

    const bool is_testing = visit_groups_under(pool_id, [&](const auto& member, const auto& group) {
        if (status_of(record_no_) != SSD_OP_TEST_STATUS_TESTING) return false;
        discard_under(member, group);
        return true;
    });
    if (!is_testing) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%s)] Testing is stopped.\n", kFunction, lv_name_);
        return -1;
    }
    if (!together_.empty()) {
        result_ |= ssd_op_test_block_discard_disk(
            together_.data(), static_cast<int>(together_.size()), static_cast<float>(ratio_));
    }
    return result_ | LV_Resize(lv_id, sectors_);
}

uint64_t RatioStep::shrunken_size(int pool_id, uint64_t lv_size_mib) const {
    const auto whole = static_cast<double>(lv_size_mib * kSectorsPerMib);
    auto sectors = static_cast<uint64_t>((100.0 - ratio_) * whole / 100.0);
    Pool_Calc_LV_Small_Create_Size(pool_id, &sectors);
    return sectors;
}

/// With parity a discard through the volume reaches the drives only in whole stripes, so the drives
/// themselves are discarded; otherwise it reaches them all.
void RatioStep::discard_under(const POOL_MEMBER& member, const RAID_CONF& group) {
    if (group.raid_level != 5 && group.raid_level != 6) {
        discard_through_volume();
        return;
    }
    const auto drives = members_of(group);
    if (member.striped == 0) {
        result_ |= ssd_op_test_block_discard_disk(drives.data(), static_cast<int>(drives.size()),
                                                  static_cast<float>(ratio_));
        return;
    }
    for (const uint32_t drive : drives) {
        if (together_.size() == RAID_MAX_DRIVES) {
            SM_TRACE(SM_TRACE_ERROR, "%s: More than %d drives, the rest is ignored.\n", kFunction,
                     RAID_MAX_DRIVES);
            return;
        }
        together_.push_back(drive);
    }
}

void RatioStep::discard_through_volume() {
    if (volume_discarded_) return;
    volume_discarded_ = true;
    result_ |=
        base::run("/sbin/kblkdiscard " + base::shell_word(lv_name_) + " -o " +
                  std::to_string(sectors_ / kSectorsPerMib) + " -p 512 &>/dev/null 2>>/dev/null");
}

}  // namespace

int set_ratio(int record_no, const char* lv_name, int ratio) {
    return RatioStep(record_no, lv_name, ratio).take();
}

}  // namespace ssd_op::evaluation
