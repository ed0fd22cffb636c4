#include <algorithm>
#include <cstdio>
#include <vector>

#include <time.h>
#include <unistd.h>

#include "base/owners.h"
#include "base/plain_file.h"
#include "db/record_owner.h"
#include "evaluation/drives/groups.h"
#include "evaluation/script/script.h"
#include "evaluation/state/status.h"
#include "platform/hal.h"
#include "platform/naslog.h"
#include "platform/storage.h"
#include "shared/drive_id.h"
#include "shared/ranges.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kCollect = "SSD_OP_Test_Collect_SSD_Info";
constexpr const char* kRecord = "SSD_OP_Test_Record_SSD_Info";

/// A drive to sample, with its selection number in the database.
struct SampledDrive {
    uint32_t dev_id;
    int select_no;
};

/// The drives of a test; at most RAID_MAX_DRIVES, more are left out with one message.
class DriveTable {
  public:
    explicit DriveTable(const char* function) : function_(function) {}

    void add(int record_no, int raid_id, uint32_t dev_id) {
        if (drives_.size() == RAID_MAX_DRIVES) {
            if (!full_) {
                SM_TRACE(SM_TRACE_ERROR, "%s: More than %d drives, the rest is ignored.\n",
                         function_, RAID_MAX_DRIVES);
            }
            full_ = true;
            return;
        }
        const int id = static_cast<int>(dev_id);
        drives_.push_back({dev_id, db::query_select_no(record_no, raid_id, id).value_or(-1)});
    }
    const std::vector<SampledDrive>& drives() const { return drives_; }

  private:
    const char* function_;
    std::vector<SampledDrive> drives_;
    bool full_ = false;
};

/// In degrees; the drive's byte is signed. 0 when the drive does not tell.
int temperature_of(uint32_t dev_id) {
    const auto [enclosure, port] = shared::slot_of(dev_id);
    PD_SMART_INFO* info = nullptr;
    const int result = PD_SMART_Read_Info(enclosure, port, &info);
    const base::HeapBlock<PD_SMART_INFO> owner(info);
    if (result != 0 || info == nullptr) return 0;
    return static_cast<int8_t>(PD_SMART_Get_Temperature(info));
}

std::vector<int> temperatures_of(const std::vector<SampledDrive>& drives) {
    std::vector<int> temperatures;
    temperatures.reserve(drives.size());
    for (const SampledDrive& drive : drives) temperatures.push_back(temperature_of(drive.dev_id));
    return temperatures;
}

/// Appends one line for each drive; the sample is lost when the file cannot be opened.
void append_sample(const char* path, const std::vector<SampledDrive>& drives,
                   const std::vector<int>& temperatures, unsigned long long time_stamp) {
    const base::File file = base::append_to_plain_file(path);
    if (!file) return;
    for (size_t i = 0; i < drives.size(); ++i) {
        std::fprintf(file.get(), "%llu, %d, %d, %d\n", time_stamp,
                     static_cast<int>(drives[i].dev_id), drives[i].select_no, temperatures[i]);
    }
}

timespec monotonic_now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

unsigned long long milliseconds_since(timespec start) {
    const timespec elapsed = time_between(start, monotonic_now());
    return static_cast<unsigned long long>(static_cast<double>(elapsed.tv_sec) * 1000 +
                                           static_cast<double>(elapsed.tv_nsec) / 1000000.0);
}

DriveTable drives_under_volume(int lv_id, int record_no) {
    DriveTable table(kCollect);
    visit_groups_under(LV_Get_Pool_Id(lv_id), [&](const auto& member, const auto& group) {
        for (const uint32_t id : members_of(group)) table.add(record_no, member.raid_id, id);
        return true;
    });
    return table;
}

}  // namespace

void collect_temperatures(int record_no, const char* device_name, int over_provisioning,
                          int interval, const char* path) {
    SM_TRACE(SM_TRACE_INFO,
             "%s got called. record_no(%d), device_name(%s), over_provisioning(%d), interval(%d), "
             "path(%s).\n",
             kCollect, record_no, device_name, over_provisioning, interval, path);
    const int lv_id = LV_Get_Id(device_name);
    if (lv_id < 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: [LV(%s)] Fail to get ID by name.\n", kCollect, device_name);
        return;
    }
    const DriveTable table = drives_under_volume(lv_id, record_no);
    const auto pause = static_cast<unsigned>(std::max(interval, 1));
    ::unlink(path);
    const timespec start = monotonic_now();
    ::sleep(pause);
    while (status_of(record_no) == SSD_OP_TEST_STATUS_TESTING) {
        const std::vector<int> temperatures = temperatures_of(table.drives());
        append_sample(path, table.drives(), temperatures, milliseconds_since(start));
        ::sleep(pause);
    }
    SM_TRACE(SM_TRACE_ERROR, "%s: [Device(%s)] Testing is stopped.\n", kCollect, device_name);
}

void record_temperatures(int record_no, unsigned long long time_slap, const char* path) {
    SM_TRACE(SM_TRACE_INFO, "%s got called. record_no(%d), time_slap(%llu), path(%s).\n", kRecord,
             record_no, time_slap, path);
    const db::RecordOwner record = db::load_record(record_no);
    if (!record) return;
    DriveTable table(kRecord);
    for (const auto& group : shared::groups(*record)) {
        for (const auto& drive : shared::drives(group))
            table.add(record_no, group.raid_id, drive.dev_id);
    }
    if (table.drives().empty()) return;
    append_sample(path, table.drives(), temperatures_of(table.drives()), time_slap);
}

timespec time_between(timespec start, timespec end) {
    timespec difference{};
    difference.tv_sec = end.tv_sec - start.tv_sec;
    difference.tv_nsec = end.tv_nsec - start.tv_nsec;
    if (difference.tv_nsec < 0) {
        difference.tv_sec -= 1;
        difference.tv_nsec += 1000000000;
    }
    return difference;
}

}  // namespace ssd_op::evaluation
