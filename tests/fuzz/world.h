/// The appliance that targets read in when what they read is a file with a name of its own.
#pragma once

#include <string>

namespace fuzz {

/// Makes the appliance, once in a process, with record 1, and the same database for every input.
/// Record 1 is being tested and has two groups, results of two ratios, a runtime report and
/// temperatures.
void renew_database();

/// The bytes of that database's file, and where it lies.
const std::string& database_bytes();
extern const char* const kDatabase;

}  // namespace fuzz
