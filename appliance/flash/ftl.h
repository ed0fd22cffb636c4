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
/// Two logs: what the host writes fills one open block, what the collector copies another. So data
/// that was written together lies together and dies together, and a pass in sequence leaves blocks
/// that hold nothing valid when the next one comes. When the host needs a block and only one is
/// empty, the closed blocks with the fewest valid pages are collected until a second one is. So one
/// block is always empty; it belongs to the physical pages. Closed blocks hang in one list for each
/// count of valid pages, which finds a victim in constant time.
class Ftl {
  public:
    static constexpr std::uint32_t kPagesPerBlock = 256;
    static constexpr std::uint32_t kNone = 0xffffffffu;

    /// A block that is being filled, and the pages programmed in it.
    struct OpenBlock {
        std::uint32_t block = kNone;
        std::uint32_t fill = kPagesPerBlock;
    };

    /// Everything that decides how the flash goes on, as plain values.
    struct Image {
        std::uint32_t logical_pages = 0;
        std::vector<std::uint32_t> physical;  ///< logical page of each physical page, or kNone
        std::vector<std::uint32_t> closed;    ///< closed blocks, list by list, each from its head
        std::vector<std::uint32_t> empty;     ///< erased blocks, the next to use last
        OpenBlock host, copies;
        double recent_copies = 0.0;
        Counters counters;
    };

    /// New flash: nothing mapped.
    /// @param logical_pages  1 to most_logical_pages(blocks)
    /// @param blocks         at least 3
    /// @throws std::invalid_argument outside of that range
    Ftl(std::uint32_t logical_pages, std::uint32_t blocks);

    /// The flash that `image()` described.
    /// @throws std::invalid_argument when the image contradicts itself
    explicit Ftl(Image image);
    Image image() const;

    /// All but a block to copy into and an empty one: with as many, every collection finds a block
    /// that it gains from.
    static constexpr std::uint32_t most_logical_pages(std::uint32_t blocks) {
        return (blocks - 2) * kPagesPerBlock;
    }

    /// Page numbers below logical_pages() throughout.
    void write(std::uint32_t page);
    void write_sequential(std::uint32_t first, std::uint32_t count);
    /// `times` writes, each to one of the `count` pages from `first`, all equally likely.
    void write_random(std::uint32_t first, std::uint32_t count, std::uint64_t times,
                      Random& random);
    void trim(std::uint32_t first, std::uint32_t count);

    std::uint32_t logical_pages() const { return static_cast<std::uint32_t>(location_.size()); }
    std::uint32_t physical_pages() const { return static_cast<std::uint32_t>(owner_.size()); }
    std::uint32_t mapped_pages() const { return mapped_pages_before(logical_pages()); }
    /// Mapped pages of the `count` from `first`.
    std::uint32_t mapped_pages(std::uint32_t first, std::uint32_t count) const {
        return mapped_pages_before(first + count) - mapped_pages_before(first);
    }
    const Counters& counters() const { return counters_; }

    /// Write amplification as of now: over about the last 16 collections, without the jumps that
    /// single ones make.
    double recent_write_amplification() const {
        return kPagesPerBlock / (kPagesPerBlock - recent_copies_);
    }

  private:
    struct Link {
        std::uint32_t next = kNone, previous = kNone;
    };

    std::uint32_t mapped_pages_before(std::uint32_t end) const;
    void count_mapped(std::uint32_t page, std::int32_t change);
    void sum_up_mapped();
    void put(std::uint32_t page, OpenBlock& open);
    void invalidate(std::uint32_t physical);
    void open_block_for_host();
    void open_block(OpenBlock& open);
    void close_block(OpenBlock& open);
    void collect(std::uint32_t victim);
    void remember_copies(std::uint32_t copies);
    std::uint32_t copies_ahead() const;
    std::uint32_t fewest_valid() const;
    void link(std::uint32_t block);
    void unlink(std::uint32_t block);

    std::vector<std::uint32_t> location_;  ///< physical page of each logical page, or kNone
    /// Mapped pages, summed as in a Fenwick tree: entry i for the pages up to i that share with it
    /// all bits but i's trailing ones.
    std::vector<std::uint32_t> mapped_;
    std::vector<std::uint32_t> owner_;  ///< logical page of each physical page, or kNone
    std::vector<std::uint32_t> valid_;  ///< valid pages of each block
    std::vector<Link> links_;           ///< of each closed block in its list
    std::array<std::uint32_t, kPagesPerBlock + 1> head_;  ///< list for each count of valid pages
    std::array<std::uint64_t, kPagesPerBlock / 64 + 1> listed_{};  ///< a bit: the list isn't empty
    std::vector<std::uint32_t> empty_;
    OpenBlock host_, copies_;
    double recent_copies_ = 0.0;
    Counters counters_;
};

}  // namespace appliance::flash
