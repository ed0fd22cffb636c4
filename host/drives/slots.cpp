#include "drives/slots.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "core/failure.h"
#include "core/store.h"

namespace host {

namespace {

constexpr int kMostPorts = 0xFFFF;

using Ports = std::map<std::string, int>;

Ports ports_in(const Json& stored, const std::string& file) {
    Ports ports;
    std::set<uint64_t> taken;
    for (const auto& [place, port] : stored.items()) {
        const uint64_t number = port.is_number_unsigned() ? port.get<uint64_t>() : 0;
        if (number == 0 || number > kMostPorts || !taken.insert(number).second) {
            throw Failure("The slots in " + file + " are damaged.",
                          "Restore the file from a backup: drives would change their slots.");
        }
        ports[place] = static_cast<int>(number);
    }
    return ports;
}

int next_port(const Ports& ports) {
    int highest = 0;
    for (const auto& [place, port] : ports) highest = std::max(highest, port);
    if (highest == kMostPorts) throw Failure("There are no slots left.", "Move slots.json away.");
    return highest + 1;
}

}  // namespace

std::map<std::string, ssd_op::shared::Slot> slots_of(const Roots& roots,
                                                     const std::vector<std::string>& places) {
    Store store(roots, "slots.json");
    const Json stored = store.read(Json::object());
    Ports ports = ports_in(stored, store.path());
    std::map<std::string, ssd_op::shared::Slot> slots;
    for (const std::string& place : places) {
        if (place.empty()) continue;
        if (!ports.contains(place)) ports[place] = next_port(ports);
        slots[place] = {kEnclosure, ports.at(place)};
    }
    if (ports.size() != stored.size()) store.write(ports);
    return slots;
}

}  // namespace host
