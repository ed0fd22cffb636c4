#include "measuring/fill.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <vector>

#include <unistd.h>

#include "core/failure.h"

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

/// Reads or writes all of it; short steps are gone on with.
template <typename Step>
void whole(size_t length, const char* what, Step&& step) {
    size_t done = 0;
    while (done < length) {
        const ssize_t moved = step(done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) fail(what);
        done += static_cast<size_t>(moved);
    }
}

}  // namespace

void write_what_is_empty(int file, uint64_t bytes) {
    std::vector<char> piece(kPiece);
    std::vector<uint64_t> data = noise();
    for (uint64_t at = 0; at < bytes; at += kPiece) {
        const size_t length = static_cast<size_t>(std::min<uint64_t>(kPiece, bytes - at));
        const auto place = [at](size_t done) { return static_cast<off_t>(at + done); };
        whole(length, "read", [&](size_t done) {
            return ::pread(file, piece.data() + done, length - done, place(done));
        });
        if (std::any_of(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(length),
                        [](char byte) { return byte != 0; }))
            continue;
        data.front() = at;  // no two alike: some drives keep those once
        whole(length, "written", [&](size_t done) {
            return ::pwrite(file, reinterpret_cast<const char*>(data.data()) + done, length - done,
                            place(done));
        });
    }
    if (::fsync(file) != 0) fail("written");
}

}  // namespace host
