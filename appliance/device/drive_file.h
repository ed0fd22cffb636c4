#pragma once

#include <filesystem>
#include <memory>

#include <sys/types.h>
#include <time.h>

#include "flash/drive.h"

namespace appliance {

/// The appliance's clock, in seconds since the epoch.
double now();

/// One drive's flash, in memory and in its file, shared with other processes.
///
/// Between lock() and unlock() no other process has the lock. The time for which the drive has been
/// worked on is kept with it: a drive that nobody worked on for a while has cooled down.
class DriveFile {
  public:
    explicit DriveFile(unsigned dev_id);
    ~DriveFile();
    DriveFile(const DriveFile&) = delete;
    DriveFile& operator=(const DriveFile&) = delete;

    /// Waits for the drive, and brings what is in memory up to date.
    void lock();
    /// Writes the drive back after work that stands for so many seconds of its time.
    void save(double seconds);
    void unlock();

    unsigned dev_id() const { return dev_id_; }
    /// Stays where it is as long as this object lives.
    flash::Drive& drive() { return *drive_; }

    /// The drive as it is now, without waiting for those who work on it.
    static flash::Drive look(unsigned dev_id);

  private:
    struct Version {
        ino_t inode = 0;
        timespec modified{};
        bool operator==(const Version& other) const;
    };
    Version on_disk() const;

    unsigned dev_id_;
    std::filesystem::path path_;
    int lock_descriptor_;
    std::unique_ptr<flash::Drive> drive_;
    Version in_memory_;
};

}  // namespace appliance
