#include "device/device.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

namespace appliance {

Device::Hold::Hold(const Files& files) : files_(files) {
    for (const auto& file : files_) file->lock();
}

Device::Hold::~Hold() {
    for (const auto& file : files_) file->unlock();
}

Device::Device(const Target& target) : in_use_(target.name), bytes_(target.bytes) {
    if (!target.solid_state)
        throw std::runtime_error(target.name + ": not on solid-state drives only");
    std::map<unsigned, std::unique_ptr<DriveFile>> drives;
    std::vector<flash::Group> groups;
    for (const PartGroup& group : target.groups) {
        flash::Group members{group.level, {}};
        for (const Part& part : group.parts) {
            std::unique_ptr<DriveFile>& file = drives[part.dev_id];
            if (!file) file = std::make_unique<DriveFile>(part.dev_id);
            members.members.push_back({&file->drive(), part.range});
        }
        groups.push_back(std::move(members));
    }
    const auto span = groups.size() > 1 ? flash::Span::striped : flash::Span::linear;
    volume_ = std::make_unique<flash::Volume>(std::move(groups), span);
    for (auto& [dev_id, file] : drives) files_.push_back(std::move(file));
}

std::unique_ptr<Device> open_device(const std::string& name) {
    const std::optional<Target> target = find_target(name);
    if (!target) throw std::runtime_error(name + ": No such file or directory");
    return std::make_unique<Device>(*target);
}

}  // namespace appliance
