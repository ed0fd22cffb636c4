/// Notices: to the notification application, and to the log engine.

#include <array>
#include <cstdarg>
#include <cstdlib>
#include <span>
#include <string>

#include <fmt/format.h>

#include "platform/naslog.h"
#include "provider/call.h"
#include "provider/log.h"

namespace {

enum Severity {
    kErrorSeverity = 3,
    kWarningSeverity = 4,
    kInformationSeverity = 6
};  // as syslog's

constexpr size_t kMostValues = 16;  // far more than any text has places for

std::string text_or_empty(const char* text) { return text == nullptr ? "" : text; }

/// An argument "%V001%" stands for the text of entry 1.
std::string resolved(const std::string& argument) {
    if (argument.size() < 3 || !argument.starts_with("%V") || !argument.ends_with('%'))
        return argument;
    const int entry = std::atoi(argument.c_str() + 2);
    const bool known = entry >= 1 && entry < A255_LIST_SIZE && A255_list[entry].text != nullptr;
    return known ? A255_list[entry].text : argument;
}

std::string rendered(std::string text, std::span<const char* const> values) {
    size_t position = 0;
    for (size_t index = 0; index < values.size(); ++index) {
        const std::string placeholder = fmt::format("{{{}}}", index);
        const size_t found = text.find(placeholder, position);
        if (found == std::string::npos) continue;
        const std::string value = resolved(values[index]);
        text.replace(found, placeholder.size(), value);
        position = found + value.size();  // what was filled in is no template
    }
    return text;
}

int severity_of_level(int level) {
    switch (level) {
        case 1:
            return kErrorSeverity;
        case 2:
            return kWarningSeverity;
        default:
            return kInformationSeverity;
    }
}

}  // namespace

int naslog_notice_send(int64_t application_id, int level, int channel, int64_t category_id,
                       int64_t message_id, int reserved_1, int reserved_2, int reserved_3,
                       const char* text, ...) {
    std::array<const char*, kMostValues> values{};
    size_t count = 0;
    va_list list;
    va_start(list, text);
    while (count < values.size() && (values[count] = va_arg(list, const char*)) != nullptr) ++count;
    va_end(list);
    std::string message;
    return provider::call(
        __func__,
        [&] {
            message = rendered(text_or_empty(text), {values.data(), count});
            return provider::arguments(application_id, level, channel, category_id, message_id,
                                       reserved_1, reserved_2, reserved_3, message)();
        },
        [&] {
            return provider::keep_notice(
                {.way = "notification",
                 .message_id = std::to_string(message_id),
                 .severity = severity_of_level(level),
                 .title = "",
                 .message = message,
                 .detail = fmt::format("application {}, channel {}, category {}, level {}",
                                       application_id, channel, category_id, level)});
        });
}

int ChangeLogTypeToNoticeSeverity(int event_type) {
    return provider::call(__func__, provider::arguments(event_type), [&]() -> int {
        switch (event_type) {
            case NASLOG_ERROR:
                return kErrorSeverity;
            case NASLOG_WARNING:
                return kWarningSeverity;
            default:
                return kInformationSeverity;
        }
    });
}

int SendNoticeToLogEngine(int severity, int reserved_1, int reserved_2, const char* reserved_text_1,
                          int facility, const char* title, int notice_no, int reserved_3,
                          int reserved_4, const char* user, const char* address,
                          const char* reserved_text_2, const char* message_id, int reserved_5,
                          const char* reserved_text_3, const char* message) {
    return provider::call(
        __func__,
        provider::arguments(severity, reserved_1, reserved_2, reserved_text_1, facility, title,
                            notice_no, reserved_3, reserved_4, user, address, reserved_text_2,
                            message_id, reserved_5, reserved_text_3, message),
        [&] {
            return provider::keep_notice(
                {.way = "log engine",
                 .message_id = text_or_empty(message_id),
                 .severity = severity,
                 .title = text_or_empty(title),
                 .message = text_or_empty(message),
                 .detail = fmt::format("facility {}, notice {}, user {}, address {}", facility,
                                       notice_no, text_or_empty(user), text_or_empty(address))});
        });
}
