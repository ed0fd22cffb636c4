#include "support/appliance.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <utility>

#include "core/call.h"
#include "core/state.h"

namespace support {

namespace {

constexpr const char* kTraceFile = "/var/log/sm_trace.log";
constexpr const char* kDatabasePlaces[] = {"/share/DATA_1/.Oprella/ssd_op.db",
                                           "/mnt/HDA_ROOT/.config/Oprella/ssd_op.db"};

template <typename Read>
auto read_state(const std::string& sql, Read&& read) {
    std::vector<std::invoke_result_t<Read, SQLite::Statement&>> rows;
    SQLite::Statement query(appliance::state(), sql);
    while (query.executeStep()) rows.push_back(read(query));
    return rows;
}

std::vector<int> read_ids(const std::string& sql) {
    return read_state(sql, [](SQLite::Statement& row) { return row.getColumn(0).getInt(); });
}

std::string text_of(SQLite::Statement& row, int column) {
    return row.getColumn(column).getString();
}

}  // namespace

Appliance::Appliance() { install(); }

void Appliance::install() {
    appliance::install(blueprint_);
    for (const auto& apply : overrides_) apply();
}

Appliance& Appliance::override_with(std::function<void()> what) {
    what();
    overrides_.push_back(std::move(what));
    return *this;
}

Appliance& Appliance::with(const std::function<void(appliance::Blueprint&)>& change) {
    change(blueprint_);
    install();
    return *this;
}

Appliance& Appliance::with_drives(int count) {
    return with([=](appliance::Blueprint& blueprint) { blueprint.drives = count; });
}

Appliance& Appliance::renew() {
    overrides_.clear();
    install();
    return *this;
}

Appliance& Appliance::failing(const std::string& name, Nth nth, int64_t value) {
    return override_with(
        [=] { appliance::set_fault(name, nth.use, appliance::FaultKind::kReturn, value); });
}

Appliance& Appliance::failing(const std::string& name, int64_t value) {
    return failing(name, kEveryUse, value);
}

Appliance& Appliance::killing(const std::string& name, Nth nth, When when) {
    const auto kind =
        when == When::kBefore ? appliance::FaultKind::kKill : appliance::FaultKind::kKillAfter;
    return override_with([=] { appliance::set_fault(name, nth.use, kind, 0); });
}

Appliance& Appliance::slow(const std::string& name, Nth nth, int milliseconds) {
    return override_with(
        [=] { appliance::set_fault(name, nth.use, appliance::FaultKind::kSlow, milliseconds); });
}

Appliance& Appliance::holding(const std::string& name, Nth nth) {
    return override_with(
        [=] { appliance::set_fault(name, nth.use, appliance::FaultKind::kHold, 0); });
}

bool Appliance::holds(const std::string& name) const {
    return !read_state("SELECT count FROM call_count JOIN fault USING(name) WHERE name = '" + name +
                           "' AND kind = 'hold' AND count >= nth",
                       [](SQLite::Statement& row) { return row.getColumn(0).getInt(); })
                .empty();
}

Appliance& Appliance::healthy() {
    appliance::clear_faults();
    overrides_.clear();
    return *this;
}

Appliance& Appliance::having(const std::string& setting, const std::string& value) {
    return override_with([=] { appliance::set_setting(setting, value); });
}

Journal Appliance::journal() const {
    return Journal(
        read_state("SELECT row_no, pid, name, arguments, result FROM journal ORDER BY row_no",
                   [](SQLite::Statement& row) {
                       return JournalRow{.row_no = row.getColumn(0).getInt64(),
                                         .pid = row.getColumn(1).getInt(),
                                         .name = text_of(row, 2),
                                         .arguments = text_of(row, 3),
                                         .result = text_of(row, 4)};
                   }));
}

std::vector<Event> Appliance::events() const {
    return read_state(
        "SELECT type, user, address, computer, description FROM event ORDER BY event_no",
        [](SQLite::Statement& row) {
            return Event{.type = row.getColumn(0).getInt(),
                         .user = text_of(row, 1),
                         .address = text_of(row, 2),
                         .computer = text_of(row, 3),
                         .description = text_of(row, 4)};
        });
}

std::vector<Notice> Appliance::notices() const {
    return read_state(
        "SELECT way, message_id, severity, title, message, detail FROM notice ORDER BY notice_no",
        [](SQLite::Statement& row) {
            return Notice{.way = text_of(row, 0),
                          .message_id = text_of(row, 1),
                          .severity = row.getColumn(2).getInt(),
                          .title = text_of(row, 3),
                          .message = text_of(row, 4),
                          .detail = text_of(row, 5)};
        });
}

std::vector<Upload> Appliance::uploads() const {
    return read_state("SELECT action, product, test, event FROM upload ORDER BY upload_no",
                      [](SQLite::Statement& row) {
                          return Upload{.action = text_of(row, 0),
                                        .product = text_of(row, 1),
                                        .test = text_of(row, 2),
                                        .event = text_of(row, 3)};
                      });
}

std::vector<Trace> Appliance::traces(std::optional<int> level) const {
    std::vector<Trace> found;
    std::istringstream lines(read_file(kTraceFile));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        double time = 0;
        Trace trace{};
        fields >> time >> trace.pid >> trace.level;
        fields.get();  // the blank before the text
        std::getline(fields, trace.text);
        if (!level || trace.level == *level) found.push_back(std::move(trace));
    }
    return found;
}

