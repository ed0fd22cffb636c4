#include "start/knowledge.h"

#include <algorithm>
#include <set>
#include <utility>

#include "model/observation.h"
#include "model/record.h"
#include "output/text.h"
#include "platform/hal.h"
#include "shared/drive_id.h"
#include "shared/rehearsal.h"

namespace cli {

namespace {

using Kind = std::pair<std::string, uint64_t>;  // model, as far as a record keeps it, and capacity

std::set<Kind> kinds_of(const Plan& plan) {
    std::set<Kind> kinds;
    for (const Drive& drive : plan.drives) {
        kinds.emplace(drive.model.substr(0, sizeof ssd_op_db_ssd_dev::model - 1),
                      drive.capacity_bytes);
    }
    return kinds;
}

std::set<Kind> kinds_of(const ssd_op_db_record& record) {
    std::set<Kind> kinds;
    for (const ssd_op_db_ssd_dev* drive : drives_of(record))
        kinds.emplace(drive->model, drive->capacity);
    return kinds;
}

/// A ratio that an evaluation's end cut short has the rate of drives that were not steady yet.
bool was_cut_short(ssd_op_db_record& record, const Rate& rate) {
    if (record.status == SSD_OP_TEST_STATUS_COMPLETED ||
        SSD_OP_DB_Query_Record_Runtime_Count(record.record_no, rate.op) <= 0)
        return false;
    const auto rounds = observe(record, rate.op).steadiness;
    return !rounds || !rounds->is_steady();
}

/// None when nothing was measured, or not by random writes to a single group.
std::optional<Precedent> precedent_of(ssd_op_db_record& record) {
    const ssd_op_db_raid_conf* group = record.raid_conf;
    if (record.sequential != 0 || group == nullptr || group->next != nullptr) return std::nullopt;
    std::vector<Rate> rates = rates_of(results_of(record));
    std::erase_if(rates, [&](const Rate& rate) { return was_cut_short(record, rate); });
    if (rates.empty() || record.lv_size == 0) return std::nullopt;
    const Layout layout{group->raid_level, shared::drives(*group).size()};
    if (!layout.holds_data()) return std::nullopt;
    const auto data = static_cast<double>(layout.data_members());
    const DriveUse use{0, static_cast<double>(record.lv_size) * kMib / data,
                       static_cast<double>(record.test_size) * kMib / data};
    return Precedent{record.record_no, layout, use, std::move(rates)};
}

std::optional<Precedent> newest_precedent(const Plan& plan) {
    const std::set<Kind> kinds = kinds_of(plan);
    const std::vector<Record> records = load_records();
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        if (is_running((*record)->status) || shared::is_rehearsal((*record)->title) ||
            kinds_of(**record) != kinds)
            continue;
        std::optional<Precedent> precedent = precedent_of(*require_record((*record)->record_no));
        if (precedent) return precedent;
    }
    return std::nullopt;
}

/// Kept by the platform since the drive was measured last; none unless all drives have them.
std::optional<Figures> figures_of(const Plan& plan) {
    Figures slowest{1e18, 1e18};
    for (const Drive& drive : plan.drives) {
        const auto [enclosure, port] = shared::slot_of(drive.id);
        unsigned long long bytes_second = 0, iops = 0;
        if (PD_Get_Write_Speed(enclosure, port, &bytes_second) != 0 ||
            PD_Get_Write_IOPS(enclosure, port, &iops) != 0 || bytes_second == 0 || iops == 0)
            return std::nullopt;
        slowest.write_bytes_second =
            std::min(slowest.write_bytes_second, static_cast<double>(bytes_second));
        slowest.write_iops = std::min(slowest.write_iops, static_cast<double>(iops));
    }
    return slowest;
}

}  // namespace

Knowledge knowledge_of(const Plan& plan) {
    Knowledge knowledge{newest_precedent(plan), figures_of(plan)};
    if (plan.param.test_type == SSD_OP_TEST_TYPE_SEQUENTIAL) knowledge.precedent.reset();
    return knowledge;
}

}  // namespace cli
