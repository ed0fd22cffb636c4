#pragma once

#include <cstdint>
#include <vector>

#include "flash/volume.h"

namespace appliance::flash {

enum class Pattern { sequential, random };
enum class Direction { read, write };

/// What is asked of a volume, again and again.
struct Workload {
    Pattern pattern = Pattern::random;
    Direction direction = Direction::write;
    std::uint64_t block_bytes = 4096;
    Range range{0, UINT64_MAX};  ///< of the volume; what lies beyond its end is ignored
    unsigned queue_depth = 32;
};

/// What one member did in a time.
struct MemberProgress {
    const Drive* drive = nullptr;
    Counters counters;
    double busy_seconds = 0.0;
    double write_bytes = 0.0;  ///< that the drive was given to write
    double read_bytes = 0.0;   ///< and to read, also to compute a parity
};

/// What a volume did in a time.
struct Progress {
    double seconds = 0.0;
    std::uint64_t bytes = 0;
    std::uint64_t operations = 0;  ///< of block_bytes each
    bool throttled = false;        ///< a member was too warm at some time
    std::vector<MemberProgress> members;

    double iops() const { return seconds > 0 ? static_cast<double>(operations) / seconds : 0.0; }
    double bytes_per_second() const {
        return seconds > 0 ? static_cast<double>(bytes) / seconds : 0.0;
    }
    /// Of all members together.
    double write_amplification() const;
    Progress& operator+=(const Progress& later);
};

/// One workload under way. Each call does a slice of it, moves the members' flash on and tells what
/// that slice came to; between calls the drives can be saved.
class Run {
  public:
    /// The volume is the caller's and outlives the run.
    /// @throws std::invalid_argument when the range holds nothing of the volume, or a block size of
    /// 0
    Run(const Volume& volume, const Workload& workload);

    /// As much as fits in a time of the simulated clock.
    Progress for_seconds(double seconds);
    /// A number of bytes, rounded up to whole blocks, however long it takes.
    Progress for_bytes(std::uint64_t bytes);
    /// All slices so far.
    const Progress& total() const { return total_; }

  private:
    struct Task;
    struct Step;
    Progress slice(double seconds, std::uint64_t operations);
    Step plan(std::uint64_t operations) const;
    Task task_of(const Piece& piece, double bytes) const;
    double latency_bound(const std::vector<Piece>& pieces, double operations) const;
    void carry_out(const Step& step, Progress& progress);

    const Volume& volume_;
    Workload workload_;
    std::vector<Member> members_;
    std::vector<Piece> pieces_;     ///< of the whole range
    std::uint64_t step_bytes_ = 0;  ///< after which the members' speed is looked at again
    std::uint64_t position_ = 0;    ///< of a sequential workload, from the range's start
    double carried_seconds_ = 0.0;  ///< too short for one more operation
    Progress total_;
};

}  // namespace appliance::flash
