#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace provider {

struct Event {
    int64_t time = 0;  ///< seconds since the epoch
    int type = 0;      ///< NASLOG_INFORMATION, ...
    std::string user;
    std::string address;
    std::string computer;
    std::string description;
};

struct Notice {
    const char* way;  ///< "notification", or "log engine"
    std::string message_id;
    int severity = 0;  ///< as syslog's
    std::string title;
    std::string message;
    std::string detail;
};

// Where they go is each provider's own. 0 on success.

int keep_event(const Event& event);
/// The newest first, `max` at the most.
std::vector<Event> newest_events(int max);
int keep_notice(const Notice& notice);

}  // namespace provider
