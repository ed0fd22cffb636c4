#include "taking/taking.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "enrolment/enrolment.h"

namespace host {

namespace {

constexpr auto kDrive = UndoEntry::Kind::kDrive;

/// By which a drive is known again. Its place is for people: a drive may be put elsewhere.
Json details_of(const Drive& drive) {
    return {{"wwn", drive.identity.wwn},
            {"model", drive.identity.model},
            {"bytes", drive.bytes},
            {"place", drive.place.path}};
}

bool is_of(const UndoEntry& entry, const Drive& drive) {
    Json then = entry.details, now = details_of(drive);
    then.erase("place");
    now.erase("place");
    return then == now;
}

}  // namespace

bool is_taken(const UndoList& undo, const Drive& drive) {
    const UndoEntry* const entry = undo.find(kDrive, drive.identity.serial);
    if (entry == nullptr || is_of(*entry, drive)) return entry != nullptr;
    throw Failure(fmt::format("The drive {} is not the one that was written to: its WWN, model or "
                              "size is another.",
                              drive.identity.serial),
                  "Put that one back and run ssd-op --host cleanup.");
}

std::optional<std::string> recorded_table(const UndoList& undo, const Drive& drive) {
    const UndoEntry* const entry = undo.find(UndoEntry::Kind::kPartitions, drive.identity.serial);
    if (entry == nullptr) return std::nullopt;
    const auto guid = entry->details.find("guid");
    if (guid == entry->details.end() || !guid->is_string()) {
        throw Failure("The undo list does not say which partition table is ours.",
                      "Restore undo.json from a backup.");
    }
    return guid->get<std::string>();
}

Wish wish_of(const Roots& roots, const UndoList& undo, const Drive& drive) {
    const auto all = enrolled_drives(roots);
    Wish wish{std::any_of(all.begin(), all.end(),
                          [&](const Enrolled& one) { return one.is(drive) && one.wipe; })};
    if (is_taken(undo, drive)) wish.table_of_ours = recorded_table(undo, drive).value_or("");
    return wish;
}

Enrolled enrolment_of(const Roots& roots, const Drive& drive) {
    const auto all = enrolled_drives(roots);
    const auto found = std::find_if(all.begin(), all.end(), [&](const Enrolled& one) {
        return one.serial == drive.identity.serial;
    });
    if (found == all.end()) {
        throw Failure(
            fmt::format("The drive {} is not enrolled.",
                        drive.identity.serial.empty() ? drive.name : drive.identity.serial),
            "See ssd-op-host drives list, and enroll what may be written to.");
    }
    if (!found->is(drive)) {
        throw Failure(fmt::format("The drive {} is not the one that was enrolled: its WWN, model "
                                  "or size is another.",
                                  drive.identity.serial),
                      "If it may be written to, release the serial number and enroll it again.");
    }
    return *found;
}

std::vector<Reason> reasons_that_stay(const std::function<std::vector<Reason>()>& ask) {
    constexpr int kMostLooks = 20;
    constexpr std::chrono::milliseconds kBetween{250};
    const auto is_open = [](const Reason& reason) { return reason.kind == Reason::Kind::kOpen; };
    std::vector<Reason> reasons = ask();
    for (int look = 1; look < kMostLooks && !reasons.empty(); ++look) {
        if (!std::all_of(reasons.begin(), reasons.end(), is_open)) break;
        std::this_thread::sleep_for(kBetween);
        reasons = ask();
    }
    return reasons;
}

HeldDrive take(const Roots& roots, UndoList& undo, const Drive& drive) {
    enrolment_of(roots, drive);
    const Wish wish = wish_of(roots, undo, drive);
    Examination examination;
    const auto reasons = reasons_that_stay([&] {
        examination = examine(roots, drive, wish);
        return examination.reasons;
    });
    if (!examination.passed()) {
        throw Failure(
            fmt::format("The drive {} is refused:\n{}", drive.identity.serial, list_of(reasons)),
            "Nothing was written to it.");
    }
    if (!wish.table_of_ours) undo.add({kDrive, drive.identity.serial, details_of(drive)});
    return std::move(*examination.held);
}

}  // namespace host
