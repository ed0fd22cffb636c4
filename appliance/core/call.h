#pragma once

#include <cstdint>
#include <string>

#include "provider/call.h"

namespace appliance {

/// What a fault does to a call, or to a started program, of its name.
enum class FaultKind {
    kReturn,    ///< the work is not done, the result is the fault's value
    kSlow,      ///< the work is done after the fault's value in milliseconds
    kHold,      ///< the work is done once the fault is cleared
    kKill,      ///< the process is killed (SIGKILL) before the work
    kKillAfter  ///< the process is killed (SIGKILL) after the work
};

/// Sets a fault. Setting one starts the count of its name at 0.
void set_fault(const std::string& name, int nth, FaultKind kind, int64_t value);
void clear_faults();

/// Adds a row to the journal.
void journal(const std::string& name, const std::string& arguments, const std::string& result);

// A call suffers the fault of its name, if any, and stands in the journal afterwards, with its
// result or with what was thrown.
using provider::arguments;
using provider::call;

}  // namespace appliance
