#include "flash/workload.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace appliance::flash {

namespace {

/// Pages of the model that a member moves on at most between two looks at its speed: a fraction of
/// a block, so that the write amplification cannot change much meanwhile.
constexpr double kPagesPerStep = 64.0;

/// A drive that is too warm does half of what it could.
constexpr double kThrottledSlowdown = 2.0;

}  // namespace

double Progress::write_amplification() const {
    Counters sum;
    for (const MemberProgress& member : members) sum += member.counters;
    return sum.write_amplification();
}

Progress& Progress::operator+=(const Progress& later) {
    seconds += later.seconds;
    bytes += later.bytes;
    operations += later.operations;
    throttled = throttled || later.throttled;
    members.resize(std::max(members.size(), later.members.size()));
    for (std::size_t i = 0; i < later.members.size(); ++i) {
        members[i].drive = later.members[i].drive;
        members[i].counters += later.members[i].counters;
        members[i].busy_seconds += later.members[i].busy_seconds;
        members[i].write_bytes += later.members[i].write_bytes;
        members[i].read_bytes += later.members[i].read_bytes;
    }
    return *this;
}

/// What one member has to do in a step.
struct Run::Task {
    std::size_t member = 0;
    Range range;  ///< on the drive
    Load load;
    double flash_seconds = 0.0;
    double seconds = 0.0;
};

/// A stretch of the workload during which speeds count as constant.
struct Run::Step {
    std::uint64_t operations = 0;
    std::uint64_t bytes = 0;
    double seconds = 0.0;
    std::vector<Task> tasks;
};

Run::Run(const Volume& volume, const Workload& workload)
    : volume_(volume), workload_(workload), members_(volume.members()) {
    const std::uint64_t capacity = volume.capacity();
    Range& range = workload_.range;
    if (range.offset >= capacity || range.length == 0 || workload.block_bytes == 0) {
        throw std::invalid_argument("a workload needs blocks and a part of the volume");
    }
    range.length = std::min(range.end(), capacity) - range.offset;
    workload_.queue_depth = std::max(workload_.queue_depth, 1u);
    pieces_ = volume.pieces(range);

    double page_bytes = std::numeric_limits<double>::infinity();
    for (const Member& member : members_) {
        page_bytes = std::min(page_bytes, member.drive->page_bytes());
    }
    step_bytes_ = static_cast<std::uint64_t>(kPagesPerStep * page_bytes);
}

Progress Run::for_seconds(double seconds) {
    carried_seconds_ += seconds;
    Progress progress = slice(carried_seconds_, std::numeric_limits<std::uint64_t>::max());
    carried_seconds_ -= progress.seconds;
    progress.seconds = seconds;
    total_ += progress;
    return progress;
}

Progress Run::for_bytes(std::uint64_t bytes) {
    const std::uint64_t operations =
        bytes / workload_.block_bytes + (bytes % workload_.block_bytes != 0 ? 1 : 0);
    Progress progress = slice(std::numeric_limits<double>::infinity(), operations);
    total_ += progress;
    return progress;
}

Progress Run::slice(double seconds, std::uint64_t operations) {
    Progress progress;
    for (const Member& member : members_) {
        progress.members.emplace_back().drive = member.drive;
        progress.throttled = progress.throttled || member.drive->throttled();
    }
    const std::uint64_t most = std::max<std::uint64_t>(step_bytes_ / workload_.block_bytes, 1);
    while (operations > 0) {
        Step step = plan(std::min(operations, most));
        const double left = seconds - progress.seconds;
        if (step.seconds > left) {
            const double fits = static_cast<double>(step.operations) * left / step.seconds;
            if (fits < 1.0) break;
            step = plan(static_cast<std::uint64_t>(fits));
        }
        carry_out(step, progress);
        operations -= step.operations;
    }
    return progress;
}

Run::Step Run::plan(std::uint64_t operations) const {
    Step step;
    std::vector<Piece> part;
    if (workload_.pattern == Pattern::sequential) {
        const std::uint64_t left = workload_.range.length - position_;
        const std::uint64_t blocks_left =
            (left + workload_.block_bytes - 1) / workload_.block_bytes;
        operations = std::min(operations, blocks_left);
        step.bytes = std::min(operations * workload_.block_bytes, left);
        part = volume_.pieces({workload_.range.offset + position_, step.bytes});
    } else {
        step.bytes = operations * workload_.block_bytes;
    }
    step.operations = operations;
    const std::vector<Piece>& pieces = workload_.pattern == Pattern::sequential ? part : pieces_;
    for (const Piece& piece : pieces) {
        step.tasks.push_back(task_of(piece, static_cast<double>(step.bytes)));
        step.seconds = std::max(step.seconds, step.tasks.back().seconds);
    }
    step.seconds = std::max(step.seconds, latency_bound(pieces, static_cast<double>(operations)));
    return step;
}

