#include "page/page.h"

#include "page/template.h"

namespace cli {

namespace {

/// Without "<" no text ends the element that it is in. In JSON it can only be within a string,
/// which may have it escaped; so is all that is not ASCII, U+2028 as well, and what is no UTF-8 has
/// become U+FFFD.
std::string harmless_json(const Json& data) {
    const std::string json = data.dump(-1, ' ', true, Json::error_handler_t::replace);
    std::string harmless;
    harmless.reserve(json.size());
    for (const char c : json) {
        if (c == '<')
            harmless += "\\u003c";
        else
            harmless += c;
    }
    return harmless;
}

}  // namespace

std::string page_of(const Json& data) {
    return std::string(kPageBeforeData) + harmless_json(data) + std::string(kPageAfterData);
}

}  // namespace cli
