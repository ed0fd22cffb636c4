// The two reports of a record, as their readers find them.

#include "report/report.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/command.h"
#include "core/state.h"
#include "report/xlsx_text.h"
#include "ssd_op.h"
#include "support/appliance.h"
#include "support/crash.h"
#include "support/records.h"
#include "support/traced.h"

namespace {

namespace fs = std::filesystem;
#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;  // and keeps what is freed
#else
constexpr bool kSanitized = false;
#endif
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

using std::string_literals::operator""s;
using Lines = std::vector<std::string>;

Lines lines_of(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

/// What the reports' readers see of a workbook; see show_workbook.py.
Lines workbook(const std::string& path) {
    const std::string shown = "/tmp/shown_workbook";
    EXPECT_EQ(ssd_op::base::run(SHOW_WORKBOOK " " + ssd_op::base::shell_word(path) + " >" + shown),
              0);
    return lines_of(support::read_file(shown));
}

/// One of the texts that a workbook consists of.
std::string part_of(const std::string& path, const std::string& part) {
    return support::shell(
               "python3 -c 'import sys, zipfile; sys.stdout.buffer.write("
               "zipfile.ZipFile(sys.argv[1]).read(sys.argv[2]))' " +
               ssd_op::base::shell_word(path) + " " + part)
        .output;
}

bool is_about_charts(const std::string& line) {
    return line.starts_with("chart") || line.starts_with("series");
}
Lines charts_in(Lines shown) {
    std::erase_if(shown, std::not_fn(is_about_charts));
    return shown;
}
Lines without_charts(Lines shown) {
    std::erase_if(shown, is_about_charts);
    return shown;
}

/// A sheet's cells and merges as show_workbook.py prints them, given row by row, from the left.
class Layout {
  public:
    Layout& text(int row, char column, const std::string& text) {
        return cell(row, {column}, "label", '\'' + text + '\'');
    }
    /// In merged cells; an empty text is none.
    Layout& text(int row, char first, char last, const std::string& style, const std::string& text,
                 const std::string& merged_style = "title") {
        const std::string number = std::to_string(row);
        merges_.push_back("merged " + (first + number) + ':' + last + number + ' ' + merged_style);
        return text.empty() ? *this : cell(row, {first}, style, '\'' + text + '\'');
    }
    /// A label and beside it a value, up to the last column.
    void line(int row, char label_at, char value_at, const std::string& label,
              const std::string& value) {
        text(row, label_at, static_cast<char>(value_at - 1), "label", label);
        text(row, value_at, 'L', "plain", value);
    }
    Layout& numbers(int row, char first, const Lines& values) {
        unsigned column = static_cast<unsigned>(first - 'A');
        for (const std::string& value : values)
            cell(row, ssd_op::report::column_name(++column), "plain", value);
        return *this;
    }
    void samples(int row, const std::string& label, const std::vector<Lines>& values) {
        text(row, 'A', label);
        const char* const kinds[] = {"Time(s)", "Result(IOPS)", "Written(GB)"};
        for (size_t i = 0; i < values.size(); ++i) {
            text(row, 'B', 'C', "label", kinds[i], "label");
            numbers(row++, 'D', values[i]);
        }
    }
    Lines lines() const {
        Lines lines{"sheet Sheet1"};
        lines.insert(lines.end(), cells_.begin(), cells_.end());
        lines.insert(lines.end(), merges_.begin(), merges_.end());
        return lines;
    }

  private:
    Layout& cell(int row, const std::string& column, const std::string& style,
                 const std::string& value) {
        cells_.push_back(column + std::to_string(row) + ' ' + style + ' ' + value);
        return *this;
    }
    Lines cells_, merges_;
};

struct Sample {
    int64_t milliseconds;
    int iops;
    uint64_t kib;
};

std::string local_time(time_t moment) {
    char text[64];
    std::strftime(text, sizeof text, "%Y/%m/%d:%H:%M:%S", std::localtime(&moment));
    return text;
}

class Report : public support::ApplianceTest {
  protected:
    Report() { remove_reports(); }
    void remove_reports() {
        for (const std::string& report : reports()) fs::remove("/tmp/" + report);
    }

    void store(const std::string& title, const std::vector<support::Group>& groups) {
        const support::Record record = support::record_of(title, groups);
        ASSERT_EQ(SSD_OP_DB_New_Record(record.get()), 0);
        record_no_ = record->record_no;
    }
    void store(const std::string& title) { store(title, {{800, 5, appliance().drives()}}); }

    void add_ratio(int percentage, long double iops, const std::vector<Sample>& samples) {
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record_no_, percentage, 1.5L, iops), 0);
        std::ofstream file("/root/samples");
        for (const Sample& sample : samples)
            file << sample.milliseconds << ", " << sample.iops << ", 0, 0, " << sample.kib << '\n';
        file.close();
        ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record_no_, percentage, "/root/samples", 0), 0);
    }
    void add_ratio(int percentage, int samples) {
        std::vector<Sample> list;
        for (int i = 0; i < samples; ++i) list.push_back({i * 1000LL, 5000 + i, uint64_t(i) << 21});
        add_ratio(percentage, 5000, list);
    }

    /// Ratios with as many samples as a sheet has room for, from 0 on.
    void add_full_ratios(int count) {
        for (int ratio = 0; ratio < count; ++ratio) add_ratio(ratio, 0);
        appliance().run_sql(
            "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 16380) "
            "INSERT INTO RUNTIME_REPORT SELECT percentage, i * 1000, 5000, i, f_record_no "
            "FROM n JOIN TEST_DATA");
    }

    int csv() { return SSD_OP_Test_Export_CSV(record_no_, path_, sizeof path_); }
    int xlsx() { return SSD_OP_Test_Export_XLSX(record_no_, path_, sizeof path_); }
    std::string csv_text() {
        EXPECT_EQ(csv(), 0);
        return support::read_file(path_);
    }
    Lines xlsx_lines() {
        EXPECT_EQ(xlsx(), 0);
        return workbook(path_);
    }
    Lines reports() {
        Lines found;
        for (const auto& entry : fs::directory_iterator("/tmp"))
            if (entry.path().string().find("SSD over-provisioning") != std::string::npos ||
                entry.path().string().find("ssd_op_report") != std::string::npos)
                found.push_back(entry.path().filename());
        return found;
    }

    int record_no_ = 0;
    char path_[512] = "";
};

