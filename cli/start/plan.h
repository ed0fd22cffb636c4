/// Start room: from a request to a plan that keeps every rule, what that costs, and its start.
#pragma once

#include <string>
#include <vector>

#include "model/drive.h"
#include "model/layout.h"
#include "ssd_op.h"

namespace cli {

/// What the user asks for with `ssd-op start`.
struct Request {
    std::string raid;
    std::vector<std::string> drives;
    std::string title;
    int min_op = 0;
    int max_op = 40;
    int interval = 10;
    uint64_t test_size_mib = 0;
    uint64_t min_iops = 0;
    int abort_time = 0;
    bool sequential = false;
    bool all = false;
    bool stop_services = false;
    bool quick = false;
};

/// A request that keeps every rule: what the evaluation will be.
struct Plan {
    Layout layout;
    std::vector<Drive> drives;
    std::vector<int> ratios;
    ssd_op_test_param param;
    std::vector<int> dropped;  // records that the limit drops for the new one
};

/// @throws Failure that names the first rule which the request breaks
Plan make_plan(const Request& request);

}  // namespace cli
