#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/blueprint.h"

namespace appliance::detail {

namespace {

namespace fs = std::filesystem;

/// Some directories are mounts of the sandbox: they stay, what is in them goes.
void empty_directory(const fs::path& directory) {
    fs::create_directories(directory);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
        fs::remove_all(entry);
}

/// Files only: the host's directory with the sources may be mounted beside them under any name.
void remove_files_with_prefix(const fs::path& directory, std::string_view prefix) {
    fs::create_directories(directory);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (!entry.is_directory() && entry.path().filename().string().starts_with(prefix))
            fs::remove(entry);
    }
}

void write_file(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

void link(const fs::path& name, const fs::path& target) {
    fs::create_directories(name.parent_path());
    fs::remove(name);
    fs::create_symlink(target, name);
}

/// The lowest bit of the first digit is bit 0.
std::string bitmap_with(std::initializer_list<int> bits) {
    std::string digits = "0";
    for (const int bit : bits) {
        const auto digit = static_cast<size_t>(bit) / 4;
        if (digits.size() <= digit) digits.resize(digit + 1, '0');
        digits[digit] = static_cast<char>(digits[digit] + (1 << bit % 4));
    }
    return digits;
}

std::string package_entry(const std::string& name, const std::string& path) {
    return "[" + name + "]\nName = " + name +
           "\nVersion = 1.0.0\nEnable = TRUE\nInstall_Path = " + path + "\n\n";
}

void write_configuration(const Blueprint& blueprint) {
    empty_directory("/etc/config");
    remove_files_with_prefix("/etc", "enclosure_");
    std::string packages;
    if (blueprint.addon_installed) packages += package_entry("Oprella", kAddonPath);
    if (blueprint.notice_hall_installed) packages += package_entry("NoticeHall", kNoticeHallPath);
    write_file("/etc/config/brix.conf", packages);
    const std::string bitmap = blueprint.system_pool ? bitmap_with({1}) : bitmap_with({});
    write_file("/etc/config/raid.conf", "[Global]\nraidBitmap = " + bitmap + "\n");
    write_file("/etc/config/disk_performance.conf", "");
}

void install_addon() {
    const fs::path util = fs::path(kAddonPath) / "util";
    fs::create_directories(util / "log");
    const fs::path scripts = "/opt/appliance/addon";
    if (fs::exists(scripts)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(scripts)) {
            if (entry.path().extension() == ".sh")
                link(util / entry.path().filename(), entry.path());
        }
    }
    link(util / "disk_opr_util", "/opt/appliance/bin/disk_opr_util");
}

void link_scripts(const Blueprint& blueprint) {
    for (const char* service : {"services.sh", "rsyncd.sh"})
        link(fs::path("/etc/init.d") / service, fs::path("/opt/appliance/bin") / service);
    const fs::path notify = "/usr/local/sbin/notify";
    if (blueprint.notice_hall_installed)
        link(notify, fs::path(kNoticeHallPath) / "bin/notify");
    else
        fs::remove(notify);
}

}  // namespace

void install_files(const Blueprint& blueprint) {
    empty_directory(kFlashDirectory);
    empty_directory(kDataVolumePath);
    empty_directory("/mnt/HDA_ROOT/.config");
    remove_files_with_prefix("/etc", ".sm_v2_");
    remove_files_with_prefix("/tmp", "cv_");
    remove_files_with_prefix("/tmp", "ssd_op");
    fs::remove("/root/KOVA_Number1");
    write_file("/var/log/sm_trace.log", "");

    write_file(kCapacityFile, "/mnt/HDA_ROOT " + std::to_string(blueprint.system_area_kib) + "\n" +
                                  kDataVolumePath + " " +
                                  std::to_string(blueprint.data_volume_kib) + "\n");
    write_configuration(blueprint);
    if (blueprint.addon_installed) install_addon();
    link_scripts(blueprint);
    // The appliance has come up, and is not on its way down.
    write_file("/tmp/opr_run_once_on_boot", "");
    fs::remove("/var/kfunc/rcK");
}

}  // namespace appliance::detail
