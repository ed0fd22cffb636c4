#include "flash/volume.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace appliance::flash {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t kStripeChunkBytes = 65'536;

/// Members' worth of data in a group: a fraction, for mirrored pairs of an odd number of members.
struct Columns {
    std::uint64_t numerator;
    std::uint64_t denominator;

    std::uint64_t volume_bytes(std::uint64_t member_bytes) const {
        return static_cast<std::uint64_t>(Wide{member_bytes} * numerator / denominator);
    }
    std::uint64_t member_bytes(std::uint64_t volume_bytes) const {
        return static_cast<std::uint64_t>(Wide{volume_bytes} * denominator / numerator);
    }
};

Columns data_columns(const Group& group) {
    const std::uint64_t members = group.members.size();
    switch (group.level) {
        case Level::raid0:
            return {members, 1};
        case Level::raid5:
            return {members - 1, 1};
        case Level::raid6:
            return {members - 2, 1};
        case Level::raid10:
            return {members, 2};
        case Level::raid1:
        case Level::jbod:
            break;
    }
    return {1, 1};
}

std::size_t fewest_members(Level level) {
    switch (level) {
        case Level::raid10:
            return 2;
        case Level::raid5:
            return 3;
        case Level::raid6:
            return 4;
        case Level::jbod:
        case Level::raid0:
        case Level::raid1:
            break;
    }
    return 1;
}

std::uint64_t smallest_partition(const Group& group) {
    return std::min_element(group.members.begin(), group.members.end(),
                            [](const Member& a, const Member& b) {
                                return a.partition.length < b.partition.length;
                            })
        ->partition.length;
}

/// What two ranges have in common; of length 0 when nothing.
Range overlap(Range a, Range b) {
    const std::uint64_t begin = std::max(a.offset, b.offset);
    const std::uint64_t end = std::min(a.end(), b.end());
    return {begin, begin < end ? end - begin : 0};
}

double ratio(std::uint64_t part, std::uint64_t whole) {
    return static_cast<double>(part) / static_cast<double>(whole);
}

/// Calls `use(index, range within it, share of the range)` for each of a row of extents, laid one
/// after the other, of which the range takes a part.
template <typename Lengths, typename Use>
void split(Range range, const Lengths& lengths, Use&& use) {
    std::uint64_t base = 0;
    for (std::size_t index = 0; index < lengths.size(); ++index) {
        const Range common = overlap(range, {base, lengths[index]});
        if (common.length > 0) {
            use(index, Range{common.offset - base, common.length},
                ratio(common.length, range.length));
        }
        base += lengths[index];
    }
}

/// Appends the pieces of a group's range; `share` is the group's of the volume's range.
void append_pieces(std::vector<Piece>& pieces, const Group& group, std::size_t first_member,
                   Range range, double share) {
    if (group.level == Level::jbod) {
        std::vector<std::uint64_t> lengths;
        for (const Member& member : group.members) lengths.push_back(member.partition.length);
        split(range, lengths, [&](std::size_t index, Range part, double part_share) {
            part.offset += group.members[index].partition.offset;
            pieces.push_back({first_member + index, &group, part, share * part_share});
        });
        return;
    }
    const Columns columns = data_columns(group);
    const std::uint64_t begin = columns.member_bytes(range.offset);
    const std::uint64_t end = columns.member_bytes(range.end());
    const double each = share / static_cast<double>(group.members.size());
    for (std::size_t index = 0; index < group.members.size(); ++index) {
        const Range on_drive{group.members[index].partition.offset + begin, end - begin};
        pieces.push_back({first_member + index, &group, on_drive, each});
    }
}

