/// A drive made of this project's model of flash: a sparse file holds what is written, the model
/// tells how long that takes.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

#include "flash/ftl.h"
#include "flash/timing.h"

namespace guest {

struct Settings {
    std::string path;
    /// Time that a write of 4 KiB takes while nothing is copied. All other times of the model keep
    /// their proportion to it.
    unsigned unit_us = 60;
    unsigned spare_percent = 7;  ///< flash beyond the size that the drive shows
    bool nodiscard = false;      ///< the flash goes on copying what was discarded
};

/// The drive's content, in a sparse file.
class Store {
  public:
    /// @throws std::exception when there is no such file
    explicit Store(const std::string& path);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    std::uint64_t bytes() const { return bytes_; }

    /// Ranges within bytes() throughout.
    /// @throws std::system_error
    void read(char* to, std::size_t count, std::uint64_t offset) const;
    void write(const char* from, std::size_t count, std::uint64_t offset) const;
    void give_back(std::uint64_t count, std::uint64_t offset) const;

  private:
    int file_;
    std::uint64_t bytes_ = 0;
};

/// Its calls may come from several threads at a time. Each returns when the flash, busy with what
/// came before, has done this, too.
class FlashDrive {
  public:
    /// The flash is new, whatever the file holds.
    /// @throws std::exception for a size that no drive has
    explicit FlashDrive(const Settings& settings);

    std::uint64_t bytes() const { return store_.bytes(); }
    appliance::flash::Counters counters();

    void read(char* to, std::uint32_t count, std::uint64_t offset);
    void write(const char* from, std::uint32_t count, std::uint64_t offset);
    void discard(std::uint32_t count, std::uint64_t offset);

  private:
    void wait(std::unique_lock<std::mutex>& lock, const appliance::flash::Load& load);

    const bool nodiscard_;
    const Store store_;
    std::mutex mutex_;  ///< of what follows
    appliance::flash::Ftl ftl_;
    const appliance::flash::Timing timing_;
    const double scale_;  ///< what takes the model a second takes this drive as many
    std::chrono::steady_clock::time_point free_at_;
};

}  // namespace guest
