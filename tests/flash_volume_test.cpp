// Volumes over drives: where they lie, how fast they are, and what a discard brings.
#include <array>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "flash/workload.h"

namespace {

using namespace appliance::flash;
using testing::ElementsAre;

using Job = appliance::flash::Run;  // a fixture has a member of that name

constexpr std::uint64_t kGigabyte = 1'000'000'000;
constexpr std::uint64_t kDriveBytes = 128 * kGigabyte;
constexpr Workload kRandomWrite{.pattern = Pattern::random, .direction = Direction::write};
constexpr Workload kFill{.pattern = Pattern::sequential, .direction = Direction::write};

/// Drives of one kind, whole, and a volume over them.
class Drives {
  public:
    explicit Drives(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            drives_.emplace_back(Geometry{.nominal_bytes = kDriveBytes, .seed = i + 1});
        }
    }
    Drive& operator[](std::size_t i) { return drives_[i]; }
    Group group(Level level) {
        Group group{level, {}};
        for (Drive& drive : drives_) group.members.push_back({&drive, {0, kDriveBytes}});
        return group;
    }
    Volume volume(Level level) { return Volume({group(level)}); }

  private:
    std::vector<Drive> drives_;
};

double measure(const Volume& volume, const Workload& workload, double seconds = 60.0) {
    return Job(volume, workload).for_seconds(seconds).iops();
}

/// IOPS and write amplification at each ratio from 0 to 40 %, as an evaluation goes through them.
struct Ratios {
    std::vector<double> iops, write_amplification;
};

Ratios evaluate(bool discard) {
    Drives drives(1);
    const Volume volume = drives.volume(Level::raid1);
    Job(volume, kFill).for_bytes(volume.capacity());
    Ratios ratios;
    for (unsigned percent = 0; percent <= 40; percent += 10) {
        const std::uint64_t size = volume.capacity() / 100 * (100 - percent);
        if (discard) volume.discard({size, volume.capacity() - size});
        Workload workload = kRandomWrite;
        workload.range = {0, size};
        Job run(volume, workload);
        run.for_bytes(2 * volume.capacity());
        const Progress steady = run.for_bytes(volume.capacity() / 2);
        ratios.iops.push_back(steady.iops());
        ratios.write_amplification.push_back(steady.write_amplification());
    }
    return ratios;
}

TEST(Volume, LiesAtTheStartOfEveryPartition) {
    Drives drives(4);
    struct Expectation {
        Level level;
        std::uint64_t capacity, member_half;
    };
    constexpr std::uint64_t kPart = 100 * kGigabyte, kStart = 10 * kGigabyte;
    for (const Expectation& expected : {Expectation{Level::raid0, 4 * kPart, kPart / 2},
                                        {Level::raid1, kPart, kPart / 2},
                                        {Level::raid5, 3 * kPart, kPart / 2},
                                        {Level::raid6, 2 * kPart, kPart / 2},
                                        {Level::raid10, 2 * kPart, kPart / 2}}) {
        Group group = drives.group(expected.level);
        for (Member& member : group.members) member.partition = {kStart, kPart};
        group.members[3].partition.length += kGigabyte;  // the smallest member counts
        const Volume volume({group});
        EXPECT_EQ(volume.capacity(), expected.capacity);
        const auto upper = volume.pieces({volume.capacity() / 2, UINT64_MAX});
        ASSERT_EQ(upper.size(), 4u);
        for (const Piece& piece : upper) {
            EXPECT_EQ(piece.range, (Range{kStart + expected.member_half, kPart / 2}))
                << static_cast<int>(expected.level);
        }
    }
    EXPECT_THROW(Volume({Group{Level::raid5,
                               {Member{&drives[0], {0, kPart}}, Member{&drives[1], {0, kPart}}}}}),
                 std::invalid_argument);
    EXPECT_THROW(Volume({}), std::invalid_argument);
}

TEST(Volume, SpreadsOverGroups) {
    Drives drives(4);
    const auto pair = [&](Level level, std::size_t first, std::uint64_t bytes) {
        return Group{level, {{&drives[first], {0, bytes}}, {&drives[first + 1], {0, bytes}}}};
    };
    const auto where = [](const Volume& volume, Range range) {
        std::vector<std::pair<std::size_t, std::uint64_t>> found;
        for (const Piece& piece : volume.pieces(range)) {
            found.emplace_back(piece.member, piece.range.offset);
        }
        return found;
    };
    const std::vector groups = {pair(Level::raid1, 0, 60), pair(Level::raid0, 2, 100)};
    const Volume linear(groups);
    EXPECT_EQ(linear.capacity(), 260u);
    EXPECT_THAT(where(linear, {40, 10}), ElementsAre(std::pair(0, 40), std::pair(1, 40)));
    EXPECT_THAT(where(linear, {50, 20}),
                ElementsAre(std::pair(0, 50), std::pair(1, 50), std::pair(2, 0), std::pair(3, 0)));
    const Volume striped(groups, Span::striped);
    EXPECT_EQ(striped.capacity(), 120u);
    EXPECT_THAT(where(striped, {40, 10}), ElementsAre(std::pair(0, 20), std::pair(1, 20),
                                                      std::pair(2, 10), std::pair(3, 10)));
    const Volume chain({pair(Level::jbod, 0, 60)});
    EXPECT_EQ(chain.capacity(), 120u);
    EXPECT_THAT(where(chain, {90, 10}), ElementsAre(std::pair(1, 30)));
}

