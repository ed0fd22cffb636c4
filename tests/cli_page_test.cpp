// The web page of records, from the command line.

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "page/page.h"
#include "page/series.h"
#include "platform/naslog.h"
#include "support/appliance.h"
#include "support/records.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using support::Outcome;
using support::read_file;
using support::shell;
using testing::HasSubstr;
using testing::Not;

/// What the page's script reads.
json data_of(const std::string& page) {
    const std::string begin = R"(<script type="application/json" id="data">)";
    const size_t from = page.find(begin);
    if (from == std::string::npos) return nullptr;
    const size_t at = from + begin.size();
    return json::parse(page.substr(at, page.find("</script>", at) - at), nullptr, false);
}

size_t count_of(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(Page, HoldsAnyTextWithoutBeingBrokenByIt) {
    const std::string empty = cli::page_of(cli::Json{{"title", ""}});
    for (const std::string title :
         {"</script><script>alert(1)</script>", "<!--<script>", "\"'\\\" & &lt;", "@data@ @script@",
          "\xE2\x80\xA8\xE2\x80\xA9 line ends", "\x01\x1b[31m\x7f", "\xE2\x80\xAEright to left"}) {
        const std::string page = cli::page_of(cli::Json{{"title", title}});
        EXPECT_EQ(data_of(page)["title"], title);
        for (const char* mark : {"<script", "</script", "<!--"})
            EXPECT_EQ(count_of(page, mark), count_of(empty, mark)) << title;
        EXPECT_THAT(page, Not(HasSubstr("\xE2\x80\xA8")));
    }
    EXPECT_EQ(data_of(cli::page_of(cli::Json{{"title", "a\xFF"}}))["title"], "a\xEF\xBF\xBD");
    EXPECT_EQ(data_of(cli::page_of(cli::Json{{"x", 0.0 / 0.0}}))["x"], nullptr);
}

TEST(Page, IsWholeAndHasTheLibrarysLicence) {
    const std::string page = cli::page_of(nullptr);
    EXPECT_THAT(page, HasSubstr("Released under the MIT License"));
    EXPECT_THAT(page, HasSubstr("this permission notice shall be included"));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char* part :
         {"@style@", "@library@", "@script@", "@data@", " src=", "<link", "@import"})
        EXPECT_THAT(page, Not(HasSubstr(part)));
}

