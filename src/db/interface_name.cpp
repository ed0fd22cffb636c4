#include "db/interface_name.h"

namespace ssd_op::db {

namespace {

constexpr int kSlowestSasSpeed = 10000;  // turns a minute; slower drives are near-line drives

const char* sas_name(const PD_INFO& drive) {
    const bool is_fast = drive.rotation_speed >= kSlowestSasSpeed;
    return is_fast || (drive.flags & PD_FLAG_SSD) != 0 ? "SAS" : "NL-SAS";
}

}  // namespace

const char* interface_name(const PD_INFO& drive) {
    switch (drive.form_factor) {
        case PD_FORM_M2_SATA:
            return "M.2 SATA";
        case PD_FORM_M2_PCIE:
            return "M.2 PCIe";
        case PD_FORM_MSATA:
            return "mSATA";
        case PD_FORM_PCIE:
            return "PCIe";
        default:
            break;
    }
    switch (drive.interface_type) {
        case PD_INTERFACE_SATA:
            return "SATA";
        case PD_INTERFACE_SAS:
            return sas_name(drive);
        case PD_INTERFACE_NVME:
            return "NVME";
        case PD_INTERFACE_VJBOD:
            return "VJBOD";
        case PD_INTERFACE_VIRTIO:
        case PD_INTERFACE_VIRTIO_SCSI:
            return "VIRTIO";
        default:
            return "Unknown";
    }
}

}  // namespace ssd_op::db
