#include "refusal/examination.h"

#include <algorithm>
#include <functional>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/read.h"
#include "core/text.h"
#include "refusal/content.h"
#include "refusal/openers.h"
#include "refusal/stack.h"
#include "refusal/tables.h"

namespace host {

namespace {

using Kind = Reason::Kind;

constexpr const char* kUnknownData = "data that is not recognised, and may be encrypted";

class Reasons {
  public:
    void add(Kind kind, std::string text, std::string next_step) {
        found_.push_back({kind, std::move(text), std::move(next_step)});
    }
    /// A question that cannot be answered is a reason itself, and the others are asked all the
    /// same.
    void ask(const std::function<void()>& question) {
        try {
            question();
        } catch (const Failure& failure) {
            add(Kind::kDoubt, failure.what(), failure.next_step());
        }
    }
    std::vector<Reason> take() { return std::move(found_); }
    bool empty() const { return found_.empty(); }

  private:
    std::vector<Reason> found_;
};

/// Everything that is remembered of a drive is found again by its serial number.
void look_for_twins(const Drive& drive, const std::vector<Drive>& all, Reasons& reasons) {
    const Identity& own = drive.identity;
    for (const Drive& other : all) {
        if (other.number == drive.number) continue;
        if (!own.wwn.empty() && other.identity.wwn == own.wwn) {
            reasons.add(Kind::kIdentity,
                        fmt::format("{} has the same WWN: two paths to one drive?", other.name),
                        "Leave one path to it.");
        } else if (!own.serial.empty() && other.identity.serial == own.serial) {
            reasons.add(Kind::kIdentity, fmt::format("{} has the same serial number", other.name),
                        "Take the other one out, or leave one namespace of an NVMe drive.");
        }
    }
}

void look_at_drive(const Roots& roots, const Drive& drive, Reasons& reasons) {
    if (drive.identity.serial.empty())
        reasons.add(Kind::kIdentity, "it tells no serial number", "Use another drive.");
    if (drive.place.path.empty()) {
        reasons.add(Kind::kIdentity, "where it is plugged in cannot be told",
                    "Plug it into a SATA, SAS or NVMe port, by one path only.");
    }
    if (!drive.discard.supported()) {
        reasons.add(Kind::kDiscard, "it takes no discards",
                    "Its spare space cannot be set: use another drive, or a controller that passes "
                    "discards.");
    }
    if (read_number(drive.directory + "/ro") != 0)
        reasons.add(Kind::kReadOnly, "it is read-only", "See blockdev --getro and dmesg for why.");
    look_for_twins(drive, list_drives(roots), reasons);
}

bool has(const std::vector<DeviceNumber>& numbers, const Member& member) {
    return std::find(numbers.begin(), numbers.end(), member.number) != numbers.end();
}

void look_at_mounts(const Roots& roots, const std::vector<Member>& family, Reasons& reasons) {
    for (const Mount& mount : mounts(roots)) {
        for (const Member& member : family) {
            if (!has(mount.devices, member)) continue;
            reasons.add(Kind::kMounted,
                        fmt::format("{} is mounted at {}", member.name, printable(mount.point)),
                        "If nobody needs it, unmount it.");
        }
    }
}

void look_at_swap(const Roots& roots, const std::vector<Member>& family, Reasons& reasons) {
    for (const SwapArea& area : swap_areas(roots)) {
        for (const Member& member : family) {
            if (area.device != member.number) continue;
            reasons.add(Kind::kSwap, fmt::format("{} is a swap area", member.name),
                        fmt::format("If the memory suffices: swapoff {}", printable(area.path)));
        }
    }
}

void look_at_holders(const Roots& roots, const std::vector<Member>& family, Reasons& reasons) {
    for (const Member& member : family) {
        for (const std::string& holder : holders_of(roots, member)) {
            reasons.add(Kind::kHeld, fmt::format("{} belongs to {}", member.name, holder),
                        "If nobody needs that, stop it with the tool that made it (mdadm --stop, "
                        "vgchange -an, cryptsetup close, multipath -f).");
        }
    }
}

void look_at_openers(const Roots& roots, const std::vector<Member>& family, Reasons& reasons) {
    for (const std::string& opener : openers_of(roots, family))
        reasons.add(Kind::kOpen, "it is open in " + opener, "End that first.");
}

/// What of it may not go.
std::vector<std::string> kept_of(const std::vector<Signature>& signatures, bool has_data,
                                 const Wish& wish) {
    std::vector<std::string> kept;
    if (wish.wipe) return kept;
    for (const Signature& signature : not_ours(signatures, wish.table_of_ours.value_or("")))
        kept.push_back(signature.text());
    if (has_data && !wish.table_of_ours) kept.emplace_back(kUnknownData);
    return kept;
}

/// What is on it, and whether that is a reason.
std::vector<std::string> look_at_content(int file, const Drive& drive, const Wish& wish,
                                         Reasons& reasons) {
    const std::vector<Signature> signatures = signatures_in(file);
    std::vector<std::string> content;
    for (const Signature& signature : signatures) {
        content.push_back(signature.text());
        if (signature.is_of_shared_storage()) {
            reasons.add(Kind::kHeld, "it is a member of shared storage: " + signature.text(),
                        "Take it out of that with its own tool (zpool labelclear).");
        }
    }
    const bool has_data = signatures.empty() && holds_data(file, drive.bytes);
    if (has_data) content.emplace_back(kUnknownData);
    const std::vector<std::string> kept = kept_of(signatures, has_data, wish);
    if (!kept.empty()) {
        reasons.add(Kind::kContent, fmt::format("it holds {}", fmt::join(kept, ", ")),
                    fmt::format("If that may go for ever, say so with --wipe: ssd-op --host drives "
                                "enroll {} --wipe",
                                drive.identity.serial));
    }
    return content;
}

void look_at_tables(const Roots& roots, const Drive& drive, Reasons& reasons) {
    reasons.ask([&] { look_at_drive(roots, drive, reasons); });
    reasons.ask([&] {
        if (system_drives(roots).contains(drive.number))
            reasons.add(Kind::kSystemDisk, "this system lies on it", "Use another drive.");
    });
    std::vector<Member> family;
    reasons.ask([&] { family = family_of(drive); });
    reasons.ask([&] { look_at_mounts(roots, family, reasons); });
    reasons.ask([&] { look_at_swap(roots, family, reasons); });
    reasons.ask([&] { look_at_holders(roots, family, reasons); });
    reasons.ask([&] { look_at_openers(roots, family, reasons); });
}

}  // namespace

std::vector<Reason> reasons_in_tables(const Roots& roots, const Drive& drive) {
    Reasons reasons;
    look_at_tables(roots, drive, reasons);
    return reasons.take();
}

Examination examine(const Roots& roots, const Drive& drive, const Wish& wish) {
    Reasons reasons;
    std::optional<HeldDrive> held;
    std::vector<std::string> content;
    reasons.ask([&] { held = HeldDrive::take(roots, drive); });
    look_at_tables(roots, drive, reasons);
    if (held) {
        reasons.ask([&] { content = look_at_content(held->file_.get(), drive, wish, reasons); });
    } else if (reasons.empty()) {
        reasons.add(
            Kind::kOpen, "the kernel has given it, or a part of it, to somebody else",
            "It may be mounted in a container, or used by ZFS or a multi-drive file system: "
            "stop that.");
    }
    if (!reasons.empty()) held.reset();
    return {reasons.take(), std::move(content), std::move(held)};
}

}  // namespace host
