#include "drives/place.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

/// The way to a drive, part by part, and the directory that each part stands for.
class Way {
  public:
    explicit Way(const std::string& directory) : directory_(directory) {
        for (const std::string_view part : split(directory_, '/')) parts_.push_back(part);
    }
    const std::vector<std::string_view>& parts() const { return parts_; }

    /// The last part that is this and a number, of whatever form.
    std::string_view last(std::string_view start) const {
        const auto found = std::find_if(parts_.rbegin(), parts_.rend(), [&](std::string_view part) {
            return part.starts_with(start) && part.size() > start.size() &&
                   part[start.size()] >= '0' && part[start.size()] <= '9';
        });
        return found == parts_.rend() ? std::string_view() : *found;
    }
    /// The directory of a part, which is one of parts().
    std::string directory_of(std::string_view part) const {
        return std::string(directory_.data(), part.data() + part.size());
    }
    std::string parent_of(std::string_view part) const {
        return std::string(directory_.data(), part.data());
    }

  private:
    const std::string& directory_;
    std::vector<std::string_view> parts_;
};

/// 0000:00:1f.2
bool is_pci_address(std::string_view part) {
    constexpr std::string_view kAddress = ":xx:xx.x";
    if (part.size() < 4 + kAddress.size()) return false;
    const std::string_view end = part.substr(part.size() - kAddress.size());
    for (size_t i = 0; i < kAddress.size(); ++i) {
        const bool hex =
            std::string_view("0123456789abcdef").find(end[i]) != std::string_view::npos;
        if (kAddress[i] == 'x' ? !hex : end[i] != kAddress[i]) return false;
    }
    return true;
}

std::string_view pci_address(const Way& way) {
    const auto& parts = way.parts();
    const auto found = std::find_if(parts.rbegin(), parts.rend(), is_pci_address);
    return found == parts.rend() ? std::string_view() : *found;
}

std::optional<unsigned> number_after(std::string_view text, std::string_view start) {
    unsigned value = 0;
    if (!text.starts_with(start)) return std::nullopt;
    const auto [end, error] =
        std::from_chars(text.data() + start.size(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

/// Channel, target and unit below a host, whose own number is the order of its discovery.
std::string below_host(const Way& way) {
    const auto& parts = way.parts();
    // .../2:0:0:0/block/sda
    if (parts.size() < 3 || parts[parts.size() - 2] != "block") return {};
    const std::string_view unit = parts[parts.size() - 3];
    const size_t colon = unit.find(':');
    return colon == std::string_view::npos ? "" : std::string(unit.substr(colon + 1));
}

std::string sata_port(const Way& way, std::string_view port) {
    const auto number =
        read_number(fmt::format("{}/ata_port/{}/port_no", way.directory_of(port), port));
    const std::string unit = below_host(way);
    return number && !unit.empty() ? fmt::format("ata-{}-{}", *number, unit) : "";
}

/// The bay when the enclosure tells it, else the address of the drive's port.
std::string sas_port(const Way& way, std::string_view end) {
    const std::string device = fmt::format("{}/sas_device/{}/", way.directory_of(end), end);
    const std::string unit = below_host(way);
    if (unit.empty()) return {};
    const auto enclosure = read_attribute(device + "enclosure_identifier");
    const auto bay = read_number(device + "bay_identifier");
    if (enclosure && bay) return fmt::format("sas-{}-bay-{}", *enclosure, *bay);
    const auto address = read_attribute(device + "sas_address");
    return address ? fmt::format("sas-{}-{}", *address, unit) : "";
}

/// Which host of its controller: hosts count on from boot to boot, their order below one does not
/// change.
std::string scsi_unit(const Way& way, std::string_view host) {
    const auto number = number_after(host, "host");
    const auto neighbours = names_in(way.parent_of(host));
    const std::string unit = below_host(way);
    if (!number || !neighbours || unit.empty()) return {};
    unsigned first = std::numeric_limits<unsigned>::max();
    for (const std::string& neighbour : *neighbours)
        first = std::min(first, number_after(neighbour, "host").value_or(first));
    return first > *number ? "" : fmt::format("scsi-{}-{}", *number - first, unit);
}

std::string at(const Way& way, const std::string& port) {
    const std::string_view address = pci_address(way);
    return address.empty() || port.empty() ? "" : fmt::format("pci-{}-{}", address, port);
}

}  // namespace

Place place_of(const std::string& directory) {
    const Way way(directory);
    if (!way.last("usb").empty()) return {};
    const std::string_view name = way.parts().back();
    if (name.starts_with("nvme")) {
        const auto unit = read_number(directory + "/nsid");
        return {unit ? at(way, fmt::format("nvme-{}", *unit)) : "", Bus::kNvme};
    }
    const std::string_view virtual_device = way.last("virtio");
    if (name.starts_with("vd")) return {at(way, "virtio"), Bus::kVirtio};
    if (const auto port = way.last("ata"); !port.empty())
        return {at(way, sata_port(way, port)), Bus::kSata};
    if (const auto end = way.last("end_device-"); !end.empty())
        return {at(way, sas_port(way, end)), Bus::kSas};
    const auto host = way.last("host");
    return {host.empty() ? "" : at(way, scsi_unit(way, host)),
            virtual_device.empty() ? Bus::kUnknown : Bus::kVirtioScsi};
}

}  // namespace host
