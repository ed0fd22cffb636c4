// The drives' temperature samples into SSD_RUNTIME_DATA.

#include <cstdlib>

#include "db/database.h"
#include "history/import.h"

namespace db = ssd_op::db;
namespace history = ssd_op::history;

namespace {

/// Whether the ratio's earlier samples, which the file replaces, are gone. If they are not, the
/// file's must not come beside them.
bool delete_samples(const char* function, sqlite3* connection, int record_no, int percentage) {
    const db::Sql statement = db::sql(
        "DELETE FROM SSD_RUNTIME_DATA WHERE percentage=%d AND f_select_no IN     (SELECT select_no "
        "FROM SELECT_DEV WHERE f_raid_no IN     (SELECT raid_no FROM RAID_GROUP WHERE "
        "f_record_no=%d));",
        percentage, record_no);
    if (db::execute(connection, statement) == SQLITE_OK) return true;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, statement.get());
    return false;
}

int number(std::string_view field) {
    return static_cast<int>(std::strtol(field.data(), nullptr, 10));
}

bool insert_line(const char* function, const history::SampleFile& line, history::BulkInsert& rows,
                 int percentage) {
    const auto [time, dev_id, select_no, temperature] = line.fields<4>();
    if (time.empty()) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split time token by ','.\n", function);
        return false;
    }
    if (temperature.empty()) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to split result token by ','.\n", function);
        return false;
    }
    return rows.insert(percentage, time, number(temperature), number(select_no));
}

}  // namespace

int SSD_OP_DB_Update_SSD_Runtime_Data(int record_no, int percentage, const char* runtime_csv) {
    const char* function = __func__;
    if (runtime_csv == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The input record is NULL.\n", function);
        return -1;
    }
    if (SSD_OP_DB_Record_Is_Exist(record_no) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: The record(%d) is not exist.\n", function, record_no);
        return -1;
    }
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const bool imported =
            delete_samples(function, connection, record_no, percentage) &&
            history::import_file(
                function, connection, "INSERT INTO SSD_RUNTIME_DATA VALUES (?1, ?2, ?3, ?4)",
                runtime_csv, [&](const history::SampleFile& line, history::BulkInsert& rows) {
                    return insert_line(function, line, rows, percentage);
                });
        SM_TRACE(SM_TRACE_INFO, "%s: %s to import ssd runtime data into record(%d).\n", function,
                 imported ? "Success" : "Fail", record_no);
        return imported ? 0 : -1;
    });
}
