#include "output/table.h"

#include <algorithm>

#include "output/text.h"

namespace cli {

namespace {

std::string padded(const std::string& cell, size_t width, Table::Align align) {
    const std::string blanks(width - std::min(width, columns(cell)), ' ');
    return align == Table::Align::left ? cell + blanks : blanks + cell;
}

}  // namespace

std::string Table::text(const std::string& indent) const {
    std::vector<size_t> widths;
    for (size_t i = 0; i < columns_.size(); ++i) {
        size_t width = columns(columns_[i].heading);
        for (const auto& row : rows_) width = std::max(width, columns(row[i]));
        widths.push_back(width);
    }
    std::string text;
    const auto add_line = [&](auto cell_of) {
        std::string line = indent;
        for (size_t i = 0; i < columns_.size(); ++i) {
            if (i > 0) line += "  ";
            line += padded(cell_of(i), widths[i], columns_[i].align);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    };
    add_line([&](size_t i) { return columns_[i].heading; });
    for (const auto& row : rows_) add_line([&](size_t i) { return row[i]; });
    return text;
}

}  // namespace cli
