/// Events and notices are rows of the appliance's state.

#include <time.h>

#include "core/query.h"
#include "provider/log.h"

using namespace appliance;

int provider::keep_event(const Event& event) {
    change(
        "INSERT INTO event(time, type, user, address, computer, description) "
        "VALUES(?, ?, ?, ?, ?, ?)",
        event.time, event.type, event.user, event.address, event.computer, event.description);
    return 0;
}

std::vector<provider::Event> provider::newest_events(int max) {
    SQLite::Statement query = statement(
        "SELECT time, type, user, address, computer, description FROM event "
        "ORDER BY event_no DESC LIMIT ?",
        max);
    std::vector<Event> events;
    while (query.executeStep()) {
        events.push_back({.time = query.getColumn(0).getInt64(),
                          .type = query.getColumn(1).getInt(),
                          .user = query.getColumn(2).getString(),
                          .address = query.getColumn(3).getString(),
                          .computer = query.getColumn(4).getString(),
                          .description = query.getColumn(5).getString()});
    }
    return events;
}

int provider::keep_notice(const Notice& notice) {
    change(
        "INSERT INTO notice(time, way, message_id, severity, title, message, detail) "
        "VALUES(?, ?, ?, ?, ?, ?, ?)",
        static_cast<int64_t>(::time(nullptr)), notice.way, notice.message_id, notice.severity,
        notice.title, notice.message, notice.detail);
    return 0;
}
