#include "drives/identity.h"

#include <cstddef>

#include "core/read.h"
#include "core/text.h"

namespace host {

namespace {

/// The serial number in the answer of a SCSI or SATA drive, behind a header with its length.
std::string unit_serial(const std::string& path) {
    constexpr size_t kHeader = 4;
    const auto page = read_file(path, kAttributeLimit);
    if (!page || page->size() <= kHeader || (*page)[1] != '\x80') return {};
    const auto byte = [&](size_t i) { return static_cast<unsigned char>((*page)[i]); };
    const size_t length = static_cast<size_t>(byte(2)) << 8 | byte(3);
    return std::string(trimmed(std::string_view(*page).substr(kHeader, length)));
}

/// The first of two attributes that says something.
std::string either(const std::string& first, const std::string& second) {
    return read_attribute(first).value_or(read_attribute(second).value_or(""));
}

/// A serial number is typed by people, compared and stored: one with other bytes in it is none.
std::string plain(const std::string& text) { return printable(text) == text ? text : ""; }

}  // namespace

Identity read_identity(const std::string& directory) {
    const std::string device = directory + "/device/";
    Identity identity;
    identity.vendor = read_attribute(device + "vendor").value_or("");
    if (identity.vendor.starts_with("0x")) identity.vendor.clear();  // virtio's number
    identity.model = read_attribute(device + "model").value_or("");
    identity.serial = plain(either(device + "serial", directory + "/serial"));
    if (identity.serial.empty()) identity.serial = plain(unit_serial(device + "vpd_pg80"));
    identity.wwn = either(directory + "/wwid", device + "wwid");
    identity.firmware = either(device + "firmware_rev", device + "rev");
    return identity;
}

}  // namespace host
