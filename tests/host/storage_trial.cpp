/// Tries the host's storage library on the drives of a guest, call by call as an evaluation does.
///   create LEVEL:SERIAL,SERIAL...[+LEVEL:SERIAL...]   a pool over the groups, and a volume; prints
///   it hold LEVEL:...                                    the same, and stays until it is killed
///   ratios VOLUME                                     shrinks it ratio by ratio and proves what
///   stays destroy VOLUME

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "core/text.h"
#include "drives/partition.h"
#include "enrolment/given.h"
#include "platform/storage.h"
#include "shared/descriptor.h"

namespace {

using ssd_op::shared::Descriptor;

constexpr uint64_t kMib = 1 << 20;
constexpr int kResizeEach = 30;

void must(bool good, const std::string& what) {
    if (!good) throw std::runtime_error(what);
}

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
/// For what bypasses the kernel's memory, and so sees what is on the drives.
std::unique_ptr<char, FreeMemory> aligned_mib() {
    return std::unique_ptr<char, FreeMemory>(static_cast<char*>(std::aligned_alloc(4096, kMib)));
}

void fill(char* block, uint64_t mib) {
    for (uint64_t i = 0; i < kMib / sizeof(uint64_t); ++i) {
        const uint64_t word = (mib * kMib + i + 1) * 0x9E3779B97F4A7C15U;
        std::memcpy(block + i * sizeof word, &word, sizeof word);
    }
}

Descriptor open_direct(const std::string& path) {
    Descriptor file(::open(path.c_str(), O_RDWR | O_DIRECT | O_CLOEXEC));
    must(static_cast<bool>(file), "cannot open " + path);
    return file;
}

void write_volume(const std::string& path, uint64_t mib) {
    const Descriptor file = open_direct(path);
    const auto block = aligned_mib();
    for (uint64_t at = 0; at < mib; ++at) {
        fill(block.get(), at);
        must(::pwrite(file.get(), block.get(), kMib, static_cast<off_t>(at * kMib)) == kMib,
             "cannot write");
    }
    must(::fsync(file.get()) == 0, "cannot sync");
}

void prove_volume(const std::string& path, uint64_t from, uint64_t to, int ratio) {
    const Descriptor file = open_direct(path);
    const auto wanted = aligned_mib(), found = aligned_mib();
    for (uint64_t at = from; at < to; ++at) {
        fill(wanted.get(), at);
        must(::pread(file.get(), found.get(), kMib, static_cast<off_t>(at * kMib)) == kMib,
             "cannot read");
        must(std::memcmp(wanted.get(), found.get(), kMib) == 0,
             fmt::format("at {} % the data in MiB {} of {} is gone", ratio, at, to));
    }
}

std::vector<std::unique_ptr<RAID_CONF>> groups_of(const std::string& text) {
    std::vector<std::unique_ptr<RAID_CONF>> groups;
    int id = 800;
    for (const std::string_view part : host::split(text, '+')) {
        auto group = std::make_unique<RAID_CONF>();
        const size_t colon = part.find(':');
        group->raid_id = id++;
        group->raid_level = std::stoi(std::string(part.substr(0, colon)));
        for (const std::string_view serial : host::split(part.substr(colon + 1), ',')) {
            for (const host::GivenDrive& given : host::given_drives({})) {
                if (given.drive.identity.serial == serial)
                    group->drive_ids[group->drive_num++] = given.id();
            }
        }
        if (!groups.empty()) groups.back()->next = group.get();
        groups.push_back(std::move(group));
    }
    return groups;
}

int create(const std::string& text) {
    const auto groups = groups_of(text);
    POOL_CREATE_OPTIONS options{};
    const int pool = NAS_Pool_Create(groups.front().get(), 0, 0, &options, nullptr);
    must(pool > 0, "there is no pool");
    LV_CREATE_REQUEST request{};
    request.pool_id = pool;
    request.type = LV_TYPE_TEST;
    request.mode = groups.size() > 1 ? LV_MODE_STRIPED : 0;
    request.lv_id = LV_Get_Next_Available_Id(1, LV_TYPE_TEST);
    must(LV_Create(&request, 0, 0) == 0, "there is no volume");
    std::array<char, 256> name{};
    must(LV_Get_Name(request.lv_id, name.data(), name.size()) == 0, "it has no name");
    must(LV_Get_Id(name.data()) == request.lv_id && LV_Get_Pool_Id(request.lv_id) == pool,
         "it is another one");
    RAID_INFO info{};
    must(RAID_Get_Info(800, 0, &info) == 0 && RAID_Is_Exist(800) != 0, "there is no group");
    fmt::print("{} {} {} MiB of {} KiB a group\n", request.lv_id, name.data(),
               request.sectors / 2048, info.capacity_kib);
    std::fflush(stdout);
    return request.lv_id;
}

struct MemberPart {
    std::string path;
    uint64_t mib;
};

std::vector<MemberPart> members_under(int pool) {
    std::vector<MemberPart> members;
    for (int index = 0; index < Pool_Get_Member_Count(pool); ++index) {
        POOL_MEMBER member{};
        RAID_CONF group{};
        must(Pool_Get_Dev_Member(pool, index, &member) == 0 &&
                 RAID_Get_Conf(member.raid_id, &group) == 0,
             "there is no member");
        for (int i = 0; i < group.drive_num; ++i) {
            const auto drive = host::given_drive({}, group.drive_ids[i]);
            must(drive && NAS_Disk_Check_Meta_Type(group.drive_ids[i]) == DISK_META_CURRENT &&
                     RAID_Get_Id_By_Drive(group.drive_ids[i]) == member.raid_id,
                 "it is no drive of ours");
            const auto part = host::partition_of(*drive, 3);
            must(part.has_value(), "there is no partition 3");
            members.push_back({part->device({}), part->bytes / kMib});
        }
    }
    return members;
}

/// What a discard of the range may do at the worst.
void zero(const MemberPart& member, uint64_t from, uint64_t to) {
    if (from >= to) return;
    const Descriptor file = open_direct(member.path);
    std::array<uint64_t, 2> range{from * kMib, (to - from) * kMib};
    must(::ioctl(file.get(), BLKZEROOUT, range.data()) == 0, "cannot zero " + member.path);
}

/// Takes from each member what lies behind its share, ratio by ratio, and looks for the volume's
/// data. A discard begins where it is told to by the smallest member.
void ratios(int volume) {
    std::array<char, 256> name{};
    uint64_t sectors = 0;
    must(LV_Get_Name(volume, name.data(), name.size()) == 0 && LV_Get_Size(volume, &sectors) == 0,
         "there is no volume");
    const uint64_t whole = sectors / 2048;
    const int pool = LV_Get_Pool_Id(volume);
    const auto members = members_under(pool);
    const uint64_t part = std::min_element(members.begin(), members.end(), [](auto& a, auto& b) {
                              return a.mib < b.mib;
                          })->mib;
    RAID_INFO info{};
    RAID_Get_Info(800, 0, &info);
    write_volume(name.data(), whole);
    uint64_t end = part - 16;
    for (int ratio = 0; ratio <= 90; ++ratio) {
        auto wanted =
            static_cast<uint64_t>((100.0 - ratio) * static_cast<double>(whole * 2048) / 100.0);
        must(Pool_Calc_LV_Small_Create_Size(pool, &wanted) == 0, "there is no size");
        const bool shrinks = ratio % kResizeEach == 0;  // where its data lies, its end does not say
        if (shrinks)
            must(LV_Resize(volume, wanted) == 0 && LV_Get_Size(volume, &sectors) == 0 &&
                     sectors == wanted,
                 "it has another size");
        const auto from = static_cast<uint64_t>(static_cast<double>(part) * (100.0 - ratio) / 100);
        // Drives one behind the other are discarded through the volume alone.
        if (info.raid_level != RAID_LEVEL_JBOD)
            for (const MemberPart& member : members) zero(member, from, end);
        end = std::min(end, from);
        const uint64_t mib = wanted / 2048, tail = std::min<uint64_t>(mib, 24);
        prove_volume(name.data(), shrinks ? 0 : mib - tail, mib, ratio);
    }
    must(LV_Resize(volume, (whole + 64) * 2048) != 0, "it grew beyond its pool");
    must(LV_Resize(volume, whole * 2048) == 0, "it does not grow");
    fmt::print("{} MiB on {} members of {} MiB: kept at each of 0 to 90 %\n", whole, members.size(),
               part);
}

void destroy(int volume) {
    const int pool = LV_Get_Pool_Id(volume);
    must(NAS_Pool_Remove(pool, 0, 0) != 0, "a pool with a volume went");
    must(LV_Destroy(volume) == 0 && LV_Is_Exist(volume) == 0, "the volume stays");
    must(NAS_Pool_Remove(pool, 0, 0) == 0 && RAID_Is_Exist(800) == 0, "the pool stays");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::string what = argc == 3 ? argv[1] : "";
        if (what == "create") create(argv[2]);
        if (what == "hold" && create(argv[2]) > 0) ::pause();
        if (what == "ratios") ratios(std::atoi(argv[2]));
        if (what == "destroy") destroy(std::atoi(argv[2]));
        return what.empty() ? 2 : 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
