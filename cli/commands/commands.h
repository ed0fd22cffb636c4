/// Commands room: one file for each command of ssd-op, its options and what it tells.
#pragma once

#include <memory>
#include <utility>

#include <CLI/CLI.hpp>

namespace cli {

/// Each adds one command to the program; running it may throw Failure.
void add_drives_command(CLI::App& app);
void add_start_command(CLI::App& app);
void add_status_command(CLI::App& app);
void add_watch_command(CLI::App& app);
void add_list_command(CLI::App& app);
void add_show_command(CLI::App& app);
void add_export_command(CLI::App& app);
void add_events_command(CLI::App& app);
void add_consent_command(CLI::App& app);
void add_stop_command(CLI::App& app);
void add_delete_command(CLI::App& app);
void add_limit_command(CLI::App& app);
void add_db_command(CLI::App& app);

/// Adds a command, and options of its own that live as long as it does.
template <typename Options>
std::pair<CLI::App&, Options&> add_command(CLI::App& app, const char* name, const char* description,
                                           void (*run)(const Options&)) {
    CLI::App& command = *app.add_subcommand(name, description);
    const auto options = std::make_shared<Options>();
    command.callback([options, run] { run(*options); });
    return {command, *options};
}

inline void add_json_flag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Print JSON");
}

}  // namespace cli
