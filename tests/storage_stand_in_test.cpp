// The simulated appliance's storage and drives, as the library and the programs meet them.

#include <array>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "device/drive_file.h"
#include "platform/hal.h"
#include "platform/storage.h"
#include "support/appliance.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What a command printed; fails the test when the command failed.
std::string output_of(const std::string& command) {
    std::array<char, 4096> output{};
    EXPECT_EQ(Get_Command_Result(command.c_str(), output.data(), output.size()), 0) << command;
    return output.data();
}

int run(const std::string& command) { return Get_Command_Result(command.c_str(), nullptr, 0); }

class StorageStandIn : public support::ApplianceTest {
  protected:
    StorageStandIn() {
        appliance().with([](appliance::Blueprint& blueprint) {
            blueprint.drives = 6;
            blueprint.drive.size_gb = 8;
        });
    }

    /// A request for one group of the appliance's drives, by their positions. It stays the test's.
    RAID_CONF* group(int raid_id, int level, const std::vector<int>& members) {
        requests_.push_back(std::make_unique<RAID_CONF>());
        RAID_CONF& conf = *requests_.back();
        conf.raid_id = raid_id;
        conf.raid_level = level;
        for (const int position : members)
            conf.drive_ids[conf.drive_num++] = appliance::drive_id(position);
        return &conf;
    }

    /// A test volume over all of a new pool; its name.
    std::string volume_over(RAID_CONF* groups) {
        LV_CREATE_REQUEST request{};
        request.pool_id = NAS_Pool_Create(groups, 0, 0, nullptr, nullptr);
        request.lv_id = LV_Get_Next_Available_Id(1, LV_TYPE_TEST);
        request.type = LV_TYPE_TEST;
        EXPECT_EQ(LV_Create(&request, 0, 0), 0);
        std::array<char, 64> name{};
        EXPECT_EQ(LV_Get_Name(request.lv_id, name.data(), name.size()), 0);
        return name.data();
    }

    static PD_SMART_INFO smart(int position) {
        PD_SMART_INFO* info = nullptr;
        const unsigned id = appliance::drive_id(position);
        EXPECT_EQ(
            PD_SMART_Read_Info(static_cast<int>(id >> 16), static_cast<int>(id & 0xFFFF), &info),
            0);
        const std::unique_ptr<PD_SMART_INFO, decltype(&std::free)> owner(info, &std::free);
        return *info;
    }

    static uint64_t partition_kib(int position) {
        PART_INFO info{};
        const unsigned id = appliance::drive_id(position);
        EXPECT_EQ(
            Part_Get_Info(static_cast<int>(id >> 16), static_cast<int>(id & 0xFFFF), 3, &info), 0);
        return info.size_kib;
    }

    /// The figure after `key=` on the line of fio that tells what it did.
    static double fio_figure(const std::string& output, const std::string& key) {
        std::smatch match;
        const std::regex line("(write|read ): io=[0-9.]+MB, .*" + key + "= *([0-9]+)");
        EXPECT_TRUE(std::regex_search(output, match, line)) << output;
        return match.empty() ? 0 : std::stod(match[2]);
    }

    static std::string fio(const std::string& device, const std::string& options) {
        return "/sbin/fio --filename=" + device + " --direct=1 --ioengine=libaio --iodepth=32 " +
               options;
    }

  private:
    std::vector<std::unique_ptr<RAID_CONF>> requests_;
};