struct LevelCost {
    Level level;
    std::size_t drives;
    double writes,
        reads;  ///< of a member, for each random write of the volume, all members together
};

class RandomWrites : public testing::TestWithParam<LevelCost> {};

TEST_P(RandomWrites, CostTheMembersWhatTheLevelAsks) {
    const auto [level, count, writes, reads] = GetParam();
    Drives drives(count);
    Drives single(1);
    Workload workload = kRandomWrite;
    workload.queue_depth = 256;
    const Volume alone = single.volume(Level::raid1);
    const Volume volume = drives.volume(level);
    for (const Volume* each : {&alone, &volume}) {
        Job(*each, kFill).for_bytes(each->capacity());
        Job(*each, workload).for_bytes(3 * each->capacity() / 2);
    }
    const Progress progress = Job(volume, workload).for_seconds(1200);
    double written = 0.0, read = 0.0, pages = 0.0;
    for (const MemberProgress& member : progress.members) {
        written += member.write_bytes;
        read += member.read_bytes;
        pages += static_cast<double>(member.counters.host_pages);
    }
    const auto bytes = static_cast<double>(progress.bytes);
    EXPECT_NEAR(written / bytes, writes, 0.01);
    EXPECT_NEAR(read / bytes, reads, 0.01);
    EXPECT_NEAR(pages * drives[0].page_bytes() / bytes, writes, 0.01 * writes);
    // Full drives spend nearly all of their time on writes.
    const double expected = static_cast<double>(count) / writes * measure(alone, workload, 1200);
    EXPECT_NEAR(progress.iops() / expected, 1.0, 0.1);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, RandomWrites,
    testing::Values(LevelCost{Level::raid0, 4, 1, 0}, LevelCost{Level::raid1, 2, 2, 0},
                    LevelCost{Level::raid10, 4, 2, 0}, LevelCost{Level::raid5, 3, 2, 1},
                    LevelCost{Level::raid5, 5, 2, 2}, LevelCost{Level::raid6, 4, 3, 1},
                    LevelCost{Level::raid6, 7, 3, 3}, LevelCost{Level::jbod, 3, 1, 0}));

TEST(ParityWrites, OfMoreThanAChunkTakeTheCheaperWayToTheParity) {
    Drives drives(8);
    const Group group = drives.group(Level::raid5);
    const auto cost = [&](std::uint64_t chunks) {
        const auto [writes, reads] = random_write_cost(group, chunks * 65'536);
        return std::pair(writes * static_cast<double>(chunks), reads * static_cast<double>(chunks));
    };
    EXPECT_EQ(cost(2), std::pair(3.0, 3.0)) << "old data and old parity";
    EXPECT_EQ(cost(4), std::pair(5.0, 3.0)) << "the rest of the stripe";
    EXPECT_EQ(cost(7), std::pair(8.0, 0.0)) << "a stripe";
}

TEST(Run, GainsSpareOnlyFromDiscards) {
    const Ratios with = evaluate(true);
    constexpr std::array kExpected = {7.7, 3.3, 2.2, 1.7, 1.4};
    for (std::size_t i = 0; i < kExpected.size(); ++i) {
        EXPECT_NEAR(with.write_amplification[i], kExpected[i], 0.1) << "step " << i;
        if (i == 0) continue;
        EXPECT_GT(with.iops[i], 1.05 * with.iops[i - 1]) << "step " << i;
    }
    const Ratios without = evaluate(false);
    for (std::size_t i = 0; i < kExpected.size(); ++i) {
        EXPECT_NEAR(without.write_amplification[i], 7.85, 0.25) << "step " << i;
        EXPECT_NEAR(without.iops[i] / without.iops[0], 1.0, 0.05) << "step " << i;
    }
}

TEST(Run, WritesAndReadsInSequenceAtFullStripes) {
    Drives drives(4);
    const Volume volume = drives.volume(Level::raid5);
    const Progress fill = Job(volume, kFill).for_bytes(2 * volume.capacity());
    EXPECT_EQ(fill.bytes, 2 * volume.capacity());
    EXPECT_DOUBLE_EQ(fill.write_amplification(), 1.0);
    for (const MemberProgress& member : fill.members) {
        EXPECT_EQ(member.read_bytes, 0.0);
        EXPECT_NEAR(member.write_bytes, 2.0 * kDriveBytes, 1e6);
        EXPECT_NEAR(static_cast<double>(member.counters.host_pages) * drives[0].page_bytes(),
                    2.0 * kDriveBytes, 1e6);
    }
    const Progress read =
        Job(volume, {Pattern::sequential, Direction::read, 1 << 20}).for_seconds(10);
    EXPECT_EQ(read.members[0].counters, Counters{});
    EXPECT_NEAR(read.bytes_per_second(), 4 * 550e6, 1e6);
}

TEST(Run, ComesToTheSameInSlices) {
    Drives whole(4), sliced(4);
    const Volume one = whole.volume(Level::raid5), other = sliced.volume(Level::raid5);
    Job run(one, kRandomWrite), slices(other, kRandomWrite);
    const Progress expected = run.for_seconds(300);
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(slices.for_seconds(1.0).seconds, 1.0);
    }
    EXPECT_NEAR(slices.total().iops() / expected.iops(), 1.0, 0.001);
    EXPECT_NEAR(slices.total().seconds, 300.0, 1e-9);
    EXPECT_NEAR(whole[0].temperature(), sliced[0].temperature(), 0.1);
    EXPECT_EQ(Job(other, kRandomWrite).for_bytes(8193).operations, 3u);
}

