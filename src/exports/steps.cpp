// Steps of a running test, called by the test script's programs.

#include "base/boundary.h"
#include "evaluation/drives/performance.h"
#include "evaluation/script/script.h"
#include "exports/answer.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

int SSD_OP_Test_Block_Discard_Device(int record_no, const char* lv_name, int over_provisioning) {
    if (lv_name == nullptr || over_provisioning < 0 || over_provisioning > 100)
        return parameter_error(__func__);
    return base::guarded(
        __func__, -1, [&] { return evaluation::set_ratio(record_no, lv_name, over_provisioning); });
}

int ssd_op_test_disk_write_performance_test(const unsigned* dev_ids, int count, const int* part_nos,
                                            int sequential, int background) {
    if (count < 1) return 0;
    if (dev_ids == nullptr || part_nos == nullptr) return -1;
    return base::guarded(__func__, -1, [&] {
        return evaluation::measure_writes(dev_ids, count, part_nos, sequential != 0,
                                          background != 0);
    });
}

int SSD_OP_Test_Collect_SSD_Info(int record_no, const char* device_name, int over_provisioning,
                                 int interval, const char* path) {
    if (device_name == nullptr || path == nullptr) return parameter_error(__func__);
    return base::guarded(__func__, -1, [&] {
        evaluation::collect_temperatures(record_no, device_name, over_provisioning, interval, path);
        return -1;
    });
}

int SSD_OP_Test_Record_SSD_Info(int record_no, unsigned long long time_slap, const char* path) {
    if (path == nullptr) {
        parameter_error(__func__);
        return 0;
    }
    return base::guarded(__func__, 0, [&] {
        evaluation::record_temperatures(record_no, time_slap, path);
        return 0;
    });
}

struct timespec time_diff(struct timespec start, struct timespec end) {
    return evaluation::time_between(start, end);
}
