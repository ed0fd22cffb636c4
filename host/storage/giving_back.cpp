#include "storage/giving_back.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "enrolment/enrolled.h"
#include "enrolment/enrolment.h"
#include "refusal/content.h"
#include "shared/drive_id.h"
#include "storage/discard_all.h"
#include "storage/layout.h"
#include "storage/record.h"
#include "storage/zeroing.h"
#include "taking/taking.h"

namespace host {

namespace {

using Kind = UndoEntry::Kind;

/// A drive of the list, for the undoing alone.
HeldDrive take_back(const Roots& roots, const UndoList& undo, const Drive& drive) {
    if (!is_taken(undo, drive)) {
        throw Failure(
            fmt::format("The undo list does not say that {} was taken.", drive.identity.serial),
            "Nothing was written to it.");
    }
    const Wish wish = wish_of(roots, undo, drive);
    Examination examination;
    const auto reasons = reasons_that_stay([&] {
        examination = examine(roots, drive, wish);
        return examination.reasons;
    });
    if (!examination.passed()) {
        throw Failure(fmt::format("The drive {} cannot be given back:\n{}", drive.identity.serial,
                                  list_of(reasons)),
                      "Nothing was written to it. Then run it again. If it is broken for good: "
                      "ssd-op-host cleanup --forget " +
                          drive.identity.serial);
    }
    return std::move(*examination.held);
}

/// Fails, with what to do, when it is gone.
Drive drive_there(const Roots& roots, const std::string& serial) {
    const auto all = list_drives(roots);
    if (std::any_of(all.begin(), all.end(),
                    [&](const Drive& drive) { return drive.identity.serial == serial; }))
        return drive_with_serial(roots, serial);
    throw Failure(fmt::format("The drive {} is not there.", serial),
                  "Put it back and run it again. If it is gone for good: ssd-op-host cleanup "
                  "--forget " +
                      serial);
}

void refuse_in_array(const UndoList& undo, const std::string& serial) {
    if (const auto array = array_with(undo, serial)) {
        throw Failure(fmt::format("The drive {} is in the RAID group {}.", serial, array->id),
                      "That has to go first.");
    }
}

}  // namespace

void remove_layout(const Roots& roots, UndoList& undo, const std::string& serial) {
    refuse_in_array(undo, serial);
    const Drive drive = drive_there(roots, serial);
    const HeldDrive held = take_back(roots, undo, drive);
    const std::string table = table_guid(roots, drive);
    if (!table.empty() && table != recorded_table(undo, drive)) {
        throw Failure(
            fmt::format("The drive {} has a partition table that is not ours.", serial),
            "Nothing was written to it. If it may go: wipefs --all " + drive.device(roots));
    }
    const auto data =
        table.empty() ? std::nullopt : partition_of(drive, ssd_op::shared::kDataPartition);
    const auto file = held.open_for_writing();
    if (data && data->start + data->bytes <= drive.bytes)
        zero_edges(file.get(), data->start, data->bytes);
    sync(file.get());
    // Also when a power cut has left no more than a part of the table, which sfdisk does not tell.
    zero_table(file.get(), drive.bytes, drive.block_bytes);
    held.read_partitions_again();
    undo.remove(Kind::kPartitions, serial);
}

void give_drive_back(const Roots& roots, UndoList& undo, const std::string& serial) {
    if (undo.find(Kind::kPartitions, serial) != nullptr) {
        throw Failure(fmt::format("The drive {} has our partitions.", serial),
                      "Those have to go first.");
    }
    const Drive drive = drive_there(roots, serial);
    const HeldDrive held = take_back(roots, undo, drive);
    const auto file = held.open_for_writing();
    discard_all(file.get(), drive.bytes);
    zero_edges(file.get(), 0, drive.bytes);
    sync(file.get());
    held.read_partitions_again();
    if (!signatures_in(file.get()).empty() || holds_data(file.get(), drive.bytes)) {
        throw Failure(fmt::format("The drive {} is not empty after all.", serial),
                      "Look for I/O errors with dmesg.");
    }
    end_wipe(roots, serial);
    undo.remove(Kind::kDrive, serial);
}

void forget_drive(const Roots& roots, UndoList& undo, const std::string& serial) {
    const auto all = list_drives(roots);
    if (std::any_of(all.begin(), all.end(), [&](const Drive& drive) {
            return drive.identity.serial == serial && !is_broken(roots, drive);
        })) {
        throw Failure(fmt::format("The drive {} is there.", printable(serial)),
                      "It needs not be forgotten: ssd-op-host cleanup gives it back.");
    }
    refuse_in_array(undo, serial);
    undo.remove(Kind::kPartitions, serial);
    undo.remove(Kind::kDrive, serial);
}

}  // namespace host
