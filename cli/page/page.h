/// Page room: records as a web page that is one file and needs no network. What it looks like is
/// in report.html, report.css and the scripts beside it.
#pragma once

#include <string>

#include "output/terminal.h"

namespace cli {

/// The page with its data in it, in a form that neither ends a script nor is one.
std::string page_of(const Json& data);

}  // namespace cli
