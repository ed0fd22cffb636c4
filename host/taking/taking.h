/// Taking room: the one way from a drive that was given to one that is written to.
#pragma once

#include "core/roots.h"
#include "drives/drive.h"
#include "enrolment/enrolled.h"
#include "refusal/held_drive.h"
#include "undo/undo_list.h"

namespace host {

/// Whether the drive was taken before, so that what is on it is ours. Fails when something of its
/// serial number was, and it was another drive.
bool is_taken(const UndoList& undo, const Drive& drive);

/// What was given of this drive. Fails when it is not enrolled, or another one was that called
/// itself so.
Enrolled enrolment_of(const Roots& roots, const Drive& drive);

/// Takes a drive, before the first step that writes to it and again before later ones. When it
/// returns, the list says on the disk that what is on the drive is ours. Fails, with all reasons,
/// when the drive is refused; nothing was written to it then.
HeldDrive take(const Roots& roots, UndoList& undo, const Drive& drive);

}  // namespace host
