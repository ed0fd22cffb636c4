// The version that a database holds, and the way from one version to another.

#include "db/version.h"

#include <iterator>

#include "db/database.h"
#include "db/schema.h"
#include "db/version_steps.h"

namespace ssd_op::db {

namespace {

using Step = bool (*)(bool upgrade);

/// Indexed by the version that a step starts from.
constexpr Step kSteps[] = {sql_db_ver_callback_0,
                           sql_db_ver_callback_1,
                           sql_db_ver_callback_2,
                           sql_db_ver_callback_3,
                           sql_db_ver_callback_4,
                           sql_db_ver_callback_5,
                           nullptr};

bool fail(const Session& session) {
    SM_TRACE(SM_TRACE_ERROR, "%s: Fail to execute sql.\n", session.function());
    return false;
}

/// 0 when the database holds none; -1 when it cannot be read.
int stored_version() {
    const auto version = with_session("ssd_op_db_query_version", [](Session& session) {
        const auto number = session.number(sql("SELECT version FROM DB_VERSION;"));
        if (!number) fail(session);
        return number;
    });
    return version.value_or(-1);
}

bool store_version(int version) {
    return with_session("ssd_op_db_update_version", [&](Session& session) {
        return session.execute(sql("UPDATE DB_VERSION SET version=%d;", version)) || fail(session);
    });
}

/// Runs a step and, when it was carried out, stores the version that it leads to.
bool go(int from, bool upgrade) {
    const Step step = kSteps[from];
    return (step == nullptr || step(upgrade)) && store_version(upgrade ? from + 1 : from);
}

}  // namespace

bool upgrade() {
    constexpr const char* kFunction = "SSD_OP_DB_Version_Upgrade";
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.\n", kFunction);
    const int version = stored_version();
    SM_TRACE(SM_TRACE_ENTRY, "%s: database verison(%d), current_version(%d).\n", kFunction, version,
             kCurrentVersion);
    if (version < 0) return true;
    bool reached = true;
    for (int from = version; reached && from < kCurrentVersion; ++from) reached = go(from, true);
    if (!reached)
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to upgrade the databse .Curr(%d), Database(%d).\n",
                 kFunction, kCurrentVersion, version);
    return reached;
}

bool downgrade(int version) {
    constexpr const char* kFunction = "SSD_OP_DB_Version_Downgrade";
    SM_TRACE(SM_TRACE_ENTRY, "%s: Enter.version(%d).\n", kFunction, version);
    const int stored = stored_version();
    SM_TRACE(SM_TRACE_ENTRY, "%s: database verison(%d), brix_version(%d).\n", kFunction, stored,
             version);
    constexpr int kLastStep = static_cast<int>(std::size(kSteps)) - 1;
    if (stored < 0 || version >= stored || stored - 1 > kLastStep) return true;
    bool reached = version >= 0;
    for (int to = stored - 1; reached && to >= version; --to) reached = go(to, false);
    if (!reached)
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to upgrade the databse .Version(%d), Database(%d).\n",
                 kFunction, version, stored);
    return reached;
}

}  // namespace ssd_op::db