TEST_F(StorageStandIn, APoolOfTwoGroupsIsStripedAndTakesItsGroupsAlong) {
    RAID_CONF* const groups = group(800, 5, {0, 1, 2});
    groups->next = group(801, 5, {3, 4, 5});
    const int expected = Pool_Get_Next_Available_Id(0, POOL_KIND_CACHE);
    const int pool = NAS_Pool_Create(groups, 0, 0, nullptr, nullptr);
    ASSERT_EQ(pool, expected);
    EXPECT_EQ(Pool_Get_Id_By_Member_Id(801), pool);
    EXPECT_EQ(RAID_Get_Id_By_Drive(appliance::drive_id(4)), 801);
    POOL_MEMBER member{};
    ASSERT_EQ(Pool_Get_Dev_Member(pool, 1, &member), 0);
    EXPECT_EQ(member.raid_id, 801);
    EXPECT_NE(member.striped, 0);
    EXPECT_NE(Pool_Get_Dev_Member(pool, 2, &member), 0);

    RAID_INFO info{};
    ASSERT_EQ(RAID_Get_Info(800, 0, &info), 0);
    EXPECT_LE(info.capacity_kib, 2 * partition_kib(0));
    EXPECT_GE(info.capacity_kib, 2 * partition_kib(0) * 99 / 100);

    LV_CREATE_REQUEST request{pool, LV_Get_Next_Available_Id(1, LV_TYPE_TEST), LV_MODE_STRIPED,
                              LV_TYPE_TEST, 0};
    EXPECT_EQ(request.lv_id, 1568);
    ASSERT_EQ(LV_Create(&request, 0, 0), 0);
    uint64_t sectors = 0;
    ASSERT_EQ(LV_Get_Size(1568, &sectors), 0);
    EXPECT_LE(sectors, 2 * 2 * info.capacity_kib);
    EXPECT_GE(sectors, 2 * 2 * info.capacity_kib * 99 / 100);
    uint64_t rounded = sectors;
    EXPECT_EQ(Pool_Calc_LV_Small_Create_Size(pool, &rounded), 0);
    EXPECT_EQ(rounded, sectors) << "a volume of the whole pool is of a size that the pool can make";

    EXPECT_LT(NAS_Pool_Remove(pool, 0, 0), 0) << "a pool that still has a volume";
    EXPECT_LT(RAID_Remove_Conf(800), 0) << "a group that is still in a pool";
    EXPECT_EQ(LV_Destroy(1568), 0);
    EXPECT_EQ(NAS_Pool_Remove(pool, 0, 0), 0);
    EXPECT_THAT(appliance().pools(), IsEmpty());
    EXPECT_EQ(RAID_Is_Exist(800) + RAID_Is_Exist(801), 0);
    EXPECT_EQ(RAID_Get_Id_By_Drive(appliance::drive_id(4)), -1);
}

TEST_F(StorageStandIn, APoolIsRefusedAsAWholeAndLeavesNothing) {
    RAID_CONF* const taken = group(810, 1, {0, 1});
    ASSERT_GT(NAS_Pool_Create(taken, 0, 0, nullptr, nullptr), 0);

    RAID_CONF* const second_taken = group(800, 1, {2, 3});
    second_taken->next = group(801, 1, {4, 0});
    RAID_CONF* const shared = group(800, 1, {2, 3});
    shared->next = group(801, 1, {3, 4});
    RAID_CONF* const spare_is_member = group(800, 1, {2, 3});
    spare_is_member->spare_drive_ids[spare_is_member->spare_drive_num++] = appliance::drive_id(3);
    const std::vector<std::pair<const char*, RAID_CONF*>> refused = {
        {"nothing", nullptr},
        {"a drive in another group", second_taken},
        {"a drive in two groups of the request", shared},
        {"a spare that is a member", spare_is_member},
        {"a drive twice", group(800, 1, {2, 2})},
        {"a drive that is not there", group(800, 1, {2, 60})},
        {"a level that there is not", group(800, 7, {2, 3, 4})},
        {"too few members", group(800, 5, {2, 3})},
        {"an odd number of mirrors", group(800, 10, {2, 3, 4, 5, 6})},
        {"no members", group(800, 0, {})},
        {"an id of the platform's own", group(0, 1, {2, 3})},
        {"an id in use", group(810, 1, {2, 3})},
    };
    for (const auto& [what, request] : refused) {
        EXPECT_LT(NAS_Pool_Create(request, 0, 0, nullptr, nullptr), 0) << what;
        EXPECT_THAT(appliance().raid_groups(), ElementsAre(810)) << what;
        EXPECT_EQ(appliance().pools().size(), 1U) << what;
    }
}

