// One piece of work: what bench-table measures, each in a process of its own. It prints how many
// seconds it took. The first record of the database is the one that is worked on.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include <unistd.h>

#include "base/text.h"
#include "peers.h"
#include "platform/hal.h"
#include "platform_time.h"
#include "ssd_op.h"

namespace {

constexpr int kRecord = 1;

/// The n-th ratio of a record.
int ratio(int n) { return 1 + n; }

/// A sample a second, as the test script writes them.
bool write_lines(const char* path, int n, int samples) {
    std::FILE* file = std::fopen(path, "w");
    if (file == nullptr) return false;
    for (int i = 0; i < samples; ++i)
        std::fprintf(file, "%d,%d,0,0,%llu\n", i * 1000, 20000 + n * 100 + i * 7919 % 1000,
                     i * 83886ULL);
    return std::fclose(file) == 0;
}

int new_record() {
    auto* record = static_cast<ssd_op_db_record*>(std::calloc(1, sizeof(ssd_op_db_record)));
    record->raid_conf =
        static_cast<ssd_op_db_raid_conf*>(std::calloc(1, sizeof(ssd_op_db_raid_conf)));
    ssd_op::base::copy_text(record->title, "Measured");
    unsigned drives[SSD_OP_MAX_DRIVES];
    const int count = std::min(PD_Enumerate(drives, SSD_OP_MAX_DRIVES), 4);
    record->raid_conf->raid_level = 5;
    for (int i = 0; i < count; ++i)
        record->raid_conf->ssd_drives[record->raid_conf->ssd_drive_num++].dev_id = drives[i];
    const int result = SSD_OP_DB_New_Record(record);
    SSD_OP_DB_Free_Record(record);
    return result;
}

/// A new record with so many ratios of so many samples.
int fill(int ratios, int samples) {
    constexpr const char* kLines = "/root/lines_to_fill";
    int result = new_record();
    for (int n = 0; n < ratios && result == 0; ++n) {
        if (!write_lines(kLines, n, samples)) return -1;
        result |= SSD_OP_DB_Update_Test_Result(kRecord, ratio(n), 1, 20000 + n * 100);
        result |= SSD_OP_DB_Update_Runtime_Report(kRecord, ratio(n), kLines, 0);
    }
    ::unlink(kLines);
    return result;
}

/// Leaves the list to the end of the process: its release is not the query's.
int query() {
    static ssd_op_db_record record;
    const int result = SSD_OP_DB_Query_Record_Runtime_Report(&record, kRecord, ratio(0), 1);
    return result == 0 && record.runtime_report != nullptr ? 0 : -1;
}

int poll(int times) {
    int polled = 0;
    for (int i = 0; i < times; ++i)
        if (SSD_OP_DB_Query_Record_Status(kRecord) == 0) ++polled;
    return polled == times ? 0 : -1;
}

int usage() {
    std::fputs("usage: bench-work WORK [ARGUMENT...]; see bench/run\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    char path[512];
    const auto number = [&](int n) { return n < argc ? std::atoi(argv[n]) : 0; };
    const std::map<std::string, std::function<int()>> works = {
        {"nothing", [] { return 0; }},
        {"lines", [&] { return write_lines(argv[2], 0, number(3)) ? 0 : -1; }},
        {"fill", [&] { return fill(number(2), number(3)); }},
        {"import", [&] { return SSD_OP_DB_Update_Runtime_Report(kRecord, ratio(0), argv[2], 0); }},
        {"query", query},
        {"csv", [&] { return SSD_OP_Test_Export_CSV(kRecord, path, sizeof path); }},
        {"xlsx", [&] { return SSD_OP_Test_Export_XLSX(kRecord, path, sizeof path); }},
        {"poll", [&] { return poll(number(2)); }},
        {"query-bare", [&] { return bench::read_rows(argv[2], ratio(0)); }},
        {"poll-bare", [&] { return bench::poll_bare(argv[2], number(3)); }},
        {"xlsx-bare", [&] { return bench::write_workbook(argv[2], number(3), number(4), true); }},
        {"xlsx-bare-all",
         [&] { return bench::write_workbook(argv[2], number(3), number(4), false); }},
    };
    const auto work = argc > 1 ? works.find(argv[1]) : works.end();
    if (work == works.end()) return usage();
    const auto start = std::chrono::steady_clock::now();
    const int result = work->second();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    // A poll is short, and what the platform does in it is the platform's.
    std::printf("%.9f\n",
                took.count() - (work->first == "poll" ? bench::seconds_in_platform().all() : 0.0));
    return result == 0 ? 0 : 1;
}
