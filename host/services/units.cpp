#include "services/units.h"

#include <chrono>
#include <thread>

#include "core/failure.h"
#include "core/settings.h"
#include "core/text.h"
#include "undo/undo_list.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

constexpr std::chrono::milliseconds kPause{200};
constexpr int kMostLooks = 600;  // two minutes: longer than systemd gives a unit to stop

std::string state_of(const Run& run, const std::string& unit) {
    const ToolOutput told = run({"systemctl", "show", "--property=ActiveState", "--value", unit});
    if (!told.found || told.status != 0) {
        throw Failure("systemd does not tell the state of " + unit + ".",
                      "Name only units that systemctl knows in the settings.");
    }
    return std::string(trimmed(told.text));
}

/// Whether it comes to an end state. systemd goes on with the job whatever becomes of this process.
bool reaches(const Run& run, const std::string& unit, const char* job, bool active) {
    if (run({"systemctl", "--no-block", job, unit}).status != 0) return false;
    for (int look = 0; look < kMostLooks; ++look) {
        const std::string state = state_of(run, unit);
        if (state == "active" || state == "failed" || state == "inactive") {
            if ((state == "active") == active) return true;
            if (look > 0 && state == "failed") return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    return false;
}

bool starts(const Run& run, const std::string& unit) {
    try {
        return reaches(run, unit, "start", true);
    } catch (const Failure&) {
        return false;  // what systemd does not know is one more that does not start
    }
}

std::vector<std::string> noted(const Roots& roots) {
    std::vector<std::string> units;
    const UndoList list(roots);
    for (const UndoEntry& entry : list.entries())
        if (entry.kind == Kind::kService) units.push_back(entry.name);
    return units;
}

}  // namespace

ToolOutput run_on_host(const std::vector<std::string>& words) { return run_tool(on_host(words)); }

void stop_units(const Roots& roots, const Run& run) {
    for (const std::string& unit : load_settings(roots).units) {
        if (state_of(run, unit) != "active") continue;
        // The list is held for a moment only: storage is made meanwhile.
        UndoList(roots).add({Kind::kService, unit, Json::object()});
        if (!reaches(run, unit, "stop", false))
            throw Failure("The service " + unit + " does not stop.",
                          "See: systemctl status " + unit);
    }
}

size_t start_units(const Roots& roots, const Run& run) {
    std::string failed;
    const std::vector<std::string> units = noted(roots);
    for (const std::string& unit : units) {
        if (starts(run, unit))
            UndoList(roots).remove(Kind::kService, unit);
        else
            failed += " " + printable(unit);
    }
    if (!failed.empty())
        throw Failure("Services do not start:" + failed + ".", "See: systemctl status" + failed);
    return units.size();
}

}  // namespace host