TEST_F(StorageStandIn, ADriveWithoutPartitionsGetsThemWithItsFirstGroup) {
    appliance().with([](appliance::Blueprint& blueprint) {
        blueprint.others[0] = blueprint.drive;
        blueprint.others[0].partitioned = false;
        blueprint.others[0].meta_type = 3;
    });
    const unsigned id = appliance::drive_id(0);
    const int enclosure = static_cast<int>(id >> 16);
    const int port = static_cast<int>(id & 0xFFFF);
    EXPECT_EQ(Part_Is_Exist_V2(enclosure, port, 3), 0);
    EXPECT_EQ(NAS_Disk_Check_Meta_Type(id), 3);
    EXPECT_EQ(NAS_Disk_Fast_Init(id, 3), 0);
    EXPECT_EQ(NAS_Disk_Check_Meta_Type(id), DISK_META_CURRENT);
    EXPECT_NE(Part_Is_Exist_V2(enclosure, port, 3), 0);
    EXPECT_EQ(partition_kib(0), partition_kib(1));
}

TEST_F(StorageStandIn, AVolumeKeepsWithinItsPoolAndItsKindsIds) {
    const int id = LV_Get_Id(volume_over(group(800, 0, {0, 1})).c_str());
    ASSERT_EQ(id, 1568);
    uint64_t all = 0;
    ASSERT_EQ(LV_Get_Size(id, &all), 0);
    EXPECT_LT(LV_Resize(id, all + 8192), 0);
    EXPECT_LT(LV_Resize(id, 0), 0);
    EXPECT_EQ(LV_Resize(id, all / 2), 0);
    EXPECT_EQ(LV_Resize(id, all), 0) << "what was cut off is free again";

    LV_CREATE_REQUEST request{LV_Get_Pool_Id(id), 1569, 0, LV_TYPE_TEST, 0};
    EXPECT_LT(LV_Create(&request, 0, 0), 0) << "the pool is full";
    EXPECT_EQ(LV_Resize(id, all / 2), 0);
    for (const int wrong : {-1, 1567, 1568, 1600}) {
        request.lv_id = wrong;
        EXPECT_LT(LV_Create(&request, 0, 0), 0) << wrong;
    }
    request.lv_id = 1599;
    EXPECT_EQ(LV_Create(&request, 0, 0), 0);
    std::array<int, 8> ids{};
    EXPECT_EQ(Pool_Enumerate_LV(request.pool_id, ids.data(), ids.size(), 0, 0), 2);
    EXPECT_EQ(ids[1], 1599);
}

TEST_F(StorageStandIn, AVolumeAtWorkIsNotDestroyedUntilItsProgramIsKilled) {
    const std::string name = volume_over(group(800, 5, {0, 1, 2}));
    support::Child writer([&] {
        return run("exec " + fio(name, "--rw=randwrite --bs=4k --runtime=100000 --time_based"));
    });
    const uint64_t before = smart(0).host_written_kib;
    ASSERT_TRUE(support::eventually([&] { return smart(0).host_written_kib > before; }));
    EXPECT_LT(LV_Destroy(1568), 0);
    EXPECT_NE(LV_Is_Exist(1568), 0);
    output_of("kill -9 $(ps --columns 128 | grep -v grep | grep 'fio --filename=" + name +
              "' | awk '{print $1}')");
    writer.wait();
    // What the killed one had saved is a drive that works.
    EXPECT_GT(fio_figure(output_of(fio(name, "--rw=randwrite --bs=4k --io_limit=64M")), "iops"), 0);
    EXPECT_EQ(LV_Destroy(1568), 0);
}

