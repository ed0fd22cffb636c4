#include "db/version_steps.h"

#include <cstring>
#include <string>

#include "db/database.h"
#include "db/location.h"
#include "db/rebuild.h"
#include "db/record_limit.h"
#include "db/schema.h"
#include "db/transaction.h"

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

/// A step: `changes(transaction)`, which traces why it ended the transaction, and the version that
/// they lead to, together. A database whose tables have one form and whose number says another
/// would be passed by on its next way. 0 or -1.
template <typename Changes>
int take_step(const char* function, int version, Changes&& changes) {
    return db::with_session(function, -1, [&](sqlite3* connection) {
        db::Transaction transaction(connection);
        changes(transaction);
        if (transaction.failure() != SQLITE_OK) return -1;
        const db::Sql store = db::sql("UPDATE DB_VERSION SET version=%d;", version);
        transaction.require(store);
        if (transaction.commit() == SQLITE_OK) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, store.get());
        return -1;
    });
}

/// Adds a column; one that is there already is fine, which SQLite reports with `tolerated`.
void add_column(const char* function, db::Transaction& transaction, const db::AddedColumn& column,
                const char* tolerated) {
    if (transaction.failure() != SQLITE_OK) return;
    const db::Sql statement = db::sql("ALTER TABLE %s ADD COLUMN %s %s DEFAULT '%s';", column.table,
                                      column.name, column.type, column.fallback);
    const int result = transaction.run(statement);
    if (result == SQLITE_OK) return;
    if (std::strstr(db::error_text(transaction.connection(), result), tolerated) != nullptr) {
        SM_TRACE(SM_TRACE_INFO, "%s: The filed already exist.\n", function);
        return;
    }
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function, statement.get());
    transaction.end_unless_ok(result);
}

template <typename Columns>
int add_columns(const char* function, int version, const Columns& columns, const char* tolerated) {
    return take_step(function, version, [&](db::Transaction& transaction) {
        for (const db::AddedColumn& column : columns)
            add_column(function, transaction, column, tolerated);
    });
}

void trace_failure(const char* function, const db::Transaction& transaction) {
    if (transaction.failure() == SQLITE_OK) return;
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql(%s).\n", function,
             sqlite3_errstr(transaction.failure()));
}

/// The trigger goes with the table, and the limit with the trigger.
int record_limit(db::Transaction& transaction) {
    int limit = db::kDefaultRecordLimit;
    const int result = db::read_record_limit(transaction.connection(), limit);
    const bool has_none = result == SQLITE_ABORT;
    if (!has_none) transaction.end_unless_ok(result);
    return limit;
}

}  // namespace

int sql_db_ver_callback_0(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    const db::AddedColumn columns[] = {kRevision};
    return add_columns(__func__, 1, columns, "duplicate column name: revision");
}

// Databases older than version 2 have too little in common with later ones to be carried over.
int sql_db_ver_callback_1(int upgrade) {
    const char* function = __func__;
    trace_entry(function, upgrade);
    return base::guarded(function, -1, [&] {
        const base::FileLock lock = base::FileLock::for_writing(db::kDatabaseLock);
        std::string path;
        if (db::find_settled(path) != 0) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get database name.\n", function);
            return -1;
        }
        return db::remove_database_file(path.c_str()) ? 0 : -1;
    });
}

int sql_db_ver_callback_2(int upgrade) {
    const char* function = __func__;
    trace_entry(function, upgrade);
    return take_step(function, upgrade != 0 ? 3 : 2, [&](db::Transaction& transaction) {
        const int limit = record_limit(transaction);
        db::rebuild_table(transaction, "TEST_RECORD",
                          upgrade != 0 ? db::kCreateTestRecord : kCreateTestRecordOfVersion2);
        transaction.require(db::sql(db::kCreateTrigger, limit, limit));
        trace_failure(function, transaction);
    });
}

int sql_db_ver_callback_3(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    return add_columns(__func__, 4, db::kAddedInVersion4, "duplicate column name:");
}

int sql_db_ver_callback_4(int upgrade) {
    trace_entry(__func__, upgrade);
    if (upgrade == 0) return 0;
    return add_columns(__func__, 5, db::kAddedInVersion5, "duplicate column name:");
}

int sql_db_ver_callback_5(int upgrade) {
    const char* function = __func__;
    trace_entry(function, upgrade);
    return take_step(function, upgrade != 0 ? 6 : 5, [&](db::Transaction& transaction) {
        db::rebuild_table(transaction, "SELECT_DEV",
                          upgrade != 0 ? db::kCreateSelectDev : kCreateSelectDevOfVersion5);
        const bool has_samples = db::exists(transaction, "SSD_RUNTIME_DATA");
        if (upgrade != 0 && !has_samples) transaction.require(db::kCreateSsdRuntimeData);
        if (upgrade == 0 && has_samples)
            transaction.require(db::sql("DROP TABLE %s;", "SSD_RUNTIME_DATA"));
        trace_failure(function, transaction);
    });
}
