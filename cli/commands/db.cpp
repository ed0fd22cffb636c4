#include <optional>
#include <string>

#include <fmt/format.h>

#include "commands/commands.h"
#include "model/choice.h"
#include "model/database.h"
#include "model/record.h"
#include "output/failure.h"
#include "output/terminal.h"
#include "output/text.h"
#include "process/outer_path.h"
#include "ssd_op.h"

namespace cli {

namespace {

constexpr int kOldestKept = 2;  // on the way below it, and up from there, the database is deleted

struct Options {
    std::string place;
    int version = 0;
    bool yes = false;
    bool json = false;
};

const char* location_word(int location) {
    return location == SSD_OP_DB_LOCATION_VOLUME ? "data volume" : "system area";
}

void where(const Options& options) {
    const Place place = find_database();
    if (options.json) {
        print_json({{"location", location_word(place.location)},
                    {"path", outer_path(place.path)},
                    {"size_kib", place.size_kib}});
    } else {
        fmt::print("{}  ({}, {} KiB)\n", printable(outer_path(place.path)),
                   location_word(place.location), place.size_kib);
    }
}

/// Free space of a place; none when it cannot be used.
std::optional<uint64_t> free_kib(int location) {
    unsigned long long used = 0, available = 0;
    if (SSD_OP_DB_Get_Location_Usage(location, &used, &available) != 0) return std::nullopt;
    return available;
}

std::string free_text(int location) {
    const auto kib = free_kib(location);
    return kib ? size_text(*kib * kKib) + " free" : "not available";
}

void size(const Options& options) {
    const Place place = find_database();
    if (options.json) {
        print_json({{"size_kib", place.size_kib},
                    {"location", location_word(place.location)},
                    {"volume_free_kib", or_null(free_kib(SSD_OP_DB_LOCATION_VOLUME))},
                    {"system_free_kib", or_null(free_kib(SSD_OP_DB_LOCATION_SYSTEM))}});
        return;
    }
    fmt::print("Database     {} KiB, on the {}\n", place.size_kib, location_word(place.location));
    for (const int location : {SSD_OP_DB_LOCATION_VOLUME, SSD_OP_DB_LOCATION_SYSTEM}) {
        std::string name = location_word(location);
        name.front() = location == SSD_OP_DB_LOCATION_VOLUME ? 'D' : 'S';
        fmt::print("{}  {}\n", name, free_text(location));
    }
}

void move(const Options& options) {
    const int wanted =
        options.place == "volume" ? SSD_OP_DB_LOCATION_VOLUME : SSD_OP_DB_LOCATION_SYSTEM;
    const Place before = find_database();
    const int result = SSD_OP_DB_Set_Location(wanted);
    if (result == -1) {
        throw Failure(kRefused,
                      fmt::format("The {} does not have enough room for the database, the data "
                                  "volume is not mounted, or the file cannot be moved as it lies.",
                                  location_word(wanted)),
                      fmt::format("Data volume: {}. System area: {}. The database has {} KiB; to "
                                  "the volume it moves when that has more room than the system "
                                  "area would have after it.",
                                  free_text(SSD_OP_DB_LOCATION_VOLUME),
                                  free_text(SSD_OP_DB_LOCATION_SYSTEM), before.size_kib));
    }
    if (result != 0)
        throw Failure(kFailed, "The database cannot be moved.",
                      "ssd-op db where tells where it is now.");
    where(options);
}

void ask_before_change(const Options& options, const std::string& what) {
    if (!options.yes && !confirmed(what + " Go on?"))
        throw Failure(kNotConfirmed, "The database stays as it was.");
}

void report_version(int result, const Options& options) {
    if (result != 0)
        throw Failure(
            kFailed, "The database has not reached that version.",
            "It is whole, at a version between. The appliance's trace log tells why; then "
            "try again.");
    const int version = database_version();
    const size_t count = record_nos().size();
    if (options.json)
        print_json({{"version", version}, {"records", count}});
    else
        fmt::print("The database has version {} and {}.\n", version, count_text(count, "record"));
}

void upgrade(const Options& options) {
    refuse_running(record_nos(), "the database stays as it is meanwhile.");
    const int version = database_version();
    if (version >= 0 && version < kOldestKept) {
        ask_before_change(options, fmt::format("The database has version {}, which cannot be "
                                               "carried over: ALL RECORDS WILL BE LOST.",
                                               version));
    }
    report_version(SSD_OP_DB_Version_Upgrade(), options);
}

void downgrade(const Options& options) {
    find_database();
    refuse_running(record_nos(), "the database stays as it is meanwhile.");
    ask_before_change(options,
                      options.version < kOldestKept
                          ? "On this way ALL RECORDS WILL BE LOST."
                          : "What the older version has no place for is lost: temperatures, and "
                            "below version 3 what the appliance was and how records were tested.");
    report_version(SSD_OP_DB_Version_Downgrade(options.version), options);
}

Json dangling_json(const Dangling& rows) {
    return {{"table", rows.table},
            {"missing_in", rows.parent},
            {"rows", rows.rows},
            {"left_by_limit", rows.is_left_by_limit()}};
}

Json check_json(const DatabaseCheck& check) {
    return {{"sound", check.is_sound()},
            {"version", check.version},
            {"damages", check.damages},
            {"dangling", json_list(check.dangling, dangling_json)}};
}

std::string version_text(int version) {
    if (version == kNoVersion) return "unreadable";
    if (version < kCurrentVersion)
        return as_called(fmt::format("{}; ssd-op db upgrade brings it up", version));
    if (version == kCurrentVersion) return std::to_string(version);
    return fmt::format("{}; made by a newer program, this one knows up to {}", version,
                       kCurrentVersion);
}

void print_check(const DatabaseCheck& check) {
    fmt::print("Version    {}\n", version_text(check.version));
    fmt::print("File       {}\n", check.damages.empty() ? "whole" : "DAMAGED");
    for (const std::string& damage : check.damages) fmt::print("  {}\n", printable(damage));
    if (check.dangling.empty() && check.damages.empty())
        fmt::print("References all lead to something\n");
    for (const Dangling& each : check.dangling) {
        fmt::print("References {} of {} lead to nothing in {}{}\n",
                   count_text(static_cast<size_t>(each.rows), "row"), each.table, each.parent,
                   each.is_left_by_limit() ? ": left by the record limit, harmless" : "");
    }
}

void check(const Options& options) {
    const DatabaseCheck found = check_database();
    if (options.json)
        print_json(check_json(found));
    else
        print_check(found);
    if (!found.is_sound())
        throw Failure(kFailed, "The database is damaged.",
                      "Export what can still be read, and move the file away: a new one is made.");
}

std::pair<Arguments, Options&> add(Arguments& db, const char* name, const char* description,
                                   void (*run)(const Options&), const char* example) {
    auto [command, options] = add_command(db, name, description, run);
    add_json_flag(command, options.json);
    command.footer(std::string("Example:\n  ") + example);
    return {command, options};
}

}  // namespace

void add_db_command(Arguments& app) {
    Arguments db = app.subcommand("db", "Look after the database of records");
    db.require_one_subcommand();
    db.footer("Example:\n  ssd-op db check");
    add(db, "where", "Tell where it lies", where, "ssd-op db where");
    add(db, "size", "Tell its size and the room there is", size, "ssd-op db size");
    auto [to_move, place] = add(db, "move", "Move it", move, "ssd-op db move volume");
    to_move.add("PLACE", place.place, "volume: the data volume; system: the system area")
        .required()
        .one_of({"volume", "system"});
    add(db, "check",
        "Examine file, version and references; reads the file itself, without changing it", check,
        "ssd-op db check");
    auto [up, up_options] = add(db, "upgrade", "Bring an older one to the version of this program",
                                upgrade, "ssd-op db upgrade");
    up.flag("--yes", up_options.yes, "Do not ask, which it does when records would be lost");
    auto [down, down_options] = add(db, "downgrade", "Bring it to the version of an older program",
                                    downgrade, "ssd-op db downgrade 5");
    down.add("N", down_options.version, "The version").required().between(0, kCurrentVersion - 1);
    down.flag("--yes", down_options.yes, "Do not ask");
}

}  // namespace cli
