// Whatever fails while drives are evaluated, or while an evaluation is stopped: the record says how
// it ended, nothing keeps the drives, and the next evaluation works.

#include "support/evaluation.h"
#include "support/sweep.h"

namespace {

using namespace support;

class EvaluationSweep : public SweepTest {
  protected:
    /// Drives that are measured at once and a script that has its results ready: it is the library
    /// that is tried.
    void make_quick() {
        plant_quick_test_script();
        quicken();
    }
    void quicken() {
        appliance().healthy();
        measure_at_once(appliance());
    }

    bool has_storage() {
        return !appliance().volumes().empty() || !appliance().pools().empty() ||
               !appliance().raid_groups().empty();
    }

    std::vector<int> records() {
        std::vector<int> numbers;
        if (appliance().database().empty()) return numbers;
        for (const Row& row : appliance().sql("SELECT record_no FROM TEST_RECORD"))
            numbers.push_back(std::stoi(row[0]));
        return numbers;
    }

    void expect_closed(const Tried& tried) {
        if (tried.result > 0) {
            EXPECT_EQ(status_of(tried.result), SSD_OP_TEST_STATUS_COMPLETED);
        }
        // A driver that can neither write nor allocate any more leaves the rest to a stop.
        const bool may_leave = !tried.failed.empty() && (tried.lasting == Lasting::kFromThenOn ||
                                                         tried.fault == Fault::kPlatform);
        for (const int record_no : records()) {
            const int status = status_of(record_no);
            if (status < SSD_OP_TEST_STATUS_INITIATING || status > SSD_OP_TEST_STATUS_FINISHING)
                continue;
            EXPECT_TRUE(may_leave) << "record " << record_no << " is left at status " << status;
            EXPECT_EQ(stop_to_the_end(record_no), 0);
            EXPECT_EQ(status_of(record_no), SSD_OP_TEST_STATUS_STOPPED);
        }
        if (!has_storage()) return;
        EXPECT_TRUE(may_leave) << "it left storage";
        for (const int record_no : records()) EXPECT_EQ(stop_to_the_end(record_no), 0);
        EXPECT_FALSE(has_storage()) << "a stop cannot remove what it left";
    }

    /// As the command line does it: a record that runs is marked, and whatever is left is removed.
    static int stop_to_the_end(int record_no) {
        return NAS_SSD_OP_Test_Stop(nullptr, 0, record_no, -1, 1, SSD_OP_STOP_BY_USER) |
               SSD_OP_Test_Stop(record_no, SSD_OP_STOP_BY_USER, 1, SSD_OP_TEST_STATUS_STOPPED, 0);
    }
};

TEST_F(EvaluationSweep, Evaluation) {
    Groups groups(1, {0, 1});
    sweep({.name = "evaluation",
           .call =
               [&] {
                   ssd_op_test_param asked = request(10, 10, 1);
                   return NAS_SSD_OP_Test_Start(nullptr, 0, groups.list(), &asked);
               },
           .scene =
               [&] {
                   appliance().renew();
                   make_quick();
                   // Where it is made depends on commands, which need processes.
                   ASSERT_EQ(SSD_OP_DB_Query_Record_Count(), 0);
               },
           .check = [&](const Tried& tried) { expect_closed(tried); },
           .has_succeeded = [](int result) { return result > 0; },
           .one_in = 6,
           .memory_one_in = 200,
           .heal = [&] { quicken(); }});
}

TEST_F(EvaluationSweep, StopOfWhatAKilledDriverLeft) {
    sweep({.name = "stop",
           .call = [] { return stop_to_the_end(1); },
           .scene =
               [&] {
                   appliance().renew();
                   make_quick();
                   Groups groups(1, {0, 1});
                   groups.numbered(800);
                   make_storage(groups);
                   new_record(groups, SSD_OP_TEST_STATUS_TESTING);
                   say_that_the_driver_is_gone(1);
               },
           .check =
               [&](const Tried& tried) {
                   if (tried.result != 0) return;
                   EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_STOPPED);
                   EXPECT_FALSE(has_storage());
               },
           .one_in = 2,
           .memory_one_in = 72,
           .heal = [&] { quicken(); }});
}

}  // namespace
