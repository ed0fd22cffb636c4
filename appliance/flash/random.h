#pragma once

#include <cstdint>

namespace appliance::flash {

/// A small generator with its whole state in one word, so that a drive's file can hold it and a
/// drive goes on exactly where it stopped, with every compiler and library.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    /// A number in [0, bound), uniform to within bound / 2^32.
    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>((std::uint64_t{next32()} * bound) >> 32);
    }
    std::uint64_t state() const { return state_; }

  private:
    /// SplitMix64: a Weyl sequence, scrambled.
    std::uint32_t next32() {
        state_ += 0x9e3779b97f4a7c15u;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
    }

    std::uint64_t state_;
};

}  // namespace appliance::flash
