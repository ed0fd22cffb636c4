#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>

#include "fuzz/target.h"
#include "fuzz/world.h"

namespace fuzz {

namespace {

/// "UPDATE table SET column = ", for every column there is.
std::vector<std::string> assignments(SQLite::Database& database) {
    std::vector<std::string> found;
    SQLite::Statement columns(database,
                              "SELECT m.name, c.name FROM sqlite_master AS m, "
                              "pragma_table_info(m.name) AS c WHERE m.type = 'table'");
    while (columns.executeStep())
        found.push_back("UPDATE OR IGNORE " + columns.getColumn(0).getString() + " SET " +
                        columns.getColumn(1).getString() + " = ");
    return found;
}

/// A column makes a number of what reads as one.
void bind(SQLite::Statement& statement, char type, std::string value) {
    constexpr int kDoublings = 8;
    for (int i = 0; type == 'l' && i < kDoublings; ++i) value += value;
    if (type == 'b')
        statement.bind(1, value.data(), static_cast<int>(value.size()));
    else if (type != 'n')
        statement.bind(1, value);
}

}  // namespace

void put_values(std::string_view lines) {
    SQLite::Database database(kDatabase, SQLite::OPEN_READWRITE);
    database.exec("PRAGMA synchronous = OFF");
    const std::vector<std::string> all = assignments(database);
    while (!lines.empty()) {
        const std::string line = take_line(lines);
        if (line.size() < 2) continue;
        SQLite::Statement update(database,
                                 all[static_cast<size_t>(line[0] & 0x7F) % all.size()] + '?');
        bind(update, line[1], line.substr(2));
        update.tryExecuteStep();  // a constraint may refuse the value
    }
}

}  // namespace fuzz
