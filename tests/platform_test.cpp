// The stand-ins of the platform's libraries: commands, log, faults, and that no call is missing.

#include <list>
#include <regex>
#include <set>
#include <string>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include "platform/hal.h"
#include "platform/naslog.h"
#include "support/appliance.h"

using namespace support;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class Command : public ApplianceTest {};
class Log : public ApplianceTest {};
class Fault : public ApplianceTest {};

namespace {

struct Answer {
    int result;
    std::string output;
    bool operator==(const Answer&) const = default;
};

Answer run(const char* command, int size = 256) {
    char buffer[256] = "untouched";
    const int result = Get_Command_Result(command, buffer, size);
    return {result, buffer};
}

/// Names declared in a header, functions and tables.
std::set<std::string> declared_in(const std::string& header) {
    std::string text = read_file(std::string(PLATFORM_HEADERS) + "/" + header);
    text = std::regex_replace(text, std::regex(R"(/\*[^*]*\*+([^/*][^*]*\*+)*/)"), "");
    std::set<std::string> names;
    const std::regex declaration(R"((?:^|\n)(?:int|void|extern const \w+) (\w+)(?:\(|\[))");
    for (std::sregex_iterator found(text.begin(), text.end(), declaration), end; found != end;
         ++found)
        names.insert((*found)[1]);
    return names;
}

}  // namespace

TEST(Platform, HasEveryDeclaredCallUnderItsLibrarysName) {
    for (const auto& [header, library, calls] :
         {std::tuple("hal.h", "libTavrel_hal.so", 29), std::tuple("ini.h", "libTavrel_ini.so", 12),
          std::tuple("storage.h", "libTavrel_Storage.so", 33),
          std::tuple("naslog.h", "libTavrel_naslog.so.2", 7)}) {
        void* handle = ::dlopen(library, RTLD_NOW);
        ASSERT_NE(handle, nullptr) << ::dlerror();
        const std::set<std::string> names = declared_in(header);
        EXPECT_GE(names.size(), static_cast<size_t>(calls)) << header << " was not understood";
        for (const std::string& name : names)
            EXPECT_NE(::dlsym(handle, name.c_str()), nullptr) << library << " lacks " << name;
    }
}

TEST_F(Command, GivesStatusAndOutput) {
    EXPECT_EQ(run("printf 'one\\ntwo\\n\\n'"), (Answer{0, "one\ntwo\n"})) << "one line end less";
    EXPECT_EQ(run("echo out; echo err 2>/dev/null >&2; exit 3"), (Answer{3, "out"}));
    EXPECT_EQ(run("kill -9 $$"), (Answer{-1, ""}));
    EXPECT_EQ(run("no_such_program 2>/dev/null"), (Answer{127, ""}));
    EXPECT_EQ(run("printf %s $'a\\tb' &>/dev/null; echo $'a\\tb'"), (Answer{0, "a\tb"}))
        << "the shell must be one that knows these";
    EXPECT_EQ(Get_Command_Result("exit 5", nullptr, 0), 5);
    EXPECT_EQ(Get_Command_Result(nullptr, nullptr, 0), -1);
}

TEST_F(Command, CutsTheOutputButLetsTheCommandFinish) {
    EXPECT_EQ(run("seq 1 200000; echo done >/tmp/ssd_op_done", 8), (Answer{0, "1\n2\n3\n4"}));
    EXPECT_EQ(read_file("/tmp/ssd_op_done"), "done\n");
    EXPECT_EQ(run("echo text", 1), (Answer{0, ""}));
}

TEST_F(Command, KeepsTheStatusWhateverTheCallerDoesWithItsChildren) {
    const auto reap = [](int) {
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    };
    EXPECT_EQ(in_child([&] {
                  ::signal(SIGCHLD, SIG_IGN);
                  const int ignored = Get_Command_Result("exit 6", nullptr, 0);
                  ::signal(SIGCHLD, reap);
                  const int reaped = run("sleep 20; exit 7").result;
                  return ignored == 6 && reaped == 7 && ::signal(SIGCHLD, SIG_DFL) == reap ? 0 : 1;
              }),
              exited(0));
    EXPECT_THAT(children(), SizeIs(0));
}

TEST_F(Command, LeavesItsLineInTheJournal) {
    run("exit 4");
    EXPECT_TRUE(appliance().journal().shows("Get_Command_Result", "exit 4"))
        << appliance().journal();
    EXPECT_EQ(appliance().journal().rows("Get_Command_Result").at(0).result, "4");
}

TEST_F(Log, KeepsTracesOfManyProcessesApart) {
    const auto trace = [] {
        const std::string text(3000, 'x');
        for (int round = 0; round < 200; ++round) SM_TRACE(SM_TRACE_INFO, "%s end\n", text.c_str());
        return 0;
    };
    std::list<Child> writers;
    for (int writer = 0; writer < 4; ++writer) writers.emplace_back(trace);
    for (Child& writer : writers) EXPECT_EQ(writer.wait(), exited(0));
    SM_TRACE(SM_TRACE_ERROR, "%s: two\nlines\n", "Test");

    const auto traces = appliance().traces(SM_TRACE_INFO);
    ASSERT_THAT(traces, SizeIs(800));
    for (const Trace& line : traces) ASSERT_EQ(line.text, std::string(3000, 'x') + " end");
    ASSERT_THAT(appliance().traces(SM_TRACE_ERROR), SizeIs(1));
    EXPECT_EQ(appliance().traces(SM_TRACE_ERROR)[0].text, "Test: two\\nlines");
}

