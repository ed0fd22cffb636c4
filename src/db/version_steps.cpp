#include "db/version_steps.h"

#include <cstring>

#include "db/database.h"
#include "db/rebuild.h"
#include "db/record_limit.h"
#include "db/schema.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

constexpr const char* kCreateTestRecordOfVersion2 =
    "CREATE TABLE TEST_RECORD (     record_no INTEGER,     nas_model TEXT,     nas_fw_version "
    "TEXT,     name TEXT,     start_time INTEGER,     end_time INTEGER,     status INTEGER,     "
    "sequential INTEGER,     min_op INTEGER,     max_op INTEGER,     interval INTEGER,     PRIMARY "
    "KEY(record_no) );";

constexpr const char* kCreateSelectDevOfVersion5 =
    "CREATE TABLE SELECT_DEV (     f_ssd_no INTEGER,     f_raid_no INTEGER,     dev_id INTEGER,   "
    "  bus_type TEXT,     performance_write_r TEXT,     performance_write_s TEXT,     "
    "performance_read_r TEXT,     performance_read_s TEXT,     CONSTRAINT ssd_constraint FOREIGN "
    "KEY(f_ssd_no) REFERENCES SSD_DEV(ssd_no),     CONSTRAINT raid_constraint FOREIGN "
    "KEY(f_raid_no) REFERENCES RAID_GROUP(raid_no) );";

constexpr db::AddedColumn kRevision = {"SSD_DEV", "revision", "TEXT", "--"};

void trace_entry(const char* function, int upgrade) {
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter, upgrade(%d).\n", function, upgrade);
}

/// Adds a column; one that is there already is fine, which SQLite reports with `tolerated`.
bool add_column(const char* function, sqlite3* connection, const db::AddedColumn& column,
                const char* tolerated) {
    const db::Sql statement = db::sql("ALTER TABLE %s ADD COLUMN %s %s DEFAULT '%s';", column.table,
                                      column.name, column.type, column.fallback);
    const int result = db::execute(connection, statement);
    if (result == SQLITE_OK) return true;
    if (std::strstr(db::error_text(connection, result), tolerated) != nullptr) {
        SM_TRACE(SM_TRACE_INFO, "%s: The filed already exist.\n", function);
        return true;
    }
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, statement.get());
    return false;
}

template <typename Columns>
int add_columns(const char* function, const Columns& columns, const char* tolerated) {
    return db::with_session(function, -1, [&](sqlite3* connection) {
        for (const db::AddedColumn& column : columns) {
            if (!add_column(function, connection, column, tolerated)) return -1;
        }
        return 0;
    });
}

int drop_ssd_runtime_data(sqlite3* connection) {
    return db::execute(connection, db::sql("DROP TABLE %s;", "SSD_RUNTIME_DATA"));
}

/// Belongs to the transaction of a step that changes a table's form: a downgrade that is killed
/// right after the step would leave an older form behind the number of a newer version, and the
/// next upgrade would pass it by.
int store_version(sqlite3* connection, int version) {
    return db::execute(connection, db::sql("UPDATE DB_VERSION SET version=%d;", version));
}

}  // namespace

int sql_db_ver_callback_0(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    const db::AddedColumn columns[] = {kRevision};
    return add_columns(__func__, columns, "duplicate column name: revision");
}

// Databases older than version 2 have too little in common with later ones to be carried over.
int sql_db_ver_callback_1(int upgrade) {
    const char* function = __func__;
    trace_entry(function, upgrade);
    return base::guarded(function, -1, [&] {
        const base::FileLock lock = base::FileLock::for_writing(db::kDatabaseLock);
        char path[512] = "";
        int location = SSD_OP_DB_LOCATION_NONE;
        if (SSD_OP_DB_Get_Location(&location, path, sizeof path) != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get database name.\n", function);
            return -1;
        }
        db::remove_database_file(path);
        return 0;
    });
}

int sql_db_ver_callback_2(int upgrade) {
    trace_entry(__func__, upgrade);
    return db::with_session(__func__, -1, [&](sqlite3* connection) {
        // The trigger goes with the table, and the limit with the trigger.
        int limit = db::kDefaultRecordLimit;
        db::read_record_limit(connection, limit);
        const char* create = upgrade != 0 ? db::kCreateTestRecord : kCreateTestRecordOfVersion2;
        return db::rebuild_table(connection,
                                 {"TEST_RECORD", create, [limit, upgrade](sqlite3* rebuilt) {
                                      return db::create_record_limit(rebuilt, limit) |
                                             store_version(rebuilt, upgrade != 0 ? 3 : 2);
                                  }});
    });
}

int sql_db_ver_callback_3(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    return add_columns(__func__, db::kAddedInVersion4, "duplicate column name:");
}

int sql_db_ver_callback_4(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    return add_columns(__func__, db::kAddedInVersion5, "duplicate column name:");
}

int sql_db_ver_callback_5(int upgrade) {
    trace_entry(__func__, upgrade);
    return db::with_session(__func__, -1, [&](sqlite3* connection) {
        if (upgrade == 0)
            return db::rebuild_table(
                connection, {"SELECT_DEV", kCreateSelectDevOfVersion5, [](sqlite3* rebuilt) {
                                 return drop_ssd_runtime_data(rebuilt) | store_version(rebuilt, 5);
                             }});
        return db::rebuild_table(connection,
                                 {"SELECT_DEV", db::kCreateSelectDev, [](sqlite3* rebuilt) {
                                      return db::execute(rebuilt, db::kCreateSsdRuntimeData) |
                                             store_version(rebuilt, 6);
                                  }});
    });
}
