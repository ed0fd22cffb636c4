#pragma once

#include <cstdint>
#include <string>

namespace provider {

/// What the kblkdiscard of every provider is asked for. Nothing said of a number: to the end, and
/// all at once.
struct DiscardOptions {
    static constexpr uint64_t kMib = uint64_t{1} << 20;
    static constexpr uint64_t kMostMib = UINT64_MAX / kMib;

    std::string device;
    uint64_t offset_mib = 0;
    uint64_t length_mib = kMostMib;
    uint64_t step_mib = kMostMib;

    uint64_t offset() const { return offset_mib * kMib; }
    uint64_t length() const { return length_mib * kMib; }
    uint64_t step() const { return step_mib * kMib; }
};

struct ParsedDiscard {
    DiscardOptions options;
    bool is_asked = false;
    int exit_status = 0;  ///< of a program that is not asked to discard
};
/// @param devices  what the device can be, for --help
ParsedDiscard parse_discard(int argc, char** argv, const char* devices);

}  // namespace provider
