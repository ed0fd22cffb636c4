/// Script room: the run of the add-on's test script, what its programs call back for, and the
/// results that it leaves.
#pragma once

#include <time.h>

#include "ssd_op.h"

namespace ssd_op::evaluation {

/// Runs the script and waits for it (SSD_OP_Test_Start). Whether it ended well.
bool run_script(ssd_op_test_param& request, const ssd_op_db_record& record);

/// Reads the results from the script's report and stores them with the record
/// (SSD_OP_Test_Save_Result). Whether they were stored.
bool save_results(const ssd_op_test_param& request, ssd_op_db_record& record);

/// Sets the volume of a running test to a ratio from 0 to 100 (SSD_OP_Test_Block_Discard_Device).
int set_ratio(int record_no, const char* lv_name, int ratio);

/// SSD_OP_Test_Collect_SSD_Info.
void collect_temperatures(int record_no, const char* device_name, int over_provisioning,
                          int interval, const char* path);

/// SSD_OP_Test_Record_SSD_Info.
void record_temperatures(int record_no, unsigned long long time_slap, const char* path);

/// end - start, with tv_nsec from 0 to 999999999.
timespec time_between(timespec start, timespec end);

}  // namespace ssd_op::evaluation
