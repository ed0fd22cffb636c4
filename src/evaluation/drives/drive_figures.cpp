#include "evaluation/drives/drive_figures.h"

#include <cstring>
#include <string_view>

#include "base/file_lock.h"
#include "base/text.h"
#include "platform/hal.h"
#include "platform/ini.h"
#include "shared/drive_id.h"

namespace ssd_op::evaluation {

namespace {

constexpr const char* kAllDrives = "/etc/config/disk_performance.conf";

/// Measurements of several drives run at the same time, and a write replaces the whole file.
int set_field(const char* file, const char* section, const char* key, const std::string& value) {
    const auto lock = base::FileLock::for_writing(file);
    return Ini_Conf_Set_Field(file, section, key, value.c_str());
}

}  // namespace

DriveFigures::DriveFigures(uint32_t dev_id, Key key)
    : dev_id_(dev_id), key_(key == Key::kWriteSpeed ? "write_speed" : "write_iops") {
    const auto [enclosure, port] = shared::slot_of(dev_id);
    file_ = "/etc/enclosure_" + std::to_string(enclosure) + ".conf";
    section_ = "PhysicalDisk_" + std::to_string(port);
}

bool DriveFigures::is_being_measured() const {
    const auto lock = base::FileLock::for_reading(file_.c_str());
    char value[128] = "";
    return Ini_Conf_Get_Field(file_.c_str(), section_.c_str(), key_, value, sizeof value) > 0 &&
           base::field_text(value) == "testing";
}

bool DriveFigures::set_in_enclosure(const std::string& value) const {
    return set_field(file_.c_str(), section_.c_str(), key_, value) >= 0;
}

void DriveFigures::set_in_list(const std::string& value) const {
    if (!wwn_.empty()) set_field(kAllDrives, wwn_.c_str(), key_, value);
}

int DriveFigures::read_wwn() {
    const auto [enclosure, port] = shared::slot_of(dev_id_);
    char wwn[65] = "";
    const int result = PD_Get_WWN(enclosure, port, wwn, sizeof wwn);
    wwn_ = base::field_text(wwn);
    return result;
}

}  // namespace ssd_op::evaluation