TEST_F(Log, KeepsEventsWithTheTimeTheyCarryOrThePresent) {
    NASLOG_EVENT past{.type = NASLOG_WARNING,
                      .date = "2024-02-29",
                      .time = "12:34:56",
                      .user = "ada",
                      .address = {},
                      .computer = "---",
                      .application = {},
                      .category = {},
                      .description = "it's \"past\""};
    ASSERT_EQ(naslog_event_add(&past), 0);
    NASLOG_EVENT present{};
    std::fill_n(present.user, sizeof(present.user), 'u');  // as full as a field can be
    ASSERT_EQ(naslog_event_add(&present), 0);

    NASLOG_EVENT newest[3];
    ASSERT_EQ(naslog_event_query(newest, 3), 2);
    EXPECT_STREQ(newest[0].user, std::string(64, 'u').c_str());
    EXPECT_GT(std::string(newest[0].date), past.date);
    EXPECT_STREQ(newest[1].date, past.date);
    EXPECT_STREQ(newest[1].time, past.time);
    EXPECT_STREQ(newest[1].description, past.description);
    EXPECT_EQ(naslog_event_query(newest, 1), 1);
    EXPECT_EQ(naslog_event_add(nullptr), -1);
}

TEST_F(Log, RendersNotificationsFromTheTable) {
    const NASLOG_MESSAGE& skipped = A255_list[18];
    naslog_notice_send(skipped.application_id, skipped.level, 3, skipped.category_id,
                       skipped.message_id, 0, 0, 0, skipped.text, "%V001%", "%V002%", "{3}", "30%",
                       static_cast<const char*>(nullptr));
    SendNoticeToLogEngine(3, 0, 0, "", 13, "title", 4, -1, 0, "ada", "10.0.0.1", "", "MSG_SFT_004",
                          0, "", "stopped");
    const auto notices = appliance().notices();
    ASSERT_THAT(notices, SizeIs(2));
    EXPECT_THAT(notices[0].message, HasSubstr(std::string("In ") + A255_list[2].text + " \"{3}\""));
    EXPECT_THAT(notices[0].message, HasSubstr("ratio 30% could"));
    EXPECT_EQ(notices[1].message_id, "MSG_SFT_004");
    EXPECT_THAT(notices[1].detail, HasSubstr("ada"));
}

TEST_F(Log, ItsTextsTakeTheArgumentsThatEventsGive) {
    const auto placeholders = [](int entry) {
        std::string found;
        if (A255_list[entry].text == nullptr) return std::string("no text");
        const std::string text = A255_list[entry].text;
        for (size_t at = 0; (at = text.find('{', at)) != std::string::npos; ++at)
            found += text[at + 1];
        return found;
    };
    const std::vector<std::pair<std::string, std::vector<int>>> expected{
        {"no text", {0, 3, 4, 10}},        {"", {1, 2}},      {"0", {15, 16}}, {"01", {6, 13}},
        {"012", {5, 7, 8, 9, 12, 14, 17}}, {"0123", {11, 18}}};
    for (const auto& [arguments, entries] : expected) {
        for (const int entry : entries)
            EXPECT_EQ(placeholders(entry), arguments) << "entry " << entry;
    }
}

TEST_F(Fault, StrikesTheNthUseOfAnyProcess) {
    auto& nas = appliance().failing("HAL_MB_Mem_Get_Slots", Nth(2), -5);
    EXPECT_EQ(HAL_MB_Mem_Get_Slots(), 2);
    EXPECT_EQ(in_child([] { return HAL_MB_Mem_Get_Slots() == -5 ? 0 : 1; }), exited(0));
    EXPECT_EQ(HAL_MB_Mem_Get_Slots(), 2);
    EXPECT_TRUE(nas.journal().shows("HAL_MB_Mem_Get_Slots", Times(3))) << nas.journal();

    nas.healthy().failing("HAL_MB_Mem_Get_Slots");
    EXPECT_EQ(HAL_MB_Mem_Get_Slots(), -1);
    EXPECT_EQ(HAL_MB_Mem_Get_Slots(), -1);
    nas.healthy();
    EXPECT_EQ(HAL_MB_Mem_Get_Slots(), 2);
}

TEST_F(Fault, KillsBeforeOrAfterTheWork) {
    appliance()
        .killing("Get_Command_Result", Nth(1))
        .killing("Get_Command_Result", Nth(2), When::kAfter);
    const auto leave_a_mark = [] {
        return Get_Command_Result("echo x >>/tmp/ssd_op_mark", nullptr, 0);
    };
    EXPECT_EQ(in_child(leave_a_mark), killed(SIGKILL));
    EXPECT_FALSE(exists("/tmp/ssd_op_mark"));
    EXPECT_EQ(in_child(leave_a_mark), killed(SIGKILL));
    EXPECT_EQ(read_file("/tmp/ssd_op_mark"), "x\n");
    EXPECT_EQ(in_child(leave_a_mark), exited(0));
}

TEST_F(Fault, StaysWhenTheApplianceIsMadeAnotherOne) {
    auto& nas = appliance().failing("PD_Is_Exist", 0).having("cpu_info", "abacus").with_drives(2);
    char cpu[32];
    HAL_MB_Get_CPU_Info(cpu, sizeof(cpu));
    EXPECT_STREQ(cpu, "abacus");
    EXPECT_THAT(nas.drives(), SizeIs(2));
    nas.renew();
    HAL_MB_Get_CPU_Info(cpu, sizeof(cpu));
    EXPECT_STRNE(cpu, "abacus");
}
