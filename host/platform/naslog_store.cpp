/// Events go to the system's log and to a file, notices to the system's log and to the program that
/// the settings name.

#include <algorithm>

#include <syslog.h>

#include "core/failure.h"
#include "core/settings.h"
#include "core/text.h"
#include "core/tool.h"
#include "events/event_file.h"
#include "platform/naslog.h"
#include "provider/log.h"

namespace {

using host::Json;

constexpr const char* kDirectory = "/var/log/ssd-op";
constexpr const char* kProgram = "ssd-op";
constexpr std::chrono::seconds kMostTime{30};

void tell_system(int severity, const std::string& text) {
    ::openlog(kProgram, LOG_PID, LOG_USER);
    ::syslog(LOG_USER | std::clamp(severity, LOG_EMERG, LOG_DEBUG), "%s",
             host::printable(text).c_str());
    ::closelog();
}

int severity_of(int type) {
    switch (type) {
        case NASLOG_ERROR:
            return LOG_ERR;
        case NASLOG_WARNING:
            return LOG_WARNING;
        default:
            return LOG_INFO;
    }
}

std::string text_in(const Json& event, const char* key) {
    const auto found = event.find(key);
    return found != event.end() && found->is_string() ? found->get<std::string>() : "";
}

int64_t number_in(const Json& event, const char* key) {
    const auto found = event.find(key);
    return found != event.end() && found->is_number_integer() ? found->get<int64_t>() : 0;
}

provider::Event event_of(const Json& kept) {
    return {.time = number_in(kept, "time"),
            .type = static_cast<int>(std::clamp<int64_t>(number_in(kept, "type"), 0, NASLOG_ERROR)),
            .user = text_in(kept, "user"),
            .address = text_in(kept, "address"),
            .computer = text_in(kept, "computer"),
            .description = text_in(kept, "description")};
}

/// No shell is between.
void give_to_program(const std::vector<std::string>& command, const std::string& text) {
    host::must_run(host::on_host(command), {.input = text, .most_time = kMostTime});
}

}  // namespace

int provider::keep_event(const Event& event) {
    tell_system(severity_of(event.type), event.description);
    host::EventFile(kDirectory)
        .append({{"time", event.time},
                 {"type", event.type},
                 {"user", event.user},
                 {"address", event.address},
                 {"computer", event.computer},
                 {"description", event.description}});
    return 0;
}

std::vector<provider::Event> provider::newest_events(int max) {
    std::vector<Event> events;
    for (const Json& kept : host::EventFile(kDirectory).newest(static_cast<size_t>(max)))
        events.push_back(event_of(kept));
    return events;
}

int provider::keep_notice(const Notice& notice) {
    tell_system(notice.severity, notice.message);
    const host::Settings settings = host::load_settings({});
    if (!settings.notify.empty()) give_to_program(settings.notify, notice.message + "\n");
    return 0;
}
