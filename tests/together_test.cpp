// Eight processes that use the library at once, some of them killed at moments that nobody chose.
// TOGETHER_SECONDS says for how long (4), TOGETHER_SEED which moments (1).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"

namespace {

using support::Child;

constexpr int kWorkers = 8;
constexpr int kSamples = 50;  // lines of an imported file
constexpr int kFewestRecords = 20, kMostRecords = 30;
constexpr const char* kEnd = "/tmp/together.end";
constexpr const char* kFaults = "/tmp/together.faults";

int setting(const char* name, int otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

std::string log_of(int worker) { return "/tmp/together.log-" + std::to_string(worker); }

/// Appends a line with one system call: it is there whole, or not at all, whoever is killed.
void append(const std::string& path, const std::string& line) {
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (::write(file, line.data(), line.size()) < 0) std::abort();
    ::close(file);
}

/// What a worker meant to do to a record, and what it was told had been done. Records are known by
/// their start time, of which each has its own; numbers are used again.
class Log {
  public:
    explicit Log(int worker) : path_(log_of(worker)) {}
    template <typename Call>
    bool call(const char* what, long start, long value, Call&& call) const {
        const std::string entry =
            std::string(what) + ' ' + std::to_string(start) + ' ' + std::to_string(value) + '\n';
        append(path_, "means " + entry);
        const bool succeeded = call();
        if (succeeded) append(path_, "did " + entry);
        return succeeded;
    }

  private:
    std::string path_;
};

/// One of the eight: works on records of its own, and looks at everybody's.
class Worker {
  public:
    Worker(int number, unsigned seed) : number_(number), random_(seed), log_(number) {}

    int work() {
        while (!support::exists(kEnd)) {
            switch (own_.empty() ? 0 : chance(0, 11)) {
                case 0:
                case 1:
                    create();
                    break;
                case 2:
                    update();
                    break;
                case 3:
                    import_report();
                    break;
                case 4:
                    import_temperatures();
                    break;
                case 5:
                    store_result();
                    break;
                case 6:
                    set_state();
                    break;
                case 7:
                    stop();
                    break;
                case 8:
                    limit();
                    break;
                case 9:
                    if (chance(0, 2) == 0) delete_one();
                    break;
                case 10:
                    export_one();
                    break;
                default:
                    look();
            }
        }
        return 0;
    }

  private:
    struct Own {
        int record_no;
        long start;
    };

    int chance(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }
    Own any() { return own_[static_cast<size_t>(chance(0, static_cast<int>(own_.size()) - 1))]; }
    std::string scratch() const { return "/tmp/together.file-" + std::to_string(number_); }
    static void fault(const std::string& text) { append(kFaults, text + '\n'); }

    /// The number may belong to another record by now, when the limit has dropped this one or a
    /// deletion has set numbers free: then there is nothing to be done to it.
    template <typename Call>
    void on_own(const char* what, const Own& own, long value, Call&& call) {
        const support::Record record = support::read_record(own.record_no);
        if (record->start_time == own.start) log_.call(what, own.start, value, call);
    }

    void create() {
        const long start = 1'000'000'000 + number_ * 100'000L + ++created_;
        // Few titles: reports of many records want the same name.
        support::Record record = support::record_of("Title " + std::to_string(created_ % 3),
                                                    {{900 + number_, 1, {appliance::drive_id(0)}}});
        record->start_time = start;
        if (!log_.call("create", start, 0, [&] { return SSD_OP_DB_New_Record(record.get()) == 0; }))
            return fault("a record cannot be created");
        log_.call("number", start, record->record_no, [] { return true; });
        own_.push_back({record->record_no, start});
    }

    void update() {
        const Own own = any();
        on_own("lv_size", own, ++value_, [&] {
            return SSD_OP_DB_Update_Record_LV_Size(static_cast<unsigned long long>(value_),
                                                   own.record_no) == 0;
        });
    }

    void import_report() {
        const Own own = any();
        std::ofstream file(scratch());
        for (int i = 0; i < kSamples; ++i) file << i << ",100,0,0," << i << '\n';
        file.close();
        on_own("report", own, ++value_, [&] {
            return SSD_OP_DB_Update_Runtime_Report(own.record_no, static_cast<int>(value_),
                                                   scratch().c_str(), 0) == 0;
        });
    }

    void import_temperatures() {
        const Own own = any();
        const int select_no = SSD_OP_DB_Query_SSD_Select_No(
            own.record_no, 900 + number_, static_cast<int>(appliance::drive_id(0)));
        if (select_no <= 0) return;
        std::ofstream file(scratch());
        for (int i = 0; i < kSamples; ++i) file << i << ", 0, " << select_no << ", 40\n";
        file.close();
        on_own("temperatures", own, ++value_, [&] {
            return SSD_OP_DB_Update_SSD_Runtime_Data(own.record_no, static_cast<int>(value_),
                                                     scratch().c_str()) == 0;
        });
    }

    void store_result() {
        const Own own = any();
        on_own("result", own, ++value_, [&] {
            return SSD_OP_DB_Update_Test_Result(own.record_no, 10, 1,
                                                static_cast<long double>(value_)) == 0;
        });
    }

    void set_state() {
        const Own own = any();
        on_own("stop_type", own, ++value_, [&] {
            return SSD_OP_Test_Set_Stop_Type(own.record_no, static_cast<int>(value_)) == 0;
        });
    }

    void stop() {
        const Own own = any();
        on_own("stop", own, 0, [&] {
            return SSD_OP_Test_Set_Status(own.record_no, SSD_OP_TEST_STATUS_TESTING) == 0 &&
                   NAS_SSD_OP_Test_Stop(nullptr, 0, own.record_no, -1, 0, SSD_OP_STOP_BY_USER) == 0;
        });
    }

    void limit() { SSD_OP_DB_Update_Max_Record_Limit(chance(kFewestRecords, kMostRecords)); }

    void delete_one() {
        const auto at = own_.begin() + chance(0, static_cast<int>(own_.size()) - 1);
        const Own own = *at;
        on_own("delete", own, 0, [&] { return SSD_OP_DB_Delete_Record(own.record_no) == 0; });
        own_.erase(at);
    }

    /// Through the command line, which has to see to it that it copies the right report.
    void export_one() {
        const Own own = any();
        if (support::read_record(own.record_no)->start_time != own.start) return;
        const auto made =
            support::shell("/opt/appliance/bin/ssd-op export " + std::to_string(own.record_no) +
                           " --csv --force --output " + scratch() + ".csv");
        if (made.status != 0) return;
        const std::string report = support::read_file(scratch() + ".csv");
        std::tm date{};
        ::localtime_r(&own.start, &date);
        char line[64];
        std::strftime(line, sizeof line, "START TIME,%Y/%m/%d:%H:%M:%S\n", &date);
        if (report.find(line) == std::string::npos && is_own(own))
            fault("a report of another record, instead of " + std::string(line) + report);
    }

    static bool is_own(const Own& own) {
        return support::read_record(own.record_no)->start_time == own.start;
    }

    void look() {
        int numbers[100] = {};
        const int count = SSD_OP_DB_Query_Record_No(numbers, 100);
        if (count < 0) fault("the numbers cannot be read");
        for (int i = 0; i < count; ++i) {
            const support::Record record = support::read_record(numbers[i]);
            if (record->record_no != 0 &&
                (record->title[0] == '\0' || record->raid_conf == nullptr ||
                 record->raid_conf->ssd_drive_num != 1))
                fault("record " + std::to_string(numbers[i]) + " is not whole");
            float progress = -1;
            if (SSD_OP_Test_Get_Progress(numbers[i], nullptr, &progress) != 0)
                fault("no progress of record " + std::to_string(numbers[i]));
        }
    }

    int number_;
    std::mt19937 random_;
    Log log_;
    std::vector<Own> own_;
    long created_ = 0;
    long value_ = 0;
};

/// What one kind of call was meant to have done to a record last, and what it did last.
struct Last {
    long meant = -1;
    long done = -1;
};

/// All that happened to a record, by the kind of call.
struct History {
    std::map<std::string, Last> last;
    std::vector<long> reports, temperatures;  // those that succeeded
    bool meant(const std::string& what) const { return last.contains(what); }
    bool did(const std::string& what) const { return meant(what) && last.at(what).done >= 0; }
};

std::map<long, History> read_logs(int workers) {
    std::map<long, History> histories;
    for (int worker = 0; worker < workers; ++worker) {
        std::ifstream log(log_of(worker));
        std::string verb, what;
        long start = 0, value = 0;
        while (log >> verb >> what >> start >> value) {
            History& history = histories[start];
            (verb == "means" ? history.last[what].meant : history.last[what].done) = value;
            if (verb == "did" && what == "report") history.reports.push_back(value);
            if (verb == "did" && what == "temperatures") history.temperatures.push_back(value);
        }
    }
    return histories;
}

class Together : public support::ApplianceTest {
  protected:
    Together() { appliance().with_drives(1); }

    /// What the library and the platform said meanwhile, to go with a fault.
    std::string errors_traced() {
        std::string errors;
        for (const support::Trace& trace : appliance().traces(1)) errors += trace.text + '\n';
        return errors;
    }

    long number(const std::string& query) {
        return std::atol(appliance().sql_value(query).c_str());
    }

    /// A value that only grows is what was stored last, or what a killed call was about to store.
    static void expect_kept(const History& history, const std::string& what, long stored) {
        if (!history.meant(what)) return;
        const Last last = history.last.at(what);
        EXPECT_GE(stored, last.done) << what << " was lost";
        EXPECT_LE(stored, last.meant) << what;
    }

    void expect_whole(long record_no, const History& history) {
        const std::string here = std::to_string(record_no);
        const auto column = [&](const std::string& name) {
            return number("SELECT " + name + " FROM TEST_RECORD WHERE record_no=" + here);
        };
        if (history.did("lv_size")) expect_kept(history, "lv_size", column("lv_size"));
        if (history.did("result")) {
            expect_kept(history, "result",
                        number("SELECT coalesce(max(CAST(result_2 AS REAL)), -1) FROM TEST_DATA "
                               "WHERE f_record_no=" +
                               here));
        }
        if (history.did("stop_type")) {
            int value = -1;
            SSD_OP_Test_Get_Stop_Type(static_cast<int>(record_no), &value);
            expect_kept(history, "stop_type", value);
        }
        // A later stop that was killed may have left the status that it starts from.
        if (history.did("stop")) {
            const long status = column("status");
            EXPECT_TRUE(status == SSD_OP_TEST_STATUS_STOPPED ||
                        status == SSD_OP_TEST_STATUS_TESTING)
                << status;
        }
        for (const long percentage : history.reports) {
            EXPECT_EQ(number("SELECT count(*) FROM RUNTIME_REPORT WHERE f_record_no=" + here +
                             " AND percentage=" + std::to_string(percentage)),
                      kSamples);
        }
        for (const long percentage : history.temperatures) {
            EXPECT_EQ(number("SELECT count(*) FROM SSD_RUNTIME_DATA WHERE percentage=" +
                             std::to_string(percentage) +
                             " AND f_select_no IN (SELECT select_no FROM SELECT_DEV JOIN "
                             "RAID_GROUP ON f_raid_no=raid_no WHERE f_record_no=" +
                             here + ")"),
                      kSamples);
        }
    }
};

}  // namespace

TEST_F(Together, NothingIsLostThatHadSucceeded) {
    std::mt19937 random(static_cast<unsigned>(setting("TOGETHER_SEED", 1)));
    const int kills_wanted = setting("TOGETHER_SECONDS", 4) * 10;
    std::vector<std::unique_ptr<Child>> workers(kWorkers);
    int started = 0;
    const auto start = [&](std::unique_ptr<Child>& slot) {
        slot = std::make_unique<Child>([number = started, seed = random()] {
            return Worker(number, static_cast<unsigned>(seed)).work();
        });
        ++started;
    };
    for (auto& slot : workers) start(slot);
    for (int kill = 0; kill < kills_wanted; ++kill) {
        support::pause_for_milliseconds(static_cast<int>(random() % 200));
        auto& slot = workers[random() % kWorkers];
        ASSERT_TRUE(slot->running()) << slot->wait();
        slot->signal(SIGKILL);
        slot->wait();
        start(slot);
    }
    // A slow machine may have made too few records for the limit until now.
    EXPECT_TRUE(support::eventually([] { return SSD_OP_DB_Record_Is_Exist(1) == 0; }));
    support::write_file(kEnd, "");
    // Also shows that no lock is left.
    for (auto& slot : workers) EXPECT_EQ(slot->wait(), support::exited(0));

    EXPECT_EQ(support::exists(kFaults) ? support::read_file(kFaults) : "", "") << errors_traced();
    // Plays back the journal that the last one to be killed may have left.
    EXPECT_EQ(SSD_OP_DB_Query_Record_Count(), number("SELECT count(*) FROM TEST_RECORD"));
    EXPECT_EQ(appliance().sql_value("PRAGMA integrity_check"), "ok");
    const int limit = SSD_OP_DB_Query_Max_Record_Limit();
    EXPECT_TRUE(limit >= kFewestRecords && limit <= kMostRecords) << limit;

    const long oldest = number("SELECT min(record_no) FROM TEST_RECORD");
    std::map<long, long> numbers;  // by start time
    for (const support::Row& row : appliance().sql("SELECT start_time, record_no FROM TEST_RECORD"))
        numbers[std::atol(row[0].c_str())] = std::atol(row[1].c_str());
    EXPECT_GT(oldest, 1) << "the limit never dropped a record";
    int looked_at = 0, kept = 0;
    for (const auto& [start_time, history] : read_logs(started)) {
        SCOPED_TRACE("record begun at " + std::to_string(start_time));
        if (!history.did("create")) continue;
        ++looked_at;
        const auto at = numbers.find(start_time);
        if (history.meant("delete")) {
            EXPECT_TRUE(!history.did("delete") || at == numbers.end()) << "deleted, but there";
        } else if (at != numbers.end()) {
            ++kept;
            expect_whole(at->second, history);
        } else if (history.did("number")) {
            EXPECT_LT(history.last.at("number").done, oldest) << "not dropped by the limit";
        }
    }
    std::printf("%d processes, %d of them killed, %d records made, %d kept\n", started,
                kills_wanted, looked_at, kept);
    EXPECT_GT(kept, 0);
}
