#include "storage/undoing.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "storage/array.h"
#include "storage/giving_back.h"
#include "storage/pool.h"
#include "storage/volume.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

bool is_same(const UndoEntry& one, const UndoEntry& other) {
    return one.kind == other.kind && one.name == other.name;
}

}  // namespace

void undo_step(const Roots& roots, UndoList& undo, const UndoEntry& entry) {
    const std::string name = entry.name;  // the entry goes with the list
    switch (entry.kind) {
        case Kind::kDrive:
            return give_drive_back(roots, undo, name);
        case Kind::kPartitions:
            return remove_layout(roots, undo, name);
        case Kind::kArray:
            return remove_array(roots, undo, array_of(entry).id);
        case Kind::kPool:
            return remove_pool(roots, undo, pool_of(entry).id);
        case Kind::kVolume:
            return remove_volume(roots, undo, volume_of(entry).id);
        case Kind::kService:
            return;  // no step of storage; see start_units
    }
}

std::string name_of(const UndoEntry& entry) {
    const char* const kind = [&] {
        switch (entry.kind) {
            case Kind::kDrive:
                return "drive";
            case Kind::kPartitions:
                return "partitions of the drive";
            case Kind::kArray:
                return "RAID group";
            case Kind::kPool:
                return "pool";
            case Kind::kVolume:
                return "volume";
            default:
                return "service";
        }
    }();
    return fmt::format("{} {}", kind, printable(entry.name));
}

void all_or_nothing(const Roots& roots, UndoList& undo, const std::function<void()>& work) {
    const std::vector<UndoEntry> before = undo.entries();
    try {
        work();
    } catch (...) {
        const std::vector<UndoEntry> after = undo.entries();
        for (auto entry = after.rbegin(); entry != after.rend(); ++entry) {
            const bool is_old = std::any_of(before.begin(), before.end(),
                                            [&](const auto& one) { return is_same(one, *entry); });
            try {
                if (!is_old) undo_step(roots, undo, *entry);
            } catch (const Failure&) {
                // It stays in the list, for cleanup.
            }
        }
        throw;
    }
}

}  // namespace host
