#include "db/version_steps.h"

#include <cstring>
#include <string>

#include "db/database.h"
#include "db/location.h"
#include "db/rebuild.h"
#include "db/record_limit.h"
#include "db/schema.h"
#include "db/transaction.h"

namespace ssd_op::db {

namespace {

constexpr const char* kCreateTestRecordOfVersion2 =
    "CREATE TABLE TEST_RECORD ("
    "     record_no INTEGER,     nas_model TEXT,     nas_fw_version TEXT,     name TEXT,"
    "     start_time INTEGER,     end_time INTEGER,     status INTEGER,     sequential INTEGER,"
    "     min_op INTEGER,     max_op INTEGER,     interval INTEGER,"
    "     PRIMARY KEY(record_no) );";

constexpr const char* kCreateSelectDevOfVersion5 =
    "CREATE TABLE SELECT_DEV ("
    "     f_ssd_no INTEGER,     f_raid_no INTEGER,     dev_id INTEGER,     bus_type TEXT,"
    "     performance_write_r TEXT,     performance_write_s TEXT,"
    "     performance_read_r TEXT,     performance_read_s TEXT,"
    "     CONSTRAINT ssd_constraint FOREIGN KEY(f_ssd_no) REFERENCES SSD_DEV(ssd_no),"
    "     CONSTRAINT raid_constraint FOREIGN KEY(f_raid_no) REFERENCES RAID_GROUP(raid_no) );";

constexpr AddedColumn kRevision = {"SSD_DEV", "revision", "TEXT", "--"};

void trace_entry(const char* function, bool upgrade) {
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter, upgrade(%d).\n", function, upgrade ? 1 : 0);
}

/// A step: `changes(transaction)`, which traces why it ended the transaction, and the version that
/// they lead to, together. A database whose tables have one form and whose number says another
/// would be passed by on its next way.
template <typename Changes>
bool take_step(const char* function, int version, Changes&& changes) {
    return with_session(function, [&](Session& session) {
        Transaction transaction(session);
        changes(transaction);
        if (!transaction) return false;
        const Sql store = sql("UPDATE DB_VERSION SET version=%d;", version);
        transaction.require(store);
        return transaction.commit() || session.fail(store);
    });
}

/// Adds a column; one that is there already is fine, which SQLite reports with `tolerated`.
void add_column(Transaction& transaction, const AddedColumn& column, const char* tolerated) {
    if (!transaction) return;
    Session& session = transaction.session();
    const Sql statement = sql("ALTER TABLE %s ADD COLUMN %s %s DEFAULT '%s';", column.table,
                              column.name, column.type, column.fallback);
    if (transaction.run(statement)) return;
    if (std::strstr(session.error(), tolerated) != nullptr) {
        SM_TRACE(SM_TRACE_INFO, "%s: The filed already exist.\n", session.function());
        return;
    }
    session.fail(statement);
    transaction.end_unless(false);
}

template <typename Columns>
bool add_columns(const char* function, int version, const Columns& columns, const char* tolerated) {
    return take_step(function, version, [&](Transaction& transaction) {
        for (const AddedColumn& column : columns) add_column(transaction, column, tolerated);
    });
}

void trace_failure(const Transaction& transaction) {
    if (!transaction) transaction.session().fail(sqlite3_errstr(transaction.failure()));
}

/// The trigger goes with the table, and the limit with the trigger.
int record_limit(Transaction& transaction) {
    Session& session = transaction.session();
    const std::optional<int> limit = read_record_limit(session);
    const bool has_none = session.code() == SQLITE_ABORT;
    transaction.end_unless(limit || has_none);
    return limit.value_or(kDefaultRecordLimit);
}

}  // namespace

bool sql_db_ver_callback_0(bool upgrade) {
    trace_entry(__func__, upgrade);
    const AddedColumn columns[] = {kRevision};
    return !upgrade || add_columns(__func__, 1, columns, "duplicate column name: revision");
}

// Databases older than version 2 have too little in common with later ones to be carried over.
bool sql_db_ver_callback_1(bool upgrade) {
    const char* function = __func__;
    trace_entry(function, upgrade);
    return base::guarded(function, false, [&] {
        const base::FileLock lock = base::FileLock::for_writing(kDatabaseLock);
        const std::optional<std::string> path = find_settled();
        if (!path) SM_TRACE(SM_TRACE_ERROR, "%s: Fail to get database name.\n", function);
        return path && remove_database_file(*path);
    });
}

bool sql_db_ver_callback_2(bool upgrade) {
    trace_entry(__func__, upgrade);
    return take_step(__func__, upgrade ? 3 : 2, [&](Transaction& transaction) {
        const int limit = record_limit(transaction);
        rebuild_table(transaction, "TEST_RECORD",
                      upgrade ? kCreateTestRecord : kCreateTestRecordOfVersion2);
        transaction.require(sql(kCreateTrigger, limit, limit));
        trace_failure(transaction);
    });
}

bool sql_db_ver_callback_3(bool upgrade) {
    trace_entry(__func__, upgrade);
    return !upgrade || add_columns(__func__, 4, kAddedInVersion4, "duplicate column name:");
}

bool sql_db_ver_callback_4(bool upgrade) {
    trace_entry(__func__, upgrade);
    return !upgrade || add_columns(__func__, 5, kAddedInVersion5, "duplicate column name:");
}

bool sql_db_ver_callback_5(bool upgrade) {
    trace_entry(__func__, upgrade);
    return take_step(__func__, upgrade ? 6 : 5, [&](Transaction& transaction) {
        rebuild_table(transaction, "SELECT_DEV",
                      upgrade ? kCreateSelectDev : kCreateSelectDevOfVersion5);
        const bool has_samples = exists(transaction, "SSD_RUNTIME_DATA");
        if (upgrade && !has_samples) transaction.require(kCreateSsdRuntimeData);
        if (!upgrade && has_samples) transaction.require(sql("DROP TABLE %s;", "SSD_RUNTIME_DATA"));
        trace_failure(transaction);
    });
}

}  // namespace ssd_op::db
