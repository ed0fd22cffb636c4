#include "output/lines.h"

#include <fmt/format.h>

namespace cli {

std::string lines_text(const Lines& lines, size_t indent) {
    std::string text;
    for (const Line& line : lines) text += fmt::format("{:<{}}{}\n", line.label, indent, line.text);
    return text;
}

Json lines_json(const Lines& lines) {
    return json_list(lines, [](const Line& line) { return Json::array({line.label, line.text}); });
}

}  // namespace cli
