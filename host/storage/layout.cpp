#include "storage/layout.h"

#include <cerrno>

#include <fcntl.h>
#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "core/tool.h"
#include "enrolment/enrolled.h"
#include "refusal/content.h"
#include "shared/descriptor.h"
#include "shared/drive_id.h"
#include "storage/discard_all.h"
#include "storage/unique.h"
#include "taking/taking.h"
#include "undo/owner.h"

namespace host {

namespace {

constexpr uint64_t kMib = 1 << 20;
constexpr uint64_t kDataStartMib = 4;
constexpr uint64_t kLeastDataMib = 64;  // 32 of it stay free
constexpr auto kKind = UndoEntry::Kind::kPartitions;

}  // namespace

std::string table_guid(const Roots& roots, const Drive& drive) {
    const std::string device = drive.device(roots);
    const ToolOutput output = run_tool({"sfdisk", "--json", device});
    if (!output.found) must_run({"sfdisk", "--json", device});
    if (output.whole && output.status == 1 &&
        output.complaint.find("does not contain a recognized partition table") != std::string::npos)
        return {};
    const Json json = parse_foreign(output.text);
    if (!output.whole || output.status != 0 || !json.is_object()) {
        throw Failure(fmt::format("The partition table of {} cannot be read: {}",
                                  drive.identity.serial, printable(trimmed(output.complaint))),
                      "Look for I/O errors with dmesg.");
    }
    const Json table = json.value("partitiontable", Json::object());
    return table.value("label", "") == "gpt" ? table.value("id", "") : "another table";
}

bool is_broken(const Roots& roots, const Drive& drive) {
    const ssd_op::shared::Descriptor file(
        ::open(drive.device(roots).c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    if (!file) return errno == EIO || errno == ENXIO;
    try {
        holds_data(file.get(), drive.bytes);
        return false;
    } catch (const Failure&) {
        return true;
    }
}

std::string layout_script(uint64_t drive_bytes, const std::string& guid) {
    const uint64_t end = drive_bytes / kMib - 1;  // the table's copy is in the last MiB
    if (drive_bytes < (kDataStartMib + kLeastDataMib + 1) * kMib) {
        throw Failure(
            fmt::format("A drive of {} is too small.", size_text(static_cast<double>(drive_bytes))),
            "Use drives of 80 MB or more.");
    }
    return fmt::format(
        "label: gpt\n"
        "label-id: {}\n"
        "start=1MiB, size=1MiB, name=\"ssd-op\"\n"
        "start=2MiB, size=1MiB, name=\"ssd-op\"\n"
        "start={}MiB, size={}MiB, name=\"ssd-op\", type=A19D880F-05FC-4D3B-A006-743F0F84911E\n",
        guid, kDataStartMib, end - kDataStartMib);
}

bool has_our_layout(const Roots& roots, const UndoList& undo, const Drive& drive) {
    const auto guid = recorded_table(undo, drive);
    return guid && table_guid(roots, drive) == *guid;
}

std::optional<Partition> our_data_partition(const Roots& roots, const UndoList& undo,
                                            const Drive& drive) {
    if (!has_our_layout(roots, undo, drive)) return std::nullopt;
    return partition_of(drive, ssd_op::shared::kDataPartition);
}

void lay_out(const Roots& roots, UndoList& undo, const HeldDrive& held) {
    const Drive& drive = held.drive();
    // A crash may have come between the last step and this.
    if (our_data_partition(roots, undo, drive)) return end_wipe(roots, drive.identity.serial);
    // An earlier table of ours stays known as that until this one has taken its place.
    const auto earlier = recorded_table(undo, drive);
    const std::string guid = earlier ? *earlier : new_guid();
    const std::string script = layout_script(drive.bytes, guid);
    undo.add({kKind, drive.identity.serial, {{"guid", guid}, {"owner", this_process(roots)}}});
    // What a measurement has written where no volume comes would be data to the drive for good, and
    // take of its spare.
    discard_all(held.open_for_writing().get(), drive.bytes);
    held.check();
    // The kernel is told by the one who holds the drive.
    must_run({"sfdisk", "--quiet", "--force", "--no-reread", "--no-tell-kernel", "--wipe=always",
              "--wipe-partitions=always", drive.device(roots)},
             {.input = script});
    held.read_partitions_again();
    if (!our_data_partition(roots, undo, drive)) {
        throw Failure(
            fmt::format("The drive {} has no data partition after all.", drive.identity.serial),
            "See dmesg for what the kernel says of it.");
    }
    end_wipe(roots, drive.identity.serial);
}

}  // namespace host
