// A record's report and diagrams, from the command line.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"

namespace {

namespace fs = std::filesystem;
using support::Outcome;
using support::read_file;
using support::shell;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kProgram = "/opt/appliance/bin/ssd-op ";
constexpr size_t kMargin = 9;  // columns of labels and axis before a diagram's first

/// Lines by their columns: each character of UTF-8 is one element.
std::vector<std::vector<std::string>> screen(const std::string& text) {
    std::vector<std::vector<std::string>> lines(1);
    for (const char c : text) {
        if (c == '\n')
            lines.emplace_back();
        else if ((static_cast<unsigned char>(c) & 0xC0U) == 0x80U && !lines.back().empty())
            lines.back().back() += c;
        else
            lines.back().emplace_back(1, c);
    }
    return lines;
}

/// The middle of the dots in the highest row that has any, in the diagram below this heading.
double peak_column(const std::string& shown, const std::string& heading) {
    auto lines = screen(shown.substr(shown.find(heading)));
    lines.erase(lines.begin(), lines.begin() + 3);  // heading, blank, name of the axis
    for (const auto& line : lines) {
        double sum = 0, count = 0;
        for (size_t i = kMargin; i < line.size(); ++i) {
            if (line[i] == " ") continue;
            sum += static_cast<double>(i);
            ++count;
        }
        if (count > 0) return sum / count;
    }
    return -1;
}

class RecordReports : public support::ApplianceTest {
  protected:
    RecordReports() { clean(); }
    ~RecordReports() override { clean(); }
    static void clean() {
        fs::remove_all("/tmp/reports");
        fs::create_directory("/tmp/reports");
        for (const auto& entry : fs::directory_iterator("/tmp")) {
            if (entry.path().filename().string().starts_with("SSD over-provisioning"))
                fs::remove_all(entry.path());
        }
    }

    int store(const std::string& title) {
        return support::store_record(title, appliance().drives());
    }

    /// A ratio whose samples, one a second, all have 1000 IOPS but for one.
    static void add_ratio(int record, int op, long double iops, int samples, int peak) {
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, op, 1.5L, iops), 0);
        std::ofstream file("/root/samples");
        for (int i = 0; i < samples; ++i)
            file << i * 1000LL << ", " << (i == peak ? 7000 : 1000) << ", 0, 0, " << i << '\n';
        file.close();
        ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record, op, "/root/samples", 0), 0);
    }

    static std::string export_record(int record, const std::string& arguments) {
        return kProgram + std::string("export ") + std::to_string(record) + " " + arguments;
    }
};

