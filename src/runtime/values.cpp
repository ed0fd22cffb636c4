/// The values that are one key each: a getter and a setter for every one of them.
#include "base/boundary.h"
#include "runtime/state_section.h"
#include "ssd_op.h"

namespace ssd_op::runtime {

namespace {

using MaybeSection = std::optional<StateSection>;

/// `section` is looked for inside the guard: finding it may run out of memory too.
template <typename FindSection>
int get(base::Caller caller, FindSection find_section, const char* key, int* value) {
    return base::guarded(caller, -1, [&] {
        if (value == nullptr) return -1;
        const MaybeSection section = find_section();
        return section ? section->read(key, value) : -1;
    });
}

template <typename FindSection>
int set(base::Caller caller, FindSection find_section, const char* key, int value) {
    return base::guarded(caller, -1, [&] {
        const MaybeSection section = find_section();
        return section ? section->write(key, value) : -1;
    });
}

auto info_of(int record_no) {
    return [record_no] { return runtime_info(record_no); };
}

auto addon_of(int record_no) {
    return [record_no] { return addon_section(record_no); };
}

}  // namespace

}  // namespace ssd_op::runtime

using namespace ssd_op::runtime;

/* ---- Runtime-info file ---- */

int SSD_OP_Test_Get_Step_Progress(int record_no, int* step_progress) {
    return get(__func__, info_of(record_no), "step_progress", step_progress);
}

int SSD_OP_Test_Set_Step_Progress(int record_no, int step_progress) {
    return set(__func__, info_of(record_no), "step_progress", step_progress);
}

int SSD_OP_Test_Get_Stop_Service_PID(int record_no, int* pid) {
    return get(__func__, info_of(record_no), "stop_service_pid", pid);
}

int SSD_OP_Test_Set_Stop_Service_PID(int record_no, int pid) {
    return set(__func__, info_of(record_no), "stop_service_pid", pid);
}

int SSD_OP_Test_Set_OP_Count(int record_no, int op_count) {
    return set(__func__, info_of(record_no), "op_count", op_count);
}

int SSD_OP_Test_Get_Skip_OP_Event_Sent(int record_no, int* sent) {
    return get(__func__, info_of(record_no), "skip_op_event_sent", sent);
}

int SSD_OP_Test_Set_Skip_OP_Event_Sent(int record_no, int sent) {
    return set(__func__, info_of(record_no), "skip_op_event_sent", sent);
}

int SSD_OP_Test_Get_Stop_Type(int record_no, int* stop_type) {
    if (stop_type != nullptr) *stop_type = 0;
    return get(__func__, info_of(record_no), "stop_type", stop_type);
}

int SSD_OP_Test_Set_Stop_Type(int record_no, int stop_type) {
    return set(__func__, info_of(record_no), "stop_type", stop_type);
}

int SSD_OP_Test_Get_Current_OP_Percentage(int record_no, int* percentage) {
    return get(__func__, info_of(record_no), "current_op_percentage", percentage);
}

int SSD_OP_Test_Get_Current_OP_Total_Step(int record_no, int* steps) {
    return get(__func__, info_of(record_no), "current_op_total_step", steps);
}

int SSD_OP_Test_Get_Current_OP_Running_Step(int record_no, int* step) {
    return get(__func__, info_of(record_no), "current_op_running_step", step);
}

int SSD_OP_Test_Get_Current_OP_Detail(int record_no, int* detail) {
    return get(__func__, info_of(record_no), "current_op_detail", detail);
}

/* ---- The add-on's file ---- */

int SSD_OP_Test_Get_User_Agreement(int* agreement) {
    return get(__func__, addon_global_section, "user_agreement", agreement);
}

int SSD_OP_Test_Set_User_Agreement(int agreement) {
    return set(__func__, addon_global_section, "user_agreement", agreement);
}

int SSD_OP_Test_Get_Skip_OP_Count(int record_no, int* count) {
    return get(__func__, addon_of(record_no), "skip_op_count", count);
}

int SSD_OP_Test_Set_Skip_OP_Count(int record_no, int count) {
    return set(__func__, addon_of(record_no), "skip_op_count", count);
}

int SSD_OP_Test_Get_Failed_Popup(int record_no, int* shown) {
    return get(__func__, addon_of(record_no), "failed_popup_shown", shown);
}

int SSD_OP_Test_Set_Failed_Popup(int record_no, int shown) {
    return set(__func__, addon_of(record_no), "failed_popup_shown", shown);
}

int SSD_OP_Test_Get_Skip_OP_Popup(int record_no, int* shown) {
    return get(__func__, addon_of(record_no), "skip_op_popup_shown", shown);
}

int SSD_OP_Test_Set_Skip_OP_Popup(int record_no, int shown) {
    return set(__func__, addon_of(record_no), "skip_op_popup_shown", shown);
}
