/// Core room of the simulated appliance: its state, its journal and its faults, in one SQLite file
/// that all processes of an instance share. The stand-ins of the platform's libraries, the programs
/// and the tests go through it; it knows nothing of them.
#pragma once

#include <string>

#include <SQLiteCpp/SQLiteCpp.h>

namespace appliance {

/// The state file, as the processes inside the sandbox see it.
inline constexpr const char* kStateFile = "/var/lib/appliance/state.db";

/// This process's connection to the state. A forked child gets a connection of its own.
/// @throws SQLite::Exception when the instance's state cannot be opened
SQLite::Database& state();

/// A value of the `setting` table, or the fallback when it is not there.
std::string setting(const std::string& key, const std::string& fallback);
void set_setting(const std::string& key, const std::string& value);

/// Runs `body` in one transaction that keeps every other process out, and returns what it returns.
template <typename Body>
auto exclusively(Body&& body) {
    struct Transaction {
        Transaction() { state().exec("BEGIN IMMEDIATE"); }
        ~Transaction() {
            if (!committed) state().tryExec("ROLLBACK");
        }
        void commit() {
            state().exec("COMMIT");
            committed = true;
        }
        bool committed = false;
    } transaction;
    auto result = body();
    transaction.commit();
    return result;
}

}  // namespace appliance
