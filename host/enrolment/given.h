#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/roots.h"
#include "drives/drive.h"
#include "enrolment/enrolled.h"
#include "shared/drive_id.h"

namespace host {

/// The id of a slot, by the two halves by which calls name it.
constexpr uint32_t slot_id(int enclosure, int port) {
    return static_cast<uint32_t>(enclosure) << 16 | (static_cast<uint32_t>(port) & 0xFFFFU);
}

/// A drive that is there, with its slot and what was given of it.
struct SeenDrive {
    Drive drive;
    std::optional<ssd_op::shared::Slot> slot;  ///< none when it has no place
    std::optional<Enrolled> enrolled;
};

std::vector<SeenDrive> seen_drives(const Roots& roots);

/// A drive that was given to this program and is there.
struct GivenDrive {
    Drive drive;
    ssd_op::shared::Slot slot;

    uint32_t id() const { return slot_id(slot.enclosure, slot.port); }
};

/// In the order of their slots. Others do not exist for an evaluation.
std::vector<GivenDrive> given_drives(const Roots& roots);

/// None when no such drive is in that slot.
std::optional<Drive> given_drive(const Roots& roots, uint32_t id);

}  // namespace host
