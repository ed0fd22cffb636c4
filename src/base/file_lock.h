#pragma once

#include "platform/ini.h"

namespace ssd_op::base {

/// A platform lock on a name, usually a file's path, held for as long as the owner lives. An access
/// goes on when the lock could not be taken: the platform refuses to unlock its invalid handle.
class FileLock {
  public:
    static FileLock for_reading(const char* name) {
        return FileLock(Ini_Conf_Read_Lock_File(name));
    }
    static FileLock for_writing(const char* name) {
        return FileLock(Ini_Conf_Write_Lock_File(name));
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { Ini_Conf_Unlock_File(handle_); }

  private:
    explicit FileLock(int handle) : handle_(handle) {}

    int handle_;
};

}  // namespace ssd_op::base
