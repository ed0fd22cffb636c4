/// Taking room: the one way from a drive that was given to one that is written to.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/roots.h"
#include "drives/drive.h"
#include "enrolment/enrolled.h"
#include "refusal/examination.h"
#include "refusal/held_drive.h"
#include "refusal/reason.h"
#include "undo/undo_list.h"

namespace host {

/// Whether the drive was taken before, so that what is on it is ours. Fails when something of its
/// serial number was, and it was another drive.
bool is_taken(const UndoList& undo, const Drive& drive);

/// The GUID of the partition table that we made on the drive, or were about to; none when we did
/// not.
std::optional<std::string> recorded_table(const UndoList& undo, const Drive& drive);

/// What may go of what is on the drive: all, when that was said when it was given; what is ours,
/// when it was taken before. What others put there since is neither.
Wish wish_of(const Roots& roots, const UndoList& undo, const Drive& drive);

/// What was given of this drive. Fails when it is not enrolled, or another one was that called
/// itself so.
Enrolled enrolment_of(const Roots& roots, const Drive& drive);

/// Calls `ask` until it gives other reasons than that something is open, or none; for a few
/// seconds. udev looks into a drive for a moment each time that somebody has written to it.
std::vector<Reason> reasons_that_stay(const std::function<std::vector<Reason>()>& ask);

/// Takes a drive, before the first step that writes to it and again before later ones. When it
/// returns, the list says on the disk that what is on the drive is ours. Fails, with all reasons,
/// when the drive is refused; nothing was written to it then.
HeldDrive take(const Roots& roots, UndoList& undo, const Drive& drive);

}  // namespace host
