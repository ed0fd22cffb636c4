/// The event log.

#include <algorithm>
#include <cstring>
#include <string>

#include <time.h>

#include "platform/naslog.h"
#include "provider/call.h"
#include "provider/log.h"

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

provider::Event taken(const NASLOG_EVENT& event) {
    return {.time = time_of(event),
            .type = event.type,
            .user = text_of(event.user),
            .address = text_of(event.address),
            .computer = text_of(event.computer),
            .description = text_of(event.description)};
}

NASLOG_EVENT given(const provider::Event& kept) {
    NASLOG_EVENT event{};
    const auto seconds = static_cast<time_t>(kept.time);
    tm date{};
    ::localtime_r(&seconds, &date);
    ::strftime(event.date, sizeof(event.date), kDateFormat, &date);
    ::strftime(event.time, sizeof(event.time), kTimeFormat, &date);
    event.type = kept.type;
    fill(event.user, kept.user);
    fill(event.address, kept.address);
    fill(event.computer, kept.computer);
    fill(event.description, kept.description);
    return event;
}

}  // namespace

int naslog_event_add(const NASLOG_EVENT* event) {
    const auto shown = [&]() -> std::string {
        if (event == nullptr) return "null";
        return provider::arguments(event->type, text_of(event->user),
                                   text_of(event->description))();
    };
    return provider::call(__func__, shown, [&] {
        return event == nullptr ? kFailure : provider::keep_event(taken(*event));
    });
}

int naslog_event_query(NASLOG_EVENT* events, int max) {
    return provider::call(__func__, provider::arguments(max), [&] {
        if (events == nullptr) return kFailure;
        int count = 0;
        for (const provider::Event& event : provider::newest_events(std::max(max, 0))) {
            if (count < max) events[count++] = given(event);
        }
        return count;
    });
}
