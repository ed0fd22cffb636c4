// Runtime state: what a running test shows to other processes.

#include "db/queries.h"
#include "db/records.h"
#include "exports/answer.h"
#include "runtime/skip_list.h"
#include "runtime/state_section.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

namespace {

int hand_out(std::optional<int> stored, int* value) {
    if (stored) *value = *stored;
    return answer(stored.has_value());
}

int get_info(int record_no, const char* key, int* value) {
    return value == nullptr ? -1 : hand_out(runtime::runtime_info(record_no).read(key), value);
}

int set_info(int record_no, const char* key, int value) {
    return answer(runtime::runtime_info(record_no).write(key, value));
}

int get_addon(int record_no, const char* key, int* value) {
    return value == nullptr ? -1 : hand_out(runtime::read_addon(record_no, key), value);
}

int set_addon(int record_no, const char* key, int value) {
    return answer(runtime::write_addon(record_no, key, value));
}

}  // namespace

/* ---- Runtime-info file ---- */

int SSD_OP_Test_Get_Step_Progress(int record_no, int* step_progress) {
    return get_info(record_no, runtime::kStepProgress, step_progress);
}

int SSD_OP_Test_Set_Step_Progress(int record_no, int step_progress) {
    return set_info(record_no, runtime::kStepProgress, step_progress);
}

int SSD_OP_Test_Get_Stop_Service_PID(int record_no, int* pid) {
    return get_info(record_no, runtime::kStopServicePid, pid);
}

int SSD_OP_Test_Set_Stop_Service_PID(int record_no, int pid) {
    return set_info(record_no, runtime::kStopServicePid, pid);
}

int SSD_OP_Test_Set_OP_Count(int record_no, int op_count) {
    return set_info(record_no, runtime::kOpCount, op_count);
}

int SSD_OP_Test_Get_Skip_OP_Event_Sent(int record_no, int* sent) {
    return get_info(record_no, "skip_op_event_sent", sent);
}

int SSD_OP_Test_Set_Skip_OP_Event_Sent(int record_no, int sent) {
    return set_info(record_no, "skip_op_event_sent", sent);
}

int SSD_OP_Test_Get_Stop_Type(int record_no, int* stop_type) {
    if (stop_type != nullptr) *stop_type = 0;
    return get_info(record_no, "stop_type", stop_type);
}

int SSD_OP_Test_Set_Stop_Type(int record_no, int stop_type) {
    return set_info(record_no, "stop_type", stop_type);
}

int SSD_OP_Test_Get_Current_OP_Percentage(int record_no, int* percentage) {
    return get_info(record_no, runtime::kCurrentRatio, percentage);
}

int SSD_OP_Test_Get_Current_OP_Total_Step(int record_no, int* steps) {
    return get_info(record_no, runtime::kTotalSteps, steps);
}

int SSD_OP_Test_Get_Current_OP_Running_Step(int record_no, int* step) {
    return get_info(record_no, runtime::kRunningStep, step);
}

int SSD_OP_Test_Get_Current_OP_Detail(int record_no, int* detail) {
    return get_info(record_no, runtime::kCurrentDetail, detail);
}

/* ---- The add-on's file ---- */

int SSD_OP_Test_Get_User_Agreement(int* agreement) {
    if (agreement == nullptr) return -1;
    const auto section = runtime::addon_global_section();
    return section ? hand_out(section->read(runtime::kUserAgreement), agreement) : -1;
}

int SSD_OP_Test_Set_User_Agreement(int agreement) {
    const auto section = runtime::addon_global_section();
    return answer(section && section->write(runtime::kUserAgreement, agreement));
}

int SSD_OP_Test_Get_Skip_OP_Count(int record_no, int* count) {
    return get_addon(record_no, runtime::kSkippedCount, count);
}

int SSD_OP_Test_Set_Skip_OP_Count(int record_no, int count) {
    return set_addon(record_no, runtime::kSkippedCount, count);
}

int SSD_OP_Test_Get_Failed_Popup(int record_no, int* shown) {
    return get_addon(record_no, "failed_popup_shown", shown);
}

int SSD_OP_Test_Set_Failed_Popup(int record_no, int shown) {
    return set_addon(record_no, "failed_popup_shown", shown);
}

int SSD_OP_Test_Get_Skip_OP_Popup(int record_no, int* shown) {
    return get_addon(record_no, "skip_op_popup_shown", shown);
}

int SSD_OP_Test_Set_Skip_OP_Popup(int record_no, int shown) {
    return set_addon(record_no, "skip_op_popup_shown", shown);
}

int SSD_OP_Test_Add_Skip_OP(int record_no, int op) {
    return answer(runtime::add_skipped(record_no, op));
}

int SSD_OP_Test_Is_Skip_OP(int record_no, int op) {
    return answer(runtime::is_skipped(record_no, op));
}

/* ---- More than one access ---- */

int SSD_OP_Test_Get_Status(int record_no, int* status) {
    if (status == nullptr) return -1;
    *status = answer(db::query_status(record_no));
    return 0;
}

int SSD_OP_Test_Set_Status(int record_no, int status) {
    const runtime::StateSection info = runtime::runtime_info(record_no);
    const bool stored = db::update_status(record_no, status);
    const bool restarted = info.write(runtime::kStepProgress, 0);
    // The copy for readers without the database; the database has the last word, so a copy that
    // cannot be written is no failure.
    info.write(runtime::kStatus, status);
    return answer(stored && restarted);
}

int SSD_OP_Test_Remove_Runtime_Info(int record_no) {
    return answer(runtime::remove_state(record_no));
}
