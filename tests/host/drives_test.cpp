#include <set>

#include "drives/flash_writes.h"
#include "drives/health.h"
#include "drives/slots.h"
#include "enrolment/enrolled.h"
#include "enrolment/expected_writes.h"
#include "host_tree.h"

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Drives : public HostTree {
  protected:
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const Drive& drive : list_drives(roots_)) found.push_back(drive.name);
        return found;
    }
    std::string add_sata(const std::string& controller, int number, int port) {
        const std::string way = fmt::format("pci0000:00/{}/ata{}", controller, number);
        put(fmt::format("sys/devices/{}/ata_port/ata{}/port_no", way, number),
            std::to_string(port) + "\n");
        return add(fmt::format("{}/host{}/target{}:0:0/{}:0:0:0/block/sd{:c}", way, number, number,
                               number, 'a' + number),
                   fmt::format("8:{}", number * 16));
    }
};

TEST_F(Drives, AreTheBuiltInSsdsThatCanBeTold) {
    add_nvme(0, "S1");
    put(add_nvme(1, "S2") + "/queue/rotational", "1\n");
    put(add_nvme(2, "S3") + "/removable", "1\n");
    put(add_nvme(3, "S4") + "/size", "18446744073709551615\n");
    put(add_nvme(4, "S5") + "/size", "-1\n");
    put(add_nvme(5, "S6") + "/size", std::string(1 << 20, '1'));
    const std::string linked = base_ + "/" + add_nvme(6, "S7") + "/size";
    std::filesystem::rename(linked, linked + ".real");
    std::filesystem::create_symlink(linked + ".real", linked);
    add("virtual/block/loop0", "7:0");
    add("virtual/nvme-subsystem/nvme-subsys0/nvme0c0n1", "259:99");
    add("virtual/block/sd a", "8:99");
    EXPECT_THAT(names(), ElementsAre("nvme0n1"));
    std::filesystem::remove_all(base_ + "/sys/block");
    EXPECT_THROW(list_drives(roots_), Failure);
}

TEST_F(Drives, TellWhoTheyAre) {
    const std::string sata = add_sata("0000:00:1f.2", 1, 3);
    put(sata + "/device/vpd_pg80", std::string("\0\x80\0\x08  WD 12 ", 4 + 9));
    put(sata + "/device/model", "MADE\x1b[2J\n");
    const Drive drive = drive_with_serial(roots_, "WD 12");
    EXPECT_EQ(drive.bytes, 4294967296u);
    EXPECT_EQ(drive.number.text(), "8:16");
    EXPECT_TRUE(drive.discard.supported());

    put(sata + "/device/vpd_pg80", std::string("\0\x80\xff\xff S", 4 + 2));  // says it is longer
    EXPECT_NO_THROW(drive_with_serial(roots_, "S"));
    put(sata + "/device/vpd_pg80", std::string("\0\x80\0\x02\x1b[", 4 + 2));
    EXPECT_EQ(list_drives(roots_).at(0).identity.serial, "");
    EXPECT_THROW(drive_with_serial(roots_, ""), Failure);

    add_nvme(0, "TWIN");
    add_nvme(1, "TWIN");
    EXPECT_THROW(drive_with_serial(roots_, "TWIN"), Failure);
}

TEST_F(Drives, KeepTheirPlaceWhateverTheKernelCountsThem) {
    add_sata("0000:00:1f.2", 1, 3);
    const std::string before = list_drives(roots_).at(0).place.path;
    EXPECT_EQ(before, "pci-0000:00:1f.2-ata-3-0:0:0");
    for (const char* gone : {"sys/block/sdb", "sys/dev/block/8:16", "sys/devices"})
        std::filesystem::remove_all(base_ + "/" + gone);
    add_sata("0000:00:1f.2", 7, 3);
    EXPECT_EQ(list_drives(roots_).at(0).place.path, before);

    add("pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host9/target9:0:0/9:0:0:0/block/sdz", "8:400");
    add("virtual/nvme-subsystem/nvme-subsys0/nvme5n1", "259:9");
    std::set<std::string> places;
    for (const Drive& drive : list_drives(roots_)) places.insert(drive.place.path);
    EXPECT_THAT(places, ElementsAre("", before));
}

TEST_F(Drives, HaveSlotsThatNeverChangeAndAreNeverGivenAgain) {
    EXPECT_EQ(slots_of(roots_, {"a", "", "b"}).size(), 2u);
    const auto slots = slots_of(roots_, {"c", "b"});
    EXPECT_EQ(slots.at("b").port, 2);
    EXPECT_EQ(slots.at("c").port, 3);

    for (const char* damaged : {"{\"a\": 1", "[]", "{\"a\": 1, \"b\": 1}", "{\"a\": 65536}",
                                "{\"a\": 18446744073709551615}", "{\"a\": \"1\"}", ""}) {
        put("state/slots.json", damaged);
        EXPECT_THROW(slots_of(roots_, {"d"}), Failure) << damaged;
        std::ifstream file(base_ + "/state/slots.json");
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), damaged);
    }
}

