/// The flash room of the simulated appliance: what a solid-state drive does inside, and how fast
/// that makes it. It knows nothing of the appliance's state, of programs or of processes: a drive
/// is a value that can be loaded from a file and saved to it. docs/drive-model.md has the physics.
///
/// In short, for one measurement of a volume (drives are to be kept from other processes between
/// load and save):
///
///     Drive drive = Drive::load(path);
///     Volume volume = Volume::over_partition(drive, {partition_start, partition_bytes});
///     Run run(volume, {.pattern = Pattern::random, .direction = Direction::write});
///     Progress second = run.for_seconds(1.0);         // as often as wanted: slices
///     drive.save(path);
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>

#include "flash/ftl.h"
#include "flash/random.h"
#include "flash/timing.h"

namespace appliance::flash {

/// Bytes from `offset`, of a drive, a partition or a volume.
struct Range {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    std::uint64_t end() const {
        return length < UINT64_MAX - offset ? offset + length : UINT64_MAX;
    }
    friend bool operator==(const Range&, const Range&) = default;
};

/// What a drive is when it is new.
struct Geometry {
    std::uint64_t nominal_bytes = 0;     ///< as its host sees it
    double factory_spare_percent = 7.0;  ///< physical beyond nominal, in percent of nominal
    std::uint64_t seed = 1;
    std::uint32_t blocks = 1024;  ///< of the model, 256 pages each
};

/// A drive's file that is missing, cut off, of another kind or damaged; what() says which and why.
struct DamagedDrive : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One drive: flash of a manageable number of pages, each of which stands for an equal share of the
/// nominal capacity. Ranges are in nominal bytes of the drive; what lies beyond its end is ignored.
class Drive {
  public:
    /// A new drive: nothing mapped, cool.
    /// @throws std::invalid_argument for sizes that no drive has
    explicit Drive(const Geometry& geometry);

    /// @throws DamagedDrive
    static Drive load(const std::filesystem::path& path);
    /// Replaces the file as a whole; another process sees the old or the new state.
    /// @throws std::filesystem::filesystem_error
    void save(const std::filesystem::path& path) const;

    /// Unmaps what lies wholly inside the range; a page that is only touched stays.
    void discard(Range range);
    /// Writes the range once, from its start to its end.
    void write_sequential(Range range);
    /// Writes `bytes`, in places spread evenly over the range. What is less than a page is kept and
    /// counts with the next call.
    void write_random(Range range, std::uint64_t bytes);

    /// Lets time pass. @param load share of it in which the drive was busy, 0 to 1
    void spend(double seconds, double load);

    std::uint64_t nominal_bytes() const { return geometry_.nominal_bytes; }
    /// Share of the nominal capacity that holds data, 0 to 1.
    double mapped_share() const { return mapped_share({0, geometry_.nominal_bytes}); }
    /// The same of a range: of the pages that lie in it or that it touches.
    double mapped_share(Range range) const;
    /// Physical pages for each mapped page; infinity when nothing is mapped.
    double physical_to_mapped() const;
    /// Nominal bytes for which one page of the model stands.
    double page_bytes() const;
    double recent_write_amplification() const { return ftl_.recent_write_amplification(); }
    const Counters& counters() const { return ftl_.counters(); }

    double temperature() const { return temperature_; }
    void set_temperature(double celsius) { temperature_ = celsius; }
    bool throttled() const { return throttled_; }

    /// How fast and how warm this drive is; typical for its size unless changed. Not part of the
    /// file.
    Timing timing;
    Thermal thermal;

  private:
    Drive(const Geometry& geometry, Ftl ftl, Random random);

    /// Pages of the model.
    struct Pages {
        std::uint32_t first = 0, count = 0;
    };
    std::uint32_t pages_before(std::uint64_t offset) const;
    Pages pages_touched(Range range) const;

    Geometry geometry_;
    Ftl ftl_;
    Random random_;
    std::uint64_t carried_bytes_ = 0;
    double temperature_ = Thermal{}.idle;
    bool throttled_ = false;
};

}  // namespace appliance::flash
