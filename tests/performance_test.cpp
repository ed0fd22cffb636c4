// Measuring drives: what fio's summary is read as, where the figures go, which of two runs counts.

#include <filesystem>
#include <optional>

#include <gmock/gmock.h>

#include "evaluation/drives/fio_summary.h"
#include "platform/hal.h"
#include "platform/ini.h"
#include "support/appliance.h"
#include "support/evaluation.h"

namespace {

using namespace support;
using ssd_op::evaluation::write_iops;
using ssd_op::evaluation::write_rate;
using ::testing::IsEmpty;
using ::testing::Optional;

std::string summary(const std::string& rate, const std::string& iops = "13086") {
    return "  write: io=1024.0MB, bw=" + rate + ", iops=" + iops + ", runt= 20001msec\n";
}

TEST(FioSummary, RatesAreBytesASecond) {
    EXPECT_THAT(write_rate(summary("52345KB/s")), Optional(std::string("53601280")));
    EXPECT_THAT(write_rate(summary("1.5GB/s")), Optional(std::string("1073741824")));
    EXPECT_THAT(write_rate(summary("612.9MB/s")), Optional(std::string("641728512")));
    EXPECT_THAT(write_rate(summary("917B/s")), Optional(std::string("917")));
    EXPECT_THAT(write_iops(summary("52345KB/s")), Optional(std::string("13086")));
}

TEST(FioSummary, HostileLinesAreNoFigures) {
    EXPECT_THAT(write_rate(summary("99999999999999999999GB/s")),
                Optional(std::to_string(2147483647ULL << 30)));
    EXPECT_THAT(write_rate(summary("-5MB/s")), Optional(std::string("0")));
    EXPECT_EQ(write_rate(summary("fast")), std::nullopt);
    EXPECT_EQ(write_rate("  write: io=1024.0MB, iops=1\n"), std::nullopt);
    EXPECT_EQ(write_rate("  write: io=1024.0MB, bw"), std::nullopt);
    EXPECT_EQ(write_rate("  write: io=1024.0MB, bw="), std::nullopt);
    EXPECT_EQ(write_iops("  write: io=1024.0MB, bw=52345KB/s\n"), std::nullopt);
    EXPECT_EQ(write_iops("  write: io=1, bw=5KB/s, iops=\n"), std::nullopt);
    EXPECT_EQ(write_iops(summary("1KB/s", "]x")), std::nullopt);
}

class Performance : public ApplianceTest {
  protected:
    static constexpr int kPort = static_cast<int>(appliance::kFirstPort);
    const unsigned drive_ = appliance::drive_id(0);
    const int part_no_ = 3;

    int measure(bool sequential, bool background = false) {
        return ssd_op_test_disk_write_performance_test(&drive_, 1, &part_no_, sequential,
                                                       background);
    }
    static std::string enclosure_value(const char* key) {
        char value[128] = "";
        Ini_Conf_Get_Field(enclosure_file().c_str(), section().c_str(), key, value, sizeof value);
        return value;
    }
    static std::string list_value(const char* key) {
        char wwn[65] = "";
        char value[128] = "";
        PD_Get_WWN(appliance::kEnclosure, kPort, wwn, sizeof wwn);
        Ini_Conf_Get_Field("/etc/config/disk_performance.conf", wwn, key, value, sizeof value);
        return value;
    }
    static std::string enclosure_file() {
        return "/etc/enclosure_" + std::to_string(appliance::kEnclosure) + ".conf";
    }
    static std::string section() { return "PhysicalDisk_" + std::to_string(kPort); }

    /// Lets /sbin/fio be a script that prints a text, for the rest of the test.
    void plant_fio(const std::string& text) {
        namespace fs = std::filesystem;
        if (!fs::exists(kRealFio)) fs::rename("/sbin/fio", kRealFio);
        write_file("/sbin/fio", "#!/bin/sh\ncat <<'END'\n" + text + "\nEND\n");
        fs::permissions("/sbin/fio", fs::perms::owner_all);
    }
    ~Performance() override {
        if (std::filesystem::exists(kRealFio)) std::filesystem::rename(kRealFio, "/sbin/fio");
    }
    static constexpr const char* kRealFio = "/sbin/fio.real";
};

TEST_F(Performance, WriteFiguresGoWhereThePlatformReadsThem) {
    EXPECT_EQ(measure(true), 0) << appliance().journal();
    EXPECT_EQ(measure(false), 0);
    unsigned long long speed = 0;
    unsigned long long iops = 0;
    EXPECT_EQ(PD_Get_Write_Speed(appliance::kEnclosure, kPort, &speed), 0);
    EXPECT_EQ(PD_Get_Write_IOPS(appliance::kEnclosure, kPort, &iops), 0);
    EXPECT_EQ(std::to_string(speed), enclosure_value("write_speed"));
    EXPECT_EQ(std::to_string(iops), enclosure_value("write_iops"));
    EXPECT_EQ(list_value("write_speed"), enclosure_value("write_speed"));
    EXPECT_GT(speed, 10'000'000ULL);
    EXPECT_GT(iops, 1000ULL);
}

TEST_F(Performance, FailuresAndRunningMeasurementsAreMarked) {
    plant_fio("fio: something went wrong");
    EXPECT_EQ(measure(true), -1);
    EXPECT_EQ(enclosure_value("write_speed"), "fail");
    EXPECT_EQ(list_value("write_speed"), "") << "a failed run says nothing about the drive";

    appliance().failing("Part_Get_Name", -1);
    EXPECT_EQ(measure(false), -1);
    EXPECT_EQ(enclosure_value("write_iops"), "fail");
    EXPECT_EQ(list_value("write_iops"), "fail");
    appliance().healthy();

    Ini_Conf_Set_Field(enclosure_file().c_str(), section().c_str(), "write_speed", "testing");
    plant_fio(summary("52345KB/s"));
    EXPECT_EQ(measure(true), 0) << "a drive under measurement is skipped";
    EXPECT_EQ(enclosure_value("write_speed"), "testing");
    EXPECT_EQ(ssd_op_test_disk_write_performance_test(nullptr, 0, nullptr, 1, 0), 0);
}

TEST_F(Performance, InTheBackgroundNobodyIsLeftToWaitFor) {
    plant_fio(summary("52345KB/s"));
    EXPECT_GT(measure(true, true), 0);
    EXPECT_THAT(children(), IsEmpty());
    EXPECT_TRUE(eventually([&] { return enclosure_value("write_speed") == "53601280"; }));
}

TEST_F(Performance, TheBetterOfBufferedAndDirectWritesCounts) {
    Groups groups(1, {0, 1});
    groups.numbered(800);
    const auto measured = [&](const std::string& direct) {
        plant_fio(summary(direct));
        const Record record = new_record(groups, SSD_OP_TEST_STATUS_INITIATING);
        ssd_op_test_param param = request(0, 0, 1);
        const int lv_id = SSD_OP_Test_Create_Storage(groups.list(), 0, &param, record.get());
        EXPECT_EQ(SSD_OP_Test_Remove_Storage(lv_id, 0), 0);
        return record->raid_conf->ssd_drives[0].performance_write_s;
    };
    EXPECT_EQ(measured("2GB/s"), 2097152U);
    EXPECT_EQ(enclosure_value("write_speed"), "2147483648");

    const uint64_t buffered = measured("1KB/s");
    EXPECT_GT(buffered, 1000U);
    EXPECT_EQ(enclosure_value("write_speed"), std::to_string(buffered << 10));
    EXPECT_EQ(list_value("write_speed"), std::to_string(buffered << 10));
}

}  // namespace
