#include "start/plan.h"

#include <cstring>
#include <set>

#include <fmt/format.h>

#include "model/choice.h"
#include "output/failure.h"
#include "output/text.h"
#include "shared/rehearsal.h"
#include "start/estimate.h"

namespace cli {

namespace {

constexpr int kMostOp = 99;  // a ratio of 100 would leave no volume to measure

Failure refusal(const std::string& what, const std::string& advice) {
    return {kRefused, what, advice};
}

/// The library finds this out only when the drives have been overwritten already.
void check_addon() {
    const bool installed = SSD_OP_Test_Is_Skip_OP(0, 0) >= 0;
    if (!installed) {
        throw refusal("The add-on that measures the drives is not installed.",
                      "Install Oprella, then try again.");
    }
}

void check_limits(const Request& request) {
    for (const int op : {request.min_op, request.max_op}) {
        if (op < 0 || op > kMostOp) {
            throw refusal(fmt::format("An OP ratio of {} % is not possible.", op),
                          fmt::format("Ratios go from 0 to {} %.", kMostOp));
        }
    }
    if (request.min_op > request.max_op) {
        throw refusal(
            fmt::format("--min-op {} is above --max-op {}.", request.min_op, request.max_op),
            "Exchange them.");
    }
    if (request.interval <= 0) {
        throw refusal(fmt::format("An interval of {} never gets from one ratio to the next.",
                                  request.interval),
                      "Give an interval of 1 or more.");
    }
}

/// What the add-on cannot take.
void check_ends(const Request& request) {
    constexpr uint64_t kMostIops = 999'999'999'999'999;
    if (request.min_iops > kMostIops) {
        throw refusal(fmt::format("--min-iops {} is beyond what any drive does.", request.min_iops),
                      fmt::format("At most {} can be asked for; 0 asks for none.", kMostIops));
    }
}

std::vector<int> make_ratios(const Request& request) {
    check_limits(request);
    const int count = (request.max_op - request.min_op) / request.interval + 1;
    if (count > SSD_OP_MAX_RATIOS) {
        throw refusal(
            fmt::format("From {} to {} % in steps of {} are {} ratios; a record holds {}.",
                        request.min_op, request.max_op, request.interval, count, SSD_OP_MAX_RATIOS),
            "Take a larger --interval or a smaller range.");
    }
    std::vector<int> ratios;
    for (int i = 0; i < count; ++i) ratios.push_back(request.min_op + i * request.interval);
    return ratios;
}

std::string described(const Drive& drive) {
    return fmt::format("{} ({}, {}, serial number {})", drive.device, printable(drive.slot),
                       printable(drive.model), printable(drive.serial_no));
}

void check_drive(const Drive& drive) {
    if (!drive.is_ssd)
        throw refusal(fmt::format("{} is not an SSD.", described(drive)),
                      "Only SSDs can be evaluated; ssd-op drives tells which they are.");
    if (drive.broken_off)
        throw refusal(fmt::format("{} is in evaluation {}, which broke off.", described(drive),
                                  drive.record_no),
                      fmt::format("Free it first: ssd-op stop {}", drive.record_no));
    if (drive.record_no != 0)
        throw refusal(
            fmt::format("{} is in evaluation {}, which has not ended.", described(drive),
                        drive.record_no),
            fmt::format("Wait for it (ssd-op status {}) or take another drive.", drive.record_no));
    if (!drive.is_free())
        throw refusal(fmt::format("{} is {}.", described(drive), use_of(drive)),
                      "Take a drive that ssd-op drives shows as free.");
}

/// "Disk 1, Disk 2" is how people write a list.
std::string trimmed(const std::string& name) {
    const size_t begin = name.find_first_not_of(' ');
    return begin == std::string::npos ? ""
                                      : name.substr(begin, name.find_last_not_of(' ') + 1 - begin);
}

std::vector<Drive> choose_drives(const std::vector<std::string>& names) {
    const std::vector<Drive> present = load_drives();
    std::vector<Drive> chosen;
    std::set<uint32_t> ids;
    for (const std::string& name : names) {
        const Drive& drive = find_drive(present, trimmed(name));
        if (!ids.insert(drive.id).second)
            throw refusal(fmt::format("{} is named twice.", described(drive)),
                          "Name each drive once.");
        check_drive(drive);
        chosen.push_back(drive);
    }
    return chosen;
}

void check_test_size(const Request& request, const Plan& plan) {
    const uint64_t whole = usable_bytes(plan);
    if (request.test_size_mib <= whole / kMib) return;
    throw refusal(
        fmt::format("A --test-size of {} MiB is more than the volume has.", request.test_size_mib),
        fmt::format("That is about {} MiB; 0 stands for all of it.", whole / kMib));
}

int test_type(const Request& request) {
    if (request.all) return SSD_OP_TEST_TYPE_ALL;
    return request.sequential ? SSD_OP_TEST_TYPE_SEQUENTIAL : SSD_OP_TEST_TYPE_RANDOM;
}

std::string plain_title(const Request& request, const Plan& plan) {
    if (!request.title.empty()) return request.title;
    const int first = plan.ratios.front(), last = plan.ratios.back();
    if (first == last) return fmt::format("{}, OP {} %", plan.layout.text(), first);
    return fmt::format("{}, OP {} to {} %", plan.layout.text(), first, last);
}

std::string title_of(const Request& request, const Plan& plan) {
    std::string title = plain_title(request, plan);
    if (!request.quick || ssd_op::shared::is_rehearsal(title)) return title;
    return std::string(ssd_op::shared::kRehearsalMark) + title;
}

uint64_t test_size_of(const Request& request, const Plan& plan) {
    if (!request.quick || request.test_size_mib != 0) return request.test_size_mib;
    // 0 is all of it: how much of a small volume the pool leaves is not known yet.
    const bool is_large = usable_bytes(plan) / kMib > ssd_op::shared::kRehearsalMib;
    return is_large ? ssd_op::shared::kRehearsalMib : 0;
}

ssd_op_test_param make_param(const Request& request, const Plan& plan) {
    ssd_op_test_param param{};
    const std::string title = title_of(request, plan);
    if (title.size() >= sizeof param.title)
        throw refusal(fmt::format("The title has {} bytes.", title.size()),
                      fmt::format("At most {} fit.", sizeof param.title - 1));
    std::memcpy(param.title, title.c_str(), title.size());
    param.test_type = test_type(request);
    param.min_op = request.min_op;
    param.max_op = request.max_op;
    param.interval = request.interval;
    param.test_size = test_size_of(request, plan);
    param.stop_service = request.stop_services ? 1 : 0;
    param.min_iops = request.min_iops;
    param.abort_time = request.abort_time;
    return param;
}

}  // namespace

Plan make_plan(const Request& request) {
    Plan plan{};
    plan.ratios = make_ratios(request);
    check_ends(request);
    plan.layout = {parse_level(request.raid), request.drives.size()};
    plan.drives = choose_drives(request.drives);
    check_layout(plan.layout);
    check_addon();
    check_test_size(request, plan);
    plan.param = make_param(request, plan);
    plan.dropped = dropped_by_start();
    return plan;
}

}  // namespace cli