bool Appliance::traced(const std::string& text) const {
    return std::ranges::any_of(
        traces(), [&](const Trace& trace) { return trace.text.find(text) != std::string::npos; });
}

std::vector<unsigned> Appliance::drives() const {
    return read_state("SELECT dev_id FROM drive ORDER BY dev_id",
                      [](SQLite::Statement& row) { return row.getColumn(0).getUInt(); });
}

std::vector<int> Appliance::pools() const {
    return read_ids("SELECT pool_id FROM pool ORDER BY pool_id");
}

std::vector<int> Appliance::volumes() const {
    return read_ids("SELECT lv_id FROM lv ORDER BY lv_id");
}

std::vector<int> Appliance::raid_groups() const {
    return read_ids("SELECT raid_id FROM raid ORDER BY raid_id");
}

bool Appliance::service_runs(const std::string& name) const {
    SQLite::Statement query(appliance::state(), "SELECT running FROM service WHERE name = ?");
    query.bind(1, name);
    return query.executeStep() && query.getColumn(0).getInt() != 0;
}

std::string Appliance::database() const {
    for (const char* place : kDatabasePlaces) {
        if (exists(place)) return place;
    }
    return "";
}

Rows Appliance::sql(const std::string& query) const {
    SQLite::Database database(this->database(), SQLite::OPEN_READONLY, 10'000);
    SQLite::Statement statement(database, query);
    Rows rows;
    while (statement.executeStep()) {
        Row row;
        for (int column = 0; column < statement.getColumnCount(); ++column) {
            const SQLite::Column value = statement.getColumn(column);
            row.push_back(value.isNull() ? "NULL" : value.getString());
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string Appliance::sql_value(const std::string& query) const {
    const Rows rows = sql(query);
    if (rows.size() != 1 || rows[0].size() != 1) {
        ADD_FAILURE() << "not one value: " << query;
        return "";
    }
    return rows[0][0];
}

void Appliance::run_sql(const std::string& statements) {
    SQLite::Database(database(), SQLite::OPEN_READWRITE).exec(statements);
}

std::ostream& operator<<(std::ostream& out, const Event& event) {
    return out << "event " << event.type << " (" << event.user << ' ' << event.address
               << "): " << event.description;
}

std::ostream& operator<<(std::ostream& out, const Notice& notice) {
    return out << notice.way << ' ' << notice.message_id << " (" << notice.severity << "), "
               << notice.title << ": " << notice.message << " [" << notice.detail << ']';
}

std::ostream& operator<<(std::ostream& out, const Trace& trace) {
    return out << trace.pid << ' ' << trace.level << ' ' << trace.text;
}

}  // namespace support
