#include "flash/drive.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace appliance::flash {

namespace {

__extension__ using Wide = unsigned __int128;

Ftl new_flash(const Geometry& geometry) {
    const double spare = geometry.factory_spare_percent;
    if (geometry.nominal_bytes < kUnitBytes || geometry.blocks < 3 || !(spare >= 0.0) ||
        spare > 1000.0) {
        throw std::invalid_argument("a drive of " + std::to_string(geometry.nominal_bytes) +
                                    " bytes, " + std::to_string(geometry.blocks) + " blocks and " +
                                    std::to_string(spare) + " % spare cannot be made");
    }
    const double physical = static_cast<double>(geometry.blocks) * Ftl::kPagesPerBlock;
    const auto pages = static_cast<std::uint32_t>(std::lround(physical / (1.0 + spare / 100.0)));
    // Without any factory spare, the blocks in which the collector works are the spare.
    return Ftl(std::min(pages, Ftl::most_logical_pages(geometry.blocks)), geometry.blocks);
}

}  // namespace

Drive::Drive(const Geometry& geometry)
    : Drive(geometry, new_flash(geometry), Random(geometry.seed)) {}

Drive::Drive(const Geometry& geometry, Ftl ftl, Random random)
    : timing(Timing::for_capacity(geometry.nominal_bytes)),
      geometry_(geometry),
      ftl_(std::move(ftl)),
      random_(random) {}

/// Pages whose first byte lies before an offset.
std::uint32_t Drive::pages_before(std::uint64_t offset) const {
    offset = std::min(offset, geometry_.nominal_bytes);
    const Wide scaled = Wide{offset} * ftl_.logical_pages() + geometry_.nominal_bytes - 1;
    return static_cast<std::uint32_t>(scaled / geometry_.nominal_bytes);
}

/// Pages in which the range has bytes of its own; none when it lies beyond the end.
Drive::Pages Drive::pages_touched(Range range) const {
    if (range.offset >= geometry_.nominal_bytes || range.length == 0) return {};
    const std::uint32_t first = pages_before(range.offset + 1) - 1;
    return {first, pages_before(range.end()) - first};
}

void Drive::discard(Range range) {
    const std::uint64_t end = std::min(range.end(), geometry_.nominal_bytes);
    const std::uint32_t first = pages_before(range.offset);
    const auto past =
        static_cast<std::uint32_t>(Wide{end} * ftl_.logical_pages() / geometry_.nominal_bytes);
    if (first < past) ftl_.trim(first, past - first);
}

void Drive::write_sequential(Range range) {
    // A page is written with its first byte, so that neighbouring ranges write each page once.
    const std::uint32_t first = pages_before(range.offset);
    ftl_.write_sequential(first, pages_before(range.end()) - first);
}

void Drive::write_random(Range range, std::uint64_t bytes) {
    if (range.offset >= geometry_.nominal_bytes || range.length == 0) return;
    std::uint32_t first = pages_before(range.offset);
    std::uint32_t count = pages_before(range.end()) - first;
    if (count == 0) {  // the range lies inside one page
        --first;
        count = 1;
    }
    // The rest is kept scaled by the number of pages, as a remainder without rounding.
    const Wide scaled = Wide{bytes} * ftl_.logical_pages() + carried_bytes_;
    ftl_.write_random(first, count, static_cast<std::uint64_t>(scaled / geometry_.nominal_bytes),
                      random_);
    carried_bytes_ = static_cast<std::uint64_t>(scaled % geometry_.nominal_bytes);
}

void Drive::spend(double seconds, double load) {
    temperature_ = thermal.after(temperature_, seconds, load);
    throttled_ = thermal.throttles(temperature_, throttled_);
}

double Drive::page_bytes() const {
    return static_cast<double>(geometry_.nominal_bytes) / ftl_.logical_pages();
}

double Drive::mapped_share(Range range) const {
    const Pages pages = pages_touched(range);
    if (pages.count == 0) return 0.0;
    return static_cast<double>(ftl_.mapped_pages(pages.first, pages.count)) / pages.count;
}

double Drive::physical_to_mapped() const {
    if (ftl_.mapped_pages() == 0) return std::numeric_limits<double>::infinity();
    return static_cast<double>(ftl_.physical_pages()) / ftl_.mapped_pages();
}

}  // namespace appliance::flash