/// Members' writes and reads for each chunk of data that is written to a stripe, in the cheaper of
/// the two ways: change the parity by what changes, or compute it from the whole stripe.
WriteCost parity_write_cost(double members, double parities, std::uint64_t block_bytes) {
    const double data_chunks = members - parities;
    const double written =
        std::clamp(static_cast<double>(block_bytes) / static_cast<double>(kStripeChunkBytes), 1.0,
                   data_chunks);
    const double to_change = written + parities;
    const double to_reconstruct = data_chunks - written;
    return {(written + parities) / written, std::min(to_change, to_reconstruct) / written};
}

}  // namespace

std::uint64_t Group::capacity() const {
    if (level == Level::jbod) {
        std::uint64_t sum = 0;
        for (const Member& member : members) sum += member.partition.length;
        return sum;
    }
    return data_columns(*this).volume_bytes(smallest_partition(*this));
}

WriteCost random_write_cost(const Group& group, std::uint64_t block_bytes) {
    const auto members = static_cast<double>(group.members.size());
    switch (group.level) {
        case Level::raid1:
            return {members, 0.0};
        case Level::raid10:
            return {2.0, 0.0};
        case Level::raid5:
            return parity_write_cost(members, 1.0, block_bytes);
        case Level::raid6:
            return parity_write_cost(members, 2.0, block_bytes);
        case Level::jbod:
        case Level::raid0:
            break;
    }
    return {1.0, 0.0};
}

Volume::Volume(std::vector<Group> groups, Span span) : groups_(std::move(groups)), span_(span) {
    if (groups_.empty()) throw std::invalid_argument("a volume needs a group");
    for (const Group& group : groups_) {
        if (group.members.size() < fewest_members(group.level)) {
            throw std::invalid_argument(
                "a group of level " + std::to_string(static_cast<int>(group.level)) +
                " cannot have " + std::to_string(group.members.size()) + " members");
        }
    }
}

Volume Volume::over_partition(Drive& drive, Range partition) {
    return Volume({Group{Level::raid1, {Member{&drive, partition}}}});
}

std::uint64_t Volume::capacity() const {
    std::uint64_t sum = 0;
    std::uint64_t smallest = std::numeric_limits<std::uint64_t>::max();
    for (const Group& group : groups_) {
        sum += group.capacity();
        smallest = std::min(smallest, group.capacity());
    }
    return span_ == Span::linear ? sum : smallest * groups_.size();
}

std::vector<Member> Volume::members() const {
    std::vector<Member> all;
    for (const Group& group : groups_) {
        all.insert(all.end(), group.members.begin(), group.members.end());
    }
    return all;
}

std::vector<Piece> Volume::pieces(Range range) const {
    range = overlap(range, {0, capacity()});
    std::vector<Piece> pieces;
    if (range.length == 0) return pieces;

    std::vector<std::uint64_t> capacities;
    std::vector<std::size_t> first_members;
    std::size_t members = 0;
    for (const Group& group : groups_) {
        capacities.push_back(group.capacity());
        first_members.push_back(members);
        members += group.members.size();
    }
    if (span_ == Span::linear) {
        split(range, capacities, [&](std::size_t index, Range part, double share) {
            append_pieces(pieces, groups_[index], first_members[index], part, share);
        });
        return pieces;
    }
    const Columns columns{groups_.size(), 1};
    const std::uint64_t begin = columns.member_bytes(range.offset);
    const std::uint64_t end = columns.member_bytes(range.end());
    for (std::size_t index = 0; index < groups_.size(); ++index) {
        append_pieces(pieces, groups_[index], first_members[index], {begin, end - begin},
                      1.0 / static_cast<double>(groups_.size()));
    }
    return pieces;
}

double Volume::mapped_share(Range range) const {
    const std::vector<Member> all = members();
    double share = 0.0;
    for (const Piece& piece : pieces(range))
        share += piece.share * all[piece.member].drive->mapped_share(piece.range);
    return share;
}

void Volume::discard(Range range) const {
    const std::vector<Member> all = members();
    for (const Piece& piece : pieces(range)) all[piece.member].drive->discard(piece.range);
}

}  // namespace appliance::flash
