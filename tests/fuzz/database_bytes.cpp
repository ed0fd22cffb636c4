// A damaged database: a digit for the use that is made of it, and patches of its file. Each is an
// offset of two bytes, a length and that many bytes. The last one may run short, and one of no
// length cuts the file.

#include "fuzz/database_use.h"
#include "fuzz/target.h"
#include "fuzz/world.h"
#include "support/files.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kHead = 3;
    if (size == 0) return 0;
    fuzz::renew_database();
    std::string file = fuzz::database_bytes();
    std::string_view rest = fuzz::text_of(data + 1, size - 1);
    while (rest.size() >= kHead) {
        const auto byte = [&](size_t i) { return static_cast<unsigned char>(rest[i]); };
        const size_t at = (size_t{byte(0)} << 8 | byte(1)) % file.size();
        const std::string_view bytes = rest.substr(kHead, byte(2));
        if (bytes.empty())
            file.resize(at + 1);
        else
            file.replace(at, std::min(bytes.size(), file.size() - at), bytes);
        rest.remove_prefix(kHead + bytes.size());
    }
    support::write_file(fuzz::kDatabase, file);
    fuzz::use_database(data[0]);
    return 0;
}
