#include "programs/drive_list.h"

#include <algorithm>
#include <iterator>
#include <optional>

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

Json json_of(const ListedDrive& listed) {
    const Drive& drive = listed.drive;
    Json reasons = Json::array();
    for (const Reason& reason : listed.reasons)
        reasons.push_back({{"text", reason.text}, {"next_step", reason.next_step}});
    return {{"device", drive.name},
            {"number", drive.number.text()},
            {"enclosure", listed.slot.enclosure},
            {"port", listed.slot.port},
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
            {"enrolled", listed.enrolled},
            {"usable", listed.reasons.empty()},
            {"reasons", reasons}};
}

std::string number_text(const std::optional<int>& value, const char* unit) {
    return value ? fmt::format("{} {}", *value, unit) : "-";
}

std::string entry_of(const ListedDrive& listed) {
    const Drive& drive = listed.drive;
    std::string text = fmt::format(
        "{:<10} slot {}:{}  {}  serial {}  {}  {}  worn {}\n", drive.name, listed.slot.enclosure,
        listed.slot.port, printable(drive.identity.model),
        drive.identity.serial.empty() ? "-" : drive.identity.serial,
        size_text(static_cast<double>(drive.bytes)), number_text(listed.health.celsius, "°C"),
        number_text(listed.health.wear_percent, "%"));
    if (listed.enrolled) text += "  enrolled\n";
    if (!listed.health.problem.empty()) text += "  " + listed.health.problem + "\n";
    return text + (listed.reasons.empty() ? "  can be used\n"
                                          : "  cannot be used:\n" + list_of(listed.reasons));
}

/// A drive is held while it is examined. Whoever makes an array of it just then would be refused
/// it, so that one waits for the other.
std::vector<Reason> reasons_against(const Roots& roots, const Drive& drive) {
    const Store others_wait = UndoList::hold(roots);
    return examine(roots, drive, Wish{}).reasons;
}

}  // namespace

std::vector<ListedDrive> load_listed_drives(const Roots& roots) {
    const std::vector<Drive> drives = list_drives(roots);
    std::vector<std::string> places;
    std::transform(drives.begin(), drives.end(), std::back_inserter(places),
                   [](const Drive& drive) { return drive.place.path; });
    const auto slots = slots_of(roots, places);
    const std::vector<Enrolled> enrolled = enrolled_drives(roots);

    std::vector<ListedDrive> listed;
    for (const Drive& drive : drives) {
        const auto slot = slots.find(drive.place.path);
        const bool is_ours = std::any_of(enrolled.begin(), enrolled.end(),
                                         [&](const Enrolled& one) { return one.is(drive); });
        listed.push_back({drive,
                          slot == slots.end() ? ssd_op::shared::Slot{kEnclosure, 0} : slot->second,
                          read_health(roots, drive), is_ours, reasons_against(roots, drive)});
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
