#include <filesystem>

#include <gmock/gmock.h>

#include "event/message.h"
#include "event/upload.h"
#include "platform/ini.h"
#include "ssd_op.h"
#include "support/appliance.h"
#include "support/records.h"

namespace {

using namespace support;
using ssd_op::event::ssd_op_fill_message;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kHostileTitle =
    "100% %s %n {3} {0}\n\t'\"\\ $(touch /tmp/planted) `touch /tmp/planted` ';touch /tmp/planted;'";

class Events : public ApplianceTest {
  protected:
    int store(const std::string& title) { return store_record(title, {appliance().drives()[0]}); }

    static int report(int type, const int* record_no, const void* detail = nullptr) {
        return SSD_OP_Write_System_Log(nullptr, type, record_no, detail);
    }
};

constexpr int kGroup = 812, kNoGroup = -1;
constexpr ssd_op_event_step kFailedStep = {255, 7}, kSkippedStep = {254, 30};

struct Expected {
    int type;
    const void* detail;
    int event_type;
    const char* text;
    const char* message_id;  // of the log engine's notice; "" for none
};

const Expected kExpected[] = {
    {0, nullptr, 0, "[Oprella] Started SSD over-provisioning test \"T\".", "MSG_SFT_001"},
    {1, &kFailedStep, 2,
     "[Oprella] Could not run SSD over-provisioning test \"T\": a selected drive does not support "
     "block discard, or the test program did not start.",
     ""},
    {1, &kSkippedStep, 1,
     "[Oprella] In SSD over-provisioning test \"T\" the over-provisioning ratio 30% could not be "
     "set and was skipped.",
     ""},
    {2, nullptr, 0, "[Oprella] Completed SSD over-provisioning test \"T\".", "MSG_SFT_002"},
    {3, nullptr, 1, "[Oprella] Stopped SSD over-provisioning test \"T\".", "MSG_SFT_004"},
    {4, nullptr, 0,
     "[Oprella] Sending the anonymous summary of SSD over-provisioning test \"T\", as agreed.", ""},
    {5, "Gone", 0, "[Oprella] Deleted the results of SSD over-provisioning test \"Gone\".", ""},
    {6, nullptr, 0, "[Oprella] Deleted the results of all tests.", ""},
    {7, nullptr, 2, "[Oprella] Could not delete test results.", ""},
    {8, nullptr, 2, "[Oprella] Failed SSD over-provisioning test \"T\".", ""},
    {8, &kNoGroup, 2, "[Oprella] Failed SSD over-provisioning test \"T\".", "MSG_SFT_003"},
    {8, &kGroup, 2, "[Oprella] Failed SSD over-provisioning test \"T\" on RAID group 812.",
     "MSG_SFT_003"},
    {9, &kGroup, 0, "[Oprella] Created temporary test storage on RAID group 812.", ""},
    {10, &kGroup, 0, "[Oprella] Removed temporary test storage from RAID group 812.", ""},
};

TEST_F(Events, OfEveryTypeReachTheEventLogAndSomeTheLogEngine) {
    const int record = store("T");
    size_t events = 0, notices = 0;
    for (const Expected& expected : kExpected) {
        SCOPED_TRACE(expected.text);
        ASSERT_EQ(report(expected.type, &record, expected.detail), 0);
        ASSERT_EQ(appliance().events().size(), ++events);
        const Event event = appliance().events().back();
        EXPECT_EQ(event.description, expected.text);
        EXPECT_EQ(event.type, expected.event_type);
        EXPECT_EQ(event.user + event.address + event.computer, "") << "nobody asked";
        if (expected.message_id[0] != '\0') ++notices;
        ASSERT_EQ(appliance().notices().size(), notices);
        if (expected.message_id[0] == '\0') continue;
        const Notice notice = appliance().notices().back();
        EXPECT_EQ(notice.way, "log engine");
        EXPECT_EQ(notice.message_id, expected.message_id);
        EXPECT_EQ(notice.title, "T");
        EXPECT_EQ(notice.message, expected.text);
        EXPECT_THAT(notice.detail,
                    StartsWith("facility 13, notice " + std::string(1, expected.message_id[10])));
    }
}

TEST_F(Events, OfEveryTypeReachTheNotificationServiceInsteadWhenItIsActive) {
    appliance().with([](auto& blueprint) { blueprint.notice_hall_installed = true; });
    const int record = store("T");
    for (const Expected& expected : kExpected) {
        const size_t before = appliance().notices().size();
        ASSERT_EQ(report(expected.type, &record, expected.detail), 0);
        const auto notices = appliance().notices();
        ASSERT_EQ(notices.size(), before + (expected.message_id[0] != '\0' ? 2 : 1));
        EXPECT_EQ(notices[before].way, "notification");
        EXPECT_EQ(notices[before].message, expected.text);
    }
    EXPECT_TRUE(appliance().events().empty());
}

TEST_F(Events, GoToTheEventLogWhenTheNotifyLinkPointsElsewhere) {
    appliance().with([](auto& blueprint) { blueprint.notice_hall_installed = true; });
    const std::filesystem::path link = "/usr/local/sbin/notify";
    for (const bool elsewhere : {true, false}) {
        std::filesystem::remove(link);
        if (elsewhere) std::filesystem::create_symlink("/bin/true", link);
        EXPECT_EQ(report(6, nullptr), 0);
    }
    EXPECT_EQ(appliance().events().size(), 2U);
    EXPECT_TRUE(appliance().notices().empty());
}

TEST_F(Events, NeedWhatTheirTypeAsksFor) {
    const int record = store("T"), unknown = 99;
    for (const int type : {0, 1, 2, 3, 4, 8}) EXPECT_EQ(report(type, nullptr, &kGroup), -1) << type;
    for (const int type : {1, 5, 9, 10}) EXPECT_EQ(report(type, &record), -1) << type;
    for (int type = -1; type <= 11; ++type) EXPECT_EQ(report(type, &unknown, "T"), -1) << type;
    for (const int type : {-1, 11, INT_MAX, INT_MIN}) EXPECT_EQ(report(type, nullptr), 0) << type;
    constexpr ssd_op_event_step kOther = {3, 30};
    EXPECT_EQ(report(1, &record, &kOther), 0);
    EXPECT_TRUE(appliance().events().empty());
    EXPECT_TRUE(appliance().notices().empty());
}

TEST_F(Events, NameWhoAskedAndKeepAHostileTitleAsItIs) {
    ssd_op_requester requester{};
    std::memset(requester.user, 'u', sizeof requester.user);  // not ended
    std::strcpy(requester.address, "192.0.2.7");
    const int record = store(kHostileTitle);
    ASSERT_EQ(SSD_OP_Write_System_Log(&requester, SSD_OP_EVENT_STARTED, &record, nullptr), 0);
    const Event event = appliance().events().back();
    EXPECT_EQ(event.description,
              "[Oprella] Started SSD over-provisioning test \"" + kHostileTitle + "\".");
    EXPECT_EQ(event.user, std::string(64, 'u'));
    EXPECT_EQ(event.address, "192.0.2.7");
    EXPECT_EQ(event.computer, "---");
    EXPECT_EQ(appliance().notices().back().title, kHostileTitle);
}

TEST_F(Events, CutAMessageThatIsTooLong) {
    const std::string name(5000, 'x');
    ASSERT_EQ(report(SSD_OP_EVENT_RECORD_DELETED, nullptr, name.c_str()), 0);
    const std::string message = appliance().events().back().description;
    EXPECT_EQ(message.size(), 2047U);
    EXPECT_THAT(message, StartsWith("[Oprella] Deleted the results of"));
    EXPECT_EQ(message.back(), 'x');
}

TEST(Message, IsFilledInTheOrderOfItsArguments) {
    struct {
        const char* text;
        std::vector<const char*> arguments;
        const char* filled;
    } const cases[] = {
        {"a {0} b {1}", {}, "a {0} b {1}"},
        {"a {0} b {1}", {"x"}, "a x b {1}"},
        {"{1} {0} {1}", {"x", "y"}, "{1} x y"},
        {"{0} {1} {0}", {"x", "y"}, "x y {0}"},
        {"plain", {"x"}, "plain"},
        {"{0}", {"{0} %d"}, "{0} %d"},
        {"{0}|{1}|{2}", {"%V001%", "%V1", "%V002"}, "Oprella|Oprella|SSD over-provisioning test"},
        {"{0}|{1}|{2}|{3}",
         {"%V000%", "%V-1%", "%V3%", "%V99999999999%"},
         "%V000%|%V-1%|%V3%|%V99999999999%"},
    };
    for (auto message : cases) {
        message.arguments.push_back(nullptr);
        char filled[2048] = "old";
        EXPECT_EQ(ssd_op_fill_message(filled, 2048, message.text, message.arguments.data()), 0);
        EXPECT_STREQ(filled, message.filled) << message.text;
    }
    const char* const none[] = {nullptr};
    EXPECT_EQ(ssd_op_fill_message(nullptr, 2048, "x", none), -1);
}

class Uploading : public Events {
  protected:
    static constexpr const char* kScript = "/tmp/ssd_op_upload.sh";

