#include "start/plan_output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "output/table.h"
#include "output/text.h"
#include "shared/rehearsal.h"
#include "start/knowledge.h"

namespace cli {

namespace {

struct TestType {
    const char* name;
    const char* writes;
};

TestType type_of(const Plan& plan) {
    switch (plan.param.test_type) {
        case SSD_OP_TEST_TYPE_SEQUENTIAL:
            return {"sequential", "sequential writes of 1 MiB"};
        case SSD_OP_TEST_TYPE_ALL:
            return {"all", "sequential writes of 1 MiB, then random ones of 4 KiB"};
        default:
            return {"random", "random writes of 4 KiB"};
    }
}

std::string drive_table(const Plan& plan) {
    Table table(
        {{"Slot"}, {"Device"}, {"Model"}, {"Serial number"}, {"Capacity", Table::Align::right}});
    for (const Drive& drive : plan.drives) {
        table.add({printable(drive.slot), drive.device, printable(drive.model),
                   printable(drive.serial_no), size_text(drive.capacity_bytes)});
    }
    return table.text("  ");
}

std::string ratio_table(const Plan& plan) {
    constexpr auto kRight = Table::Align::right;
    Table table({{"OP", kRight}, {"Usable, about", kRight}, {"Given up", kRight}});
    const uint64_t whole = usable_bytes(plan);
    for (const int op : plan.ratios) {
        const uint64_t usable = usable_bytes(plan, op);
        table.add({fmt::format("{} %", op), size_text(usable), size_text(whole - usable)});
    }
    return table.text("  ");
}

Json drive_json(const Drive& drive) {
    return {{"id", drive.id},
            {"slot", drive.slot},
            {"device", drive.device},
            {"model", drive.model},
            {"serial_no", drive.serial_no},
            {"capacity_bytes", drive.capacity_bytes}};
}

std::string services_text(const Plan& plan) {
    return plan.param.stop_service != 0
               ? "The file services are stopped while the storage is created, and started again."
               : "The file services go on; what they do can disturb the drives' measurement.";
}

std::string time_text(const Plan& plan) {
    const TimeEstimate time = estimate_time(plan, knowledge_of(plan));
    std::string text = fmt::format("It takes about {}, ", time_range_text(time.range));
    if (time.record_no)
        return text + fmt::format("as record {} tells of such drives.\n", *time.record_no);
    if (time.from_figures)
        return text + "after what the drives did when they were measured empty.\n";
    return text + fmt::format(
                      "if the drives are as most of their capacity. None of this kind was "
                      "measured yet: {} are possible.\n",
                      time_range_text(*time.possible));
}

Json time_json(const Plan& plan) {
    const auto range_json = [](const TimeRange& range) {
        return Json{{"shortest_seconds", static_cast<int64_t>(range.shortest)},
                    {"longest_seconds", static_cast<int64_t>(range.longest)}};
    };
    const TimeEstimate time = estimate_time(plan, knowledge_of(plan));
    Json json = range_json(time.range);
    json["time_basis"] = time.record_no ? "record" : time.from_figures ? "figures" : "capacity";
    json["time_record"] = or_null(time.record_no);
    json["possible_time"] = time.possible ? range_json(*time.possible) : Json(nullptr);
    return json;
}

}  // namespace

std::string plan_text(const Plan& plan) {
    std::string text = fmt::format("Evaluation \"{}\": {}, {}\n\n", printable(plan.param.title),
                                   plan.layout.text(), type_of(plan).writes);
    text += drive_table(plan) + "\n" + ratio_table(plan) + "\n";
    if (plan.param.test_size > 0)
        text += fmt::format("Tested area: {} MiB of the volume.\n", plan.param.test_size);
    if (ssd_op::shared::is_rehearsal(plan.param.title))
        text +=
            fmt::format("A rehearsal, with rounds of {} seconds: it tells little of the drives.\n",
                        ssd_op::shared::kRehearsalRoundSeconds);
    text += services_text(plan) + "\n";
    text += time_text(plan);
    if (!plan.dropped.empty())
        text += fmt::format("The record limit deletes {} for it.\n", dropped_text(plan));
    text +=
        fmt::format("\nALL DATA ON {} WILL BE LOST.\n",
                    plan.drives.size() == 1 ? "THIS DRIVE"
                                            : fmt::format("THESE {} DRIVES", plan.drives.size()));
    return text;
}

std::string dropped_text(const Plan& plan) {
    return fmt::format("{} {}", plan.dropped.size() == 1 ? "record" : "records",
                       fmt::join(plan.dropped, ", "));
}

Json plan_json(const Plan& plan) {
    const auto ratio_json = [&](int op) {
        return Json{{"op", op}, {"usable_bytes", usable_bytes(plan, op)}};
    };
    Json json = {{"title", plan.param.title},
                 {"raid_level", plan.layout.level},
                 {"drives", json_list(plan.drives, drive_json)},
                 {"ratios", json_list(plan.ratios, ratio_json)},
                 {"interval", plan.param.interval},
                 {"test_type", type_of(plan).name},
                 {"test_size_mib", plan.param.test_size},
                 {"min_iops", plan.param.min_iops},
                 {"abort_seconds", plan.param.abort_time},
                 {"stop_services", plan.param.stop_service != 0}};
    json.update(time_json(plan));
    json["dropped_records"] = plan.dropped;
    return json;
}

}  // namespace cli
