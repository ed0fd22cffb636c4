/// appliance-setup: makes the instance that it runs in a new appliance.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include <fmt/format.h>

#include "core/blueprint.h"
#include "flash/drive.h"
#include "shared/command_line.h"

namespace {

int check_drives(const std::filesystem::path& directory) {
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.path().extension() == ".flash") appliance::flash::Drive::load(entry.path());
    return 0;
}

int run(int argc, char** argv) {
    appliance::Blueprint blueprint;
    blueprint.system_pool = true;

    ssd_op::shared::Arguments app(
        "Make this instance a new appliance. Everything that it held is gone: drives' contents, "
        "test "
        "records, configuration, journal.\nExample: appliance-setup --drives 6 --size-gb 128");
    app.add("--drives", blueprint.drives, "Solid-state drives free for use")
        .between(0, 64)
        .shows_default();
    app.add("--size-gb", blueprint.drive.size_gb, "Nominal size of each, in 10^9 bytes")
        .between(2.0, 4000.0)
        .shows_default();
    app.add("--factory-spare", blueprint.drive.factory_spare_percent,
            "Flash that each drive keeps beyond its nominal size, in percent")
        .between(2.0, 50.0)
        .shows_default();
    bool nvme = false;
    app.flag("--nvme", nvme, "NVMe drives in M.2 slots instead of 2.5 inch SATA drives");
    app.flag("!--no-system-pool", blueprint.system_pool, "No hard disks for the system");
    app.flag("!--no-addon", blueprint.addon_installed, "Without the add-on Oprella");
    app.flag("--notice-hall", blueprint.notice_hall_installed,
             "With the notification application NoticeHall");
    std::string drive_files;
    app.add("--check-drives", drive_files,
            "Only say whether this build can use the drive files of a directory");
    if (const auto code = app.parse(argc, argv)) return *code;
    if (!drive_files.empty()) return check_drives(drive_files);
    if (nvme) {
        blueprint.drive.form_factor = PD_FORM_M2_PCIE;
        blueprint.drive.interface_type = PD_INTERFACE_NVME;
    }

    appliance::install(blueprint);
    fmt::print("A new appliance: {} drives of {} GB{}.\n", blueprint.drives,
               blueprint.drive.size_gb,
               blueprint.system_pool ? ", and a mirrored pair of hard disks for the system" : "");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "appliance-setup: %s\n", error.what());
        return 1;
    }
}
