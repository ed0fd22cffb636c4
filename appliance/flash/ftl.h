#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "flash/random.h"

namespace appliance::flash {

/// What the flash of a drive has done since it was new.
struct Counters {
    std::uint64_t host_pages = 0;    ///< written by the host
    std::uint64_t copied_pages = 0;  ///< moved by garbage collection
    std::uint64_t erased_blocks = 0;
    std::uint64_t trimmed_pages = 0;  ///< unmapped by a discard

    std::uint64_t programmed_pages() const { return host_pages + copied_pages; }
    /// Flash pages programmed for each page of the host; 1 when the host wrote nothing.
    double write_amplification() const;

    Counters& operator+=(const Counters& other);
    friend Counters operator-(Counters later, const Counters& earlier);
    friend bool operator==(const Counters&, const Counters&) = default;
};

/// A page-mapped flash translation layer with greedy garbage collection.
///
/// One log: host writes and the collector's copies fill the same open block. When it is full and
/// only one empty block is left, that one becomes the open block, takes over the valid pages of the
/// closed block that has the fewest, and the victim is erased. So one block is always empty; it
/// belongs to the physical pages. Closed blocks hang in one list for each count of valid pages,
/// which finds the victim in constant time. Opening a block costs at most one collection, whatever
/// is mapped.
class Ftl {
  public:
    static constexpr std::uint32_t kPagesPerBlock = 256;
    static constexpr std::uint32_t kNone = 0xffffffffu;

    /// Everything that decides how the flash goes on, as plain values.
    struct Image {
        std::uint32_t logical_pages = 0;
        std::vector<std::uint32_t> physical;  ///< logical page of each physical page, or kNone
        std::vector<std::uint32_t> closed;    ///< closed blocks, list by list, each from its head
        std::vector<std::uint32_t> empty;     ///< erased blocks, the next to use last
        std::uint32_t open_block = kNone;
        std::uint32_t open_fill = kPagesPerBlock;  ///< pages programmed in the open block
        double recent_copies = 0.0;
        Counters counters;
    };

    /// New flash: nothing mapped.
    /// @param logical_pages  1 to (blocks - 1) * kPagesPerBlock
    /// @param blocks         at least 3
    /// @throws std::invalid_argument outside of that range
    Ftl(std::uint32_t logical_pages, std::uint32_t blocks);

    /// The flash that `image()` described.
    /// @throws std::invalid_argument when the image contradicts itself
    explicit Ftl(Image image);
    Image image() const;

    /// Page numbers below logical_pages() throughout.
    void write(std::uint32_t page);
    void write_sequential(std::uint32_t first, std::uint32_t count);
    /// `times` writes, each to one of the `count` pages from `first`, all equally likely.
    void write_random(std::uint32_t first, std::uint32_t count, std::uint64_t times,
                      Random& random);
    void trim(std::uint32_t first, std::uint32_t count);

    std::uint32_t logical_pages() const { return static_cast<std::uint32_t>(location_.size()); }
    std::uint32_t physical_pages() const { return static_cast<std::uint32_t>(owner_.size()); }
    std::uint32_t mapped_pages() const { return mapped_; }
    const Counters& counters() const { return counters_; }

    /// Write amplification as of now: over about the last 16 blocks opened, without the jumps that
    /// single collections make.
    double recent_write_amplification() const {
        return kPagesPerBlock / (kPagesPerBlock - recent_copies_);
    }

  private:
    struct Link {
        std::uint32_t next = kNone, previous = kNone;
    };

    void put(std::uint32_t page);
    void invalidate(std::uint32_t physical);
    void open_next_block();
    void collect(std::uint32_t victim);
    std::uint32_t copies_ahead() const;
    std::uint32_t fewest_valid() const;
    void link(std::uint32_t block);
    void unlink(std::uint32_t block);

    std::vector<std::uint32_t> location_;  ///< physical page of each logical page, or kNone
    std::vector<std::uint32_t> owner_;     ///< logical page of each physical page, or kNone
    std::vector<std::uint32_t> valid_;     ///< valid pages of each block
    std::vector<Link> links_;              ///< of each closed block in its list
    std::array<std::uint32_t, kPagesPerBlock + 1> head_;  ///< list for each count of valid pages
    std::array<std::uint64_t, kPagesPerBlock / 64 + 1> listed_{};  ///< a bit: the list isn't empty
    std::vector<std::uint32_t> empty_;
    std::uint32_t open_block_ = kNone;
    std::uint32_t open_fill_ = kPagesPerBlock;
    std::uint32_t mapped_ = 0;
    double recent_copies_ = 0.0;
    Counters counters_;
};

}  // namespace appliance::flash
