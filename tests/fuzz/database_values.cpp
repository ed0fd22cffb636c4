// A database whose file is whole and whose values are not what they should be: a digit for the use
// that is made of it, and a line for each value. That is a letter for the column, one for what is
// stored (t a text, l a long one, b bytes, n nothing), and the value itself.

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

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    fuzz::renew_database();
    {
        SQLite::Database database(fuzz::kDatabase, SQLite::OPEN_READWRITE);
        database.exec("PRAGMA synchronous = OFF");
        const std::vector<std::string> all = assignments(database);
        std::string_view rest = fuzz::text_of(data + 1, size - 1);
        while (!rest.empty()) {
            const std::string line = fuzz::take_line(rest);
            if (line.size() < 2) continue;
            SQLite::Statement update(database,
                                     all[static_cast<size_t>(line[0] & 0x7F) % all.size()] + '?');
            bind(update, line[1], line.substr(2));
            update.tryExecuteStep();  // a constraint may refuse the value
        }
    }
    fuzz::use_database(data[0]);
    return 0;
}
