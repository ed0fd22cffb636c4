#include "page/event_data.h"

#include <fmt/format.h>

#include "output/text.h"

namespace cli {

namespace {

constexpr size_t kMostShown = 100;
constexpr time_t kAfterTheEnd = 60;  // seconds in which the end is told

}  // namespace

Json event_data(const ssd_op_db_record& record, const std::vector<NASLOG_EVENT>& events) {
    const std::string begin = moment_text(record.start_time);
    const std::string end =
        record.end_time == 0 ? "9999" : moment_text(record.end_time + kAfterTheEnd);
    Json list = Json::array();
    for (const NASLOG_EVENT& event : events) {
        const std::string moment = fmt::format("{} {}", event.date, event.time);
        if (moment < begin || moment > end) continue;  // moments sort as text
        list.push_back({moment, type_word(event), event.description});
    }
    const size_t left_out = list.size() - std::min(list.size(), kMostShown);
    list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(left_out));
    return {{"list", std::move(list)}, {"left_out", left_out}};
}

}  // namespace cli