/// A member's part in `bytes` of the volume, and how long it takes.
Run::Task Run::task_of(const Piece& piece, double bytes) const {
    const Drive& drive = *members_[piece.member].drive;
    const Timing& timing = drive.timing;
    const auto block = static_cast<double>(workload_.block_bytes);

    Task task{piece.member, piece.range, {}, 0.0, 0.0};
    Load& load = task.load;
    // A drive answers from its map when a page holds nothing.
    const double mapped = drive.mapped_share(piece.range);
    if (workload_.pattern == Pattern::sequential) {
        // What the members hold of the stretch is what they write, parities and mirrors included.
        if (workload_.direction == Direction::write) {
            load.write_bytes = static_cast<double>(piece.range.length);
        } else {
            load.read_bytes = bytes * piece.share;
        }
        load.flash_pages_read = timing.pages_of_sequential_read(load.read_bytes) * mapped;
    } else {
        WriteCost cost{0.0, 1.0};
        if (workload_.direction == Direction::write) {
            cost = random_write_cost(*piece.group, workload_.block_bytes);
        }
        load.write_bytes = bytes * piece.share * cost.writes;
        load.read_bytes = bytes * piece.share * cost.reads;
        load.flash_pages_read =
            load.read_bytes / block * timing.pages_of_random_read(block) * mapped;
        load.reads_under_way = workload_.queue_depth * piece.share * std::max(cost.reads, 1.0);
    }
    load.commands = (load.write_bytes + load.read_bytes) / block;
    // In sequence, small writes share a unit; elsewhere each takes one of its own.
    const bool part_of_unit = workload_.pattern == Pattern::random && block < kUnitBytes;
    load.write_units = load.write_bytes / (part_of_unit ? block : double{kUnitBytes});

    task.flash_seconds = timing.flash_seconds(load, drive.recent_write_amplification());
    task.seconds = std::max(task.flash_seconds, timing.interface_seconds(load)) *
                   (drive.throttled() ? kThrottledSlowdown : 1.0);
    return task;
}

/// No volume does more than its queue allows when each operation takes its time.
double Run::latency_bound(const std::vector<Piece>& pieces, double operations) const {
    double slowest = 0.0;
    for (const Piece& piece : pieces) {
        const Drive& drive = *members_[piece.member].drive;
        const Timing& timing = drive.timing;
        const auto block = static_cast<double>(workload_.block_bytes);
        const double read =
            timing.read_overhead_seconds + timing.read_seconds * drive.mapped_share(piece.range);
        double latency =
            workload_.direction == Direction::read ? read : timing.write_latency_seconds;
        if (workload_.direction == Direction::write && workload_.pattern == Pattern::random &&
            random_write_cost(*piece.group, workload_.block_bytes).reads > 0.0) {
            latency += read;
        }
        const auto members = static_cast<double>(piece.group->members.size());
        latency += block / members / timing.interface_bytes_second;
        slowest = std::max(slowest, latency);
    }
    return operations * slowest / workload_.queue_depth;
}

void Run::carry_out(const Step& step, Progress& progress) {
    std::vector<double> load(members_.size(), 0.0);
    for (const Task& task : step.tasks) {
        Drive& drive = *members_[task.member].drive;
        MemberProgress& member = progress.members[task.member];
        const Counters before = drive.counters();
        if (workload_.direction == Direction::write) {
            if (workload_.pattern == Pattern::sequential) {
                drive.write_sequential(task.range);
            } else {
                drive.write_random(
                    task.range,
                    static_cast<std::uint64_t>(std::llround(task.load.write_units * kUnitBytes)));
            }
        }
        member.counters += drive.counters() - before;
        member.busy_seconds += std::min(task.flash_seconds, step.seconds);
        member.write_bytes += task.load.write_bytes;
        member.read_bytes += task.load.read_bytes;
        load[task.member] += task.flash_seconds / step.seconds;
    }
    for (std::size_t i = 0; i < members_.size(); ++i) {
        members_[i].drive->spend(step.seconds, load[i]);
        progress.throttled = progress.throttled || members_[i].drive->throttled();
    }
    if (workload_.pattern == Pattern::sequential) {
        position_ = (position_ + step.bytes) % workload_.range.length;
    }
    progress.seconds += step.seconds;
    progress.bytes += step.bytes;
    progress.operations += step.operations;
}

}  // namespace appliance::flash
