#include "measuring/fill.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "core/failure.h"
#include "core/whole.h"

namespace host {

namespace {

constexpr size_t kPiece = size_t{1} << 20;

[[noreturn]] void fail(const char* what) {
    throw Failure(std::string("The drive cannot be ") + what + ": " + std::strerror(errno) + ".",
                  "See dmesg for what the kernel says of it.");
}

/// Data that no drive makes smaller.
std::vector<uint64_t> noise() {
    std::mt19937_64 random(std::random_device{}());
    std::vector<uint64_t> words(kPiece / sizeof(uint64_t));
    std::generate(words.begin(), words.end(), random);
    return words;
}

}  // namespace

void write_what_is_empty(int file, uint64_t bytes) {
    std::vector<char> piece(kPiece);
    std::vector<uint64_t> data = noise();
    for (uint64_t at = 0; at < bytes; at += kPiece) {
        const size_t length = static_cast<size_t>(std::min<uint64_t>(kPiece, bytes - at));
        if (!read_whole_at(file, piece.data(), length, at)) fail("read");
        if (std::any_of(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(length),
                        [](char byte) { return byte != 0; }))
            continue;
        data.front() = at;  // no two alike: some drives keep those once
        const std::string_view filling(reinterpret_cast<const char*>(data.data()), length);
        if (!write_whole_at(file, filling, at)) fail("written");
    }
    if (::fsync(file) != 0) fail("written");
}

}  // namespace host
