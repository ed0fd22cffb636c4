#pragma once

#include "history/bulk_insert.h"
#include "history/sample_file.h"
#include "platform/naslog.h"

namespace ssd_op::history {

/// Imports a file in one transaction: `insert_line(line, rows)` for each of its lines, until one
/// returns false.
template <typename InsertLine>
bool import_file(db::Session& session, const char* statement, const char* path,
                 InsertLine&& insert_line) {
    BulkInsert rows(session, session.function(), statement);
    if (!rows) return false;
    SampleFile file(path);
    while (file.next()) {
        if (!insert_line(file, rows)) return false;
    }
    if (!file.is_read()) {
        SM_TRACE(SM_TRACE_INFO, "%s:Fail to open report_csv(%s).\n", session.function(), path);
        return false;
    }
    return rows.finish();
}

/// Whether a line has the fields that the import stores, the time and the last one.
inline bool is_complete(const char* function, std::string_view time, std::string_view last) {
    if (time.empty())
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split time token by ','.\n", function);
    else if (last.empty())
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split result token by ','.\n", function);
    return !time.empty() && !last.empty();
}

}  // namespace ssd_op::history