    Record finished(std::vector<Group> groups) {
        Record record = record_of("T", groups);
        record->end_time = record->start_time + 119;
        for (auto* group = record->raid_conf; group != nullptr; group = group->next)
            group->raid_capacity = 1536 * 1024;
        return record;
    }

    /// The fields of the only upload, in which tabs are shown as bars.
    std::string sent(const ssd_op_db_record& record) {
        EXPECT_EQ(ssd_op::event::ssd_op_analytics_upload(&record), 0);
        const auto uploads = appliance().uploads();
        EXPECT_EQ(uploads.size(), 2U);
        if (uploads.size() != 2) return "";
        EXPECT_EQ(uploads[1].action, "flush");
        std::string fields = uploads[0].test + "|-e" + uploads[0].event;
        std::replace(fields.begin(), fields.end(), '\t', '|');
        return fields;
    }
};

TEST_F(Uploading, SendsEveryFieldInOrder) {
    appliance().with([](auto& blueprint) {
        blueprint.others[1].interface_type = PD_INTERFACE_SAS;
        blueprint.others[1].rotation_speed = 9999;
        blueprint.others[1].flags = 0;
        blueprint.others[2].form_factor = PD_FORM_M2_PCIE;
    });
    const auto drives = appliance().drives();
    const Record record = finished({{800, 5, {drives[0], drives[1]}}, {801, 5, {drives[2]}}});
    auto& first = record->raid_conf->ssd_drives[0];
    std::strcpy(first.vendor, "Norwell");
    std::strcpy(first.model, "It's a\tdrive");
    std::strcpy(first.revision, "1\\2");
    first.performance_read_s = 1;
    first.performance_read_r = 2;
    first.performance_write_s = 3;
    first.performance_write_r = UINT64_MAX;
    record->count = 2;
    record->percentage[0] = 7;
    record->percentage[1] = 14;
    record->result_2[0] = 498.25L;
    record->result_2[1] = 1234567.0L;
    ::setenv("TZ", "UTC", 1);
    EXPECT_EQ(sent(*record),
              "test_name=T|test_type=SSD over-provisioning evalutaion|-e|capacity=3.00|raid_type=50"
              "|member=00010001,00010002,00010003|slot=00010001,00010002,00010003"
              "|bus_type=SATA,NL-SAS,M.2 PCIe|disk_vendor=Norwell,,|disk_model_name=It's a drive,,"
              "|disk_firmware=1\\2,,|disk_capacity=59.63,59.63,59.63|disk_read_throughput=1,0,0"
              "|disk_read_iops=2,0,0|disk_write_throughput=3,0,0"
              "|disk_write_iops=18446744073709551615,0,0|finished_time=20231114_2215"
              "|consumed_time=1|ratio=7%,14%|performance_result=498.250000,1234567.000000");
    EXPECT_FALSE(exists(kScript));
}

TEST_F(Uploading, NamesTheLayout) {
    const auto drives = appliance().drives();
    struct {
        std::vector<Group> groups;
        const char* word;
    } const cases[] = {{{{800, 1, {drives[0]}}}, "Single"},
                       {{{800, 1, {drives[0], drives[1]}}}, "1"},
                       {{{800, -2, {drives[0], drives[1]}}}, "JBOD"},
                       {{{800, 10, drives}}, "10"}};
    for (const auto& layout : cases) {
        EXPECT_THAT(ssd_op::event::upload_script(*finished(layout.groups)),
                    HasSubstr(std::string("\\traid_type=") + layout.word + "\\t"));
    }
    EXPECT_THAT(ssd_op::event::upload_script(*record_of("T", {})),
                HasSubstr("-e$'\\tfinished_time="));
}

TEST_F(Uploading, LeavesADriveWithoutCapacityOutOfThatListOnly) {
    appliance().failing("PD_Get_Capacity", Nth(1), -1);
    const auto drives = appliance().drives();
    const std::string fields = sent(*finished({{800, 0, {drives[0], drives[1]}}}));
    EXPECT_THAT(fields, HasSubstr("|disk_capacity=,59.63|"));
    EXPECT_THAT(fields, HasSubstr("|bus_type=SATA,SATA|"));
}

TEST_F(Uploading, LetsATitleNeitherRunAnythingNorBeginAField) {
    const Record record = finished({{800, 1, {appliance().drives()[0]}}});
    ssd_op::base::copy_text(record->title, kHostileTitle);
    std::string shown = kHostileTitle;
    for (char& c : shown) c = c == '\n' || c == '\t' ? ' ' : c;
    EXPECT_THAT(sent(*record), StartsWith("test_name=" + shown + "|test_type="));
    EXPECT_FALSE(exists("/tmp/planted"));
}

TEST_F(Uploading, WritesThroughNothingThatLiesUnderItsName) {
    const Record record = finished({{800, 1, {appliance().drives()[0]}}});
    write_file("/tmp/ssd_op_victim", "precious");
    std::filesystem::create_symlink("/tmp/ssd_op_victim", kScript);
    EXPECT_THAT(sent(*record), StartsWith("test_name=T|"));
    EXPECT_EQ(read_file("/tmp/ssd_op_victim"), "precious");

    // What cannot be replaced is not run either.
    std::filesystem::create_directory(kScript);
    EXPECT_EQ(ssd_op::event::ssd_op_analytics_upload(record.get()), 0);
    EXPECT_EQ(appliance().uploads().size(), 2U) << "the first one's";
    std::filesystem::remove(kScript);
}

TEST_F(Uploading, KeepsTwoAtOnceApart) {
    std::vector<std::unique_ptr<Child>> children;
    for (const char* title : {"first", "second", "third"}) {
        children.push_back(std::make_unique<Child>([this, title] {
            const Record record = finished({{800, 1, {appliance::drive_id(0)}}});
            ssd_op::base::copy_text(record->title, title);
            return ssd_op::event::ssd_op_analytics_upload(record.get());
        }));
    }
    for (auto& child : children) EXPECT_EQ(child->wait(), exited(0));
    std::set<std::string> titles;
    for (const Upload& upload : appliance().uploads()) {
        if (upload.action == "send") titles.insert(upload.test.substr(0, upload.test.find('\t')));
    }
    EXPECT_EQ(titles,
              (std::set<std::string>{"test_name=first", "test_name=second", "test_name=third"}));
}

TEST_F(Uploading, WaitsForAnotherOneButNotForEver) {
    const Record record = finished({{800, 1, {appliance().drives()[0]}}});
    appliance().slow("kanalytic_tool", Nth(1), 3'600'000);
    Child hanging([&] { return ssd_op::event::ssd_op_analytics_upload(record.get()); });
    ASSERT_TRUE(eventually([] { return exists(kScript); }));
    EXPECT_EQ(ssd_op::event::ssd_op_analytics_upload(record.get()), 0);
    EXPECT_TRUE(appliance().traced("ssd_op_analytics_upload: Fail to lock("));
    EXPECT_TRUE(hanging.running());
    EXPECT_TRUE(exists(kScript)) << "the other one's";
    EXPECT_TRUE(appliance().uploads().empty());
    hanging.signal(SIGKILL);
    hanging.wait();
    end_what_runs();
}

}  // namespace
