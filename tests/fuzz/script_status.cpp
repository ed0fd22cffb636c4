// The test script's status file.

#include <cmath>

#include "fuzz/target.h"
#include "fuzz/world.h"
#include "platform/ini.h"
#include "support/files.h"
#include "support/records.h"
#include "support/state.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const support::Record record = [] {
        fuzz::renew_database();
        for (const char* key : {"current_op_detail", "current_op_percentage"})
            Ini_Conf_Set_Field(support::kRuntimeInfo, "Record_1", key, "10");
        return support::read_record(1);
    }();
    support::write_file("/etc/.sm_v2_ssd_op_test_1", std::string(fuzz::text_of(data, size)));

    float progress = 0;
    unsigned long long seconds = 0;
    unsigned long long amount = 0;
    long double value = 0;
    // A line end or a NUL may cut a field; no file makes awk fail.
    fuzz::require(SSD_OP_Test_Get_Current_OP_Progress(1, &progress) == 0 &&
                      SSD_OP_Test_Get_Current_OP_ETA(1, &seconds) == 0 &&
                      SSD_OP_Test_Get_Current_OP_Test_Amount(1, &amount) == 0 &&
                      SSD_OP_Test_Get_Current_OP_Test_Value(1, &value) == 0,
                  "each field can be read");
    fuzz::require(SSD_OP_Test_Get_Progress(1, record.get(), &progress) == 0 &&
                      SSD_OP_Test_Get_Remain_Time(1, record.get(), &seconds) == 0,
                  "and what is computed of them");
    fuzz::require(!std::isnan(progress), "progress is a number");
    return 0;
}
