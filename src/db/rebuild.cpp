#include "db/rebuild.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "db/sql.h"

namespace ssd_op::db {

namespace {

using Columns = std::vector<std::string>;

Columns columns_of(sqlite3* db, const std::string& table) {
    constexpr int kTableInfoColumns = 6;
    constexpr int kName = 1;
    Columns columns;
    query(db, sql("PRAGMA table_info(%s);", table.c_str()), kTableInfoColumns,
          [&](const Row& row) { columns.emplace_back(row.text(kName)); });
    return columns;
}

bool holds(const Columns& columns, std::string_view name) {
    return std::find(columns.begin(), columns.end(), name) != columns.end();
}

/// Where a column's value comes from in the table's other form; empty: from nowhere.
std::string source_of(const std::string& column, const char* table, const Columns& columns) {
    if (holds(columns, column)) return column;
    if (column == "title" && holds(columns, "name")) return "name";
    if (column == "name" && holds(columns, "title")) return "title";
    for (const auto columns_added : {std::span<const AddedColumn>(kAddedInVersion4),
                                     std::span<const AddedColumn>(kAddedInVersion5)}) {
        for (const AddedColumn& added : columns_added) {
            if (column == added.name && std::strcmp(table, added.table) == 0)
                return std::string("'") + added.fallback + "'";
        }
    }
    return {};
}

bool exists(sqlite3* db, const std::string& table) { return !columns_of(db, table).empty(); }

/// `but_known`: leaves out rows that the table has already.
int copy_rows(sqlite3* db, const char* table, const std::string& old, bool but_known) {
    const Columns from = columns_of(db, old);
    if (from.empty()) return SQLITE_ERROR;
    std::string targets;
    std::string sources;
    for (const std::string& column : columns_of(db, table)) {
        const std::string source = source_of(column, table, from);
        if (source.empty()) continue;
        const char* comma = targets.empty() ? "" : ", ";
        targets += comma + column;
        sources += comma + source;
    }
    if (but_known)
        return execute(
            db, sql("INSERT OR IGNORE INTO %s(%s) SELECT %s FROM %s EXCEPT SELECT %s FROM %s;",
                    table, targets.c_str(), sources.c_str(), old.c_str(), targets.c_str(), table));
    return execute(db, sql("INSERT INTO %s(%s) SELECT %s FROM %s;", table, targets.c_str(),
                           sources.c_str(), old.c_str()));
}

}  // namespace

int rebuild_table(sqlite3* db, const Rebuild& rebuild) {
    const std::string old = std::string(rebuild.table) + "_OLD";
    // Without this, other tables' foreign keys would follow the old table to its new name.
    execute(db, "PRAGMA legacy_alter_table = ON;");
    Transaction transaction(db);
    // Older software took these steps without a transaction, and may have been broken off.
    const bool broken_off = exists(db, old);
    int result = SQLITE_OK;
    if (!broken_off)
        result |= execute(db, sql("ALTER TABLE %s RENAME TO %s;", rebuild.table, old.c_str()));
    if (!exists(db, rebuild.table)) result |= execute(db, rebuild.create);
    const int copied = copy_rows(db, rebuild.table, old, broken_off);
    result |= copied;
    if (copied == SQLITE_OK) result |= execute(db, sql("DROP TABLE %s;", old.c_str()));
    result |= rebuild.then(db);
    if (exists(db, old) || !transaction.is_open() || !transaction.commit()) return -1;
    return result;
}

}  // namespace ssd_op::db
