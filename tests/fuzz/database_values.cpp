// A database whose file is whole and whose values are not what they should be: a line for each, of
// a letter for the column, one for the type (i, r, t, b or n) and the value.

#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>

#include "fuzz/database_use.h"
#include "fuzz/target.h"
#include "fuzz/world.h"

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

void bind(SQLite::Statement& statement, char type, const std::string& value) {
    switch (type) {
        case 'i':
            return statement.bind(1,
                                  static_cast<int64_t>(std::strtoll(value.c_str(), nullptr, 10)));
        case 'r':
            return statement.bind(1, std::strtod(value.c_str(), nullptr));
        case 't':
            return statement.bind(1, value);
        case 'b':
            return statement.bind(1, value.data(), static_cast<int>(value.size()));
        default:
            return statement.bind(1);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::renew_database();
    {
        SQLite::Database database(fuzz::kDatabase, SQLite::OPEN_READWRITE);
        database.exec("PRAGMA synchronous = OFF");
        const std::vector<std::string> all = assignments(database);
        std::string_view rest = fuzz::text_of(data, size);
        while (!rest.empty()) {
            const std::string line = fuzz::take_line(rest);
            if (line.size() < 2) continue;
            SQLite::Statement update(database,
                                     all[static_cast<size_t>(line[0] & 0x7F) % all.size()] + '?');
            bind(update, line[1], line.substr(2));
            update.exec();
        }
    }
    fuzz::use_database();
    return 0;
}