TEST_F(StorageStandIn, OnlyADiscardThatWorksLowersTheWriteAmplification) {
    const std::string name = volume_over(group(800, 5, {0, 1, 2}));
    uint64_t sectors = 0;
    ASSERT_EQ(LV_Get_Size(1568, &sectors), 0);
    const uint64_t kept_mib = sectors / 2048 * 7 / 10;
    /// IOPS and write amplification in 60 s of random writes on the first 70 %, after a while of
    /// them.
    const auto measure = [&] {
        const std::string area =
            " --rw=randwrite --bs=4k --size=" + std::to_string(kept_mib) + "M ";
        output_of(fio(name, area + "--io_limit=24G"));
        const PD_SMART_INFO before = smart(1);
        const double iops =
            fio_figure(output_of(fio(name, area + "--runtime=60 --time_based")), "iops");
        const PD_SMART_INFO after = smart(1);
        return std::pair(iops,
                         static_cast<double>(after.flash_written_kib - before.flash_written_kib) /
                             static_cast<double>(after.host_written_kib - before.host_written_kib));
    };
    output_of(fio(name, "--rw=write --bs=1M"));
    const auto [full_iops, full_wa] = measure();

    const std::string discard =
        "/sbin/kblkdiscard " + name + " -p 512 -o " + std::to_string(kept_mib);
    appliance().failing("kblkdiscard", 0);
    output_of(discard);
    const auto [idle_iops, idle_wa] = measure();
    appliance().healthy();
    output_of(discard);
    const auto [spared_iops, spared_wa] = measure();

    EXPECT_GT(full_wa, 4);
    EXPECT_NEAR(idle_wa, full_wa, full_wa * 0.1);
    EXPECT_LT(idle_iops, full_iops * 1.1);
    EXPECT_LT(spared_wa, 2.6);
    EXPECT_GT(spared_iops, full_iops * 1.5);
    EXPECT_GT(smart(1).temperature, 40) << "half a minute ago it was busy";
}

TEST_F(StorageStandIn, ProcessesThatWorkOnOneDriveLoseNothing) {
    const uint64_t before = smart(0).host_written_kib;
    std::vector<std::unique_ptr<support::Child>> children;
    for (int i = 0; i < 3; ++i) {
        children.push_back(std::make_unique<support::Child>([] {
            return run(fio("/dev/sda3", "--rw=randwrite --bs=4k --io_limit=512M >/dev/null"));
        }));
        children.push_back(std::make_unique<support::Child>(
            [] { return run("/sbin/kblkdiscard /dev/sda3 -p 512 -o 4096"); }));
    }
    for (const auto& child : children) EXPECT_EQ(child->wait(), support::exited(0));
    const auto written = static_cast<double>(smart(0).host_written_kib - before);
    EXPECT_NEAR(written, 3 * 512 * 1024, 1024);
}

TEST_F(StorageStandIn, DiscardStaysOnItsDevice) {
    EXPECT_NE(run("/sbin/kblkdiscard /dev/sdz3 -l 1 2>/dev/null"), 0);
    const uint64_t mib = partition_kib(0) / 1024;
    EXPECT_EQ(run("/sbin/kblkdiscard /dev/sda3 -p 512 -o " + std::to_string(mib)), 0);
    EXPECT_NE(run("/sbin/kblkdiscard /dev/sda3 -o " + std::to_string(mib + 1) + " 2>/dev/null"), 0);
    appliance().with([](appliance::Blueprint& blueprint) { blueprint.system_pool = true; });
    EXPECT_NE(run("/sbin/kblkdiscard /dev/sdg3 -l 1 2>/dev/null"), 0) << "a hard disk takes none";
}

TEST_F(StorageStandIn, MeasurementsLeaveTheirFiguresInTheDrivesUnits) {
    const unsigned id = appliance::drive_id(2);
    const int enclosure = static_cast<int>(id >> 16);
    const int port = static_cast<int>(id & 0xFFFF);
    const int part_no = 3;
    unsigned long long value = 0;
    EXPECT_NE(PD_Get_Read_Speed(enclosure, port, &value), 0) << "nothing has been measured";
    EXPECT_EQ(Disk_Read_Performance_Test(&id, 1, 1, 0), 0);
    EXPECT_EQ(Disk_Read_Performance_Test(&id, 1, 0, 0), 0);
    EXPECT_NEAR(static_cast<double>(smart(2).host_written_kib), 1024 * 1024, 1024)
        << "the system's partitions, and the rest of the GiB that is read";
    EXPECT_EQ(Disk_Write_Performance_Test(&id, 1, &part_no, 1, 0), 0);
    EXPECT_EQ(Disk_Write_Performance_Test(&id, 1, &part_no, 0, 0), 0);
    ASSERT_EQ(PD_Get_Read_Speed(enclosure, port, &value), 0);
    EXPECT_TRUE(value > 200'000 && value < 600'000) << value << " KiB/s";
    ASSERT_EQ(PD_Get_Write_Speed(enclosure, port, &value), 0);
    EXPECT_TRUE(value > 30'000'000 && value < 600'000'000) << value << " B/s";
    ASSERT_EQ(PD_Get_Read_IOPS(enclosure, port, &value), 0);
    EXPECT_TRUE(value > 5'000 && value < 70'000) << value << " of a drive that holds data";
    ASSERT_EQ(PD_Get_Write_IOPS(enclosure, port, &value), 0);
    EXPECT_TRUE(value > 5'000 && value < 100'000) << value;

    const int missing = 7;
    EXPECT_NE(Disk_Write_Performance_Test(&id, 1, &missing, 1, 0), 0);
    EXPECT_NE(PD_Get_Write_Speed(enclosure, port, &value), 0) << "the last one failed";
}

