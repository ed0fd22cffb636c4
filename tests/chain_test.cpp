// The proof that the whole chain works: rates rise with over-provisioning because the drives got
// their blocks back, and for no other reason.

#include <gmock/gmock.h>

#include "support/appliance.h"
#include "support/evaluation.h"

namespace {

using namespace support;

class Chain : public ApplianceTest {
  protected:
    /// Steady-state IOPS at 0, 10 and 20 percent.
    std::vector<long double> measure() {
        ssd_op_test_param param = request(0, 20, 10);
        Groups groups(5, {0, 1, 2});
        const int record_no = NAS_SSD_OP_Test_Start(nullptr, 0, groups.list(), &param);
        EXPECT_EQ(status_of(1), SSD_OP_TEST_STATUS_COMPLETED) << appliance().journal();
        if (record_no < 1) return {};
        const Record record = read_record(record_no);
        return {record->result_2, record->result_2 + record->count};
    }
};

TEST_F(Chain, DiscardedBlocksMakeTheDrivesFaster) {
    const auto with_discards = measure();
    ASSERT_EQ(with_discards.size(), 3U);
    EXPECT_GT(with_discards[0], 0);
    EXPECT_GT(with_discards[1], with_discards[0] * 1.1L);
    EXPECT_GT(with_discards[2], with_discards[1] * 1.1L);

    appliance().renew();
    appliance().failing("kblkdiscard", 0);  // says that all went well, and does nothing
    const auto without = measure();
    ASSERT_EQ(without.size(), 3U);
    EXPECT_LT(without[1], without[0] * 1.05L);
    EXPECT_LT(without[2], without[0] * 1.05L);
}

}  // namespace
