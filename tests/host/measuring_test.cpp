#include "enrolment/enrolled.h"
#include "host_tree.h"
#include "measuring/discard_range.h"
#include "measuring/fio_command.h"
#include "measuring/fio_result.h"
#include "measuring/ownership.h"
#include "storage/record.h"

namespace host {
namespace {

using provider::fio::Job;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// What the library and the add-on say, as it is read from their command lines.
Job job_of(std::vector<std::string> words) {
    words.insert(words.begin(), {"fio", "--filename=/dev/x"});
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    return provider::fio::parse(static_cast<int>(pointers.size()), pointers.data()).job.value();
}

TEST(Fio, IsToldWhatTheLibraryAndTheAddOnMean) {
    const Job library = job_of({"--direct=1", "--rw=write", "--bs=1M", "--runtime=20",
                                "--name=x --exec_prerun=reboot", "--iodepth=32", "--ramp_time=30"});
    EXPECT_THAT(
        fio_words(library, "/dev/y", ""),
        ElementsAre("fio", "--output-format=json", "--eta=never", "--thread",
                    "--allow_file_create=0", "--disk_util=0", "--lat_percentiles=1",
                    "--percentile_list=99", "--name=ssd-op", "--filename=/dev/y", "--rw=write",
                    "--bs=1048576", "--iodepth=32", "--ioengine=libaio", "--direct=1",
                    "--runtime=20000ms", "--ramp_time=30000ms", "--time_based"));
    const Job slice =
        job_of({"--rw=randwrite", "--bs=4k", "--size=512M", "--io_limit=51M", "--randrepeat=0"});
    EXPECT_THAT(fio_words(slice, "/dev/y", "/tmp/d"),
                AllOf(Contains("--norandommap"), Contains("--size=536870912"),
                      Contains("--io_size=53477376"), Contains("--write_iops_log=/tmp/d"),
                      Not(Contains("--time_based"))));
    EXPECT_THROW(fio_words(job_of({"--ioengine=external:/tmp/x.so"}), "/dev/y", ""), Failure);
}

// As fio 3.33 wrote it.
constexpr const char* kAnswer = R"({"fio version": "fio-3.33", "jobs": [{"jobname": "ssd-op",
  "error": 0, "elapsed": 3, "read": {"total_ios": 0}, "write": {"io_bytes": 844222464,
  "io_kbytes": 824436, "bw_bytes": 421900281, "bw": 412011, "iops": 103002.998501,
  "runtime": 2001, "total_ios": 206109, "clat_ns": {"min": 412, "max": 8406309,
  "mean": 307866.751238, "stddev": 591299.866474, "N": 206109,
  "percentile": {"99.000000": 3620864}}, "lat_ns": {"min": 15240, "max": 8407851,
  "mean": 310312.128223, "stddev": 591502.653694, "N": 206109,
  "percentile": {"99.000000": 3620864}}}}]})";

TEST(Fio, TellsInJsonWhatItFound) {
    FioResult result = fio_result(std::string("fio: a word before it\n") + kAnswer, false);
    EXPECT_EQ(result.bytes, 844222464u);
    EXPECT_EQ(result.bytes_per_second, 421900281u);
    EXPECT_EQ(result.iops, 103002u);
    EXPECT_EQ(result.milliseconds, 2001u);
    result.iops_of_seconds = fio_log("999, 587175, 1, 0, 0\n2003, 625606, 1, 0, 0\n30", 2010);
    EXPECT_EQ(details_of(result),
              "mean_latency_us,310.3\np99_latency_us,3620.9\niops,587175\niops,625606\n");

    const auto complaint = [](const std::string& text, bool read) {
        try {
            fio_result(text, read);
        } catch (const Failure& failure) {
            return std::string(failure.what());
        }
        return std::string();
    };
    EXPECT_THAT(complaint(kAnswer, true), HasSubstr("nothing was done"));
    std::string failed = kAnswer;
    failed.replace(failed.find("\"error\": 0"), 10, "\"error\": 5");
    EXPECT_THAT(complaint(failed, false), HasSubstr("Input/output error"));
    for (const char* strange : {"", "{", "[]", "{}", R"({"jobs": [{"error": -1}]})",
                                R"({"jobs": [{"error": 0, "write": {"total_ios": 1e300}}]})"})
        EXPECT_THAT(complaint(strange, false), Not(IsEmpty())) << strange;
}

