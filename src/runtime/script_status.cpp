/// What the test script says about the OP ratio that it measures now: fields of its status file and
/// the start time in the runtime-info file.
#include <cstdlib>
#include <string>

#include "base/boundary.h"
#include "base/command.h"
#include "base/number.h"
#include "base/plain_file.h"
#include "platform/naslog.h"
#include "runtime/state_section.h"
#include "runtime/time_left.h"
#include "ssd_op.h"

namespace ssd_op::runtime {

namespace {

enum class Field { progress = 6, time_left = 7, test_amount = 49, test_value = 51 };

constexpr int kFieldSize = 64;
constexpr int64_t kLargestFile = int64_t{1} << 20;  // it is one line

base::Printed read_field(const char* function, int record_no, Field field) {
    const std::string file = "/etc/.sm_v2_ssd_op_test_" + std::to_string(record_no);
    if (!base::is_plain_or_absent(file, kLargestFile)) {
        SM_TRACE(SM_TRACE_ERROR, "%s: %s is no regular file of a status file's size.\n", function,
                 file.c_str());
        return {-1, ""};
    }
    return base::run_and_read("/bin/awk 'BEGIN{FS=\";\"} {print $" +
                                  std::to_string(static_cast<int>(field)) + "}' " + file +
                                  " 2>>/dev/null",
                              kFieldSize);
}

/// Hands the field's text to `parse` when it could be read. The command's result.
template <typename Parse>
int with_field(const char* function, int record_no, Field field, const void* target, Parse parse) {
    return base::guarded(function, -1, [&] {
        if (target == nullptr) return -1;
        const base::Printed printed = read_field(function, record_no, field);
        if (printed.result == 0) parse(printed.text.c_str());
        return printed.result;
    });
}

}  // namespace

}  // namespace ssd_op::runtime

using namespace ssd_op;
using runtime::Field;

int SSD_OP_Test_Get_Current_OP_Progress(int record_no, float* progress) {
    return runtime::with_field(
        __func__, record_no, Field::progress, progress,
        [&](const char* text) { *progress = static_cast<float>(base::double_value(text)); });
}

int SSD_OP_Test_Get_Current_OP_ETA(int record_no, unsigned long long* eta_seconds) {
    return runtime::with_field(__func__, record_no, Field::time_left, eta_seconds,
                               [&](const char* text) {
                                   if (const auto seconds = runtime::parse_time_left(text))
                                       *eta_seconds = *seconds;
                               });
}

int SSD_OP_Test_Get_Current_OP_Test_Amount(int record_no, unsigned long long* amount) {
    return runtime::with_field(
        __func__, record_no, Field::test_amount, amount,
        [&](const char* text) { *amount = std::strtoull(text, nullptr, 0); });
}

int SSD_OP_Test_Get_Current_OP_Test_Value(int record_no, long double* value) {
    return runtime::with_field(__func__, record_no, Field::test_value, value,
                               [&](const char* text) { *value = base::decimal_value(text); });
}

int SSD_OP_Test_Get_Current_OP_Start_Time(int record_no, unsigned long long* start) {
    return base::guarded(__func__, -1, [&] {
        char text[64] = {};
        const auto section = runtime::runtime_info(record_no);
        if (start == nullptr || section.read_text("current_op_start_time", text, sizeof text) != 0)
            return -1;
        *start = std::strtoull(text, nullptr, 0);
        return 0;
    });
}
