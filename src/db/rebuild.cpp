#include "db/rebuild.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

namespace ssd_op::db {

namespace {

using Columns = std::vector<std::string>;

/// None for a table that does not exist.
Columns columns_of(Transaction& transaction, const std::string& table) {
    constexpr int kTableInfoColumns = 6;
    constexpr int kName = 1;
    Columns columns;
    transaction.end_unless(
        transaction.query(sql("PRAGMA table_info(%s);", table.c_str()), kTableInfoColumns,
                          [&](const Row& row) { columns.emplace_back(row.text(kName)); }));
    return columns;
}

bool holds(const Columns& columns, std::string_view name) {
    return std::find(columns.begin(), columns.end(), name) != columns.end();
}

/// Where a column's value comes from in the table's other form; empty: from nowhere.
std::string source_of(const std::string& column, const std::string& table, const Columns& columns) {
    if (holds(columns, column)) return column;
    if (column == "title" && holds(columns, "name")) return "name";
    if (column == "name" && holds(columns, "title")) return "title";
    for (const auto columns_added : {std::span<const AddedColumn>(kAddedInVersion4),
                                     std::span<const AddedColumn>(kAddedInVersion5)}) {
        for (const AddedColumn& added : columns_added) {
            if (column == added.name && table == added.table)
                return std::string("'") + added.fallback + "'";
        }
    }
    return {};
}

/// `but_known`: leaves out rows that the table has already.
void copy_rows(Transaction& transaction, const std::string& table, const std::string& old,
               bool but_known) {
    const Columns from = columns_of(transaction, old);
    std::string targets;
    std::string sources;
    for (const std::string& column : columns_of(transaction, table)) {
        const std::string source = source_of(column, table, from);
        if (source.empty()) continue;
        const char* comma = targets.empty() ? "" : ", ";
        targets += comma + column;
        sources += comma + source;
    }
    if (but_known)
        transaction.require(
            sql("INSERT OR IGNORE INTO %s(%s) SELECT %s FROM %s EXCEPT SELECT %s "
                "FROM %s;",
                table.c_str(), targets.c_str(), sources.c_str(), old.c_str(), targets.c_str(),
                table.c_str()));
    else
        transaction.require(sql("INSERT INTO %s(%s) SELECT %s FROM %s;", table.c_str(),
                                targets.c_str(), sources.c_str(), old.c_str()));
}

}  // namespace

bool exists(Transaction& transaction, const std::string& table) {
    return !columns_of(transaction, table).empty();
}

void rebuild_table(Transaction& transaction, const std::string& table, const char* create) {
    const std::string old = table + "_OLD";
    // Without this, other tables' foreign keys would follow the old table to its new name.
    transaction.require("PRAGMA legacy_alter_table = ON;");
    // Older software took these steps without a transaction, and may have been broken off.
    const bool broken_off = exists(transaction, old);
    if (!broken_off && exists(transaction, table))
        transaction.require(sql("ALTER TABLE %s RENAME TO %s;", table.c_str(), old.c_str()));
    if (!exists(transaction, table)) transaction.require(create);
    if (!exists(transaction, old)) return;
    copy_rows(transaction, table, old, broken_off);
    transaction.require(sql("DROP TABLE %s;", old.c_str()));
}

}  // namespace ssd_op::db