TEST_F(StorageStandIn, AReadMeasurementWritesNothingToADriveInAGroup) {
    volume_over(group(800, 1, {0, 1}));
    const unsigned id = appliance::drive_id(0);
    const uint64_t before = smart(0).host_written_kib;
    EXPECT_EQ(Disk_Read_Performance_Test(&id, 1, 0, 0), 0);
    EXPECT_EQ(smart(0).host_written_kib, before);
}

TEST_F(StorageStandIn, WhatIsDiscardedOfAMemberEndsWhereItsMetadataBegins) {
    const std::string name = volume_over(group(800, 5, {0, 1, 2}));
    EXPECT_EQ(run(fio(name, "--rw=write --bs=1M >/dev/null")), 0);
    const auto held_mib = [] {
        const auto drive = appliance::DriveFile::look(appliance::drive_id(0));
        return drive.mapped_share() * static_cast<double>(drive.nominal_bytes()) / (1 << 20);
    };
    const double full = held_mib();
    const uint64_t mib = partition_kib(0) / 1024;
    EXPECT_EQ(run("/sbin/kblkdiscard /dev/sda3 -o 16 -l " + std::to_string(mib - 16 - 16)), 0);
    const double freed = full - held_mib();
    EXPECT_NEAR(freed, static_cast<double>(mib - 32), 8);
    EXPECT_EQ(run("/sbin/kblkdiscard /dev/sda3 -o 16"), 0);
    EXPECT_NEAR(full - held_mib(), freed, 0.1) << "a volume never reaches into the last 16 MiB";
}

TEST_F(StorageStandIn, ServicesStopAndStart) {
    EXPECT_EQ(run("/etc/init.d/services.sh stop ' &>/dev/null' >/dev/null"), 0);
    EXPECT_EQ(run("/etc/init.d/rsyncd.sh stop >/dev/null"), 0);
    EXPECT_FALSE(appliance().service_runs("services") || appliance().service_runs("rsyncd"));
    EXPECT_EQ(Start_Services(), 0);
    EXPECT_TRUE(appliance().service_runs("services") && appliance().service_runs("rsyncd"));
    appliance().failing("rsyncd.sh", 1);
    EXPECT_NE(Start_Services(), 0);
}

TEST_F(StorageStandIn, TheAnalyticsToolKeepsWhatItGetsByteForByte) {
    EXPECT_EQ(
        run(R"(/usr/local/bin/kanalytic_tool send -p oprellatool -r raid -t $'name=a\'b"c' -e$'\tx=1\ty=2 3')"),
        0);
    EXPECT_EQ(run("/usr/local/bin/kanalytic_tool flush -p oprellatool"), 0);
    const auto uploads = appliance().uploads();
    ASSERT_EQ(uploads.size(), 2U);
    EXPECT_EQ(uploads[0].test, "name=a'b\"c");
    EXPECT_EQ(uploads[0].event, "\tx=1\ty=2 3");
    EXPECT_EQ(uploads[1].action, "flush");
    EXPECT_THAT(output_of("kanalytic_tool show"), ::testing::HasSubstr("x                     1"));
}

}  // namespace
