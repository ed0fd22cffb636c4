/// What holds of whatever ssd-op shows, whoever wrote the text in it.
#pragma once

#include <string_view>

#include "output/terminal.h"

namespace fuzz {

/// For a terminal: UTF-8 without controls, but for the ends of lines.
void require_harmless(std::string_view shown);

/// As JSON by itself and in the page, where it neither ends the script's element nor gets lost.
void require_harmless_data(const cli::Json& shown);

}  // namespace fuzz
