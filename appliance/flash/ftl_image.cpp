// The flash as plain values, and back: what a drive's file holds. An image comes from outside, so
// everything that later serves as an index is checked before it is used.
#include <stdexcept>
#include <utility>

#include "flash/ftl.h"

namespace appliance::flash {

namespace {

void require(bool holds, const char* what) {
    if (!holds) throw std::invalid_argument(what);
}

}  // namespace

Ftl::Image Ftl::image() const {
    Image image;
    image.logical_pages = logical_pages();
    image.physical = owner_;
    for (std::uint32_t block : head_) {
        for (; block != kNone; block = links_[block].next) image.closed.push_back(block);
    }
    image.empty = empty_;
    image.host = host_;
    image.copies = copies_;
    image.recent_copies = recent_copies_;
    image.counters = counters_;
    return image;
}

Ftl::Ftl(Image image)
    : Ftl(image.logical_pages, static_cast<std::uint32_t>(image.physical.size() / kPagesPerBlock)) {
    const auto blocks = static_cast<std::uint32_t>(valid_.size());
    require(image.physical.size() == owner_.size(), "a block is incomplete");

    for (std::uint32_t physical = 0; physical < image.physical.size(); ++physical) {
        const std::uint32_t page = image.physical[physical];
        if (page == kNone) continue;
        require(page < logical_pages(), "a page is beyond the end");
        require(location_[page] == kNone, "a page is mapped twice");
        location_[page] = physical;
        ++valid_[physical / kPagesPerBlock];
        mapped_[page] = 1;
    }
    sum_up_mapped();
    owner_ = std::move(image.physical);

    std::vector<bool> seen(blocks, false);
    const auto see = [&](std::uint32_t block) {
        require(block < blocks && !seen[block], "a block is listed wrongly");
        seen[block] = true;
    };
    for (const std::uint32_t block : image.empty) {
        see(block);
        require(valid_[block] == 0, "an empty block holds data");
    }
    require(!image.empty.empty(), "no block is empty");
    for (const std::uint32_t block : image.closed) see(block);
    std::size_t open_blocks = 0;
    for (const OpenBlock& open : {image.host, image.copies}) {
        require(open.fill <= kPagesPerBlock, "an open block is overfull");
        if (open.block == kNone) {
            require(open.fill == kPagesPerBlock, "what is not open has room");
            continue;
        }
        ++open_blocks;
        see(open.block);
        for (std::uint32_t at = open.fill; at < kPagesPerBlock; ++at) {
            require(owner_[open.block * kPagesPerBlock + at] == kNone,
                    "an open block holds data that was not written");
        }
    }
    require(image.empty.size() + image.closed.size() + open_blocks == blocks, "a block is missing");
    // A block goes to the head of its list, so the last one of each list comes first.
    for (auto block = image.closed.rbegin(); block != image.closed.rend(); ++block) link(*block);

    require(image.recent_copies >= 0.0 && image.recent_copies < kPagesPerBlock,
            "the write amplification is impossible");
    empty_ = std::move(image.empty);
    host_ = image.host;
    copies_ = image.copies;
    recent_copies_ = image.recent_copies;
    counters_ = image.counters;
}

}  // namespace appliance::flash
