#include "refusal/content.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <blkid/blkid.h>
#include <fmt/format.h>
#include <strings.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/text.h"

namespace host {

namespace {

constexpr size_t kMostSignatures = 64;
constexpr uint64_t kEdge = 1 << 20;

struct FreeProbe {
    void operator()(blkid_probe probe) const { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<blkid_struct_probe, FreeProbe>;

[[noreturn]] void fail() {
    throw Failure("What is on it cannot be read.", "Look for I/O errors with dmesg.");
}

Probe probe_of(int file) {
    Probe probe(blkid_new_probe());
    if (!probe || blkid_probe_set_device(probe.get(), file, 0, 0) != 0) fail();
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

Signature found_by(const Probe& probe) {
    std::string type = value_of(probe, "TYPE");
    if (type.empty()) type = value_of(probe, "PTTYPE");
    return {type.empty() ? "unknown" : type, value_of(probe, "LABEL"), value_of(probe, "PTUUID")};
}

bool has_data(int file, uint64_t from, uint64_t size) {
    std::string block(size, '\0');
    size_t length = 0;
    while (length < block.size()) {
        const ssize_t got = ::pread(file, block.data() + length, block.size() - length,
                                    static_cast<off_t>(from + length));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) fail();
        length += static_cast<size_t>(got);
    }
    return block.find_first_not_of('\0') != std::string::npos;
}

}  // namespace

bool Signature::is_of_shared_storage() const {
    return type == "zfs_member" || type == "mpath_member";
}

std::string Signature::text() const {
    return printable(type) + (label.empty() ? "" : fmt::format(" \"{}\"", printable(label)));
}

std::vector<Signature> signatures_in(int file) {
    const Probe probe = probe_of(file);
    std::vector<Signature> found;
    while (true) {
        const int result = blkid_do_probe(probe.get());
        if (result < 0) fail();
        if (result != 0 || found.size() == kMostSignatures) return found;
        found.push_back(found_by(probe));
    }
}

std::vector<Signature> beside_table(const std::vector<Signature>& found, const std::string& guid) {
    std::vector<Signature> others = found;
    std::erase_if(others, [&](const Signature& signature) {
        // GUIDs are written in either case.
        return signature.type == "gpt" && !guid.empty() &&
               ::strcasecmp(signature.table.c_str(), guid.c_str()) == 0;
    });
    return others;
}

bool holds_data(int file, uint64_t bytes) {
    const uint64_t edge = std::min(bytes, kEdge);
    return has_data(file, 0, edge) || has_data(file, bytes - edge, edge);
}

}  // namespace host
