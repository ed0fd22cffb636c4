#include "choice.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "failure.h"
#include "record.h"

namespace cli {

std::vector<int> running_record_nos() {
    std::vector<int> numbers = record_nos();
    numbers.erase(std::remove_if(numbers.begin(), numbers.end(),
                                 [](int record_no) {
                                     return !is_running(SSD_OP_DB_Query_Record_Status(record_no));
                                 }),
                  numbers.end());
    return numbers;
}

int only_running() {
    const std::vector<int> running = running_record_nos();
    if (running.empty())
        throw Failure(kNotFound, "No evaluation is running.", "ssd-op list has the past.");
    if (running.size() == 1) return running.front();
    throw Failure(kRefused, fmt::format("{} evaluations are running.", running.size()),
                  fmt::format("Name one: {}.", fmt::join(running, ", ")));
}

void refuse_running(const std::vector<int>& numbers, const char* what) {
    for (const int record_no : numbers) {
        if (!is_running(SSD_OP_DB_Query_Record_Status(record_no))) continue;
        throw Failure(kRefused, fmt::format("Evaluation {} is running; {}", record_no, what),
                      fmt::format("Stop it first: ssd-op stop {}", record_no));
    }
}

}  // namespace cli
