#pragma once

#include <cstdint>

#include "platform/hal.h"
#include "shared/drive_id.h"

namespace ssd_op::evaluation {

/// Only solid-state drives are discarded.
inline bool is_solid_state(uint32_t dev_id) {
    const auto [enclosure, port] = shared::slot_of(dev_id);
    PD_INFO info{};
    return PD_Get_Info(enclosure, port, &info) == 0 && (info.flags & PD_FLAG_SSD) != 0;
}

}  // namespace ssd_op::evaluation
