#pragma once

#include <unistd.h>

namespace ssd_op::shared {

/// Whether the appliance is up, neither starting nor shutting down: only then may services be
/// started.
inline bool appliance_is_up() {
    return ::access("/tmp/opr_run_once_on_boot", F_OK) == 0 &&
           ::access("/var/kfunc/rcK", F_OK) != 0;
}

}  // namespace ssd_op::shared
