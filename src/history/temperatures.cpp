// The drives' temperature samples into SSD_RUNTIME_DATA.

#include <cstdlib>

#include "db/database.h"
#include "db/queries.h"
#include "db/schema.h"
#include "history/history.h"
#include "history/import.h"

namespace ssd_op::history {

namespace {

/// Whether the ratio's earlier samples, which the file replaces, are gone. If they are not, the
/// file's must not come beside them.
bool delete_samples(db::Session& session, int record_no, int percentage) {
    const db::Sql statement =
        db::sql("DELETE FROM %s WHERE percentage=%d AND %s;", db::kSsdRuntimeData.name, percentage,
                db::sql(db::kSsdRuntimeData.of_record, record_no).get());
    return session.execute(statement) || session.fail(statement);
}

int number(std::string_view field) {
    return static_cast<int>(std::strtol(field.data(), nullptr, 10));
}

bool import_samples(db::Session& session, int percentage, const char* path) {
    return import_file(session, "INSERT INTO SSD_RUNTIME_DATA VALUES (?1, ?2, ?3, ?4)", path,
                       [&](const SampleFile& line, BulkInsert& rows) {
                           const auto [time, dev_id, select_no, temperature] = line.fields<4>();
                           return is_complete(session.function(), time, temperature) &&
                                  rows.insert(percentage, time, number(temperature),
                                              number(select_no));
                       });
}

}  // namespace

bool import_temperatures(int record_no, int percentage, const char* path) noexcept {
    constexpr const char* kFunction = "SSD_OP_DB_Update_SSD_Runtime_Data";
    if (db::is_unknown(kFunction, record_no)) return false;
    return db::with_session(kFunction, [&](db::Session& session) {
        const bool imported = delete_samples(session, record_no, percentage) &&
                              import_samples(session, percentage, path);
        SM_TRACE(SM_TRACE_INFO, "%s: %s to import ssd runtime data into record(%d).\n", kFunction,
                 imported ? "Success" : "Fail", record_no);
        return imported;
    });
}

}  // namespace ssd_op::history
