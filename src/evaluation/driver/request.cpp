#include "evaluation/driver/request.h"

#include <algorithm>

#include "shared/ratios.h"

namespace ssd_op::evaluation {

const char* refusal_of(const ssd_op_test_param& request, const std::vector<RAID_CONF*>& groups) {
    if (request.min_op < 0 || request.max_op > 100)
        return "an OP ratio lies outside 0 to 100 percent";
    if (shared::ratio_count(request.min_op, request.max_op, request.interval) > SSD_OP_MAX_RATIOS)
        return "more than 20 OP ratios";
    const bool fit = std::all_of(groups.begin(), groups.end(), [](const RAID_CONF* group) {
        return group->drive_num <= SSD_OP_MAX_DRIVES;
    });
    return fit ? nullptr : "more than 64 drives in a group";
}

}  // namespace ssd_op::evaluation
