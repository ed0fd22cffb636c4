#pragma once

namespace ssd_op::db {

enum class StatusChange {
    kChanged,
    kWasOther,    ///< the record has another status than the one to leave, or there is no record
    kNotWritten,  ///< the record may still have the old status: the database could not be written
};

/// Moves a record from one status to another in one statement, so that no change by another process
/// is overwritten. A write that fails is tried again for about a second. The database is locked
/// for each try, not between them.
StatusChange change_status(int record_no, int from, int to) noexcept;

}  // namespace ssd_op::db
