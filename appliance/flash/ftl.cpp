#include "flash/ftl.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>

namespace appliance::flash {

namespace {

/// Weight of the latest collection in the recent write amplification.
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
    // A collection must find an invalid page in the closed blocks with all pages mapped, too. It
    // happens while one block is empty and at most one open, the collector's own; the host's page
    // that waits to be written is invalid already. So the closed ones cannot all be full.
    if (blocks < 3 || blocks >= kNone / kPagesPerBlock || logical_pages == 0 ||
        logical_pages > most_logical_pages(blocks)) {
        throw std::invalid_argument("flash of " + std::to_string(blocks) + " blocks cannot offer " +
                                    std::to_string(logical_pages) + " pages");
    }
    location_.assign(logical_pages, kNone);
    mapped_.assign(logical_pages, 0);
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
        count_mapped(page, 1);
    }
    if (host_.fill == kPagesPerBlock) open_block_for_host();
    put(page, host_);
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
        count_mapped(page, -1);
        ++counters_.trimmed_pages;
    }
    // What was freed helps the very next collection: the past says nothing about it any more.
    recent_copies_ = std::min<double>(recent_copies_, copies_ahead());
}

std::uint32_t Ftl::mapped_pages_before(std::uint32_t end) const {
    std::uint32_t sum = 0;
    for (; end > 0; end &= end - 1) sum += mapped_[end - 1];
    return sum;
}

void Ftl::count_mapped(std::uint32_t page, std::int32_t change) {
    for (; page < mapped_.size(); page |= page + 1)
        mapped_[page] += static_cast<std::uint32_t>(change);
}

/// Makes the sums of a row of ones and zeros.
void Ftl::sum_up_mapped() {
    for (std::size_t page = 0; page < mapped_.size(); ++page) {
        const std::size_t next = page | (page + 1);
        if (next < mapped_.size()) mapped_[next] += mapped_[page];
    }
}

void Ftl::put(std::uint32_t page, OpenBlock& open) {
    const std::uint32_t physical = open.block * kPagesPerBlock + open.fill++;
    location_[page] = physical;
    owner_[physical] = page;
    ++valid_[open.block];
}

void Ftl::invalidate(std::uint32_t physical) {
    const std::uint32_t block = physical / kPagesPerBlock;
    owner_[physical] = kNone;
    if (block == host_.block || block == copies_.block) {
        --valid_[block];
        return;
    }
    unlink(block);
    --valid_[block];
    link(block);
}

void Ftl::open_block_for_host() {
    close_block(host_);
    if (empty_.size() > 1) remember_copies(0);
    while (empty_.size() < 2) collect(fewest_valid());
    open_block(host_);
}

void Ftl::open_block(OpenBlock& open) {
    open = {empty_.back(), 0};
    empty_.pop_back();
}

void Ftl::close_block(OpenBlock& open) {
    if (open.block != kNone) link(open.block);
    open = {};
}

/// Moves what is valid out of a block and erases it. The empty block that this may take is given
/// back by the victim.
void Ftl::collect(std::uint32_t victim) {
    remember_copies(valid_[victim]);
    unlink(victim);
    const std::uint32_t first = victim * kPagesPerBlock;
    for (std::uint32_t physical = first; physical < first + kPagesPerBlock; ++physical) {
        const std::uint32_t page = owner_[physical];
        if (page == kNone) continue;
        owner_[physical] = kNone;
        if (copies_.fill == kPagesPerBlock) {
            close_block(copies_);
            open_block(copies_);
        }
        put(page, copies_);
    }
    counters_.copied_pages += valid_[victim];
    ++counters_.erased_blocks;
    valid_[victim] = 0;
    empty_.push_back(victim);
}

void Ftl::remember_copies(std::uint32_t copies) {
    recent_copies_ += (copies - recent_copies_) * kRecentWeight;
}

/// Pages to copy for the next block of the host, as things stand.
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
