#include "model/event.h"

#include <algorithm>

#include "output/failure.h"

namespace cli {

std::vector<NASLOG_EVENT> load_events(int count) {
    std::vector<NASLOG_EVENT> events(static_cast<size_t>(count));
    const int found = naslog_event_query(events.data(), count);
    if (found < 0) throw reported_in_log("The event log cannot be read.");
    events.resize(static_cast<size_t>(found));
    std::reverse(events.begin(), events.end());
    return events;
}

std::string type_word(const NASLOG_EVENT& event) {
    switch (event.type) {
        case NASLOG_INFORMATION:
            return "information";
        case NASLOG_WARNING:
            return "warning";
        default:
            return "error";
    }
}

}  // namespace cli