TEST(Run, SlowsDownWhileADriveFillsUp) {
    Drives drives(1);
    const Volume volume = drives.volume(Level::raid1);
    Job run(volume, kRandomWrite);
    std::array<double, 14> iops{};
    for (double& each : iops) each = run.for_bytes(volume.capacity() / 2).iops();
    EXPECT_GT(iops.front(), 8 * iops.back());
    EXPECT_NEAR(iops[13] / iops[12], 1.0, 0.05);
}

TEST(Run, ReadsOfNothingDoNotOpenTheFlash) {
    Drive drive({.nominal_bytes = 64 * kGigabyte});
    const Volume volume = Volume::over_partition(drive, {0, 64 * kGigabyte});
    Workload one_by_one{Pattern::random, Direction::read};
    one_by_one.queue_depth = 1;
    const auto many = [&] { return measure(volume, {Pattern::random, Direction::read}, 10); };
    EXPECT_NEAR(many(), 95e3, 1e3) << "the interface alone";
    EXPECT_GT(measure(volume, one_by_one, 10), 25e3);
    Job(volume, kFill).for_bytes(32 * kGigabyte);
    const double half_full = many();
    Job(volume, kFill).for_bytes(64 * kGigabyte);
    EXPECT_NEAR(many(), 57e3, 1e3);
    EXPECT_GT(half_full, 1.5 * many());
    EXPECT_NEAR(measure(volume, one_by_one, 10), 9.8e3, 500);
}

TEST(Run, TellsTheKindsOfWorkApart) {
    Drives drives(1);
    const Volume volume = drives.volume(Level::raid1);
    const auto fresh = [&](Workload workload) {
        volume.discard({0, volume.capacity()});
        return Job(volume, workload).for_seconds(20);
    };
    constexpr auto kSequential = Pattern::sequential;
    constexpr auto kRead = Direction::read;
    Job(volume, kFill).for_bytes(volume.capacity());
    const double sequential_read =
        Job(volume, {kSequential, kRead, 1 << 20}).for_seconds(20).bytes_per_second();
    const double random_read = measure(volume, {Pattern::random, kRead});
    const double sequential_write =
        fresh({kSequential, Direction::write, 1 << 20}).bytes_per_second();
    const double random_write = fresh(kRandomWrite).iops();
    EXPECT_NEAR(sequential_read, 550e6, 1e6);
    EXPECT_NEAR(sequential_write, 290e6, 10e6);
    EXPECT_NEAR(random_read, 95e3, 1e3);
    EXPECT_NEAR(random_write, 71e3, 2e3);
    Workload small = kRandomWrite;  // smaller than what is mapped: costs as much, brings less
    small.block_bytes = 512;
    EXPECT_NEAR(fresh(small).bytes_per_second() / (random_write * 512), 1.0, 0.05);
    Workload nothing = kRandomWrite;
    nothing.range = {volume.capacity(), 1};
    EXPECT_THROW(Job(volume, nothing), std::invalid_argument);
}

TEST(Temperature, FollowsTheLoad) {
    Drives drives(1);
    const Volume volume = drives.volume(Level::raid1);
    Drive& drive = drives[0];
    const double idle = drive.temperature();
    const double normal = measure(volume, kRandomWrite, 60);
    EXPECT_GT(drive.temperature(), idle + 5);
    Job(volume, kRandomWrite).for_seconds(1800);
    EXPECT_NEAR(drive.temperature(), drive.thermal.loaded, 0.5);
    drive.spend(3600, 0.0);
    EXPECT_NEAR(drive.temperature(), idle, 0.1);

    volume.discard({0, volume.capacity()});
    drive.thermal.loaded = 90;
    drive.set_temperature(85);
    const Progress hot = Job(volume, kRandomWrite).for_seconds(60);
    EXPECT_TRUE(hot.throttled);
    EXPECT_NEAR(hot.iops() / normal, 0.5, 0.02);
    EXPECT_LT(drive.temperature(), 85);
}

}  // namespace
