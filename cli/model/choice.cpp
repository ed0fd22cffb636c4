#include "model/choice.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "model/database.h"
#include "model/record.h"
#include "model/snapshot.h"
#include "output/failure.h"

namespace cli {

namespace {

constexpr int kLimitOfANewDatabase = 30;

}  // namespace

int only_running() {
    const std::vector<Record> running = load_running_records();
    if (running.empty())
        throw Failure(kNotFound, "No evaluation is running.", "ssd-op list has the past.");
    if (running.size() == 1) return running.front()->record_no;
    std::vector<int> numbers;
    for (const Record& record : running) numbers.push_back(record->record_no);
    throw Failure(kRefused, fmt::format("{} evaluations are running.", numbers.size()),
                  fmt::format("Name one: {}.", fmt::join(numbers, ", ")));
}

void refuse_running(const std::vector<int>& record_nos, const char* what) {
    for (const int record_no : record_nos) {
        if (!is_running(SSD_OP_DB_Query_Record_Status(record_no))) continue;
        throw Failure(kRefused, fmt::format("Evaluation {} is running; {}", record_no, what),
                      fmt::format("Stop it first: ssd-op stop {}", record_no));
    }
}

void refuse_held(const std::vector<int>& record_nos, const char* what) {
    refuse_running(record_nos, what);
    for (const int record_no : record_nos) {
        const Snapshot snapshot = take_snapshot(*require_record(record_no));
        if (snapshot.left_storage) {
            throw Failure(kRefused,
                          fmt::format("Evaluation {} has left storage; {}", record_no, what),
                          fmt::format("Remove it first: ssd-op stop {}", record_no));
        }
        if (snapshot.is_closing()) {
            throw Failure(
                kRefused,
                fmt::format("Evaluation {} is still removing its storage; {}", record_no, what),
                fmt::format("ssd-op watch {} waits for its end.", record_no));
        }
    }
}

int load_limit() {
    if (!has_database()) return kLimitOfANewDatabase;
    const int limit = SSD_OP_DB_Query_Max_Record_Limit();
    if (limit < 0) throw reported_in_log("The limit cannot be read.");
    return limit;
}

std::vector<int> beyond(int limit, int added) {
    std::vector<int> numbers = record_nos();
    const auto count = static_cast<int64_t>(numbers.size());
    const int64_t dropped = std::clamp<int64_t>(count + added - limit, 0, count);
    numbers.resize(static_cast<size_t>(dropped));
    return numbers;
}

std::vector<int> dropped_by_start() {
    std::vector<int> dropped = beyond(load_limit(), 1);
    refuse_held(dropped, "the record limit would drop its record for the new one.");
    return dropped;
}

}  // namespace cli
