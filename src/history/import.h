#pragma once

#include "history/bulk_insert.h"
#include "history/sample_file.h"
#include "platform/naslog.h"

namespace ssd_op::history {

/// Imports a file in one transaction: `insert_line(line, rows)` for each of its lines, until one
/// returns false.
template <typename InsertLine>
bool import_file(const char* function, sqlite3* db, std::string_view statement, const char* path,
                 InsertLine&& insert_line) {
    BulkInsert rows(function, db, statement);
    if (!rows) return false;
    SampleFile file(path);
    while (file.next()) {
        if (!insert_line(file, rows)) return false;
    }
    if (!file.is_read()) {
        SM_TRACE(SM_TRACE_INFO, "%s:Fail to open report_csv(%s).\n", function, path);
        return false;
    }
    return rows.finish();
}

}  // namespace ssd_op::history
