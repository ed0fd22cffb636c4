#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "base/command.h"
#include "base/number.h"
#include "base/plain_file.h"
#include "base/text.h"
#include "evaluation/script/script.h"
#include "evaluation/script/script_files.h"
#include "history/history.h"
#include "platform/naslog.h"
#include "shared/ratios.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "SSD_OP_Test_Save_Result";
constexpr int64_t kLargestReport = int64_t{64} << 20;

void fill_ratios(const ssd_op_test_param& request, ssd_op_db_record& record) {
    const int64_t count = shared::ratio_count(request.min_op, request.max_op, request.interval);
    if (count > SSD_OP_MAX_RATIOS) {
        SM_TRACE(SM_TRACE_ERROR, "%s: More than %d OP ratios, the rest is ignored.\n", kFunction,
                 SSD_OP_MAX_RATIOS);
    }
    record.count = static_cast<int>(std::clamp<int64_t>(count, 0, SSD_OP_MAX_RATIOS));
    int64_t ratio = request.min_op;
    for (int i = 0; i < record.count; ++i, ratio += request.interval)
        record.percentage[i] = static_cast<int>(ratio);
}

/// A column of the report's summary line of a ratio; none when there is no such line or number.
std::optional<long double> read_result(const std::string& report, int ratio, char column) {
    const auto printed =
        base::run_and_read("/bin/grep OP_" + std::to_string(ratio) + "% " +
                               base::shell_word(report) + " 2>>/dev/null | /bin/awk '{print $" +
                               column + "}' 2>>/dev/null | /bin/sed s/,// 2>>/dev/null",
                           64);
    if (printed.result != 0) return std::nullopt;
    char* end = nullptr;
    const long double value = base::decimal_value(printed.text.c_str(), &end);
    if (end == printed.text.c_str() || !std::isfinite(value)) return std::nullopt;
    return value;
}

/// The report of a run with this prefix, when there is something that may be read. Without a prefix
/// the script never ran, and a report of that name is somebody else's.
std::optional<std::string> report_of(const std::string& prefix) {
    if (prefix.empty()) return std::nullopt;
    std::string report = prefix + "report.csv";
    if (base::is_plain_or_absent(report, kLargestReport)) return report;
    SM_TRACE(SM_TRACE_ERROR, "%s: %s is no regular file of a report's size.\n", kFunction,
             report.c_str());
    return std::nullopt;
}

void fill_result(const char* name, int index, const std::optional<std::string>& report, int ratio,
                 char column, long double& result) {
    if (report) result = read_result(*report, ratio, column).value_or(result);
    SM_TRACE(SM_TRACE_INFO, "%s: ssd_op_db_recordP->%s[%d]: %s.\n", kFunction, name, index,
             base::decimal_text(result).c_str());
}

void fill_results(const std::optional<std::string>& report, ssd_op_db_record& record) {
    for (int i = 0; i < record.count; ++i) {
        const int ratio = record.percentage[i];
        SM_TRACE(SM_TRACE_INFO, "%s: ssd_op_db_recordP->percentage[%d]: %d.\n", kFunction, i,
                 ratio);
        fill_result("result_1", i, report, ratio, '2', record.result_1[i]);
        fill_result("result_2", i, report, ratio, '3', record.result_2[i]);
    }
}

}  // namespace

bool save_results(const ssd_op_test_param& request, ssd_op_db_record& record) {
    fill_ratios(request, record);
    SM_TRACE(SM_TRACE_INFO, "%s: ssd_op_db_recordP->count: %d.\n", kFunction, record.count);
    const std::string prefix(base::field_text(request.log_prefix));
    fill_results(report_of(prefix), record);
    const bool stored = history::store_results(record);
    if (!prefix.empty()) delete_script_files(prefix);
    return stored;
}

}  // namespace ssd_op::evaluation
