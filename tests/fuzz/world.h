/// The appliance that targets read in when what they read is a file with a name of its own.
#pragma once

#include <string>
#include <string_view>

namespace fuzz {

/// Makes the appliance, once in a process, with record 1, and the same database for every input.
/// Record 1 is being tested and has two groups, results of two ratios, a runtime report and
/// temperatures.
void renew_database();

/// Stores values in that database, a line each: a letter for the column, one for what is stored (t
/// a text, l a long one, b bytes, n nothing), and the value itself.
void put_values(std::string_view lines);

/// The bytes of that database's file, and where it lies.
const std::string& database_bytes();
extern const char* const kDatabase;

}  // namespace fuzz
