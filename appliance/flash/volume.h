#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "flash/drive.h"

namespace appliance::flash {

/// One partition of a drive as a member of a group. The drive is the caller's and outlives it.
struct Member {
    Drive* drive = nullptr;
    Range partition;
};

/// How a group's members work together; the values are the platform's level codes.
enum class Level { jbod = -2, raid0 = 0, raid1 = 1, raid5 = 5, raid6 = 6, raid10 = 10 };

/// One RAID group. A single drive is a group of one member, of level 1, 0 or JBOD.
struct Group {
    Level level = Level::raid1;
    std::vector<Member> members;
    /// What it offers: that of its smallest member, times the members that hold data.
    std::uint64_t capacity() const;
};

/// Bytes that a group's members write and read together for each byte that is written to it.
struct WriteCost {
    double writes = 1.0;
    double reads = 0.0;
};

/// Writes in random places. Where a block fills less than a stripe, the parity of level 5 or 6
/// takes reads: of the old data and parity, or of the rest of the stripe, whichever are fewer.
WriteCost random_write_cost(const Group& group, std::uint64_t block_bytes);

enum class Span { linear, striped };

/// The part of a volume's range that one member holds.
struct Piece {
    std::size_t member = 0;  ///< index in Volume::members()
    const Group* group = nullptr;
    Range range;         ///< on the drive
    double share = 0.0;  ///< of the range's data, when every member of a group serves an equal part
};

/// A logical volume over one or more groups, one after the other or striped. Its bytes lie from the
/// start of each member's partition, so what a shorter volume leaves free is the tail of each.
class Volume {
  public:
    /// @throws std::invalid_argument for a group that has too few members for its level
    explicit Volume(std::vector<Group> groups, Span span = Span::linear);
    static Volume over_partition(Drive& drive, Range partition);

    std::uint64_t capacity() const;
    /// Every member of every group, in their order.
    std::vector<Member> members() const;
    /// Where a range of the volume lies, clipped to the volume's capacity.
    std::vector<Piece> pieces(Range range) const;
    /// Share of a range that holds data on its members, 0 to 1.
    double mapped_share(Range range) const;

    /// Unmaps a range of the volume on all its members.
    void discard(Range range) const;

  private:
    std::vector<Group> groups_;
    Span span_;
};

}  // namespace appliance::flash
