#include "evaluation/state/process_list.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <sstream>

#include <unistd.h>

#include "base/command.h"

namespace ssd_op::evaluation {

namespace {

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

}  // namespace

Look ProcessList::look(const std::string& listing, int limit) const {
    Look found;
    if (!means_any()) return found;
    std::istringstream lines(base::run_and_read(listing, limit).text);
    for (std::string line; std::getline(lines, line);) {
        const int pid = leading_process_id(line);
        if (pid <= 0) continue;
        if (pid != ::getpid() && names(line, program_) && names(line, term_))
            return {pid, line, false};
        found.only_others = true;
    }
    return found;
}

int leading_process_id(const std::string& line) {
    const long id = std::strtol(line.c_str(), nullptr, 10);
    return id > 0 && id <= INT_MAX ? static_cast<int>(id) : 0;
}

}  // namespace ssd_op::evaluation
