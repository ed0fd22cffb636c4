// The two ini files of the runtime state, which the test script and a user's hand write, too.

#include "evaluation/state/driver_presence.h"
#include "fuzz/target.h"
#include "fuzz/world.h"
#include "support/files.h"
#include "support/records.h"
#include "support/state.h"

namespace {

void read_everything(ssd_op_db_record* record) {
    int value = 0;
    for (const auto get :
         {SSD_OP_Test_Get_Step_Progress, SSD_OP_Test_Get_Stop_Service_PID,
          SSD_OP_Test_Get_Stop_Type, SSD_OP_Test_Get_Skip_OP_Event_Sent,
          SSD_OP_Test_Get_Current_OP_Percentage, SSD_OP_Test_Get_Current_OP_Total_Step,
          SSD_OP_Test_Get_Current_OP_Running_Step, SSD_OP_Test_Get_Current_OP_Detail,
          SSD_OP_Test_Get_Skip_OP_Count, SSD_OP_Test_Get_Failed_Popup,
          SSD_OP_Test_Get_Skip_OP_Popup}) {
        const int result = get(1, &value);
        fuzz::require(result == 0 || result == -1, "a value is there or not");
    }
    SSD_OP_Test_Get_User_Agreement(&value);
    SSD_OP_Test_Get_Total_Test_Count(1, record, &value);
    SSD_OP_Test_Get_Complete_Test_Count(1, record, &value);
    unsigned long long seconds = 0;
    SSD_OP_Test_Get_Current_OP_Start_Time(1, &seconds);
    SSD_OP_Test_Get_Remain_Time(1, record, &seconds);
    ssd_op::evaluation::driver_of(1);
}

void write_and_read(int ratio) {
    if (SSD_OP_Test_Set_Step_Progress(1, ratio) == 0) {
        int read = 0;
        fuzz::require(SSD_OP_Test_Get_Step_Progress(1, &read) == 0 && read == ratio,
                      "a value comes back as it was written");
    }
    if (SSD_OP_Test_Add_Skip_OP(1, ratio) == 0)
        fuzz::require(SSD_OP_Test_Is_Skip_OP(1, ratio) == 1,
                      "a ratio is skipped once it was added");
    fuzz::require(SSD_OP_Test_Remove_Runtime_Info(1) == 0, "both sections can be removed");
    fuzz::require(SSD_OP_Test_Is_Skip_OP(1, ratio) == 0, "and no ratio is skipped any more");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const support::Record record = [] {
        fuzz::renew_database();
        return support::read_record(1);
    }();
    const std::string text(fuzz::text_of(data, size));
    support::write_file(support::kRuntimeInfo, text);
    support::write_file(support::addon_conf(), text);
    read_everything(record.get());
    write_and_read(size == 0 ? 0 : data[0] % 101);
    return 0;
}
