#include "storage/idle_drives.h"

#include "storage/giving_back.h"
#include "storage/record.h"
#include "undo/evaluations.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

/// In doubt it does.
bool another_runs(const Roots& roots) {
    try {
        return evaluation_runs(roots, Among::kOthers);
    } catch (const Failure&) {
        return true;
    }
}

}  // namespace

std::vector<std::string> idle_drives(const UndoList& undo) {
    std::vector<std::string> idle;
    for (const UndoEntry& entry : undo.entries())
        if (entry.kind == Kind::kDrive && !array_with(undo, entry.name)) idle.push_back(entry.name);
    return idle;
}

void give_drives_back(const Roots& roots, UndoList& undo,
                      const std::vector<std::string>& of_the_array, const TellKept& tell) {
    for (const std::string& serial : another_runs(roots) ? of_the_array : idle_drives(undo)) {
        try {
            remove_layout(roots, undo, serial);
            give_drive_back(roots, undo, serial);
        } catch (const Failure& failure) {
            tell(serial, failure);
        }
    }
}

}  // namespace host