constexpr const char* kDriveHeader =
    ",,Slots,Bus Type, Vendor, Model, Serial No, FW Version, Capacity,"
    "Sequential Write Performance(KB/s), Random Write Perfrormance(IOPS),"
    "Sequential Read Performance(KB/s), Random Read Perfrormance(IOPS)\n";

}  // namespace

TEST(SizeText, StepsByTheThousandTwentyFourth) {
    const std::pair<uint64_t, const char*> cases[] = {{0, "0 Byte"},
                                                      {1023, "1023 Byte"},
                                                      {1024, "1.00 KB"},
                                                      {1536, "1.50 KB"},
                                                      {(1ULL << 20) - 1, "1024.00 KB"},
                                                      {1ULL << 20, "1.00 MB"},
                                                      {500107862016, "465.76 GB"},
                                                      {1ULL << 40, "1.00 TB"},
                                                      {1ULL << 50, "1.00 PB"},
                                                      {UINT64_MAX, "16.00 EB"}};
    for (const auto& [bytes, text] : cases) {
        char size[32];
        std::fill(std::begin(size), std::end(size), 'x');
        ssd_op::report::ssd_op_format_size(bytes, size);
        EXPECT_STREQ(size, text);
        EXPECT_EQ(size[31], '\0') << "the whole buffer is cleared";
    }
    ssd_op::report::ssd_op_format_size(1, nullptr);
}

TEST(ColumnName, FollowsTheSpreadsheets) {
    const std::pair<unsigned, const char*> cases[] = {
        {1, "A"},     {26, "Z"},      {27, "AA"},     {123, "DS"},     {702, "ZZ"},
        {703, "AAA"}, {16384, "XFD"}, {18278, "ZZZ"}, {18279, "AAAA"}, {475254, "ZZZZ"}};
    for (const auto& [column, name] : cases) EXPECT_EQ(ssd_op::report::column_name(column), name);
}