TEST_F(RecordReports, DrawsPeaksWhereTheyAreIn80Columns) {
    const int record = store(std::string(255, 't'));
    add_ratio(record, 0, 1000, 40'001, -1);
    add_ratio(record, 10, 3000, 40'001, 20'000);  // three quarters of the whole way
    add_ratio(record, 20, 1000, 0, -1);
    for (const char* locale : {"C.UTF-8", "C"}) {
        const Outcome plot = shell(std::string("LC_ALL=") + locale + " " + kProgram + "show " +
                                   std::to_string(record) + " --plot");
        EXPECT_EQ(plot.status, 0) << plot.output;
        for (const auto& line : screen(plot.output)) EXPECT_LE(line.size(), 80U) << plot.output;
        const bool ascii = std::all_of(plot.output.begin(), plot.output.end(),
                                       [](char c) { return static_cast<signed char>(c) >= 0; });
        EXPECT_EQ(ascii, std::string(locale) == "C");

        EXPECT_NEAR(peak_column(plot.output, "IOPS over OP"), 44, 1) << plot.output;
        EXPECT_NEAR(peak_column(plot.output, "IOPS over time"), 62, 1) << plot.output;
        EXPECT_THAT(plot.output, HasSubstr("   3000 "));
        EXPECT_THAT(plot.output, HasSubstr("OP 10"));
    }
}

TEST_F(RecordReports, DrawsWhatLittleThereIs) {
    const int record = store("little");
    const std::string show = kProgram + std::string("show ") + std::to_string(record) + " --plot";
    EXPECT_THAT(shell(show).output, HasSubstr("There are no samples."));
    add_ratio(record, 5, 0, 1, -1);
    EXPECT_THAT(shell(show).output, HasSubstr("No ratio has a result."));
    add_ratio(record, 7, std::numeric_limits<int>::max(), 1, 0);
    const Outcome plot = shell(show);
    EXPECT_EQ(plot.status, 0) << plot.output;
    EXPECT_THAT(plot.output, HasSubstr("     3G "));
}

TEST_F(RecordReports, AreCopiedWholeAndNeverOverAFileUnasked) {
    const int record = store("a/../b $(touch /tmp/reports/made) \x1b[31m'\"");
    add_ratio(record, 0, 1000, 3600, 1);
    const std::string csv = "/tmp/reports/csv";
    const Outcome first = shell(export_record(record, "--csv --output " + csv));
    EXPECT_EQ(first.status, 0) << first.output;
    EXPECT_EQ(shell(export_record(record, "--csv --output -")).output, read_file(csv));
    EXPECT_THAT(read_file(csv), HasSubstr("1000"));

    support::write_file(csv, "precious");
    const Outcome refused = shell(export_record(record, "--csv --output " + csv));
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.output, HasSubstr("--force"));
    EXPECT_EQ(read_file(csv), "precious");
    EXPECT_EQ(shell(export_record(record, "--csv --force --output " + csv)).status, 0);
    EXPECT_NE(read_file(csv), "precious");

    const Outcome told = shell(export_record(record, "--xlsx --json --output /tmp/reports"));
    const auto json = nlohmann::json::parse(told.output, nullptr, false);
    ASSERT_TRUE(json.is_object()) << told.output;
    EXPECT_EQ(fs::path(json["path"].get<std::string>()).parent_path(), "/tmp/reports");
    EXPECT_EQ(read_file(json["path"].get<std::string>()).substr(0, 2), "PK");
    EXPECT_EQ(std::distance(fs::directory_iterator("/tmp/reports"), {}), 2) << "and nothing else";

    EXPECT_EQ(shell("umask 027; " + export_record(record, "--csv --output /tmp/reports/m")).status,
              0);
    EXPECT_EQ(static_cast<unsigned>(fs::status("/tmp/reports/m").permissions()), 0640U);

    const Outcome left = shell(export_record(record, "--csv"));
    EXPECT_THAT(left.output, HasSubstr("lies in /tmp/SSD over-provisioning test_a_.._b"));
    EXPECT_THAT(left.output, Not(HasSubstr("\x1b")));
}

TEST_F(RecordReports, ReplaceNoLinkToAStreamAndFollowNoneToTheReport) {
    const int record = store("linked");
    fs::create_symlink("/dev/stdout", "/tmp/reports/stream");
    for (const char* stream :
         {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1", "/tmp/reports/stream"}) {
        const std::string to = std::string("--csv --force --output ") + stream;
        EXPECT_EQ(shell(export_record(record, to + " >/tmp/reports/printed")).status, 3) << stream;
        EXPECT_THAT(shell(export_record(record, to)).output, HasSubstr("--output -")) << stream;
    }
    EXPECT_TRUE(fs::is_symlink("/dev/stdout") && fs::is_symlink("/tmp/reports/stream"));

    const Outcome first = shell(export_record(record, "--csv --json"));
    const std::string report = nlohmann::json::parse(first.output)["path"];
    fs::create_symlink(report, "/tmp/reports/copy");
    EXPECT_EQ(shell(export_record(record, "--csv --force --output /tmp/reports/copy")).status, 0);
    EXPECT_FALSE(fs::is_symlink("/tmp/reports/copy"));
    EXPECT_EQ(read_file("/tmp/reports/copy"), read_file(report));
}

/// The processes of an export: the one that was started, and those that write the report.
std::vector<pid_t> exporters() {
    std::vector<pid_t> found;
    for (const support::ProcessInfo& process : support::processes()) {
        if (process.command.starts_with(std::string(kProgram) + "export") && process.state != 'Z')
            found.push_back(process.pid);
    }
    return found;
}

TEST_F(RecordReports, AreWrittenToTheEndButNotCopiedAfterASignal) {
    const int record = store("interrupted");
    for (const int op : {10, 20, 30, 40}) add_ratio(record, op, 1000, 100'000, 1);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        support::Child terminal([&] {
            ::signal(SIGHUP, SIG_DFL);  // also when nohup runs the tests
            const Outcome result = shell(export_record(record, "--xlsx --output /tmp/reports/x"));
            support::write_file("/tmp/reports/said", result.output);
            return result.status;
        });
        ASSERT_TRUE(support::eventually([] { return exporters().size() >= 2; }));
        for (const pid_t exporter : exporters()) ::kill(exporter, signal);
        EXPECT_EQ(terminal.wait(), support::exited(1)) << signal;
        EXPECT_TRUE(exporters().empty());
        EXPECT_THAT(read_file("/tmp/reports/said"), HasSubstr("The whole report lies in /tmp/SSD"));
        EXPECT_EQ(std::distance(fs::directory_iterator("/tmp/reports"), {}), 1)
            << "no part of a copy";
    }
}

