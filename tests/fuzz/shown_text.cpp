// A text that somebody else wrote (a title, what a drive calls itself, an event), as ssd-op shows
// it.

#include "fuzz/shown.h"
#include "fuzz/target.h"
#include "output/text.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    const std::string shown = cli::printable(text);
    fuzz::require_harmless(shown);
    fuzz::require_harmless(cli::cut(shown, size / 2));
    fuzz::require(cli::columns(cli::cut(shown, size / 2)) <= size / 2, "a cut text fits");
    fuzz::require(cli::printable(shown) == shown, "what can be printed is printed as it is");
    fuzz::require_harmless_data(cli::Json{{std::string(text), text}});
    return 0;
}
