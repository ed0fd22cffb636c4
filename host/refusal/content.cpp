#include "refusal/content.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <blkid/blkid.h>
#include <fmt/format.h>
#include <strings.h>

#include "core/failure.h"
#include "core/text.h"
#include "core/whole.h"
#include "drives/drive.h"

namespace host {

namespace {

constexpr size_t kMostSignatures = 64;  // in one place
constexpr int kMostPartitions = 256;

struct FreeProbe {
    void operator()(blkid_probe probe) const { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<blkid_struct_probe, FreeProbe>;

[[noreturn]] void fail() {
    throw Failure("What is on it cannot be read.", "Look for I/O errors with dmesg.");
}

struct Range {
    uint64_t start = 0;
    uint64_t bytes = 0;  ///< 0: to the end
};

Probe probe_of(int file, const Range& range) {
    Probe probe(blkid_new_probe());
    if (!probe || blkid_probe_set_device(probe.get(), file, static_cast<blkid_loff_t>(range.start),
                                         static_cast<blkid_loff_t>(range.bytes)) != 0)
        fail();
    blkid_probe_enable_superblocks(probe.get(), 1);
    // A damaged one is somebody's, too.
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL |
                                                       BLKID_SUBLKS_MAGIC | BLKID_SUBLKS_BADCSUM);
    blkid_probe_enable_partitions(probe.get(), 1);
    blkid_probe_set_partitions_flags(probe.get(), BLKID_PARTS_MAGIC | BLKID_PARTS_FORCE_GPT);
    return probe;
}

std::string value_of(const Probe& probe, const char* name) {
    const char* text = nullptr;
    size_t size = 0;
    if (blkid_probe_lookup_value(probe.get(), name, &text, &size) != 0 || text == nullptr)
        return {};
    return std::string(trimmed({text, size}));
}

Signature found_by(const Probe& probe, int partition) {
    std::string type = value_of(probe, "TYPE");
    if (type.empty()) type = value_of(probe, "PTTYPE");
    return {type.empty() ? "unknown" : type, value_of(probe, "LABEL"), value_of(probe, "PTUUID"),
            partition};
}

void add_found(const Probe& probe, int partition, std::vector<Signature>& found) {
    for (size_t i = 0; i <= kMostSignatures; ++i) {
        const int result = blkid_do_probe(probe.get());
        if (result < 0) fail();
        if (result != 0) return;
        found.push_back(found_by(probe, partition));
    }
    throw Failure("There is more on it than can be told.", "Wipe it with wipefs --all.");
}

/// Of a damaged table, only what lies within the device.
std::vector<std::pair<int, Range>> partitions_by(const Probe& probe) {
    std::vector<std::pair<int, Range>> partitions;
    const auto sectors = static_cast<uint64_t>(blkid_probe_get_size(probe.get())) / kSectorBytes;
    blkid_partlist list = blkid_probe_get_partitions(probe.get());
    const int count = list == nullptr ? 0 : blkid_partlist_numof_partitions(list);
    if (count > kMostPartitions)
        throw Failure("It has more partitions than can be told.", "Use another drive.");
    for (int i = 0; i < count; ++i) {
        blkid_partition one = blkid_partlist_get_partition(list, i);
        const auto start = static_cast<uint64_t>(blkid_partition_get_start(one));
        const auto size = static_cast<uint64_t>(blkid_partition_get_size(one));
        if (blkid_partition_is_extended(one) != 0 || start >= sectors || size == 0) continue;
        partitions.emplace_back(
            blkid_partition_get_partno(one),
            Range{start * kSectorBytes, std::min(size, sectors - start) * kSectorBytes});
    }
    return partitions;
}

bool has_data(int file, uint64_t from, uint64_t size) {
    std::string block(size, '\0');
    if (!read_whole_at(file, block.data(), block.size(), from)) fail();
    return block.find_first_not_of('\0') != std::string::npos;
}

}  // namespace

bool Signature::is_of_shared_storage() const { return type == "zfs_member"; }

std::string Signature::text() const {
    return (partition == 0 ? "" : fmt::format("partition {}: ", partition)) + printable(type) +
           (label.empty() ? "" : fmt::format(" \"{}\"", printable(label)));
}

std::vector<Signature> signatures_in(int file) {
    std::vector<Signature> found;
    const Probe whole = probe_of(file, {});
    add_found(whole, 0, found);
    for (const auto& [number, range] : partitions_by(whole))
        add_found(probe_of(file, range), number, found);
    return found;
}

std::vector<Signature> not_ours(const std::vector<Signature>& found, const std::string& guid) {
    const auto is_our_table = [&](const Signature& signature) {
        return signature.partition == 0 && signature.type == "gpt" && !guid.empty() &&
               ::strcasecmp(signature.table.c_str(), guid.c_str()) == 0;  // written in either case
    };
    const bool has_our_table = std::any_of(found.begin(), found.end(), is_our_table);
    std::vector<Signature> others = found;
    std::erase_if(others, [&](const Signature& signature) {
        const bool is_in_array =
            signature.type == "linux_raid_member" || signature.type == "LVM2_member";
        return is_our_table(signature) || (has_our_table && signature.partition > 0 && is_in_array);
    });
    return others;
}

bool holds_data(int file, uint64_t bytes) {
    const uint64_t edge = std::min(bytes, kEdgeBytes);
    return has_data(file, 0, edge) || has_data(file, bytes - edge, edge);
}

}  // namespace host
