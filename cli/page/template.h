#pragma once

#include <string_view>

namespace cli {

// The page as embed.cmake has put it together, in two parts.
extern const std::string_view kPageBeforeData;
extern const std::string_view kPageAfterData;

}  // namespace cli
