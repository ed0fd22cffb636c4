#pragma once

#include <vector>

#include "db/record_owner.h"
#include "platform/storage.h"

namespace ssd_op::evaluation {

/// An evaluation from its new record to its end. Each phase begins only while the database still
/// has the status that the phase before it left, so that a stop by another process takes effect;
/// the closing steps are taken in any case, also when memory runs short in one of them. Nothing is
/// reported of a status that could not be stored.
class Run {
  public:
    /// All but the record's memory belongs to the caller.
    Run(const ssd_op_requester* requester, RAID_CONF* raid_list,
        const std::vector<RAID_CONF*>& groups, ssd_op_test_param& request, ssd_op_db_record& record)
        : requester_(requester),
          raid_list_(raid_list),
          groups_(groups),
          request_(request),
          record_(record) {}

    /// Makes it count as running, with this process as its driver. False when that cannot be
    /// stored.
    bool begin();

    /// Takes every phase. True when none failed and no stop came between.
    bool carry_out() noexcept;

    /// Ends a run that cannot begin.
    void give_up() noexcept;

  private:
    bool attempt(void (Run::*step)()) noexcept;
    void make_and_test();
    bool probe_drives();
    void create_storage();
    void test();
    void fail_test();
    void capture_results();
    void remove_storage();
    bool removed_at_once_or_later();
    void store_end_time();
    void upload();
    void restart_stopped_services();
    void complete() noexcept;
    bool store_final_status() noexcept;

    bool move(int from, int to) const;
    void progress_while_finishing(int percent) const;
    void report(int type, const void* detail = nullptr) const;
    void report_for_each_group(int type) const;

    const ssd_op_requester* requester_;
    RAID_CONF* raid_list_;
    const std::vector<RAID_CONF*>& groups_;
    ssd_op_test_param& request_;
    ssd_op_db_record& record_;
    bool succeeded_ = true;
    bool services_wait_ = false;  ///< for another evaluation that had them stopped
};

}  // namespace ssd_op::evaluation