TEST(Series, KeepsMeanAndExtremesOfEachSpanInABoundedNumberOfPoints) {
    cli::Series series(1'000'000'000);
    for (int i = 0; i <= 1'000'000; ++i) series.add(i * 1000LL, i == 400'000 ? 9000 : 1000 + i % 2);
    const cli::Json all = series.json();
    EXPECT_EQ(all["samples"], 1'000'001);
    EXPECT_EQ(all["highest"], 9000);
    ASSERT_EQ(all["points"].size(), cli::kSpans);
    EXPECT_LT(all.dump().size(), 10'000U);
    const cli::Json& peak = all["points"][96];  // 400,000 seconds
    EXPECT_EQ(peak[2], 1000);
    EXPECT_EQ(peak[3], 9000);
    EXPECT_NEAR(peak[1].get<double>(), 1002.4, 0.1);
    EXPECT_NEAR(peak[0].get<double>(), 402'083, 1);

    cli::Series odd(-1);
    EXPECT_TRUE(odd.json().is_null());
    for (const int64_t time : {INT64_MIN, int64_t{0}, INT64_MAX}) odd.add(time, 5);
    EXPECT_EQ(odd.json()["points"], cli::Json::parse("[[0.0, 5.0, 5.0, 5.0]]"));
}

class RecordPage : public support::ApplianceTest {
  protected:
    RecordPage() {
        fs::remove_all("/tmp/pages");
        fs::create_directory("/tmp/pages");
    }
    ~RecordPage() override { fs::remove_all("/tmp/pages"); }

    static Outcome report(const std::string& arguments) {
        return shell("/opt/appliance/bin/ssd-op report " + arguments);
    }

    static json page_of_records(const std::string& arguments) {
        const Outcome printed = report(arguments + " --output -");
        EXPECT_EQ(printed.status, 0) << printed.output.substr(0, 500);
        return data_of(printed.output);
    }

    int store(const std::string& title) {
        return support::store_record(title, appliance().drives());
    }

    /// A sample a minute: rates that lie around the result, degrees of the first drive.
    static void measure(int record, int op, double amplification, int iops, int celsius) {
        ASSERT_EQ(SSD_OP_DB_Update_Test_Result(record, op, amplification, iops), 0);
        std::ofstream rates("/root/rates"), heat("/root/heat");
        const unsigned drive = support::read_record(record)->raid_conf->ssd_drives[0].dev_id;
        const int select_no = SSD_OP_DB_Query_SSD_Select_No(record, 800, static_cast<int>(drive));
        for (int i = 0; i < 20; ++i) {
            rates << i * 60'000 << ", " << iops + i % 2 << ", 0, 0, " << i << '\n';
            heat << i * 60'000 << ", " << drive << ", " << select_no << ", " << celsius << '\n';
        }
        rates.close();
        heat.close();
        ASSERT_EQ(SSD_OP_DB_Update_Runtime_Report(record, op, "/root/rates", 0), 0);
        ASSERT_EQ(SSD_OP_DB_Update_SSD_Runtime_Data(record, op, "/root/heat"), 0);
    }
};

TEST_F(RecordPage, TellsWhatTheDatabaseHasAndWhatRecommendSays) {
    const int record = store("</script> \xFF \"N\" \xE2\x80\xA8");
    SSD_OP_DB_Update_Record_LV_Size(1000, record);
    const std::vector<int> rates = {7354, 15775, 22442, 28026, 32646};
    for (int i = 0; i < 5; ++i) measure(record, 10 * i, 7 - i, rates[i], 40 + i);
    const json page = page_of_records("1 --min-iops 20000 --endurance 100");
    ASSERT_EQ(page["records"].size(), 1U) << page;
    const json& told = page["records"][0];
    EXPECT_EQ(told["record"], json::parse(shell("/opt/appliance/bin/ssd-op show 1 --json").output));
    const std::string wish =
        "/opt/appliance/bin/ssd-op recommend 1 --min-iops 20000 --endurance 100";
    EXPECT_EQ(told["assessment"]["figures"], json::parse(shell(wish + " --json").output));
    EXPECT_EQ(told["record"]["title"], "</script> \xEF\xBF\xBD \"N\" \xE2\x80\xA8");
    const std::string text = shell(wish).output;
    for (const json& line : told["assessment"]["lines"])
        EXPECT_THAT(text, HasSubstr(line[1].get<std::string>()));
    const json& row = told["assessment"]["measured"]["rows"][2];
    EXPECT_EQ(row[0], "20 %");
    EXPECT_EQ(row[1], "22442");

    ASSERT_EQ(told["samples"].size(), 5U);
    for (int i = 0; i < 5; ++i) {
        const json& sampled = told["samples"][i];
        EXPECT_EQ(sampled["op"], 10 * i);
        EXPECT_EQ(sampled["iops"]["points"].size(), 20U);
        const double last = rates[i] + 1;
        EXPECT_EQ(sampled["iops"]["points"][19], json({1140.0, last, last, last}));
        EXPECT_EQ(sampled["iops"]["lowest"], rates[i]);
        EXPECT_EQ(sampled["iops"]["highest"], rates[i] + 1);
        EXPECT_EQ(sampled["celsius"]["mean"], 40 + i);
    }
}

TEST_F(RecordPage, StaysSmallHoweverManySamplesThereAre) {
    const int record = store("long");
    for (const int op : {10, 20}) measure(record, op, 2, 1000 * op, 50);
    appliance().run_sql(
        "DELETE FROM RUNTIME_REPORT; WITH RECURSIVE rows(n) AS "
        "(SELECT 1 UNION ALL SELECT n + 1 FROM rows WHERE n <= 1000000) "
        "INSERT INTO RUNTIME_REPORT SELECT 10, n * 1000, 10000 + n % 10, 0, 1 FROM rows "
        "WHERE n <= 1000000 UNION ALL SELECT 20, n * 1000, 20000, 0, 1 FROM rows");
    const Outcome printed = report("1 --output -");
    EXPECT_LT(printed.output.size(), 300'000U) << printed.output.substr(0, 200);
    const json page = data_of(printed.output);
    const json& all = page["records"][0]["samples"][0]["iops"];
    EXPECT_EQ(all["samples"], 1'000'000);
    EXPECT_EQ(all["mean"], 10'004.5);
    EXPECT_EQ(all["every"], 1);
    const json& thinned = page["records"][0]["samples"][1]["iops"];
    EXPECT_EQ(thinned["every"], 2) << "of one more";
    EXPECT_NEAR(thinned["samples"].get<int>(), 500'000, 1);
}

TEST_F(RecordPage, ShowsEachRecordWithTheEventsOfItsTime) {
    const int first = store("first");
    store("second");
    for (const char* time : {"00:00:01", "23:59:59"}) {  // before it began, and while it runs
        NASLOG_EVENT event{};
        ssd_op::base::copy_text(event.date, time[0] == '0' ? "2001-01-01" : "2038-01-01");
        ssd_op::base::copy_text(event.time, time);
        ssd_op::base::copy_text(event.description, "<b>heard</b>");
        ASSERT_EQ(naslog_event_add(&event), 0);
    }
    const json page = page_of_records("2 1");
    ASSERT_EQ(page["records"].size(), 2U);
    for (const json& record : page["records"]) {
        EXPECT_EQ(record["assessment"], nullptr) << "nothing was measured";
        EXPECT_EQ(record["samples"], json::array());
        EXPECT_EQ(record["events"]["list"],
                  json::parse(R"([["2038-01-01 23:59:59", "information", "<b>heard</b>"]])"));
    }
    EXPECT_EQ(page["records"][1]["record"]["title"], "first");
    appliance().run_sql("UPDATE TEST_RECORD SET end_time = start_time + 1");
    EXPECT_EQ(page_of_records(std::to_string(first))["records"][0]["events"]["list"],
              json::array());
}

TEST_F(RecordPage, IsWrittenWholeAndNeverOverAFileUnasked) {
    store("written");
    const std::string many =
        "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 --output /tmp/pages/x";
    struct {
        std::string arguments;
        int status;
        const char* says;
    } const cases[] = {
        {"1 --output /tmp/pages/a.html", 0, "The report lies in /tmp/pages/a.html"},
        {"1 --output /tmp/pages/a.html", 3, "is there already.\nAdd --force"},
        {"1 --output /tmp/pages/a.html --force --json", 0, "\"format\": \"html\""},
        {"1 --output /tmp/pages", 0, "/tmp/pages/ssd-op-report-1.html"},
        {"1 --output /tmp/pages", 3, "is there already"},
        {"1 --output /none/x", 1, "/none/x cannot be written: No such file"},
        {"1 --output - >/dev/full", 1, "No space left"},
        {"1 --output - --json", 3, "cannot share the output"},
        {"1 1 --output /tmp/pages/x", 3, "named twice"},
        {many, 3, "at most 20 records"},
        {"1 2 --output /tmp/pages/x", 4, "There is no record 2."},
        {"1", 2, "--output is required"},
        {"--output /tmp/pages/x", 2, "RECORD"},
        {"1 --gain 0 --output /tmp/pages/x", 2, "--gain"},
    };
    for (const auto& [arguments, status, says] : cases) {
        const Outcome result = report(arguments);
        EXPECT_EQ(result.status, status) << arguments << '\n' << result.output;
        EXPECT_THAT(result.output, HasSubstr(says)) << arguments;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator("/tmp/pages"), {}), 2) << "and nothing else";
    EXPECT_TRUE(read_file("/tmp/pages/a.html").ends_with("</html>\n"));
}

}  // namespace
