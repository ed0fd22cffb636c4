#include "runtime/state_section.h"

#include <cstdio>

#include "base/file_lock.h"
#include "base/text.h"
#include "base/trace.h"

namespace ssd_op::runtime {

namespace {

using base::FileLock;

constexpr int kPathSize = 256;
constexpr const char* kAddon = "Oprella";

int as_result(int platform_result) { return platform_result < 0 ? -1 : 0; }

std::string record_section_name(int record_no) { return "Record_" + std::to_string(record_no); }

std::optional<StateSection> section_of_addon(std::string name) {
    char path[kPathSize] = {};
    if (ssd_op_test_get_conf(path) != 0) return std::nullopt;
    return StateSection{path, std::move(name)};
}

}  // namespace

int ssd_op_test_get_conf(char* path) {
    if (Is_BRIX_Installed(kAddon) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: SSD OP Test BRIX is not installed.\n", __func__);
        return -1;
    }
    char directory[kPathSize] = {};
    GetPrivateProfileString(kAddon, "Install_Path", "null", directory, kPathSize,
                            "/etc/config/brix.conf");
    base::copy_text(path, kPathSize, std::string(base::field_text(directory)) + "/ssd_opr.conf");
    return 0;
}

int StateSection::read(const char* key, int* value) const {
    const auto lock = FileLock::for_reading(file.c_str());
    return as_result(Ini_Conf_Get_Field_Int(file.c_str(), name.c_str(), key, value, 0));
}

int StateSection::write(const char* key, int value) const {
    const auto lock = FileLock::for_writing(file.c_str());
    return as_result(Ini_Conf_Set_Field_Int(file.c_str(), name.c_str(), key, value, 0));
}

int StateSection::write_text(const char* key, const char* value) const {
    const auto lock = FileLock::for_writing(file.c_str());
    return as_result(Ini_Conf_Set_Field(file.c_str(), name.c_str(), key, value));
}

int StateSection::read_text(const char* key, char* buffer, int size) const {
    const auto lock = FileLock::for_reading(file.c_str());
    return as_result(Ini_Conf_Get_Field(file.c_str(), name.c_str(), key, buffer, size));
}

int StateSection::remove() const {
    const auto lock = FileLock::for_writing(file.c_str());
    return as_result(Ini_Conf_Remove_Section(file.c_str(), name.c_str()));
}

StateSection runtime_info(int record_no) {
    return {kRuntimeInfoFile, record_section_name(record_no)};
}

std::optional<StateSection> addon_section(int record_no) {
    return section_of_addon(record_section_name(record_no));
}

std::optional<StateSection> addon_global_section() { return section_of_addon("Global"); }

}  // namespace ssd_op::runtime
