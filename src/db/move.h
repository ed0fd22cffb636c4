/// How the database gets from one place to the other, so that it is whole at one of them whatever
/// dies, fails or loses power on the way.
///
/// Marks stand beside the files while `mv` works, the first two under locks that the commands
/// inherit:
///
///     TARGET.arriving   what is called TARGET is not known to be whole
///     SOURCE.leaving    a second name of the whole database, which keeps it whatever `mv` does
///     TARGET.arrived    TARGET is the database, and what is called SOURCE.leaving is not any more
///
///     1. TARGET.arriving is made                     -> what is at TARGET is void
///     2. SOURCE is linked to SOURCE.leaving          -> the database cannot get lost any more
///     3. mv -f SOURCE TARGET
///     4. TARGET is synced
///     5. TARGET.arriving becomes TARGET.arrived      -> TARGET is the database
///     6. SOURCE.leaving is removed, then TARGET.arrived
///
/// Whoever opens the database settles first, under the database's lock, what was not brought to an
/// end: it waits until nobody holds a mark; a file that is arriving is removed, and its mark after
/// it; for one that has arrived step 6 is done; a file that is leaving gets its name back, unless
/// it still has it. Nobody writes to either file before that. So up to step 5 the database is where
/// it was, and from then on at TARGET.
///
/// Each mark lies with the file that it speaks of: a volume that is not mounted while the other
/// place is settled is settled when it comes back.
#pragma once

#include <string>
#include <vector>

namespace ssd_op::db {

/// Moves the file, under the database's lock and after settle_moves. 0: it has moved; the result of
/// the command; 1 when that succeeded and the new file could not be made durable; -1 when the move
/// is refused, because a journal cannot be played back or the marks cannot be made. Unless it is 0
/// the database is where it was.
int move_database(const std::string& from, const std::string& to);

/// The database's places that can be reached, the preferred one first.
using Places = std::vector<std::string>;

/// Settles what a move between the places left, under the database's lock. Waits up to a minute for
/// a command that has outlived the process which started it. False when that still runs or what it
/// left cannot be removed: the database must not be opened then.
bool settle_moves(const Places& places);

/// The place where the database is, or will be after settling; empty: nowhere.
std::string find_database(const Places& places);

}  // namespace ssd_op::db
