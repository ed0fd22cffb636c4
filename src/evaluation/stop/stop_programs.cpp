#include "evaluation/stop/stop_programs.h"

#include <unistd.h>

#include "base/boundary.h"
#include "base/command.h"
#include "evaluation/state/process_list.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "ssd_op_test_stop_progs";
constexpr int kProbes = 10;
constexpr int kMisses = 2;

std::string listing_of(const ProcessList& list) {
    return "/bin/ps --columns 128 | /bin/grep -v grep | /bin/grep \"" +
           base::inside_double_quotes(list.program()) + "\" | /bin/grep \"" +
           base::inside_double_quotes(list.term()) + "\" 2>>/dev/null";
}

Killed kill_program(const std::string& program, const std::string& term) {
    const ProcessList list(program, term);
    const std::string listing = listing_of(list);
    Killed killed;
    int misses = kMisses;
    for (int probe = 0; probe < kProbes && misses > 0; ++probe) {
        const auto [pid, line, only_others] = list.look(listing, 256);
        if (pid == 0) killed.result = 0;
        if (pid != 0 && ::access(("/proc/" + std::to_string(pid)).c_str(), F_OK) == 0) {
            SM_TRACE(SM_TRACE_INFO, "%s:\"%s\".\n", kFunction, line.c_str());
            killed.result = base::run("/bin/kill -9 " + std::to_string(pid) + " &>/dev/null");
        } else if (pid != 0) {
            --misses;
        }
        if (probe == 0) killed.found_at_once = pid != 0 && killed.result == 0;
        ::usleep(100000);
        if (pid == 0) break;
    }
    return killed;
}

}  // namespace

Killed kill_programs(const char* const programs[], const std::string& term) {
    Killed all;
    if (term.empty()) return all;
    for (const char* const* program = programs; *program != nullptr; ++program) {
        const Killed one = kill_program(*program, term);
        all.result |= one.result;
        all.found_at_once |= one.found_at_once;
    }
    return all;
}

int ssd_op_test_stop_progs(const char* const programs[], const char* term) {
    return base::guarded(kFunction, -1, [&] { return kill_programs(programs, term).result; });
}

}  // namespace ssd_op::evaluation