TEST_F(Report, CsvSaysWhatTheRecordSays) {
    const auto drives = appliance().drives();
    store("Nightly", {{800, 1, {drives[0]}}, {801, 1, {drives[1], drives[2]}}});
    SSD_OP_DB_Update_Record_RAID_Capacity(1048576, record_no_, 800);
    SSD_OP_DB_Update_Record_End_Time(1'700'009'999, record_no_);
    appliance().run_sql(
        "UPDATE TEST_RECORD SET nas_mem_info = 'Total Memory(4 KB), \tFree (2 KB),,--';"
        "UPDATE SELECT_DEV SET performance_write_s = '532480', "
        "performance_write_r = '71000', performance_read_s = '543210', "
        "performance_read_r = '18446744073709551615'");
    add_ratio(10, 1234.5L, {{1999, 5000, 1000}, {3000, -1, 1572864}});
    add_ratio(20, 2000, {});
    add_ratio(30, 0.25L, {{INT64_MAX, 7, UINT64_MAX}});

    const auto record = support::read_record(record_no_);
    const auto drive = [&](const ssd_op_db_ssd_dev& d) {
        const unsigned port = d.dev_id & 0xFFFF;
        char slot[32] = "";
        PD_Get_Log_Name(1, static_cast<int>(port), slot, sizeof slot);
        return std::string(",,") + slot + ", " + d.bus_type + "," + d.vendor + "," + d.model + "," +
               d.serial_no + "," + d.revision + "," + ssd_op::report::size_text(d.capacity) +
               ",532480,71000,543210,18446744073709551615 \n";
    };
    const auto* first = record->raid_conf;
    const auto* second = first->next;
    EXPECT_EQ(csv_text(),
              std::string("[ TEST INFORMATION ]\n"
                          "TEST NAME,SSD over-provisioning test Nightly\n"
                          "NAS MODEL,") +
                  record->nas_model +
                  "\n"
                  "FW VERSION," +
                  record->nas_fw_version +
                  "\n"
                  "NAS SERIAL NO," +
                  record->nas_serial_no +
                  "\n"
                  "NAS CPU INFO," +
                  record->nas_cpu_info +
                  "\n"
                  "NAS MEMORY INFO\n,Total Memory(4 KB)\n,Free (2 KB)\n,--\n"
                  "START TIME," +
                  local_time(1'700'000'000) +
                  "\n"
                  "END TIME," +
                  local_time(1'700'009'999) +
                  "\n"
                  "RAID Group:\n"
                  ",\"800\",Single,1.00 GB\n" +
                  kDriveHeader + drive(first->ssd_drives[0]) + ",\"801\",RAID1,0 Byte\n" +
                  kDriveHeader + drive(second->ssd_drives[0]) + drive(second->ssd_drives[1]) +
                  "\n"
                  "[ OVER-PROVISIONING EVALUATION ]\n"
                  "OP Ratio (%),10,20,30\n"
                  "Result(IOPS),1234.500000,2000.000000,0.250000\n"
                  "\n"
                  "[ TEST RESULT ]\n"
                  "OP Ratio (%) ,10\n"
                  "Time Slap (ms),1999,3000\nResult (IOPS),5000,-1\nWritten(KB),1000,1572864\n"
                  "OP Ratio (%) ,20\n"
                  "Time Slap (ms),\nResult (IOPS),\nWritten(KB),\n"
                  "OP Ratio (%) ,30\n"
                  "Time Slap (ms),9223372036854775807\nResult (IOPS),7\n"
                  "Written(KB),18446744073709551615\n");
    EXPECT_STREQ(path_, "/tmp/SSD over-provisioning test_Nightly.csv");
}

TEST_F(Report, HasTheModeThatTheUmaskLeaves) {
    store("T");
    for (const mode_t mask : {022, 007, 077}) {
        EXPECT_EQ(support::in_child([&] {
                      ::umask(mask);
                      return csv() == 0 && xlsx() == 0 ? 0 : 1;
                  }),
                  support::exited(0));
        for (const std::string& report : reports()) {
            const auto mode = static_cast<unsigned>(fs::status("/tmp/" + report).permissions());
            EXPECT_EQ(mode, 0666U & ~mask) << report;
        }
    }
}

TEST_F(Report, WorkbookIsLaidOutForReading) {
    const auto drives = appliance().drives();
    store("Nightly", {{800, 1, {drives[0]}}, {801, 5, {drives[1], drives[2]}}});
    SSD_OP_DB_Update_Record_RAID_Capacity(1048576, record_no_, 800);
    SSD_OP_DB_Update_Record_RAID_Capacity(2097152, record_no_, 801);
    SSD_OP_DB_Update_Record_End_Time(1'700'009'999, record_no_);
    appliance().run_sql(
        "UPDATE TEST_RECORD SET nas_mem_info = 'Total Memory(4 KB),Free Memory(2 KB)';"
        "UPDATE SELECT_DEV SET performance_write_s = 1024 * (10 * select_no + 1), "
        "performance_write_r = 10 * select_no + 2, "
        "performance_read_s = 1024 * (10 * select_no + 3), "
        "performance_read_r = 10 * select_no + 4");
    add_ratio(10, 1234.5L, {{1999, 5000, 1000}, {3000, 6000, 1572864}});
    add_ratio(20, 2000, {});
    add_ratio(30, 120);
    const Lines shown = xlsx_lines();
    EXPECT_STREQ(path_, "/tmp/SSD over-provisioning test_Nightly.xlsx");

    const auto record = support::read_record(record_no_);
    Layout sheet;
    sheet.text(1, 'A', 'L', "title", "[ TEST INFORMATION ]");
    int row = 1;
    for (const auto& [label, value] :
         {std::pair{"TEST NAME", "SSD over-provisioning test Nightly"s},
          {"NAS MODEL", record->nas_model},
          {"FW VERSION", record->nas_fw_version},
          {"NAS SERIAL NO", record->nas_serial_no},
          {"NAS CPU INFO", record->nas_cpu_info},
          {"NAS MEMORY INFO", "Total Memory(4 KB)"},
          {"", "Free Memory(2 KB)"},
          {"START TIME", local_time(1'700'000'000) + "\\n"},
          {"END TIME", local_time(1'700'009'999) + "\\n"}})
        sheet.line(++row, 'A', 'D', label, value);
    sheet.text(++row, 'A', 'C', "label", "RAID GROUP");
    int figures = 0;
    for (const auto* group = record->raid_conf; group != nullptr; group = group->next) {
        const bool first = group == record->raid_conf;
        sheet.text(row, 'D', first ? "md800" : "md801").text(row, 'E', "Type");
        sheet.text(row, 'F', 'L', "plain", first ? "Single" : "RAID5");
        ++row;
        sheet.text(row, 'E', "Size").text(row, 'F', 'L', "plain", first ? "1.00 GB" : "2.00 GB");
        for (int i = 0; i < group->ssd_drive_num; ++i) {
            const auto& drive = group->ssd_drives[i];
            figures += 10;
            sheet.text(row + 1, 'E', "Disk " + std::to_string(i + 1));
            for (const auto& [label, value] :
                 {std::pair{"Slot", "Disk " + std::to_string(figures / 10)},
                  {"Bus Type", drive.bus_type},
                  {"Vendor", drive.vendor},
                  {"Model", drive.model},
                  {"Serial No", drive.serial_no},
                  {"FW Version", drive.revision},
                  {"Capacity", ssd_op::report::size_text(drive.capacity)},
                  {"Sequential Write", std::to_string(figures + 1) + ".00 MB/sec"},
                  {"Random Write", std::to_string(figures + 2) + " IOPS"},
                  {"Sequential Read", std::to_string(figures + 3) + ".00 MB/sec"},
                  {"Random Read", std::to_string(figures + 4) + " IOPS"}})
                sheet.line(++row, 'F', 'H', label, value);
        }
        ++row;
    }
    ASSERT_EQ(row, 48);
    sheet.text(49, 'A', 'L', "title", "[ OVER-PROVISIONING EVALUATION ]");
    sheet.text(50, 'A', 'B', "label", "OP Ratio(%)").numbers(50, 'C', {"10", "20", "30"});
    sheet.text(51, 'A', 'B', "label", "Result(IOPS)").numbers(51, 'C', {"1234.5", "2000", "5000"});
    sheet.text(77, 'A', 'L', "title", "[ TEST RESULT ]");
    sheet.samples(78, "OP: 10%\\n", {{"1", "3"}, {"5000", "6000"}, {"0", "1.5"}});
    sheet.samples(81, "OP: 20%\\n", {{}, {}, {}});
    std::vector<Lines> many(3);
    for (int i = 0; i < 120; ++i) {
        many[0].push_back(std::to_string(i));
        many[1].push_back(std::to_string(5000 + i));
        many[2].push_back(std::to_string(i * 2));
    }
    sheet.samples(84, "OP: 30%\\n", many);
    EXPECT_THAT(without_charts(shown), ElementsAreArray(sheet.lines()));
    EXPECT_EQ(
        charts_in(shown),
        (Lines{
            "chart lineChart None from 2,52 to 24,73 offset 0,0 x 'OP Ratio(%)' y 'IOPS' title "
            "False",
            "series 'Over-provisioning amount' Sheet1!$C$50:$E$50 Sheet1!$C$51:$E$51 points 3,3 "
            "marker "
            "circle 10.0 smooth False",
            "chart scatterChart smoothMarker from 3,88 to 25,109 offset 0,0 x 'Time(Sec)' y 'IOPS' "
            "title False",
            "series '10%' Sheet1!$D$78:$E$78 Sheet1!$D$79:$E$79 points 2,2 smooth True",
            "series '20%' Sheet1!$D$81:$C$81 Sheet1!$D$82:$C$82 points 0,0 smooth True",
            "series '30%' Sheet1!$D$84:$DS$84 Sheet1!$D$85:$DS$85 points 120,120 smooth True",
            "chart scatterChart smoothMarker from 3,112 to 25,133 offset 0,0 x 'Written(GB)' y "
            "'IOPS' "
            "title False",
            "series '10%' Sheet1!$D$80:$E$80 Sheet1!$D$79:$E$79 points 2,2 smooth True",
            "series '20%' Sheet1!$D$83:$C$83 Sheet1!$D$82:$C$82 points 0,0 smooth True",
            "series '30%' Sheet1!$D$86:$DS$86 Sheet1!$D$85:$DS$85 points 120,120 smooth True",
            "chart scatterChart smoothMarker from 3,136 to 25,157 offset 0,0 x 'Time(Sec)' y "
            "'Written(GB)' title False",
            "series '10%' Sheet1!$D$78:$E$78 Sheet1!$D$80:$E$80 points 2,2 smooth True",
            "series '20%' Sheet1!$D$81:$C$81 Sheet1!$D$83:$C$83 points 0,0 smooth True",
            "series '30%' Sheet1!$D$84:$DS$84 Sheet1!$D$86:$DS$86 points 120,120 smooth True"}))
        << "each has a copy of its points";
}

TEST_F(Report, ShowsTheLocalTime) {
    store("T");
    // The other moment is in the last year that the platform can tell, which an int cannot hold.
    appliance().run_sql(
        "UPDATE TEST_RECORD SET start_time = 1588319107, end_time = 67768036191000000");
    setenv("TZ", "XXX-5:30", 1);
    EXPECT_THAT(csv_text(), HasSubstr("\nSTART TIME,2020/05/01:13:15:07\n"
                                      "END TIME,2147485547/12/24:09:30:00\n"));
    EXPECT_THAT(xlsx_lines(), Contains("D11 plain '2020/05/01:13:15:07\\n'"));
    unsetenv("TZ");
}

TEST_F(Report, HasAllSamplesInWhateverOrderTheDatabaseGivesThem) {
    store("Indexed");
    add_ratio(10, 3);
    add_ratio(20, 2);
    const size_t expected = csv_text().size();
    appliance().run_sql("CREATE INDEX backwards ON RUNTIME_REPORT(f_record_no, time_slap DESC)");
    EXPECT_EQ(csv_text().size(), expected);
}

TEST_F(Report, WorkbookEndsWhereASheetEnds) {
    store("Long");
    add_ratio(10, 16381);
    // A column has a name up to ZZZZ; the second ratio's last one would be that, the third's no
    // more.
    add_ratio(20, 0);
    add_ratio(30, 0);
    appliance().run_sql(
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 475251) "
        "INSERT INTO RUNTIME_REPORT SELECT ratio, i * 1000, 5000, i, " +
        std::to_string(record_no_) +
        " FROM n JOIN (SELECT 20 AS ratio UNION SELECT 30) WHERE ratio = 30 OR i < 475251");
    const Lines shown = xlsx_lines();
    EXPECT_THAT(shown, Contains("XFD89 plain 16380"));
    EXPECT_THAT(
        shown,
        IsSupersetOf(
            {"series '10%' Sheet1!$D$89:$XFD$89 Sheet1!$D$90:$XFD$90 points 16381,16381 smooth True"s,
             "series '20%' Sheet1!$D$92:$XFD$92 Sheet1!$D$93:$XFD$93 points 16381,16381 smooth True"s}));
    EXPECT_THAT(shown, Not(Contains(StartsWith("series '30%'"))));
    EXPECT_FALSE(appliance().traced("i(0), count"));
    EXPECT_TRUE(appliance().traced("i(1), count(475251): 458870 samples are left out"));
    EXPECT_FALSE(appliance().traced("count(475251) is too big"));
    EXPECT_TRUE(appliance().traced("SSD_OP_Test_Export_XLSX:i(2), count(475252) is too big."));
    const Lines csv = lines_of(csv_text());
    EXPECT_THAT(csv, Contains(AllOf(StartsWith("Time Slap (ms),0,"), EndsWith(",475250000"))));
}

TEST_F(Report, LargeWorkbookIsWrittenRowByRow) {
    store("Large");
    add_full_ratios(11);
    // The workbook is made in a child, which begins with what its parent has.
    const auto memory_of_export = [&] {
        EXPECT_EQ(support::in_child([&] {
                      rusage parent{}, child{};
                      getrusage(RUSAGE_SELF, &parent);
                      const int result = xlsx();
                      getrusage(RUSAGE_CHILDREN, &child);
                      support::write_file("/root/kib",
                                          std::to_string(child.ru_maxrss - parent.ru_maxrss));
                      return result == 0 ? 0 : 1;
                  }),
                  support::exited(0));
        return std::stol(support::read_file("/root/kib"));
    };
    const auto by_rows = memory_of_export();
    EXPECT_TRUE(kSanitized || by_rows < 20 << 10) << by_rows;
    const std::string path = "/tmp/SSD over-provisioning test_Large.xlsx";
    EXPECT_THAT(part_of(path, "xl/charts/chart2.xml"), HasSubstr("Sheet1!$D$89:$XFD$89"));
    EXPECT_THAT(part_of(path, "xl/charts/chart2.xml"), Not(HasSubstr("<c:pt ")));
    appliance().run_sql("DELETE FROM RUNTIME_REPORT WHERE percentage = 10");
    EXPECT_GT(memory_of_export(), 60 << 10) << "an ordinary one";
    EXPECT_THAT(part_of(path, "xl/charts/chart2.xml"), HasSubstr("<c:pt "));
}

TEST_F(Report, SaysWhereTheDatabaseFailed) {
    store("Failed");
    add_ratio(10, 3);
    add_ratio(20, 3);
    // A ratio whose rows cannot be read.
    appliance().run_sql(
        "ALTER TABLE RUNTIME_REPORT RENAME TO ROWS_THAT_WERE;"
        "CREATE VIEW RUNTIME_REPORT AS SELECT rowid, percentage, time_slap, "
        "CASE percentage WHEN 10 THEN abs(-9223372036854775807 - 1) ELSE result END "
        "AS result, write_amount, f_record_no FROM ROWS_THAT_WERE");
    EXPECT_THAT(csv_text(), HasSubstr("OP Ratio (%) ,10\nNo data.\n"
                                      "OP Ratio (%) ,20\nTime Slap (ms),0,1000,2000\n"));
    Lines shown = xlsx_lines();
    EXPECT_THAT(shown,
                IsSupersetOf({"A89 label 'OP: 10%\\n'"s, "B89 label 'No Data.'"s,
                              "merged B89:C89 title"s, "A90 label 'OP: 20%\\n'"s, "F92 plain 4"s}));
    EXPECT_THAT(
        charts_in(shown),
        Contains("series '20%' Sheet1!$D$90:$F$90 Sheet1!$D$91:$F$91 points 3,3 smooth True"));
    EXPECT_EQ(charts_in(shown).size(), 8U) << "four charts, one curve each";

    appliance().run_sql("DROP TABLE TEST_DATA");
    EXPECT_THAT(csv_text(), EndsWith("[ OVER-PROVISIONING EVALUATION ]\nNG\n\n[ TEST RESULT ]\n"));
    shown = xlsx_lines();
    EXPECT_THAT(shown, IsSupersetOf({"A61 plain 'NG!!!'"s, "merged A61:L61 title"s,
                                     "A88 title '[ TEST RESULT ]'"s}));
    EXPECT_THAT(charts_in(shown),
                ElementsAre(StartsWith("chart lineChart"),
                            HasSubstr("$C$61:$B$61 Sheet1!$C$62:$B$62 points 0,0 marker")));
}

TEST_F(Report, LiesUnderTmpWhateverTheTitle) {
    // The longest title there is; a cut to the longest file name ends inside a character.
    std::string three_bytes_each;
    while (three_bytes_each.size() < 255) three_bytes_each += "\u6f22";
    const struct {
        std::string title, name, cell;
    } cases[] = {{"", "", ""},
                 {"../../root/x", ".._.._root_x", "../../root/x"},
                 {"a, \"b\"; $(d)\ne", "a, \"b\"; $(d)\ne", R"(a, "b"; $(d)\ne)"},
                 {"\u6f22\u5b57 \u00fc", "\u6f22\u5b57 \u00fc", "\u6f22\u5b57 \u00fc"},
                 {three_bytes_each, three_bytes_each.substr(0, 222), three_bytes_each},
                 // What XML cannot hold, and what reads like its notation in workbooks.
                 {"\xff\xed\xa0\x80|\xef\xbf\xbf", "\xff\xed\xa0\x80|\xef\xbf\xbf",
                  "\ufffd\ufffd\ufffd\ufffd|\ufffd"},
                 {"_x0041_ \x01 <&>", "_x0041_ \x01 <&>", "_x0041_ _x0001_ <&>"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.title);
        store(each.title);
        EXPECT_EQ(csv(), 0);
        EXPECT_EQ(path_, "/tmp/SSD over-provisioning test_" + each.name + ".csv");
        EXPECT_THAT(support::read_file(path_),
                    HasSubstr("\nTEST NAME,SSD over-provisioning test " + each.title + "\n"));
        const Lines shown = xlsx_lines();
        EXPECT_EQ(path_, "/tmp/SSD over-provisioning test_" + each.name + ".xlsx");
        EXPECT_TRUE(fs::exists(path_));
        EXPECT_THAT(shown, Contains(AllOf(StartsWith("D2 plain"), HasSubstr("test " + each.cell))));
        EXPECT_EQ(reports().size(), 2U);
        remove_reports();
    }
    store("_x0041_ \x01");
    EXPECT_EQ(xlsx(), 0);
    EXPECT_THAT(part_of(path_, "xl/sharedStrings.xml"), HasSubstr("test _x005F_x0041_ _x0001_<"));
}

TEST_F(Report, ReplacesWhatLiesUnderItsNameAndFollowsNoLink) {
    store("T");
    const std::string name = "/tmp/SSD over-provisioning test_T.";
    support::write_file("/root/victim", "keep");
    for (const std::string suffix : {"csv", "xlsx"}) {
        fs::create_symlink("/root/victim", name + suffix);
        EXPECT_EQ(suffix == "csv" ? csv() : xlsx(), 0);
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(name + suffix)));
        EXPECT_EQ(support::read_file("/root/victim"), "keep");
        support::write_file(name + suffix, std::string(1 << 20, 'x'));
        EXPECT_EQ(suffix == "csv" ? csv() : xlsx(), 0);
        EXPECT_THAT(support::read_file(name + suffix), Not(HasSubstr("xxxx")));
    }
}

TEST_F(Report, FailsWithoutAHalfReport) {
    store("T");
    add_ratio(10, 16'000);
    add_ratio(20, 80'000);
    // Files that must not grow beyond a limit stand in for a full disk. It is above the size of the
    // workbook, and below that of the parts that the workbook is made from.
    const auto fails = [&](const std::function<int()>& make_report) {
        ASSERT_EQ(make_report(), 0);
        // The appliance's own state has to stay below the limit too.
        SQLite::Database(appliance::kStateFile, SQLite::OPEN_READWRITE)
            .exec("PRAGMA wal_checkpoint(TRUNCATE)");
        EXPECT_EQ(support::in_child([&] {
                      std::signal(SIGXFSZ, SIG_IGN);
                      const rlimit size{2'000'000, 2'000'000};
                      setrlimit(RLIMIT_FSIZE, &size);
                      return make_report() == -1 ? 0 : 1;
                  }),
                  support::exited(0));
        EXPECT_TRUE(appliance().traced("Fail to write report(" + std::string(path_)));
        EXPECT_THAT(reports(), IsEmpty());
    };
    fails([&] { return csv(); });
    fails([&] { return xlsx(); });

    for (const std::string suffix : {"csv", "xlsx"}) {
        const auto result = [&] { return suffix == "csv" ? csv() : xlsx(); };
        const std::string in_the_way = "SSD over-provisioning test_T." + suffix;
        fs::create_directory("/tmp/" + in_the_way);
        EXPECT_EQ(result(), -1);
        EXPECT_EQ(reports(), Lines{in_the_way});
        fs::remove("/tmp/" + in_the_way);

        fs::rename("/tmp", "/no_tmp");
        EXPECT_EQ(result(), -1);
        fs::rename("/no_tmp", "/tmp");
    }

    EXPECT_EQ(SSD_OP_Test_Export_CSV(record_no_, nullptr, 10), -1);
    EXPECT_TRUE(appliance().traced("SSD_OP_Test_Export_CSV: Parameter error."));
    EXPECT_EQ(SSD_OP_Test_Export_XLSX(999, path_, sizeof path_), -1);
    EXPECT_TRUE(appliance().traced("SSD_OP_Test_Export_XLSX: Fail to quert record(999)."));
    EXPECT_THAT(reports(), IsEmpty());
    char cut[10] = "";
    EXPECT_EQ(SSD_OP_Test_Export_CSV(record_no_, cut, sizeof cut), 0);
    EXPECT_STREQ(cut, "/tmp/SSD ");
}

TEST_F(Report, RemovesWhatAKilledOneLeft) {
    store("T");
    ASSERT_TRUE(support::killed_at_change(2, "ssd_op_report", [&] { csv(); }));
    const Lines left = reports();
    ASSERT_EQ(left.size(), 1U);
    // What others left under such names.
    support::write_file("/root/victim", "keep");
    fs::create_symlink("/root/victim", "/tmp/.ssd_op_report.a_link");
    ASSERT_EQ(mkfifo("/tmp/.ssd_op_report.a_fifo", 0600), 0);
    // A report that is being written while another one is made.
    support::Traced other([&] { csv(); });
    const auto is_being_written = [&] {
        const Lines now = reports();
        return now.size() == 3 && std::ranges::find(now, left[0]) == now.end();
    };
    while (other.next_change("ssd_op_report") && !is_being_written()) {
    }
    ASSERT_TRUE(is_being_written());
    EXPECT_EQ(xlsx(), 0);
    other.run_to_end();
    EXPECT_TRUE(other.came_through());
    EXPECT_THAT(reports(), UnorderedElementsAre("SSD over-provisioning test_T.csv",
                                                "SSD over-provisioning test_T.xlsx",
                                                ".ssd_op_report.a_link", ".ssd_op_report.a_fifo"));
    EXPECT_TRUE(support::exists("/root/victim"));
}
