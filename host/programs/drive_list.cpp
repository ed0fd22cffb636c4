#include "programs/drive_list.h"

#include <optional>
#include <utility>

#include <fmt/format.h>

#include "core/text.h"
#include "drives/slots.h"
#include "enrolment/enrolment.h"
#include "undo/undo_list.h"

namespace host {

namespace {

template <typename Number>
Json number_or_null(const std::optional<Number>& value) {
    return value ? Json(*value) : Json();
}

/// Port 0: it has none.
ssd_op::shared::Slot slot_of(const ListedDrive& listed) {
    return listed.seen.slot.value_or(ssd_op::shared::Slot{kEnclosure, 0});
}

bool may_be_wiped(const ListedDrive& listed) {
    return listed.seen.enrolled && listed.seen.enrolled->wipe;
}

Json json_of(const ListedDrive& listed) {
    const Drive& drive = listed.seen.drive;
    Json reasons = Json::array();
    for (const Reason& reason : listed.reasons)
        reasons.push_back({{"text", reason.text}, {"next_step", reason.next_step}});
    return {{"device", drive.name},
            {"number", drive.number.text()},
            {"enclosure", slot_of(listed).enclosure},
            {"port", slot_of(listed).port},
            {"place", drive.place.path},
            {"vendor", drive.identity.vendor},
            {"model", drive.identity.model},
            {"serial", drive.identity.serial},
            {"wwn", drive.identity.wwn},
            {"firmware", drive.identity.firmware},
            {"bytes", drive.bytes},
            {"block_bytes", drive.block_bytes},
            {"discard_most_bytes", drive.discard.most_bytes},
            {"discard_granularity", drive.discard.granularity},
            {"celsius", number_or_null(listed.health.celsius)},
            {"wear_percent", number_or_null(listed.health.wear_percent)},
            {"written_bytes", number_or_null(listed.health.written_bytes)},
            {"health_problem", listed.health.problem},
            {"enrolled", listed.seen.enrolled.has_value()},
            {"wipe", may_be_wiped(listed)},
            {"usable", listed.reasons.empty()},
            {"reasons", reasons}};
}

std::string number_text(const std::optional<int>& value, const char* unit) {
    return value ? fmt::format("{} {}", *value, unit) : "-";
}

std::string entry_of(const ListedDrive& listed) {
    const Drive& drive = listed.seen.drive;
    const ssd_op::shared::Slot slot = slot_of(listed);
    std::string text = fmt::format(
        "{:<10} slot {}:{}  {}  serial {}  {}  {}  worn {}\n", drive.name, slot.enclosure,
        slot.port, printable(drive.identity.model),
        drive.identity.serial.empty() ? "-" : drive.identity.serial,
        size_text(static_cast<double>(drive.bytes)), number_text(listed.health.celsius, "°C"),
        number_text(listed.health.wear_percent, "%"));
    if (listed.seen.enrolled)
        text += may_be_wiped(listed) ? "  enrolled, and what is on it may go\n" : "  enrolled\n";
    if (!listed.health.problem.empty()) text += "  " + listed.health.problem + "\n";
    return text + (listed.reasons.empty() ? "  can be used\n"
                                          : "  cannot be used:\n" + list_of(listed.reasons));
}

/// A drive is held while it is examined. Whoever makes an array of it just then would be refused
/// it, so that one waits for the other.
std::vector<Reason> reasons_against(const Roots& roots, const SeenDrive& seen) {
    const Store others_wait = UndoList::hold(roots);
    const Wish wish{seen.enrolled && seen.enrolled->wipe};
    return examine(roots, seen.drive, wish).reasons;
}

}  // namespace

std::vector<ListedDrive> load_listed_drives(const Roots& roots) {
    std::vector<ListedDrive> listed;
    for (SeenDrive& seen : seen_drives(roots)) {
        Health health = read_health(roots, seen.drive);
        auto reasons = reasons_against(roots, seen);
        listed.push_back({std::move(seen), std::move(health), std::move(reasons)});
    }
    return listed;
}

std::string table_of(const std::vector<ListedDrive>& drives) {
    if (drives.empty()) return "This host has no SSD.\n";
    std::string text;
    for (const ListedDrive& listed : drives) text += entry_of(listed);
    return text;
}

Json json_of(const std::vector<ListedDrive>& drives) {
    Json entries = Json::array();
    for (const ListedDrive& listed : drives) entries.push_back(json_of(listed));
    return entries;
}

}  // namespace host
