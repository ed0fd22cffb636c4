#include "model/record.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "model/database.h"
#include "output/failure.h"
#include "platform/hal.h"
#include "shared/drive_id.h"

namespace cli {

namespace {

constexpr int kPage = 64;

/// Takes a list of records apart, so that each is owned by itself.
void append(std::vector<Record>& records, ssd_op_db_record* list) {
    while (list != nullptr) {
        ssd_op_db_record* const next = list->next;
        list->next = nullptr;
        records.emplace_back(list);
        list = next;
    }
}

std::string known_records() {
    const std::vector<int> numbers = record_nos();
    if (numbers.empty()) return "There is no record yet; ssd-op start makes one.";
    return fmt::format("There {}: {}.", numbers.size() == 1 ? "is one" : "are these",
                       fmt::join(numbers, ", "));
}

std::string advice_for_unreadable() {
    const int version = database_version();
    if (version == kNoVersion || version >= kCurrentVersion) return "ssd-op db check tells more.";
    return fmt::format("The database has version {}; ssd-op db upgrade brings it up.", version);
}

}  // namespace

std::vector<int> record_nos() {
    if (!has_database()) return {};
    const int count = SSD_OP_DB_Query_Record_Count();
    std::vector<int> numbers(static_cast<size_t>(std::max(count, 1)));
    const int found = SSD_OP_DB_Query_Record_No(numbers.data(), static_cast<int>(numbers.size()));
    if (count < 0 || found < 0)
        throw Failure(kFailed, "The database cannot be read.", advice_for_unreadable());
    numbers.resize(static_cast<size_t>(found));
    return numbers;
}

void require_existence(int record_no) {
    if (has_database() && SSD_OP_DB_Record_Is_Exist(record_no) != 0) return;
    throw Failure(kNotFound, fmt::format("There is no record {}.", record_no), known_records());
}

void require_distinct(const std::vector<int>& record_nos) {
    std::set<int> known;
    for (const int record_no : record_nos) {
        if (!known.insert(record_no).second)
            throw Failure(kRefused, fmt::format("Record {} is named twice.", record_no),
                          "Name each record once.");
    }
}

Record empty_record() {
    Record record(static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record))));
    if (!record) throw std::bad_alloc();
    return record;
}

Record require_record(int record_no) {
    require_existence(record_no);
    Record record = empty_record();
    if (SSD_OP_DB_Query_Record(record_no, record.get()) != 0 ||
        SSD_OP_DB_Query_Record_Test_Data(record.get(), record_no) != 0) {
        throw Failure(kFailed, fmt::format("Record {} cannot be read.", record_no),
                      advice_for_unreadable());
    }
    return record;
}

std::vector<Record> load_records() {
    std::vector<Record> records;
    if (!has_database()) return records;
    for (int offset = 0;; offset += kPage) {
        const size_t before = records.size();
        ssd_op_db_record* page = nullptr;
        const int result = SSD_OP_DB_Query_Record_Simple(&page, offset, kPage, SSD_OP_ANY_STATUS);
        append(records, page);
        if (result != 0)
            throw Failure(kFailed, "The records cannot be read.", advice_for_unreadable());
        if (records.size() == before) break;
    }
    std::sort(records.begin(), records.end(),
              [](const Record& a, const Record& b) { return a->record_no < b->record_no; });
    return records;
}

/// All are loaded at once: one that moves on meanwhile is found, and found once.
std::vector<Record> load_running_records() {
    std::vector<Record> records = load_records();
    std::erase_if(records, [](const Record& record) { return !is_running(record->status); });
    return records;
}

bool is_running(int status) {
    return status >= SSD_OP_TEST_STATUS_INITIATING && status <= SSD_OP_TEST_STATUS_FINISHING;
}

std::string status_word(int status) {
    switch (status) {
        case SSD_OP_TEST_STATUS_FAILED:
            return "failed";
        case SSD_OP_TEST_STATUS_STOPPED:
            return "stopped";
        case SSD_OP_TEST_STATUS_NEW:
            return "new";
        case SSD_OP_TEST_STATUS_INITIATING:
            return "initiating";
        case SSD_OP_TEST_STATUS_TESTING:
            return "testing";
        case SSD_OP_TEST_STATUS_FINISHING:
            return "finishing";
        case SSD_OP_TEST_STATUS_COMPLETED:
            return "completed";
        default:
            return fmt::format("unknown ({})", status);
    }
}

std::vector<const ssd_op_db_ssd_dev*> drives_of(const ssd_op_db_record& record) {
    std::vector<const ssd_op_db_ssd_dev*> drives;
    for (const ssd_op_db_raid_conf& group : shared::groups(record)) {
        for (const ssd_op_db_ssd_dev& drive : shared::drives(group)) drives.push_back(&drive);
    }
    return drives;
}

std::string slot_name(const ssd_op_db_ssd_dev& drive) {
    const auto [enclosure, port] = shared::slot_of(drive.dev_id);
    std::array<char, 32> name{};
    if (PD_Get_Log_Name(enclosure, port, name.data(), static_cast<int>(name.size())) == 0)
        return name.data();
    return fmt::format("{}:{}", enclosure, port);
}

}  // namespace cli
