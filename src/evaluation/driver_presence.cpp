#include "evaluation/driver_presence.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <unistd.h>

#include "runtime/state_section.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kKey = "driver";

/// Id and start of a process, which together no other process of this machine ever has, unless it
/// was started again since. Empty when there is no such process, or only its remains.
std::string process_mark(const std::string& pid) {
    constexpr int kFieldsToStart = 20;  // behind the name, which may hold blanks and brackets
    std::ifstream file("/proc/" + pid + "/stat");
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    const size_t name_end = stat.rfind(')');
    if (name_end == std::string::npos) return {};
    std::istringstream fields(stat.substr(name_end + 1));
    std::string state;
    std::string field;
    fields >> state;
    for (int i = 1; i < kFieldsToStart; ++i) fields >> field;
    return state == "Z" || !fields ? std::string() : pid + ' ' + field;
}

}  // namespace

void announce_driver(int record_no) {
    runtime::runtime_info(record_no).write_text(kKey,
                                                process_mark(std::to_string(::getpid())).c_str());
}

bool driver_is_gone(int record_no) {
    char announced[64] = "";
    if (runtime::runtime_info(record_no).read_text(kKey, announced, sizeof announced) != 0)
        return false;
    const std::string mark = announced;
    return !mark.empty() && process_mark(mark.substr(0, mark.find(' '))) != mark;
}

}  // namespace ssd_op::evaluation
