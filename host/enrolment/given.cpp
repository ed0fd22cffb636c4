#include "enrolment/given.h"

#include <algorithm>
#include <string>
#include <utility>

#include "drives/slots.h"

namespace host {

std::vector<SeenDrive> seen_drives(const Roots& roots) {
    const std::vector<Drive> drives = list_drives(roots);
    std::vector<std::string> places;
    for (const Drive& drive : drives) places.push_back(drive.place.path);
    const auto slots = slots_of(roots, places);
    const std::vector<Enrolled> enrolled = enrolled_drives(roots);

    std::vector<SeenDrive> seen;
    for (const Drive& drive : drives) {
        SeenDrive one{drive, std::nullopt, std::nullopt};
        const auto slot = slots.find(drive.place.path);
        if (slot != slots.end()) one.slot = slot->second;
        const auto given = std::find_if(enrolled.begin(), enrolled.end(),
                                        [&](const Enrolled& each) { return each.is(drive); });
        if (given != enrolled.end()) one.enrolled = *given;
        seen.push_back(std::move(one));
    }
    return seen;
}

std::vector<GivenDrive> given_drives(const Roots& roots) {
    std::vector<GivenDrive> given;
    for (const SeenDrive& seen : seen_drives(roots))
        if (seen.enrolled && seen.slot) given.push_back({seen.drive, *seen.slot});
    std::sort(given.begin(), given.end(),
              [](const GivenDrive& a, const GivenDrive& b) { return a.id() < b.id(); });
    return given;
}

std::optional<Drive> given_drive(const Roots& roots, uint32_t id) {
    for (GivenDrive& given : given_drives(roots)) {
        if (given.id() == id) return std::move(given.drive);
    }
    return std::nullopt;
}

}  // namespace host
