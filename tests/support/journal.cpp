#include "support/journal.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <ostream>
#include <string>

namespace support {

std::vector<JournalRow> Journal::rows(const std::string& name) const {
    std::vector<JournalRow> found;
    std::ranges::copy_if(rows_, std::back_inserter(found),
                         [&](const JournalRow& row) { return row.name == name; });
    return found;
}

int Journal::count(const std::string& name) const {
    return static_cast<int>(std::ranges::count(rows_, name, &JournalRow::name));
}

int Journal::count(const std::string& name, const std::string& in_arguments) const {
    return static_cast<int>(std::ranges::count_if(rows_, [&](const JournalRow& row) {
        return row.name == name && row.arguments.find(in_arguments) != std::string::npos;
    }));
}

bool Journal::shows(const std::string& name, const std::string& in_arguments) const {
    return count(name, in_arguments) > 0;
}

bool Journal::shows_in_order(const std::vector<std::string>& names) const {
    auto next = names.begin();
    for (const JournalRow& row : rows_) {
        if (next != names.end() && row.name == *next) ++next;
    }
    return next == names.end();
}

std::map<std::string, int> Journal::counts() const {
    std::map<std::string, int> counts;
    for (const JournalRow& row : rows_) ++counts[row.name];
    return counts;
}

std::vector<CallUse> Journal::uses() const {
    std::map<std::string, int> counts;
    std::vector<CallUse> found;
    for (const JournalRow& row : rows_) found.push_back({row.name, ++counts[row.name]});
    return found;
}

std::ostream& operator<<(std::ostream& out, const JournalRow& row) {
    return out << row.pid << ' ' << row.name << '(' << row.arguments << ") = " << row.result;
}

std::ostream& operator<<(std::ostream& out, const Journal& journal) {
    out << "journal:\n";
    for (const JournalRow& row : journal.rows()) out << "  " << row << '\n';
    return out;
}

}  // namespace support
