#include "enrolment/given.h"

#include <algorithm>

#include "drives/slots.h"
#include "enrolment/enrolled.h"

namespace host {

std::vector<GivenDrive> given_drives(const Roots& roots) {
    const std::vector<Drive> drives = list_drives(roots);
    std::vector<std::string> places;
    for (const Drive& drive : drives) places.push_back(drive.place.path);
    const auto slots = slots_of(roots, places);
    const std::vector<Enrolled> enrolled = enrolled_drives(roots);

    std::vector<GivenDrive> given;
    for (const Drive& drive : drives) {
        const auto slot = slots.find(drive.place.path);
        const bool is_given = std::any_of(enrolled.begin(), enrolled.end(),
                                          [&](const Enrolled& one) { return one.is(drive); });
        if (is_given && slot != slots.end()) given.push_back({drive, slot->second});
    }
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
