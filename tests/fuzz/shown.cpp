#include "fuzz/shown.h"

#include "fuzz/target.h"
#include "page/page.h"
#include "page/template.h"

namespace fuzz {

using cli::Json;

void require_harmless(std::string_view shown) {
    for (const char c : shown) {
        const auto byte = static_cast<unsigned char>(c);
        require(c == '\n' || (byte >= 0x20 && byte != 0x7F), "no control reaches the terminal");
    }
    require(shown.find("\xC2\x9B") == std::string_view::npos, "nor one of two bytes");
    Json(shown).dump();  // throws at what is no UTF-8
}

void require_harmless_data(const Json& shown) {
    const std::string page = cli::page_of(shown);
    const std::string_view data = std::string_view(page).substr(
        cli::kPageBeforeData.size(),
        page.size() - cli::kPageBeforeData.size() - cli::kPageAfterData.size());
    require(data.find('<') == std::string_view::npos, "nothing in the page ends the script");
    const std::string plain = shown.dump(-1, ' ', false, Json::error_handler_t::replace);
    require(Json::parse(data) == Json::parse(plain), "the page has what the JSON has");
}

}  // namespace fuzz
