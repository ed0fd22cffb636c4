// The version that a database holds, and the way from one version to another.

#include <array>

#include "db/database.h"
#include "db/schema.h"
#include "db/version_steps.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;

namespace {

using Step = int (*)(int upgrade);

/// Indexed by the version that a step starts from.
constexpr std::array<Step, 7> kSteps = {sql_db_ver_callback_0,
                                        sql_db_ver_callback_1,
                                        sql_db_ver_callback_2,
                                        sql_db_ver_callback_3,
                                        sql_db_ver_callback_4,
                                        sql_db_ver_callback_5,
                                        nullptr};

/// Runs a step and, when it was carried out, stores the version that it leads to.
bool go(int from, int upgrade) {
    const Step step = kSteps.at(static_cast<size_t>(from));
    if (step != nullptr && step(upgrade) != 0) return false;
    return ssd_op_db_update_version(upgrade != 0 ? from + 1 : from) == 0;
}

}  // namespace

int ssd_op_db_query_version() {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        int version = 0;
        if (db::query_number(connection, db::sql("SELECT version FROM DB_VERSION;"), version) ==
            SQLITE_OK)
            return version;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql.\n", function);
        return -1;
    });
}

int ssd_op_db_update_version(int version) {
    const char* function = __func__;
    return db::with_session(function, -1, [&](sqlite3* connection) {
        const db::Sql update = db::sql("UPDATE DB_VERSION SET version=%d;", version);
        if (db::execute(connection, update) == SQLITE_OK) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql.\n", function);
        return -1;
    });
}

int SSD_OP_DB_Version_Upgrade() {
    const char* function = __func__;
    return base::guarded(function, -1, [&] {
        SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.\n", function);
        const int version = ssd_op_db_query_version();
        SM_TRACE(SM_TRACE_ENTRY, "%s: database verison(%d), current_version(%d).\n", function,
                 version, db::kCurrentVersion);
        if (version < 0 || version >= db::kCurrentVersion) return 0;
        for (int from = version; from < db::kCurrentVersion; ++from) {
            if (go(from, 1)) continue;
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to upgrade the databse .Curr(%d), Database(%d).\n",
                     function, db::kCurrentVersion, version);
            return -1;
        }
        return 0;
    });
}

int SSD_OP_DB_Version_Downgrade(int version) {
    const char* function = __func__;
    return base::guarded(function, -1, [&] {
        SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.version(%d).\n", function, version);
        const int stored = ssd_op_db_query_version();
        SM_TRACE(SM_TRACE_ENTRY, "%s: database verison(%d), brix_version(%d).\n", function, stored,
                 version);
        constexpr int kLastStep = static_cast<int>(kSteps.size()) - 1;
        if (stored < 0 || version >= stored || stored - 1 > kLastStep) return 0;
        bool reached = version >= 0;
        for (int to = stored - 1; reached && to >= version; --to) reached = go(to, 0);
        if (reached) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to upgrade the databse .Version(%d), Database(%d).\n",
                 function, version, stored);
        return -1;
    });
}
