#include "runtime/state_section.h"

#include <cstdio>
#include <cstring>

#include "base/file_lock.h"
#include "base/text.h"
#include "base/trace.h"

namespace ssd_op::runtime {

namespace {

using base::FileLock;

constexpr const char* kAddon = "Oprella";
constexpr int kTextSize = 64;

StateSection record_section(const char* file, int record_no) {
    StateSection section{};
    base::copy_text(section.file, file);
    std::snprintf(section.name, sizeof section.name, "Record_%d", record_no);
    return section;
}

}  // namespace

std::array<char, kPathSize> addon_directory() {
    std::array<char, kPathSize> directory{};
    GetPrivateProfileString(kAddon, "Install_Path", "null", directory.data(), kPathSize,
                            "/etc/config/brix.conf");
    directory.back() = '\0';
    return directory;
}

int ssd_op_test_get_conf(char* path) {
    if (Is_BRIX_Installed(kAddon) == 0) {
        SM_TRACE(SM_TRACE_ERROR, "%s: SSD OP Test BRIX is not installed.\n", __func__);
        return -1;
    }
    base::copy_text(path, kPathSize, addon_directory().data());
    const size_t length = std::strlen(path);
    base::copy_text(path + length, kPathSize - length, "/ssd_opr.conf");
    return 0;
}

std::optional<int> StateSection::read(const char* key) const {
    const auto lock = FileLock::for_reading(file);
    int value = 0;
    if (Ini_Conf_Get_Field_Int(file, name, key, &value, 0) < 0) return std::nullopt;
    return value;
}

std::optional<std::string> StateSection::read_text(const char* key) const {
    const auto lock = FileLock::for_reading(file);
    char text[kTextSize] = {};
    if (Ini_Conf_Get_Field(file, name, key, text, kTextSize) < 0) return std::nullopt;
    return std::string(base::field_text(text));
}

bool StateSection::write(const char* key, int value) const {
    const auto lock = FileLock::for_writing(file);
    return Ini_Conf_Set_Field_Int(file, name, key, value, 0) >= 0;
}

bool StateSection::write(const char* key, const char* value) const {
    const auto lock = FileLock::for_writing(file);
    return Ini_Conf_Set_Field(file, name, key, value) >= 0;
}

bool StateSection::remove() const {
    const auto lock = FileLock::for_writing(file);
    return Ini_Conf_Remove_Section(file, name) >= 0;
}

StateSection runtime_info(int record_no) { return record_section(kRuntimeInfoFile, record_no); }

std::optional<StateSection> addon_section(int record_no) {
    char path[kPathSize] = {};
    if (ssd_op_test_get_conf(path) != 0) return std::nullopt;
    return record_section(path, record_no);
}

std::optional<int> read_addon(int record_no, const char* key) {
    const auto section = addon_section(record_no);
    return section ? section->read(key) : std::nullopt;
}

bool write_addon(int record_no, const char* key, int value) {
    const auto section = addon_section(record_no);
    return section && section->write(key, value);
}

std::optional<StateSection> addon_global_section() {
    auto section = addon_section(0);
    if (section) base::copy_text(section->name, "Global");
    return section;
}

}  // namespace ssd_op::runtime
