#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/roots.h"
#include "shared/drive_id.h"

namespace host {

/// All drives of a host are in one enclosure.
constexpr int kEnclosure = 1;

/// The slot of each place, by its path. A place that is new gets the next port. A place keeps its
/// port for ever, with or without a drive in it, and no other place ever gets that port.
std::map<std::string, ssd_op::shared::Slot> slots_of(const Roots& roots,
                                                     const std::vector<std::string>& places);

}  // namespace host
