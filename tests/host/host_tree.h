/// A host that is made up: a temporary directory with what the kernel would show of it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/failure.h"
#include "drives/drive.h"

namespace host {

class HostTree : public ::testing::Test {
  protected:
    HostTree() {
        std::string name = ::testing::TempDir() + "a host.XXXXXX";
        base_ = ::mkdtemp(name.data());
        roots_ = {base_ + "/sys", base_ + "/proc", base_ + "/dev", base_ + "/state"};
        for (const char* directory :
             {"sys/block", "sys/dev/block", "proc/self/ns", "proc/1/fd", "dev"})
            std::filesystem::create_directories(base_ + "/" + directory);
        std::filesystem::create_symlink("pid:[4026531836]", base_ + "/proc/self/ns/pid");
        for (const char* process : {"self", "1"})
            put(fmt::format("proc/{}/mountinfo", process), kMounts);
        put("proc/swaps", "Filename\tType\tSize\tUsed\tPriority\n");
    }
    ~HostTree() override { std::filesystem::remove_all(base_); }

    void put(const std::string& file, const std::string& text) {
        const std::filesystem::path path = base_ + "/" + file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    void link(const std::string& file, const std::string& target) {
        std::filesystem::create_directories(
            std::filesystem::path(base_ + "/" + file).parent_path());
        std::filesystem::create_symlink(base_ + "/" + target, base_ + "/" + file);
    }

    /// A drive at a place in sys/devices, whose last part is its name. Returns that place.
    std::string add(const std::string& place, const std::string& number) {
        const std::string directory = "sys/devices/" + place;
        for (const auto& [file, text] : std::initializer_list<std::pair<const char*, std::string>>{
                 {"dev", number},
                 {"size", "8388608"},
                 {"removable", "0"},
                 {"ro", "0"},
                 {"queue/rotational", "0"},
                 {"queue/logical_block_size", "512"},
                 {"queue/discard_max_bytes", "2147483136"},
                 {"queue/discard_granularity", "512"}})
            put(directory + "/" + file, text + "\n");
        add_device(directory, number);
        return directory;
    }
    std::string add_nvme(int index, const std::string& serial) {
        const std::string place =
            add(fmt::format("pci0000:00/0000:00:{:02x}.0/nvme/nvme{}/nvme{}n1", index + 4, index,
                            index),
                fmt::format("259:{}", 10 * index));
        put(place + "/nsid", "1\n");
        put(place + "/wwid", "eui." + serial + "\n");
        put(place + "/device/serial", serial + "             \n");
        put(place + "/device/model", "NS510-64        \n");
        return place;
    }
    /// What the kernel has for everything that is a block device.
    void add_device(const std::string& directory, const std::string& number) {
        const std::string name = std::filesystem::path(directory).filename();
        put(directory + "/dev", number + "\n");
        for (const char* list : {"/holders", "/slaves"})
            std::filesystem::create_directories(base_ + "/" + directory + list);
        if (!std::filesystem::exists(base_ + "/" + directory + "/partition"))
            link("sys/block/" + name, directory);
        link("sys/dev/block/" + number, directory);
    }
    void add_partition(const std::string& drive, const std::string& name,
                       const std::string& number) {
        put(drive + "/" + name + "/partition", "1\n");
        add_device(drive + "/" + name, number);
    }
    /// A device that is made of another one.
    void add_above(const std::string& name, const std::string& number, const std::string& below) {
        add_device("sys/devices/virtual/block/" + name, number);
        link("sys/devices/virtual/block/" + name + "/slaves/below", below);
        link(below + "/holders/" + name, "sys/devices/virtual/block/" + name);
    }

    static constexpr const char* kMounts = "28 1 0:23 / / rw - overlay overlay rw\n";
    std::string base_;
    Roots roots_;
};

}  // namespace host
