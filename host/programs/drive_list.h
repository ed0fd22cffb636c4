#pragma once

#include <vector>

#include "core/roots.h"
#include "core/store.h"
#include "drives/drive.h"
#include "drives/health.h"
#include "refusal/reason.h"
#include "shared/drive_id.h"

namespace host {

/// A drive with all that is known of it.
struct ListedDrive {
    Drive drive;
    ssd_op::shared::Slot slot;  ///< port 0: it has none
    Health health;
    bool enrolled = false;
    std::vector<Reason> reasons;
};

std::vector<ListedDrive> load_listed_drives(const Roots& roots);

std::string table_of(const std::vector<ListedDrive>& drives);
Json json_of(const std::vector<ListedDrive>& drives);

}  // namespace host