TEST_F(RecordReports, ThatNobodyReadsEndOnCtrlCAndKeepNobodyFromExporting) {
    const int record = store("printed");
    add_ratio(record, 10, 1000, 20'000, 1);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    support::Child printing([&] {
        ::dup2(ends[1], STDOUT_FILENO);
        const std::string number = std::to_string(record);
        ::execl("/opt/appliance/bin/ssd-op", "ssd-op", "export", number.c_str(), "--csv",
                "--output", "-", nullptr);
        return 1;
    });
    const int full = ::fcntl(ends[0], F_GETPIPE_SZ);
    int waiting = 0;
    EXPECT_TRUE(support::eventually([&] {
        ::ioctl(ends[0], FIONREAD, &waiting);
        return waiting == full;
    }));
    EXPECT_EQ(shell(export_record(record, "--csv --output /tmp/reports/other")).status, 0);
    printing.signal(SIGINT);
    EXPECT_EQ(printing.wait(), support::killed(SIGINT));
    for (const int end : ends) ::close(end);
}

TEST_F(RecordReports, AreTheRecordsOwnWhoeverElseExportsUnderTheirName) {
    const int first = store("same");
    const int second = store("same");
    add_ratio(first, 10, 1111, 300'000, 1);
    add_ratio(second, 10, 2222, 1, 0);
    const auto result = [&](int record) { return record == first ? "1111.000000" : "2222.000000"; };
    const auto export_often = [&](int record) {
        const std::string to = "/tmp/reports/" + std::to_string(record);
        for (int i = 0; i < 5; ++i) {
            const Outcome made = shell(export_record(record, "--csv --force --output " + to));
            if (made.status != 0) return 1;
            if (read_file(to).find(result(record)) == std::string::npos) return 2;
        }
        return 0;
    };
    support::Child other([&] { return export_often(second); });
    EXPECT_EQ(export_often(first), 0);
    EXPECT_EQ(other.wait(), support::exited(0));

    // Another front end, which waits for nobody and has reports ready all the time.
    const std::string name = "/tmp/SSD over-provisioning test_same.csv";
    fs::remove(name);
    support::Child front_end([&] {
        for (;; support::pause_for_milliseconds(1)) {
            support::write_file("/tmp/another", "another's");
            fs::rename("/tmp/another", name);
        }
        return 0;
    });
    ASSERT_TRUE(support::eventually([&] { return support::exists(name); }));
    const Outcome lost = shell(export_record(first, "--csv --output /tmp/reports/lost"));
    EXPECT_EQ(lost.status, 1);
    EXPECT_THAT(lost.output, HasSubstr("Another program exports under the same name"));
    EXPECT_FALSE(fs::exists("/tmp/reports/lost"));
}

TEST_F(RecordReports, ThatCannotBeWrittenSaySoAndLeaveNothing) {
    const int record = store("large");
    add_ratio(record, 0, 1000, 36'000, 1);
    struct {
        std::string command;
        int status;
        const char* says;
    } const cases[] = {
        {export_record(record, "--csv --output - >/dev/full"), 1, "No space left"},
        {export_record(record, "--csv --output /none/x"), 1, "/none/x cannot be written: No such"},
        {export_record(record, "--csv --force --output /dev/null"), 3, "is not a file"},
        {export_record(record, "--xlsx --output -"), 3, "--output FILE"},
        {export_record(record, "--csv --json --output -"), 3, "--output FILE"},
        {export_record(record, ""), 2, "--csv"},
        {export_record(record, "--csv --xlsx"), 2, "--csv"},
        {export_record(record, "--csv --force"), 2, "--output"},
        {export_record(record, "--csv --output ''"), 2, "--output"},
        {export_record(99, "--csv"), 4, "There is one: "},
        {"cd /tmp; rm SSD*.csv; mkdir -p 'SSD over-provisioning test_large.csv/x'; " +
             export_record(record, "--csv --output /tmp/reports/x"),
         1, "Is there room in /tmp?"},
    };
    for (const auto& failing : cases) {
        const Outcome result = shell(failing.command);
        EXPECT_EQ(result.status, failing.status) << failing.command << '\n' << result.output;
        EXPECT_THAT(result.output, HasSubstr(failing.says)) << failing.command;
    }
    EXPECT_TRUE(fs::is_empty("/tmp/reports"));
}

}  // namespace
