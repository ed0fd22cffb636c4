#pragma once

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

inline void add_json_flag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Print JSON");
}

}  // namespace cli
