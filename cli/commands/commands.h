/// Commands room: one file for each command of ssd-op, its options and what it tells.
#pragma once

#include <memory>
#include <utility>

#include "shared/command_line.h"

namespace cli {

using ssd_op::shared::Argument;
using ssd_op::shared::Arguments;

/// Each adds one command to the program; running it may throw Failure.
void add_drives_command(Arguments& app);
void add_start_command(Arguments& app);
void add_status_command(Arguments& app);
void add_watch_command(Arguments& app);
void add_list_command(Arguments& app);
void add_show_command(Arguments& app);
void add_recommend_command(Arguments& app);
void add_compare_command(Arguments& app);
void add_export_command(Arguments& app);
void add_report_command(Arguments& app);
void add_events_command(Arguments& app);
void add_consent_command(Arguments& app);
void add_stop_command(Arguments& app);
void add_delete_command(Arguments& app);
void add_limit_command(Arguments& app);
void add_db_command(Arguments& app);

/// Adds a command, and options of its own that live as long as it does.
template <typename Options>
std::pair<Arguments, Options&> add_command(Arguments& app, const char* name,
                                           const char* description, void (*run)(const Options&)) {
    Arguments command = app.subcommand(name, description);
    const auto options = std::make_shared<Options>();
    command.callback([options, run] { run(*options); });
    return {command, *options};
}

inline Argument add_json_flag(Arguments& command, bool& json) {
    return command.flag("--json", json, "Print JSON");
}

}  // namespace cli
