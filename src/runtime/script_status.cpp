#include "runtime/script_status.h"

#include <cstdlib>
#include <string>

#include "base/command.h"
#include "base/number.h"
#include "base/plain_file.h"
#include "platform/naslog.h"
#include "runtime/state_section.h"
#include "runtime/time_left.h"

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
int with_field(const char* function, int record_no, Field field, Parse parse) {
    const base::Printed printed = read_field(function, record_no, field);
    if (printed.result == 0) parse(printed.text.c_str());
    return printed.result;
}

}  // namespace

int read_ratio_progress(int record_no, float& progress) {
    return with_field(
        "SSD_OP_Test_Get_Current_OP_Progress", record_no, Field::progress,
        [&](const char* text) { progress = static_cast<float>(base::double_value(text)); });
}

int read_time_left(int record_no, unsigned long long& seconds) {
    return with_field("SSD_OP_Test_Get_Current_OP_ETA", record_no, Field::time_left,
                      [&](const char* text) { seconds = parse_time_left(text).value_or(seconds); });
}

int read_test_amount(int record_no, unsigned long long& amount) {
    return with_field("SSD_OP_Test_Get_Current_OP_Test_Amount", record_no, Field::test_amount,
                      [&](const char* text) { amount = std::strtoull(text, nullptr, 0); });
}

int read_test_value(int record_no, long double& value) {
    return with_field("SSD_OP_Test_Get_Current_OP_Test_Value", record_no, Field::test_value,
                      [&](const char* text) { value = base::decimal_value(text); });
}

std::optional<unsigned long long> read_start_time(int record_no) {
    const auto text = runtime_info(record_no).read_text(kCurrentStart);
    if (!text) return std::nullopt;
    return std::strtoull(text->c_str(), nullptr, 0);
}

}  // namespace ssd_op::runtime
