/// What tests of evaluations share: requests, records and storage without a run around them, and a
/// test script that takes no time.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/storage.h"
#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"

namespace support {

/// The groups of a request, over drives named by their position from 0.
class Groups {
  public:
    Groups() = default;
    Groups(int level, const std::vector<int>& members, const std::vector<int>& spares = {}) {
        add(level, members, spares);
    }
    Groups& add(int level, const std::vector<int>& members, const std::vector<int>& spares = {});
    /// Ids as if reserved already, from `first` upwards.
    Groups& numbered(int first);
    RAID_CONF* list() { return groups_.empty() ? nullptr : groups_.front().get(); }
    RAID_CONF& operator[](size_t index) { return *groups_.at(index); }

  private:
    std::vector<std::unique_ptr<RAID_CONF>> groups_;
};

ssd_op_test_param request(int min_op, int max_op, int interval, const std::string& title = "T");

/// A record of the groups in the database, with this status.
Record new_record(Groups& groups, int status, int stop_service = 0);
int status_of(int record_no);

/// Runs statements on the database while evaluations use it: under the lock of the library.
/// @throws SQLite::Exception when one fails
void change_database(const std::string& path, const std::string& statements);

/// Makes groups, pool and test volume as they are during a test. Returns the volume's id.
int make_storage(Groups& groups);
std::string volume_name(int lv_id);

/// Has the drives' measurements take no time, by faults that give success.
void measure_at_once(Appliance& appliance);
/// Has the runtime state name a driver that does not live.
void say_that_the_driver_is_gone(int record_no);

/// Puts a script in the place of the add-on's test-all.sh; $PREFIX is the path prefix of its files.
void plant_test_script(const std::string& body);
/// One that ends at once with results: ratio n gives 1000 + n and a half, and 2000 + n and a
/// quarter.
void plant_quick_test_script(const std::string& before_results = "");

}  // namespace support
