#include "storage/cleanup.h"

#include <vector>

#include <fmt/format.h>

#include "core/failure.h"
#include "services/units.h"
#include "storage/giving_back.h"
#include "storage/undoing.h"
#include "undo/evaluations.h"
#include "undo/owner.h"
#include "undo/undo_list.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

/// Of the one that made it, while that still is at work with it.
void refuse_under_owner(const Roots& roots, const UndoEntry& entry) {
    const auto owner = entry.details.find("owner");
    if (owner == entry.details.end() || !lives(roots, *owner)) return;
    throw Failure(fmt::format("The {} is in use by an evaluation, process {}.", name_of(entry),
                              owner->at("pid").get<int64_t>()),
                  "Wait for its end, or stop it with ssd-op stop. Nothing was undone.");
}

bool undo_and_tell(const Roots& roots, UndoList& undo, const UndoEntry& entry,
                   const std::function<void(const std::string&)>& tell) {
    try {
        undo_step(roots, undo, entry);
        tell(fmt::format("Undone: {}.", name_of(entry)));
        return true;
    } catch (const Failure& failure) {
        tell(fmt::format("NOT undone: {}. {} {}", name_of(entry), failure.what(),
                         failure.next_step()));
        return false;
    }
}

/// Services come last: they were stopped first, and starting them holds the list by itself.
bool start_services(const Roots& roots, const std::function<void(const std::string&)>& tell) {
    try {
        if (start_units(roots) > 0) tell("Undone: services are started.");
        return true;
    } catch (const Failure& failure) {
        tell(fmt::format("NOT undone: {} {}", failure.what(), failure.next_step()));
        return false;
    }
}

/// What was taken last may have no owner yet: a drive that is measured.
void refuse_under_evaluation(const Roots& roots) {
    if (evaluation_runs(roots))
        throw Failure("An evaluation runs.",
                      "Wait for its end, or stop it with ssd-op --host stop. Nothing was undone.");
}

bool forget_and_tell(const Roots& roots, UndoList& undo, const std::string& serial,
                     const std::function<void(const std::string&)>& tell) {
    try {
        forget_drive(roots, undo, serial);
        return true;
    } catch (const Failure& failure) {
        tell(fmt::format("NOT forgotten: {} {}", failure.what(), failure.next_step()));
        return false;
    }
}

bool undo_storage(const Roots& roots, const std::string& forget,
                  const std::function<void(const std::string&)>& tell) {
    UndoList undo(roots);
    refuse_under_evaluation(roots);  // one may have begun while the list was waited for
    const std::vector<UndoEntry> entries = undo.entries();
    for (const UndoEntry& entry : entries) refuse_under_owner(roots, entry);
    bool all = true;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        const bool is_of_drive = entry->kind == Kind::kDrive || entry->kind == Kind::kPartitions;
        if (entry->kind == Kind::kService) continue;
        if (!forget.empty() && is_of_drive && entry->name == forget) continue;
        all = undo_and_tell(roots, undo, *entry, tell) && all;
    }
    if (!forget.empty()) all = forget_and_tell(roots, undo, forget, tell) && all;
    return all;
}

}  // namespace

bool clean_up(const Roots& roots, const std::string& forget,
              const std::function<void(const std::string&)>& tell) {
    refuse_under_evaluation(roots);
    const bool storage = undo_storage(roots, forget, tell);
    return start_services(roots, tell) && storage;
}

}  // namespace host
