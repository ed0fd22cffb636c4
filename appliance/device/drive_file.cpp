#include "device/drive_file.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/blueprint.h"
#include "core/partitions.h"
#include "core/query.h"
#include "device/drive_timing.h"

namespace appliance {

namespace {

std::filesystem::path path_of(unsigned dev_id, const char* suffix) {
    return std::filesystem::path(kFlashDirectory) / fmt::format("{:08x}.{}", dev_id, suffix);
}

/// A drive that nobody has written to since the appliance laid it out.
flash::Drive new_drive(unsigned dev_id) {
    SQLite::Statement query = statement(
        "SELECT block_count * block_size, factory_spare_percent, seed FROM drive WHERE dev_id = ?",
        dev_id);
    if (!query.executeStep())
        throw std::runtime_error(fmt::format("there is no drive {:08x}", dev_id));
    flash::Geometry geometry;
    geometry.nominal_bytes = static_cast<uint64_t>(query.getColumn(0).getInt64());
    geometry.factory_spare_percent = query.getColumn(1).getDouble();
    geometry.seed = static_cast<uint64_t>(query.getColumn(2).getInt64());
    flash::Drive drive(geometry);
    // The system's partitions hold data that a test never gives back.
    SQLite::Statement system =
        statement("SELECT start_kib, size_kib FROM partition WHERE dev_id = ? AND part_no < ?",
                  dev_id, kDataPartition);
    while (system.executeStep()) {
        drive.write_sequential({static_cast<uint64_t>(system.getColumn(0).getInt64()) * 1024,
                                static_cast<uint64_t>(system.getColumn(1).getInt64()) * 1024});
    }
    return drive;
}

/// The end of the last work on the drive.
std::optional<double> worked_until(unsigned dev_id) {
    return first<double>("SELECT temperature_time FROM drive WHERE dev_id = ?", dev_id);
}

void rest_until_now(flash::Drive& drive, unsigned dev_id) {
    const double idle = now() - worked_until(dev_id).value_or(now());
    if (idle > 0) drive.spend(idle, 0);
}

}  // namespace

double now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

bool DriveFile::Version::operator==(const Version& other) const {
    return inode == other.inode && modified.tv_sec == other.modified.tv_sec &&
           modified.tv_nsec == other.modified.tv_nsec;
}

DriveFile::DriveFile(unsigned dev_id) : dev_id_(dev_id), path_(path_of(dev_id, "flash")) {
    const std::filesystem::path lock_path = path_of(dev_id, "lock");
    lock_descriptor_ = ::open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), lock_path.string());
    try {
        lock();
        unlock();
    } catch (...) {
        ::close(lock_descriptor_);
        throw;
    }
}

DriveFile::~DriveFile() { ::close(lock_descriptor_); }

DriveFile::Version DriveFile::on_disk() const {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) return {};
    return {status.st_ino, status.st_mtim};
}

void DriveFile::lock() {
    while (::flock(lock_descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
    const Version version = on_disk();
    // Unchanged since this process saved it: its work goes on without a pause.
    if (drive_ && version == in_memory_ && version.inode != 0) return;
    flash::Drive current = version.inode != 0 ? flash::Drive::load(path_) : new_drive(dev_id_);
    current.timing = timing_of(dev_id_);
    rest_until_now(current, dev_id_);
    if (drive_)
        *drive_ = std::move(current);
    else
        drive_ = std::make_unique<flash::Drive>(std::move(current));
    in_memory_ = version;
}

void DriveFile::save(double seconds) {
    drive_->save(path_);
    const double start = std::max(now(), worked_until(dev_id_).value_or(0));
    change("UPDATE drive SET temperature_time = ? WHERE dev_id = ?", start + seconds, dev_id_);
    in_memory_ = on_disk();
}

void DriveFile::unlock() { ::flock(lock_descriptor_, LOCK_UN); }

flash::Drive DriveFile::look(unsigned dev_id) {
    const std::filesystem::path path = path_of(dev_id, "flash");
    flash::Drive drive =
        std::filesystem::exists(path) ? flash::Drive::load(path) : new_drive(dev_id);
    rest_until_now(drive, dev_id);
    return drive;
}

}  // namespace appliance
