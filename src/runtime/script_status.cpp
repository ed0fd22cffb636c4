/// What the test script says about the OP ratio that it measures now: fields of its status file and
/// the start time in the runtime-info file.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "base/boundary.h"
#include "base/command.h"
#include "runtime/state_section.h"
#include "ssd_op.h"

namespace ssd_op::runtime {

namespace {

using Seconds = unsigned long long;

enum class Field { progress = 6, time_left = 7, test_amount = 49, test_value = 51 };

constexpr int kFieldSize = 64;

base::Printed read_field(int record_no, Field field) {
    return base::run_and_read(
        "/bin/awk 'BEGIN{FS=\";\"} {print $" + std::to_string(static_cast<int>(field)) +
            "}' /etc/.sm_v2_ssd_op_test_" + std::to_string(record_no) + " 2>>/dev/null",
        kFieldSize);
}

/// Hands the field's text to `parse` when it could be read. The command's result.
template <typename Parse>
int with_field(const char* function, int record_no, Field field, const void* target, Parse parse) {
    return base::guarded(function, -1, [&] {
        if (target == nullptr) return -1;
        const base::Printed printed = read_field(record_no, field);
        if (printed.result == 0) parse(printed.text.c_str());
        return printed.result;
    });
}

/// Nothing for what no measurement takes; there, the sum could leave the range of numbers.
std::optional<Seconds> sum_of(Seconds days, Seconds hours, Seconds minutes, Seconds seconds) {
    constexpr Seconds kMost = 1'000'000'000;
    if (days > kMost || hours > kMost || minutes > kMost || seconds > kMost) return std::nullopt;
    return days * 86400 + hours * 3600 + minutes * 60 + seconds;
}

/// "1d:2h:3m:4s", or the same from a smaller unit on.
std::optional<Seconds> parse_time_left(const char* text) {
    Seconds days = 0, hours = 0, minutes = 0, seconds = 0;
    if (std::strchr(text, '-') != nullptr) return std::nullopt;  // sscanf would wrap it around
    if (std::sscanf(text, "%llud:%lluh:%llum:%llus", &days, &hours, &minutes, &seconds) == 4)
        return sum_of(days, hours, minutes, seconds);
    if (std::sscanf(text, "%lluh:%llum:%llus", &hours, &minutes, &seconds) == 3)
        return sum_of(0, hours, minutes, seconds);
    if (std::sscanf(text, "%llum:%llus", &minutes, &seconds) == 2)
        return sum_of(0, 0, minutes, seconds);
    if (std::sscanf(text, "%llus", &seconds) == 1) return sum_of(0, 0, 0, seconds);
    return std::nullopt;
}

}  // namespace

}  // namespace ssd_op::runtime

using namespace ssd_op;
using runtime::Field;

int SSD_OP_Test_Get_Current_OP_Progress(int record_no, float* progress) {
    return runtime::with_field(
        __func__, record_no, Field::progress, progress, [&](const char* text) {
            const auto percent = static_cast<float>(std::strtod(text, nullptr));
            if (percent >= 0 && percent <= 100) *progress = percent;
        });
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
                               [&](const char* text) { *value = std::strtold(text, nullptr); });
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
