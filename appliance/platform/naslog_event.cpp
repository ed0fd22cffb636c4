/// The event log.

#include <algorithm>
#include <cstring>
#include <string>

#include <time.h>

#include "core/call.h"
#include "core/state.h"
#include "platform/naslog.h"

namespace {

constexpr int kFailure = -1;
constexpr const char* kDateFormat = "%Y-%m-%d";
constexpr const char* kTimeFormat = "%H:%M:%S";

/// Texts of an event need not be terminated when they fill their field.
template <size_t Size>
std::string text_of(const char (&field)[Size]) {
    return {field, ::strnlen(field, Size)};
}

template <size_t Size>
void fill(char (&field)[Size], const std::string& text) {
    const size_t length = std::min(text.size(), Size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

/// An event without a date, or with one that is none, happens now.
time_t time_of(const NASLOG_EVENT& event) {
    tm date{};
    const std::string day = text_of(event.date);
    const std::string hour = text_of(event.time);
    if (::strptime(day.c_str(), kDateFormat, &date) == nullptr) return ::time(nullptr);
    if (!hour.empty() && ::strptime(hour.c_str(), kTimeFormat, &date) == nullptr)
        return ::time(nullptr);
    date.tm_isdst = -1;
    return ::mktime(&date);
}

int add(const NASLOG_EVENT& event) {
    SQLite::Statement insert(appliance::state(),
                             "INSERT INTO event(time, type, user, address, computer, description) "
                             "VALUES(?, ?, ?, ?, ?, ?)");
    insert.bind(1, static_cast<int64_t>(time_of(event)));
    insert.bind(2, event.type);
    insert.bind(3, text_of(event.user));
    insert.bind(4, text_of(event.address));
    insert.bind(5, text_of(event.computer));
    insert.bind(6, text_of(event.description));
    insert.exec();
    return 0;
}

NASLOG_EVENT read_event(SQLite::Statement& row) {
    NASLOG_EVENT event{};
    const auto seconds = static_cast<time_t>(row.getColumn(0).getInt64());
    tm date{};
    ::localtime_r(&seconds, &date);
    ::strftime(event.date, sizeof(event.date), kDateFormat, &date);
    ::strftime(event.time, sizeof(event.time), kTimeFormat, &date);
    event.type = row.getColumn(1).getInt();
    fill(event.user, row.getColumn(2).getString());
    fill(event.address, row.getColumn(3).getString());
    fill(event.computer, row.getColumn(4).getString());
    fill(event.description, row.getColumn(5).getString());
    return event;
}

}  // namespace

int naslog_event_add(const NASLOG_EVENT* event) {
    const std::string shown =
        event == nullptr
            ? "null"
            : appliance::arguments(event->type, text_of(event->user), text_of(event->description));
    return appliance::call(__func__, shown,
                           [&] { return event == nullptr ? kFailure : add(*event); });
}

int naslog_event_query(NASLOG_EVENT* events, int max) {
    return appliance::call(__func__, appliance::arguments(max), [&] {
        if (events == nullptr) return kFailure;
        SQLite::Statement query(
            appliance::state(),
            "SELECT time, type, user, address, computer, description FROM event "
            "ORDER BY event_no DESC LIMIT ?");
        query.bind(1, std::max(max, 0));
        int count = 0;
        while (query.executeStep()) events[count++] = read_event(query);
        return count;
    });
}
