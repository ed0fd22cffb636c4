// flash_table: the model's figures beside the theory, as docs/drive-model.md shows them.
#include <chrono>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <fmt/core.h>

#include "flash/closed_form.h"
#include "flash/workload.h"

namespace {

using namespace appliance::flash;

constexpr std::uint64_t kGigabyte = 1'000'000'000;
constexpr std::uint64_t kDemoDrive = 64 * kGigabyte;
constexpr Workload kRandomWrite{.pattern = Pattern::random, .direction = Direction::write};

double cpu_seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// A number of like drives and a volume over all of them.
struct Bench {
    Bench(Level level, int count, std::uint64_t bytes = kDemoDrive) {
        for (int i = 0; i < count; ++i) {
            drives.push_back(std::make_unique<Drive>(
                Geometry{.nominal_bytes = bytes, .seed = static_cast<std::uint64_t>(i) + 1}));
            group.members.push_back({drives.back().get(), {0, bytes}});
        }
        group.level = level;
    }
    Volume volume() const { return Volume({group}); }

    std::vector<std::unique_ptr<Drive>> drives;
    Group group;
};

void print_write_amplification() {
    fmt::print("Write amplification, uniform random writes, {} pages a block\n\n",
               Ftl::kPagesPerBlock);
    fmt::print(
        "| a | closed form | 256 pages a block | 1,024 blocks | deviation from the closed "
        "form | 4,096 blocks | in sequence after it: first pass | second pass | M host pages/s "
        "|\n|---|---|---|---|---|---|---|---|---|\n");
    for (const double ratio : {1.07, 1.12, 1.2, 1.28, 1.4, 1.6, 2.0}) {
        double measured[2] = {}, in_sequence[2] = {};
        double pages_second = 0.0;
        for (const std::uint32_t blocks : {4096u, 1024u}) {
            const auto pages = static_cast<std::uint32_t>(blocks * Ftl::kPagesPerBlock / ratio);
            Ftl ftl(pages, blocks);
            Random random(1);
            ftl.write_sequential(0, pages);
            ftl.write_random(0, pages, 2 * std::uint64_t{pages}, random);
            const Counters before = ftl.counters();
            const double start = cpu_seconds();
            ftl.write_random(0, pages, 4 * std::uint64_t{pages}, random);
            pages_second = 4.0 * pages / (cpu_seconds() - start);
            measured[blocks == 1024] = (ftl.counters() - before).write_amplification();
            for (double& pass : in_sequence) {
                const Counters start_of_pass = ftl.counters();
                ftl.write_sequential(0, pages);
                pass = (ftl.counters() - start_of_pass).write_amplification();
            }
        }
        const double closed = expected_write_amplification(ratio);
        fmt::print(
            "| {:.2f} | {:.3f} | {:.3f} | {:.3f} | {:+.2f} % | {:.3f} | {:.2f} | {:.3f} | {:.0f} "
            "|\n",
            ratio, closed, expected_write_amplification(ratio, Ftl::kPagesPerBlock), measured[1],
            100.0 * (measured[1] / closed - 1.0), measured[0], in_sequence[0], in_sequence[1],
            pages_second / 1e6);
    }
}

void print_over_provisioning(bool discard) {
    fmt::print("\nRAID 5 over four drives of 64 GB, {} discards\n\n",
               discard ? "with" : "without the");
    fmt::print(
        "| OP | write amplification | IOPS | gain | hours of the simulated clock | CPU "
        "seconds |\n|---|---|---|---|---|---|\n");
    Bench bench(Level::raid5, 4);
    const Volume volume = bench.volume();
    double first = 0.0;
    Run(volume, {.pattern = Pattern::sequential, .direction = Direction::write})
        .for_bytes(volume.capacity());
    for (int percent = 0; percent <= 40; percent += 10) {
        const double start = cpu_seconds();
        const std::uint64_t size = volume.capacity() / 100 * static_cast<unsigned>(100 - percent);
        if (discard) volume.discard({size, volume.capacity() - size});
        Workload workload = kRandomWrite;
        workload.range = {0, size};
        Run run(volume, workload);
        const Progress precondition = run.for_bytes(2 * volume.capacity());
        Progress rounds;
        for (int round = 0; round < 10; ++round) rounds += run.for_seconds(60.0);
        if (percent == 0) first = rounds.iops();
        fmt::print("| {} % | {:.2f} | {:.0f} | {:.2f} | {:.1f} | {:.2f} |\n", percent,
                   rounds.write_amplification(), rounds.iops(), rounds.iops() / first,
                   precondition.seconds / 3600.0, cpu_seconds() - start);
    }
}

/// What one drive does: empty, right after a discard of everything, and full.
void print_drives() {
    fmt::print(
        "\nOne drive, queue depth 32\n\n| size | dies | random write when empty, IOPS | random "
        "read when empty, IOPS | sequential write, MB/s | sequential read, MB/s | random read, "
        "IOPS | random write when full and steady, IOPS |\n|---|---|---|---|---|---|---|---|\n");
    for (const std::uint64_t size : {64u, 128u, 256u, 512u, 1024u}) {
        Bench bench(Level::raid1, 1, size * kGigabyte);
        const Volume volume = bench.volume();
        const auto measure = [&](Pattern pattern, Direction direction, std::uint64_t block) {
            return Run(volume, {pattern, direction, block}).for_seconds(20.0);
        };
        const double fresh = measure(Pattern::random, Direction::write, 4096).iops();
        volume.discard({0, volume.capacity()});
        const double empty_read = measure(Pattern::random, Direction::read, 4096).iops();
        const double write =
            measure(Pattern::sequential, Direction::write, 1 << 20).bytes_per_second();
        Run(volume, {Pattern::sequential, Direction::write}).for_bytes(volume.capacity());
        const double read =
            measure(Pattern::sequential, Direction::read, 1 << 20).bytes_per_second();
        const double random_read = measure(Pattern::random, Direction::read, 4096).iops();
        Run steady(volume, kRandomWrite);
        steady.for_bytes(2 * volume.capacity());
        fmt::print("| {} GB | {} | {:.0f} | {:.0f} | {:.0f} | {:.0f} | {:.0f} | {:.0f} |\n", size,
                   bench.drives[0]->timing.dies, fresh, empty_read, write / 1e6, read / 1e6,
                   random_read, steady.for_seconds(600.0).iops());
    }
}

void print_levels() {
    fmt::print(
        "\nVolumes over drives of 64 GB in the steady state, 4 KiB, queue depth 32 a "
        "drive\n\n| volume | random write, IOPS | random read, IOPS | sequential write, MB/s | "
        "sequential read, MB/s |\n|---|---|---|---|---|\n");
    struct Row {
        const char* name;
        Level level;
        int drives;
    };
    for (const Row& row : {Row{"one drive", Level::raid1, 1},
                           {"RAID 1, 2 drives", Level::raid1, 2},
                           {"RAID 0, 4 drives", Level::raid0, 4},
                           {"RAID 10, 4 drives", Level::raid10, 4},
                           {"RAID 5, 3 drives", Level::raid5, 3},
                           {"RAID 5, 4 drives", Level::raid5, 4},
                           {"RAID 5, 8 drives", Level::raid5, 8},
                           {"RAID 6, 4 drives", Level::raid6, 4},
                           {"RAID 6, 8 drives", Level::raid6, 8}}) {
        Bench bench(row.level, row.drives);
        const Volume volume = bench.volume();
        const unsigned depth = 32 * static_cast<unsigned>(row.drives);
        const auto run = [&](Pattern pattern, Direction direction, std::uint64_t block) {
            return Run(volume, {.pattern = pattern,
                                .direction = direction,
                                .block_bytes = block,
                                .queue_depth = depth});
        };
        const double sequential_write =
            run(Pattern::sequential, Direction::write, 1 << 20).for_seconds(60).bytes_per_second();
        run(Pattern::sequential, Direction::write, 1 << 20).for_bytes(volume.capacity());
        Run random = run(Pattern::random, Direction::write, 4096);
        random.for_bytes(2 * volume.capacity());
        const double random_write = random.for_seconds(600).iops();
        const double random_read =
            run(Pattern::random, Direction::read, 4096).for_seconds(60).iops();
        const double sequential_read =
            run(Pattern::sequential, Direction::read, 1 << 20).for_seconds(60).bytes_per_second();
        fmt::print("| {} | {:.0f} | {:.0f} | {:.0f} | {:.0f} |\n", row.name, random_write,
                   random_read, sequential_write / 1e6, sequential_read / 1e6);
    }
}

void print_file_times() {
    Drive drive({.nominal_bytes = kDemoDrive});
    drive.write_sequential({0, kDemoDrive});
    drive.write_random({0, kDemoDrive}, kDemoDrive);
    const auto path = std::filesystem::temp_directory_path() / "flash_table.flash";
    constexpr int kTimes = 20;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kTimes; ++i) drive.save(path);
    const auto middle = std::chrono::steady_clock::now();
    for (int i = 0; i < kTimes; ++i) drive = Drive::load(path);
    const auto end = std::chrono::steady_clock::now();
    const auto milliseconds = [](auto time) {
        return std::chrono::duration<double, std::milli>(time).count() / kTimes;
    };
    fmt::print("\nA drive's file: {} KiB, saved in {:.1f} ms, loaded in {:.1f} ms\n",
               std::filesystem::file_size(path) / 1024, milliseconds(middle - start),
               milliseconds(end - middle));
    std::filesystem::remove(path);
}

}  // namespace

int main() {
    print_write_amplification();
    print_over_provisioning(true);
    print_over_provisioning(false);
    print_drives();
    print_levels();
    print_file_times();
}
