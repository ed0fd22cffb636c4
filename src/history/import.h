#pragma once

#include "history/bulk_insert.h"
#include "history/sample_file.h"
#include "platform/naslog.h"

namespace ssd_op::history {

/// Imports a file in one transaction: `insert_line(line, rows)` for each of its lines, until one
/// returns false. A file without lines is imported when `empty_is_fine`.
template <typename InsertLine>
bool import_file(const char* function, sqlite3* db, std::string_view statement, const char* path,
                 bool empty_is_fine, InsertLine&& insert_line) {
    BulkInsert rows(function, db, statement);
    if (!rows) return false;
    SampleFile file(path);
    bool is_empty = true;
    for (; file.next(); is_empty = false) {
        if (!insert_line(file, rows)) return false;
    }
    if (!file.is_read()) {
        SM_TRACE(SM_TRACE_INFO, "%s:Fail to open report_csv(%s).\n", function, path);
        return false;
    }
    return rows.finish() && (empty_is_fine || !is_empty);
}

}  // namespace ssd_op::history
