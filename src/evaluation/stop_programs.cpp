#include "evaluation/stop_programs.h"

#include <cctype>
#include <sstream>

#include <unistd.h>

#include "base/boundary.h"
#include "base/command.h"
#include "evaluation/process_id.h"
#include "platform/naslog.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kFunction = "ssd_op_test_stop_progs";
constexpr int kProbes = 10;
constexpr int kMisses = 2;

struct FoundProcess {
    int pid = 0;
    std::string line;
};

bool continues(unsigned char left, unsigned char right) {
    return (std::isalpha(left) && std::isalpha(right)) ||
           (std::isdigit(left) && std::isdigit(right));
}

/// Whether the text stands in the line and is not part of a longer name or number: /dev/sdb is in
/// "/dev/sdb3", but neither in "/dev/sdba" nor is 12 in "1234".
bool names(const std::string& line, const std::string& text) {
    for (size_t at = line.find(text); at != std::string::npos; at = line.find(text, at + 1)) {
        const size_t end = at + text.size();
        const bool begins = at == 0 || !continues(line[at - 1], line[at]);
        const bool ends = end == line.size() || !continues(line[end - 1], line[end]);
        if (begins && ends) return true;
    }
    return false;
}

/// The first process with both texts in its line, other than this one, whose own arguments may well
/// name a program and a drive.
FoundProcess find_process(const std::string& program, const std::string& term) {
    const auto printed =
        base::run_and_read("/bin/ps --columns 128 | /bin/grep -v grep | /bin/grep \"" +
                               base::inside_double_quotes(program) + "\" | /bin/grep \"" +
                               base::inside_double_quotes(term) + "\" 2>>/dev/null",
                           256);
    std::istringstream lines(printed.text);
    for (std::string line; std::getline(lines, line);) {
        const int pid = leading_process_id(line);
        if (pid > 0 && pid != ::getpid() && names(line, program) && names(line, term))
            return {pid, line};
    }
    return {};
}

Killed kill_program(const std::string& program, const std::string& term) {
    Killed killed;
    int misses = kMisses;
    for (int probe = 0; probe < kProbes && misses > 0; ++probe) {
        const auto [pid, line] = find_process(program, term);
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