TEST(Fio, DoesNothingInSecondsThatItsLogLacks) {
    const std::string log =
        "1000, 5, 1, 0, 0\n3996, 7, 1, 0, 0\n18446744073709551615, 9, 1, 0, 0\n";
    EXPECT_THAT(fio_log(log, 4001), ElementsAre(5, 0, 0, 7));
    EXPECT_THAT(fio_log(log, 5003), ElementsAre(5, 0, 0, 7));  // the last one it may leave out
    EXPECT_THAT(fio_log(log, 7003), ElementsAre(5, 0, 0, 7, 0, 0));
    EXPECT_THAT(fio_log(log, 0), IsEmpty());
    EXPECT_THAT(fio_log("", 5000), IsEmpty());
    EXPECT_LE(fio_log(log, UINT64_MAX).size(), 1'000'000U);
}

TEST(Discards, StayWithinTheirRange) {
    EXPECT_EQ(inward({0, 4096}, {512, 0}), (Range{0, 4096}));
    EXPECT_EQ(inward({1, 4095}, {512, 0}), (Range{512, 3584}));
    EXPECT_EQ(inward({1000, 10000}, {4096, 512}), (Range{4608, 4096}));
    EXPECT_EQ(inward({4608, 8192}, {4096, 512}), (Range{4608, 8192}));
    EXPECT_EQ(inward({100, 4000}, {4096, 0}).length, 0u);
    EXPECT_EQ(inward({0, UINT64_MAX}, {4096, 0}), (Range{0, UINT64_MAX - 4095}));
    for (const Range& range : {Range{UINT64_MAX, 1}, Range{UINT64_MAX - 1, 1}, Range{0, 0}})
        EXPECT_EQ(inward(range, {4096, 0}).length, 0u);
}

class Volumes : public HostTree {
  protected:
    /// Drive, partition, array and volume, all of them ours.
    Volumes() {
        const std::string drive = add_nvme(0, "S1"), md = "sys/devices/virtual/block/md800";
        add_partition(drive, "nvme0n1p3", "259:3");
        add_above("md800", "9:800", drive + "/nvme0n1p3");
        add_above("dm-0", "253:0", md);
        put("sys/devices/virtual/block/dm-0/dm/uuid", "LVM-PV\n");
        const Drive it = drive_with_serial(roots_, "S1");
        const Identity& identity = it.identity;
        store_enrolled(roots_, {"S1", identity.wwn, identity.model, it.bytes, false, "now"});
        UndoList undo(roots_);
        undo.add({UndoEntry::Kind::kDrive,
                  "S1",
                  {{"wwn", identity.wwn}, {"model", identity.model}, {"bytes", it.bytes}}});
        undo.add(entry_of(PoolRecord{1, {800}, "tag", "P", {}}));
        undo.add(entry_of(VolumeRecord{1568, 1, "tag", "V", {}}));
    }
};

TEST_F(Volumes, AreNotMeasuredOnAnArrayThatHasLostADrive) {
    const auto volume = ownership_of(roots_, UndoList(roots_), *parse_device_number("253:0"), "v");
    volume.check(roots_);
    volume.check_redundancy();  // no level with redundancy
    const std::string lost = "sys/devices/virtual/block/md800/md/degraded";
    put(lost, "0\n");
    volume.check_redundancy();
    put(lost, "1\n");
    EXPECT_THROW(volume.check_redundancy(), Failure);
}

}  // namespace
}  // namespace host