TEST_F(Drives, AreEnrolledAsTheDriveThatTheyWere) {
    const std::string place = add_nvme(0, "S1");
    const Drive drive = drive_with_serial(roots_, "S1");
    store_enrolled(roots_, {"S0", "", "other", 1, false, "now"});
    store_enrolled(roots_,
                   {"S1", drive.identity.wwn, drive.identity.model, drive.bytes, true, "now"});
    ASSERT_EQ(enrolled_drives(roots_).size(), 2u);
    const Enrolled stored = enrolled_drives(roots_).at(1);
    EXPECT_TRUE(stored.is(drive));
    EXPECT_TRUE(stored.wipe);
    end_wipe(roots_, "S1");
    EXPECT_FALSE(enrolled_drives(roots_).at(1).wipe);
    put(place + "/wwid", "eui.another\n");
    EXPECT_FALSE(stored.is(drive_with_serial(roots_, "S1")));

    EXPECT_TRUE(remove_enrolled(roots_, "S1"));
    EXPECT_FALSE(remove_enrolled(roots_, "S1"));
    put("state/enrolled.json", R"([{"serial": "S1", "bytes": 1}])");
    EXPECT_THROW(enrolled_drives(roots_), Failure);
    EXPECT_THROW(store_enrolled(roots_, stored), Failure);
    std::filesystem::remove(base_ + "/state/enrolled.json");
    std::filesystem::permissions(roots_.state, std::filesystem::perms::all);
    EXPECT_THROW(enrolled_drives(roots_), Failure);
}

TEST(DriveHealth, TellsFlashWritesOnlyInUnitsThatAreKnown) {
    const auto of_attribute = [](const char* name) {
        return flash_writes_from_smartctl(
            Json::parse(fmt::format(R"({{"ata_smart_attributes":{{"revision":1,"table":[
            {{"id":241,"name":"Total_LBAs_Written","raw":{{"value":9,"string":"9"}}}},
            {{"id":249,"name":"{}","value":100,"raw":{{"value":3000000000,"string":"3"}}}}]}}}})",
                                    name)));
    };
    EXPECT_EQ(of_attribute("NAND_Writes_32MiB"), uint64_t{3000000000} << 25);
    EXPECT_EQ(of_attribute("NAND_Writes"), std::nullopt);
    EXPECT_EQ(of_attribute("NAND_Writes_1GiB"), uint64_t{3000000000} << 30);

    EXPECT_EQ(flash_writes_from_ocp(Json::parse(
                  R"({"Physical media units written":{"hi":0,"lo":81920},
                  "Physical media units read":{"hi":0,"lo":5}})")),
              81920u);
    for (const char* none : {R"({"Physical media units written":{"hi":1,"lo":2}})", "[]", "{}",
                             R"({"Physical media units written":{"hi":0,"lo":-2}})"})
        EXPECT_EQ(flash_writes_from_ocp(Json::parse(none)), std::nullopt) << none;
}

TEST(DriveHealth, IsWhatToolsReallyTell) {
    const Health nvme = health_from_nvme(Json::parse(
        R"({"temperature":323,"percent_used":7,"data_units_written":"2000","power_on_hours":"5"})"));
    EXPECT_EQ(nvme.celsius, 50);
    EXPECT_EQ(nvme.wear_percent, 7);
    EXPECT_EQ(nvme.written_bytes, 1024000000u);
    EXPECT_NEAR(*rated_writes(nvme), 1024e6 / 0.07, 1);

    const Health sata = health_from_smartctl(Json::parse(R"({"logical_block_size":4096,
        "temperature":{"current":31},"ata_device_statistics":{"pages":[{"number":1,"table":[
        {"name":"Logical Sectors Written","value":1000,"flags":{"valid":true}}]},{"number":7,"table":[
        {"name":"Percentage Used Endurance Indicator","value":3,"flags":{"valid":false}}]}]}})"));
    EXPECT_EQ(sata.celsius, 31);
    EXPECT_EQ(sata.written_bytes, 4096000u);
    EXPECT_EQ(sata.wear_percent, std::nullopt);

    for (const char* strange :
         {R"({"temperature":-1,"percent_used":"x","data_units_written":340282366920938463463374})",
          R"({"temperature":{"current":1e9},"ata_device_statistics":{"pages":"none"}})",
          R"({"temperature":[],"data_units_written":"99999999999999999999"})"}) {
        for (const Health& health :
             {health_from_nvme(Json::parse(strange)), health_from_smartctl(Json::parse(strange))}) {
            EXPECT_EQ(health.celsius, std::nullopt) << strange;
            EXPECT_EQ(health.written_bytes, std::nullopt) << strange;
        }
    }
    EXPECT_TRUE(parse_foreign(std::string(100000, '[') + std::string(100000, ']')).is_discarded());
}

}  // namespace
}  // namespace host
