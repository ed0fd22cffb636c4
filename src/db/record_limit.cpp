#include "db/record_limit.h"

#include <cstdlib>
#include <cstring>

#include "db/schema.h"
#include "db/sql.h"

namespace ssd_op::db {

int read_record_limit(sqlite3* db, int& limit) {
    const Sql statement =
        sql("SELECT sql FROM sqlite_master     WHERE type='trigger' AND tbl_name='TEST_RECORD' AND "
            "name='test_record_trigger';");
    return query(db, statement, 1, [&](const Row& row) {
        constexpr const char* kBefore = "ON TEST_RECORD WHEN";
        const char* text = row.text(0);
        const char* before = std::strstr(text, kBefore);
        const char* after = std::strchr(text, '<');
        if (before == nullptr || after == nullptr) return false;
        // strtol stops at the '<' by itself.
        limit = static_cast<int>(std::strtol(before + std::strlen(kBefore), nullptr, 10));
        return true;
    });
}

int create_record_limit(sqlite3* db, int limit) {
    return execute(db, sql(kCreateTrigger, limit, limit));
}

}  // namespace ssd_op::db
