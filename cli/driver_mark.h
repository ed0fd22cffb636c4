/// Whether the process of an evaluation, its driver, is still there. The library does not tell: a
/// record stays "testing" when its driver is killed. So each driver that ssd-op starts holds a lock
/// on a file, which the kernel releases however the driver ends.
#pragma once

#include <string>

#include "descriptor.h"
#include "ssd_op.h"

namespace cli {

/// The lock of an evaluation that is about to start. Children made by fork hold it too, so that it
/// lasts as long as any of them; programs that they run do not.
class DriverMark {
  public:
    /// @throws Failure when the file cannot be made
    DriverMark();
    DriverMark(const DriverMark&) = delete;
    DriverMark& operator=(const DriverMark&) = delete;
    /// Lets go of this process's share; without a name, the file goes too.
    ~DriverMark();

    /// Names the record that the driver has become known by.
    void name(const ssd_op_db_record& record);

  private:
    std::string path_;
    Descriptor file_;
};

enum class Driver {
    kRuns,
    kGone,
    kUnknown,  // somebody else started it, and some process could be its driver
};

Driver driver_of(const ssd_op_db_record& record);

}  // namespace cli
