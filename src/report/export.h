#pragma once

#include <span>
#include <string_view>

#include "base/text.h"
#include "db/record_owner.h"
#include "platform/naslog.h"
#include "report/file.h"
#include "report/report.h"

namespace ssd_op::report {

/// What the caller of an exported function wants, and the name of that function.
struct Request {
    const char* function;
    int record_no;
    std::span<char> path;  // receives the report's
};

// SSD_OP_Test_Export_CSV and SSD_OP_Test_Export_XLSX. False when there is no report.
// @throws std::bad_alloc
bool export_csv(const Request& request);
bool export_xlsx(const Request& request);

/// The way of every report: reads the record, has `write(record, file)` write it, and gives it its
/// name and the caller its path.
template <typename Write>
bool export_record(const Request& request, std::string_view suffix, Write&& write) {
    const db::RecordOwner record = db::load_record(request.record_no);
    if (!record) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to quert record(%d).\n", request.function,
                 request.record_no);
        return false;
    }
    const std::string path = report_path(record->title, suffix);
    base::copy_text(request.path.data(), request.path.size(), path);
    ReportFile file(path);
    if (!file) return false;
    if (write(*record, file) && file.publish()) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to write report(%s).\n", request.function, path.c_str());
    return false;
}

}  // namespace ssd_op::report
