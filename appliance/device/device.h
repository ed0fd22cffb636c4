#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/in_use.h"
#include "device/drive_file.h"
#include "device/target.h"
#include "flash/volume.h"

namespace appliance {

/// A block device that this process works on: in use as long as this object lives.
class Device {
  public:
    /// @throws std::exception when a drive is missing, damaged, or no solid-state drive
    explicit Device(const Target& target);

    uint64_t bytes() const { return bytes_; }
    /// The drives' flash as one volume, which may be larger than the device.
    const flash::Volume& volume() const { return *volume_; }

    /// Runs `work` while the drives under the device are kept from every other process, then saves
    /// them. `work` returns how many seconds of the drives' time it stands for; so does this.
    template <typename Work>
    double update(Work&& work) {
        const Hold hold(files_);
        const double seconds = work();
        for (const auto& file : files_) file->save(seconds);
        return seconds;
    }

  private:
    using Files = std::vector<std::unique_ptr<DriveFile>>;

    /// All drives locked, in the order of their ids, so that two processes cannot wait for each
    /// other.
    class Hold {
      public:
        explicit Hold(const Files& files);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

      private:
        const Files& files_;
    };

    InUse in_use_;
    uint64_t bytes_;
    Files files_;
    std::unique_ptr<flash::Volume> volume_;
};

/// The device of that name.
/// @throws std::exception as the constructor, and when there is no such device
std::unique_ptr<Device> open_device(const std::string& name);

}  // namespace appliance
