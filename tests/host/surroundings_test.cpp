/// What is around the drives: the administrator's settings, services, events, drivers that live,
/// and the machine's own description.
#include <map>

#include <sys/stat.h>
#include <unistd.h>

#include "core/settings.h"
#include "events/event_file.h"
#include "host_tree.h"
#include "machine/machine.h"
#include "services/units.h"
#include "undo/evaluations.h"
#include "undo/undo_list.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Surroundings : public HostTree {
  protected:
    Surroundings() { roots_.settings = base_ + "/host.conf"; }

    std::vector<std::string> stopped() const {
        std::vector<std::string> names;
        const UndoList list(roots_);
        for (const UndoEntry& entry : list.entries()) names.push_back(entry.name);
        return names;
    }
    std::vector<int> numbers(const EventFile& file, size_t most) const {
        std::vector<int> found;
        for (const Json& event : file.newest(most)) found.push_back(event.at("n"));
        return found;
    }
};

TEST_F(Surroundings, SettingsAreUnderstoodOrRefused) {
    EXPECT_THAT(load_settings(roots_).units, IsEmpty());
    put("host.conf",
        "; file services\n[services]\nunits = smbd.service\tnfs@1.service\n"
        "[notices]\ncommand = /usr/bin/tell -x \"a b\"\n");
    const Settings settings = load_settings(roots_);
    EXPECT_THAT(settings.units, ElementsAre("smbd.service", "nfs@1.service"));
    EXPECT_THAT(settings.notify, ElementsAre("/usr/bin/tell", "-x", "\"a", "b\""));
    for (const char* wrong : {"[services]\nunits = --force.service\n", "[services]\nunits = smbd\n",
                              "[services]\nunits = a/b.service\n", "[notices]\ncommand = tell\n",
                              "[notice]\na = b\n"}) {
        put("host.conf", wrong);
        EXPECT_THROW(load_settings(roots_), Failure) << wrong;
    }
    put("host.conf", "");
    ::chmod(roots_.settings.c_str(), 0666);
    EXPECT_THROW(load_settings(roots_), Failure);
}

TEST_F(Surroundings, OnlyWhatWasStoppedIsStartedAgain) {
    put("host.conf", "[services]\nunits = on.service off.service stuck.service\n");
    std::map<std::string, std::string> state{
        {"on.service", "active"}, {"off.service", "inactive"}, {"stuck.service", "active"}};
    std::map<std::string, std::vector<std::string>> noted_at;
    const host::Run systemd = [&](const std::vector<std::string>& words) -> ToolOutput {
        const std::string& unit = words.back();
        if (unit == "gone.service") return {.status = words[1] == "show" ? 1 : 0};
        if (words[1] == "show") return {.status = 0, .text = state.at(unit) + "\n"};
        noted_at[unit] = stopped();
        if (unit == "stuck.service") return {.status = 1};
        state[unit] = words[2] == "start" ? "active" : "inactive";
        return {.status = 0};
    };
    EXPECT_THROW(stop_units(roots_, systemd), Failure);
    EXPECT_EQ(state["on.service"], "inactive");
    EXPECT_THAT(noted_at["on.service"], ElementsAre("on.service"));  // before it was stopped
    EXPECT_THAT(stopped(), ElementsAre("on.service", "stuck.service"));
    UndoList(roots_).remove(UndoEntry::Kind::kService, "on.service");
    for (const char* unit : {"gone.service", "on.service"})  // it was uninstalled meanwhile
        UndoList(roots_).add({UndoEntry::Kind::kService, unit, Json::object()});
    EXPECT_THROW(start_units(roots_, systemd), Failure);
    EXPECT_EQ(state["on.service"], "active");
    EXPECT_EQ(state["off.service"], "inactive");
    EXPECT_THAT(stopped(), ElementsAre("stuck.service", "gone.service"));
}

TEST_F(Surroundings, EventsOutliveACrashAndStayWithinBounds) {
    const EventFile file(base_ + "/log", 200);
    EXPECT_THAT(file.newest(5), IsEmpty());
    for (int n = 1; n <= 3; ++n) file.append({{"n", n}, {"text", "a\n\"\x1b\xff"}});
    std::ofstream(base_ + "/log/events.jsonl", std::ios::app) << "{\"n\": 4, \"te";
    file.append({{"n", 5}});
    EXPECT_THAT(numbers(file, 10), ElementsAre(5, 3, 2, 1));
    EXPECT_THAT(numbers(file, 2), ElementsAre(5, 3));
    for (int n = 6; n <= 60; ++n) file.append({{"n", n}});
    EXPECT_EQ(numbers(file, 1), std::vector<int>{60});
    EXPECT_LE(std::filesystem::file_size(base_ + "/log/events.jsonl"), 200U);
    EXPECT_LE(std::filesystem::file_size(base_ + "/log/events.jsonl.1"), 200U);
}

TEST_F(Surroundings, ADriverLivesWhileItsProcessDoes) {
    const std::string announced = "state/root/etc/.sm_v2_ssd_op_runtime_info";
    const auto stat = [](char state, const char* start) {
        std::string line = std::string("77 (a ) name) ") + state;
        for (int field = 1; field < 19; ++field) line += " 0";
        return line + " " + start + " 0\n";
    };
    EXPECT_FALSE(evaluation_runs(roots_));
    put(announced, "[Record_1]\nstatus = 1\n[Record_2]\ndriver = 77 4711\n");
    EXPECT_FALSE(evaluation_runs(roots_));
    put("proc/77/stat", stat('S', "4711"));
    EXPECT_TRUE(evaluation_runs(roots_));
    put("proc/sys/kernel/random/boot_id", "b\n");
    put("state/root/.start", "a\n");  // nothing was announced since this boot
    EXPECT_FALSE(evaluation_runs(roots_));
    put("state/root/.start", "b\n");
    EXPECT_TRUE(evaluation_runs(roots_, Among::kOthers));
    put("proc/77/stat", stat('Z', "4711"));
    EXPECT_FALSE(evaluation_runs(roots_));
    put("proc/77/stat", stat('S', "4712"));
    EXPECT_FALSE(evaluation_runs(roots_));
}

TEST_F(Surroundings, TheMachineTellsWhatItIs) {
    put("sys/class/dmi/id/product_name", "To be filled by O.E.M.\n");
    put("sys/class/dmi/id/board_name", "B450 \x1b[2J\n");
    put("proc/cpuinfo",
        "processor\t: 0\nmodel name\t: Some CPU\ncpu MHz\t\t: 2600.000\nphysical id\t: 0\n"
        "core id\t\t: 0\n\nprocessor\t: 1\nphysical id\t: 0\ncore id\t\t: 0\n\n"
        "processor\t: 2\nphysical id\t: 1\ncore id\t\t: 0\n");
    put("proc/meminfo", "MemTotal:       16303428 kB\nMemFree: 1 kB\nMemAvailable:   200 kB\n");
    put("os-release", "PRETTY_NAME=\"x\"\nID=debian\nVERSION_ID=\"12\"\n");
    EXPECT_EQ(model_of_machine(roots_), "B450 \\x1b[2J");
    EXPECT_EQ(serial_of_machine(roots_), "");
    EXPECT_EQ(processor_of_machine(roots_), "Some CPU, 2 cores, 2.6 GHz");
    EXPECT_EQ(memory_of_machine(roots_)->total_kib, 16303428U);
    EXPECT_EQ(memory_of_machine(roots_)->free_kib, 200U);
    EXPECT_EQ(distribution(base_ + "/os-release"), "debian 12");
}

}  // namespace
}  // namespace host
