#pragma once

#include <vector>

#include "core/roots.h"
#include "core/store.h"
#include "drives/health.h"
#include "enrolment/given.h"
#include "refusal/reason.h"

namespace host {

/// A drive with all that is known of it.
struct ListedDrive {
    SeenDrive seen;
    Health health;
    std::vector<Reason> reasons;  ///< against its use as it was given
};

std::vector<ListedDrive> load_listed_drives(const Roots& roots);

std::string table_of(const std::vector<ListedDrive>& drives);
Json json_of(const std::vector<ListedDrive>& drives);

}  // namespace host
