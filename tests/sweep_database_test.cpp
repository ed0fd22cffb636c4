// Whatever fails while the database is changed or reported from: a change is made as a whole or not
// at all, and says which.

#include <set>

#include "support/records.h"
#include "support/sweep.h"

namespace {

using namespace support;
using appliance::drive_id;

class DatabaseSweep : public SweepTest {
  protected:
    /// What a call that failed may have changed all the same.
    enum class Partly {
        kNothing,
        kKnownDrives,  ///< drives stay known that it has met on its way
        kSteps         ///< it stops at one of its steps
    };

    /// Every table with every row, as one text.
    std::string content(bool with_known_drives = true) {
        if (appliance().database().empty()) return {};
        std::string all;
        for (const Row& table : appliance().sql(
                 "SELECT name, sql FROM sqlite_master WHERE type='table' ORDER BY name"))
            if (with_known_drives || table[0] != "SSD_DEV")
                all += table[1] + '\n' + rows_of(table[0]);
        return all;
    }

    /// The database has what it had before, or what a call or two leave when nothing fails, or what
    /// one that failed may have changed. A call that says that all went well has made its change,
    /// and so has the one that follows.
    void sweep_change(SweptCall swept, Partly partly = Partly::kNothing) {
        const SavedFiles scene = SavedFiles::now();
        const bool with_drives = partly != Partly::kKnownDrives;
        const std::string before = content(with_drives);
        std::set<std::string> changed;
        std::string all_drives;
        bool is_learning = true;
        swept.scene = [&] { scene.restore(); };
        // A platform that does not tell of the volume sends the database to its other place.
        swept.faults.erase(Fault::kPlatform);
        swept.faults.erase(Fault::kProcess);
        swept.check = [&](const Tried& tried) {
            const std::string now = content();
            if (is_learning) {
                changed.insert(now);
                all_drives = rows_of("SSD_DEV");
                is_learning = ++learned_ < 2;
                return;
            }
            const bool has_failed = !swept.has_succeeded(tried.result);
            EXPECT_TRUE(changed.contains(now) || (has_failed && content(with_drives) == before) ||
                        (partly == Partly::kSteps && !tried.failed.empty()))
                << "result " << tried.result << '\n'
                << now;
            EXPECT_TRUE(with_drives || all_drives.starts_with(rows_of("SSD_DEV"))) << now;
        };
        learned_ = 0;
        sweep(swept);
    }

    /// A record with all that can belong to one.
    void store_whole_record(const std::string& title) {
        const int record_no = store_record(title, {drive_id(0), drive_id(1)});
        ASSERT_GT(record_no, 0);
        const Record record = read_record(record_no);
        record->count = 2;
        for (int i = 0; i < 2; ++i) {
            record->percentage[i] = 10 + 10 * i;
            record->result_1[i] = record->result_2[i] = 1000 + i;
        }
        ASSERT_EQ(SSD_OP_DB_Update_Test_Data(record.get()), 0);
        write_file(kReport, "1000, 20000, 1, 0, 80\n2000, 20001, 1, 0, 90\n");
        write_file(kSamples, "1000, 65537, 1, 30\n1000, 65538, 2, 31\n2000, 65537, 1, 32\n");
        ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record_no, 10, kReport, 0), 0);
        ASSERT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(record_no, 10, kSamples), 0);
    }

    static constexpr const char* kReport = "/tmp/swept_report.csv";
    static constexpr const char* kSamples = "/tmp/swept_samples.csv";

  private:
    std::string rows_of(const std::string& table) {
        std::string rows;
        for (const Row& row : appliance().sql("SELECT * FROM \"" + table + "\" ORDER BY rowid")) {
            for (const std::string& value : row) rows += value + '|';
            rows += '\n';
        }
        return rows;
    }

    int learned_ = 0;
};

TEST_F(DatabaseSweep, Creation) {
    sweep_change({.name = "creation of the database",
                  .call = [] { return SSD_OP_DB_Query_Record_Count(); }});
    ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
    sweep_change({.name = "creation of a record",
                  .call =
                      [] {
                          const Record record = record_of(
                              "it's new", {{800, 5, {drive_id(0), drive_id(1), drive_id(2)}},
                                           {801, 1, {drive_id(3)}}});
                          return SSD_OP_DB_New_Record(record.get());
                      }},
                 Partly::kKnownDrives);
}

TEST_F(DatabaseSweep, Deletion) {
    store_whole_record("first");
    store_whole_record("second");
    sweep_change(
        {.name = "deletion of all records", .call = [] { return SSD_OP_DB_Delete_Record(-1); }});
}

TEST_F(DatabaseSweep, DeletionOfOne) {
    for (const char* title : {"a", "b", "c"}) store_whole_record(title);
    sweep_change({.name = "deletion of the newest record", .call = [] {
                      const int newest = SSD_OP_DB_Get_Newest_Record();
                      return newest > 0 ? SSD_OP_DB_Delete_Record(newest) : -1;
                  }});
}

TEST_F(DatabaseSweep, Limit) {
    for (const char* title : {"a", "b", "c"}) store_whole_record(title);
    sweep_change({.name = "lower limit of records",
                  .call = [] { return SSD_OP_DB_Update_Max_Record_Limit(2); }});
}

TEST_F(DatabaseSweep, Imports) {
    store_whole_record("imported");
    sweep_change({.name = "import of results", .call = [] {
                      const Record record = empty_record();
                      record->count = 3;
                      for (int i = 0; i < 3; ++i) {
                          record->percentage[i] = 20 + 10 * i;
                          record->result_2[i] = 7 + i;
                      }
                      record->record_no = 1;
                      return SSD_OP_DB_Update_Test_Data(record.get());
                  }});
    sweep_change({.name = "import of a runtime report",
                  .call = [] { return SSD_OP_DB_Update_Runtime_Report(1, 20, kReport, 0); }});
    // A ratio's samples of before go first.
    sweep_change({.name = "import of temperatures",
                  .call = [] { return SSD_OP_DB_Update_SSD_Runtime_Data(1, 10, kSamples); }},
                 Partly::kSteps);
}

TEST_F(DatabaseSweep, VersionSteps) {
    store_whole_record("old");
    ASSERT_EQ(SSD_OP_DB_Version_Downgrade(2), 0);
    sweep_change(
        {.name = "upgrade from version 2", .call = [] { return SSD_OP_DB_Version_Upgrade(); }},
        Partly::kSteps);
}

TEST_F(DatabaseSweep, Reports) {
    store_whole_record("reported");
    sweep_change({.name = "report as CSV", .call = [] {
                      char path[256] = "";
                      return SSD_OP_Test_Export_CSV(1, path, sizeof path);
                  }});
    sweep_change({.name = "report as XLSX", .call = [] {
                      char path[256] = "";
                      return SSD_OP_Test_Export_XLSX(1, path, sizeof path);
                  }});
}

}  // namespace
