#pragma once

#include <string>
#include <vector>

#include "output/terminal.h"

namespace cli {

/// What something is called, and what it is.
struct Line {
    std::string label;
    std::string text;
};
using Lines = std::vector<Line>;

/// A line each, its text from column `indent` on.
std::string lines_text(const Lines& lines, size_t indent);

/// A list of pairs.
Json lines_json(const Lines& lines);

}  // namespace cli
