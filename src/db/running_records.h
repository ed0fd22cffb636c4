#pragma once

#include <optional>
#include <vector>

namespace ssd_op::db {

// What driver and stop decide by. Nothing where the database does not tell: that is neither yes nor
// no.

/// Up to `max` records that are initiating, testing or finishing, by their numbers.
std::optional<std::vector<int>> running_records(int max) noexcept;

std::optional<bool> record_exists(int record_no) noexcept;

/// The record's status; nothing also when there is no such record.
std::optional<int> stored_status(int record_no) noexcept;

/// Whether a record that is newer than this one has a group with this id.
std::optional<bool> newer_record_has_group(int record_no, int raid_id) noexcept;

}  // namespace ssd_op::db
