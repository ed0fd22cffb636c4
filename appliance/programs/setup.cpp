/// appliance-setup: makes the instance that it runs in a new appliance.

#include <cstdio>
#include <exception>
#include <filesystem>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "core/blueprint.h"
#include "flash/drive.h"

namespace {

int check_drives(const std::filesystem::path& directory) {
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.path().extension() == ".flash") appliance::flash::Drive::load(entry.path());
    return 0;
}

int run(int argc, char** argv) {
    appliance::Blueprint blueprint;
    blueprint.system_pool = true;

    CLI::App app(
        "Make this instance a new appliance. Everything that it held is gone: drives' contents, "
        "test "
        "records, configuration, journal.\nExample: appliance-setup --drives 6 --size-gb 128");
    app.add_option("--drives", blueprint.drives, "Solid-state drives free for use")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
    app.add_option("--size-gb", blueprint.drive.size_gb, "Nominal size of each, in 10^9 bytes")
        ->check(CLI::Range(2.0, 4000.0))
        ->capture_default_str();
    app.add_option("--factory-spare", blueprint.drive.factory_spare_percent,
                   "Flash that each drive keeps beyond its nominal size, in percent")
        ->check(CLI::Range(2.0, 50.0))
        ->capture_default_str();
    bool nvme = false;
    app.add_flag("--nvme", nvme, "NVMe drives in M.2 slots instead of 2.5 inch SATA drives");
    app.add_flag("!--no-system-pool", blueprint.system_pool, "No hard disks for the system");
    app.add_flag("!--no-addon", blueprint.addon_installed, "Without the add-on Oprella");
    app.add_flag("--notice-hall", blueprint.notice_hall_installed,
                 "With the notification application NoticeHall");
    std::filesystem::path drive_files;
    app.add_option("--check-drives", drive_files,
                   "Only say whether this build can use the drive files of a directory");
    CLI11_PARSE(app, argc, argv);
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
