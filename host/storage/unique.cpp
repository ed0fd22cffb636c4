#include "storage/unique.h"

#include <array>
#include <cerrno>
#include <cstdint>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/random.h>

#include "core/failure.h"

namespace host {

namespace {

std::array<uint32_t, 4> random_words() {
    std::array<uint32_t, 4> words{};
    while (::getrandom(words.data(), sizeof words, 0) != static_cast<ssize_t>(sizeof words)) {
        if (errno != EINTR) throw Failure("The kernel gives no random numbers.", "Try again.");
    }
    return words;
}

}  // namespace

std::string new_guid() {
    const auto [a, b, c, d] = random_words();
    return fmt::format("{:08X}-{:04X}-4{:03X}-{:04X}-{:04X}{:08X}", a, b >> 16, b & 0xFFFU,
                       0x8000U | (c >> 16 & 0x3FFFU), c & 0xFFFFU, d);
}

std::string new_md_uuid() { return fmt::format("{:08x}", fmt::join(random_words(), ":")); }

std::string new_lvm_tag() { return fmt::format("ssd_op_{:08x}", fmt::join(random_words(), "")); }

}  // namespace host
