#include "flash_drive.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace guest {

namespace {

using appliance::flash::Ftl;
using appliance::flash::Timing;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kPageBytes = appliance::flash::kUnitBytes;
/// The model keeps about 20 bytes a page in memory.
constexpr std::uint64_t kMostBytes = 16ULL << 30;

[[noreturn]] void throw_errno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Until all of it is done: a call may do less than it was asked for.
template <typename Some>
void transfer(std::size_t count, std::uint64_t offset, Some some) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t moved = some(done, count - done, static_cast<off_t>(offset + done));
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) throw_errno("read or write");
        done += static_cast<std::size_t>(moved);
    }
}

/// The pages that a range touches, or those that lie wholly inside it.
struct Pages {
    std::uint32_t first, count;
};
Pages touched(std::uint64_t count, std::uint64_t offset) {
    const std::uint64_t end = (offset + count + kPageBytes - 1) / kPageBytes;
    const std::uint64_t first = offset / kPageBytes;
    return {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end - first)};
}
Pages inside(std::uint64_t count, std::uint64_t offset) {
    const std::uint64_t first = (offset + kPageBytes - 1) / kPageBytes;
    const std::uint64_t end = std::max((offset + count) / kPageBytes, first);
    return {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(end - first)};
}

Ftl make_flash(std::uint64_t bytes, unsigned spare_percent) {
    const std::uint64_t pages = bytes / kPageBytes;
    if (pages == 0 || bytes % kPageBytes != 0 || bytes > kMostBytes) {
        throw std::runtime_error("a drive has whole pages of 4 KiB, and 16 GiB at most");
    }
    const std::uint64_t block = Ftl::kPagesPerBlock;
    const std::uint64_t least = (pages + block - 1) / block + 2;
    const std::uint64_t blocks = pages * (100 + std::uint64_t{spare_percent}) / 100 / block;
    return Ftl(static_cast<std::uint32_t>(pages),
               static_cast<std::uint32_t>(std::max(blocks, least)));
}

}  // namespace

Store::Store(const std::string& path) : file_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    if (file_ < 0) throw_errno(path.c_str());
    struct stat status = {};
    if (::fstat(file_, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(file_);
        throw std::runtime_error(path + " is not a file");
    }
    bytes_ = static_cast<std::uint64_t>(status.st_size);
}

Store::~Store() { ::close(file_); }

void Store::read(char* to, std::size_t count, std::uint64_t offset) const {
    transfer(count, offset, [&](std::size_t done, std::size_t rest, off_t place) {
        return ::pread(file_, to + done, rest, place);
    });
}

void Store::write(const char* from, std::size_t count, std::uint64_t offset) const {
    transfer(count, offset, [&](std::size_t done, std::size_t rest, off_t place) {
        return ::pwrite(file_, from + done, rest, place);
    });
}

void Store::give_back(std::uint64_t count, std::uint64_t offset) const {
    if (::fallocate(file_, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
                    static_cast<off_t>(count)) != 0) {
        throw_errno("discard");
    }
}

FlashDrive::FlashDrive(const Settings& settings)
    : nodiscard_(settings.nodiscard),
      store_(settings.path),
      ftl_(make_flash(store_.bytes(), settings.spare_percent)),
      timing_(Timing::for_capacity(store_.bytes())),
      scale_(settings.unit_us * 1e-6 / timing_.flash_seconds({.write_units = 1}, 1.0)) {}

appliance::flash::Counters FlashDrive::counters() {
    const std::lock_guard lock(mutex_);
    return ftl_.counters();
}

void FlashDrive::read(char* to, std::uint32_t count, std::uint64_t offset) {
    store_.read(to, count, offset);
    std::unique_lock lock(mutex_);
    const Pages pages = touched(count, offset);
    // What was never written is not read from the flash.
    const double bytes =
        static_cast<double>(kPageBytes) * ftl_.mapped_pages(pages.first, pages.count);
    wait(lock, {.read_bytes = bytes, .flash_pages_read = timing_.pages_of_sequential_read(bytes)});
}

void FlashDrive::write(const char* from, std::uint32_t count, std::uint64_t offset) {
    store_.write(from, count, offset);
    std::unique_lock lock(mutex_);
    const Pages pages = touched(count, offset);
    ftl_.write_sequential(pages.first, pages.count);
    wait(lock, {.write_units = static_cast<double>(pages.count)});
}

void FlashDrive::discard(std::uint32_t count, std::uint64_t offset) {
    store_.give_back(count, offset);
    if (nodiscard_) return;
    const std::lock_guard lock(mutex_);
    const Pages pages = inside(count, offset);
    ftl_.trim(pages.first, pages.count);
}

void FlashDrive::wait(std::unique_lock<std::mutex>& lock, const appliance::flash::Load& load) {
    const std::chrono::duration<double> busy(
        scale_ * timing_.flash_seconds(load, ftl_.recent_write_amplification()));
    free_at_ = std::max(free_at_, Clock::now()) + std::chrono::duration_cast<Clock::duration>(busy);
    const auto end = free_at_;
    lock.unlock();
    std::this_thread::sleep_until(end);
}

}  // namespace guest
