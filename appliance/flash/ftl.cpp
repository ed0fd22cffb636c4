#include "flash/ftl.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>

namespace appliance::flash {

namespace {

/// Weight of a newly opened block in the recent write amplification.
constexpr double kRecentWeight = 1.0 / 16.0;

}  // namespace

double Counters::write_amplification() const {
    if (host_pages == 0) return 1.0;
    return static_cast<double>(programmed_pages()) / static_cast<double>(host_pages);
}

Counters& Counters::operator+=(const Counters& other) {
    host_pages += other.host_pages;
    copied_pages += other.copied_pages;
    erased_blocks += other.erased_blocks;
    trimmed_pages += other.trimmed_pages;
    return *this;
}

Counters operator-(Counters later, const Counters& earlier) {
    later.host_pages -= earlier.host_pages;
    later.copied_pages -= earlier.copied_pages;
    later.erased_blocks -= earlier.erased_blocks;
    later.trimmed_pages -= earlier.trimmed_pages;
    return later;
}

Ftl::Ftl(std::uint32_t logical_pages, std::uint32_t blocks) {
    // With all pages mapped the closed blocks must still hold an invalid one at every collection.
    // One block is empty, one open, so at least one is closed whenever the collector looks for it.
    if (blocks < 3 || blocks >= kNone / kPagesPerBlock || logical_pages == 0 ||
        logical_pages > (blocks - 1) * kPagesPerBlock) {
        throw std::invalid_argument("flash of " + std::to_string(blocks) + " blocks cannot offer " +
                                    std::to_string(logical_pages) + " pages");
    }
    location_.assign(logical_pages, kNone);
    owner_.assign(std::size_t{blocks} * kPagesPerBlock, kNone);
    valid_.assign(blocks, 0);
    links_.assign(blocks, Link{});
    head_.fill(kNone);
    for (std::uint32_t block = blocks; block-- > 0;) empty_.push_back(block);
}

void Ftl::write(std::uint32_t page) {
    const std::uint32_t before = location_[page];
    if (before != kNone) {
        invalidate(before);
    } else {
        ++mapped_;
    }
    if (open_fill_ == kPagesPerBlock) open_next_block();
    put(page);
    ++counters_.host_pages;
}

void Ftl::write_sequential(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t page = first; page < first + count; ++page) write(page);
}

void Ftl::write_random(std::uint32_t first, std::uint32_t count, std::uint64_t times,
                       Random& random) {
    for (; times > 0; --times) write(first + random.below(count));
}

void Ftl::trim(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t page = first; page < first + count; ++page) {
        if (location_[page] == kNone) continue;
        invalidate(location_[page]);
        location_[page] = kNone;
        --mapped_;
        ++counters_.trimmed_pages;
    }
    // What was freed helps the very next collection: the past says nothing about it any more.
    recent_copies_ = std::min<double>(recent_copies_, copies_ahead());
}

void Ftl::put(std::uint32_t page) {
    const std::uint32_t physical = open_block_ * kPagesPerBlock + open_fill_++;
    location_[page] = physical;
    owner_[physical] = page;
    ++valid_[open_block_];
}

void Ftl::invalidate(std::uint32_t physical) {
    const std::uint32_t block = physical / kPagesPerBlock;
    owner_[physical] = kNone;
    if (block == open_block_) {
        --valid_[block];
        return;
    }
    unlink(block);
    --valid_[block];
    link(block);
}

void Ftl::open_next_block() {
    if (open_block_ != kNone) link(open_block_);
    open_block_ = empty_.back();
    open_fill_ = 0;
    empty_.pop_back();
    if (empty_.empty()) collect(fewest_valid());
    recent_copies_ += (open_fill_ - recent_copies_) * kRecentWeight;
}

void Ftl::collect(std::uint32_t victim) {
    unlink(victim);
    const std::uint32_t first = victim * kPagesPerBlock;
    for (std::uint32_t physical = first; physical < first + kPagesPerBlock; ++physical) {
        const std::uint32_t page = owner_[physical];
        if (page == kNone) continue;
        owner_[physical] = kNone;
        put(page);
    }
    counters_.copied_pages += valid_[victim];
    ++counters_.erased_blocks;
    valid_[victim] = 0;
    empty_.push_back(victim);
}

/// Pages to copy when the next block is opened, as things stand.
std::uint32_t Ftl::copies_ahead() const { return empty_.size() > 1 ? 0 : valid_[fewest_valid()]; }

std::uint32_t Ftl::fewest_valid() const {
    std::uint32_t word = 0;
    while (listed_[word] == 0) ++word;
    return head_[word * 64 + static_cast<std::uint32_t>(std::countr_zero(listed_[word]))];
}

void Ftl::link(std::uint32_t block) {
    const std::uint32_t valid = valid_[block];
    links_[block] = {head_[valid], kNone};
    if (head_[valid] != kNone) links_[head_[valid]].previous = block;
    head_[valid] = block;
    listed_[valid / 64] |= std::uint64_t{1} << (valid % 64);
}

void Ftl::unlink(std::uint32_t block) {
    const std::uint32_t valid = valid_[block];
    const Link link = links_[block];
    if (link.next != kNone) links_[link.next].previous = link.previous;
    if (link.previous != kNone) {
        links_[link.previous].next = link.next;
    } else {
        head_[valid] = link.next;
        if (link.next == kNone) listed_[valid / 64] &= ~(std::uint64_t{1} << (valid % 64));
    }
}

}  // namespace appliance::flash
