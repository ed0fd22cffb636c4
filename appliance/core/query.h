#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "core/state.h"

namespace appliance {

/// A statement on the state with its values bound, ready for its first step. Unsigned 64-bit values
/// are sizes here and fit the signed ones that the state knows.
template <typename... Values>
SQLite::Statement statement(const char* sql, const Values&... values) {
    SQLite::Statement result(state(), sql);
    [[maybe_unused]] int index = 0;
    [[maybe_unused]] const auto bind = [&](const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, uint64_t>)
            result.bind(++index, static_cast<int64_t>(value));
        else
            result.bind(++index, value);
    };
    (bind(values), ...);
    return result;
}

/// Runs a statement that changes the state; returns how many rows it changed.
template <typename... Values>
int change(const char* sql, const Values&... values) {
    return statement(sql, values...).exec();
}

template <typename Value>
Value column_as(const SQLite::Column& column) {
    if constexpr (std::is_same_v<Value, std::string>)
        return column.getString();
    else if constexpr (std::is_floating_point_v<Value>)
        return column.getDouble();
    else
        return static_cast<Value>(column.getInt64());
}

/// The first column of the first row, if there is one.
template <typename Value = int64_t, typename... Values>
std::optional<Value> first(const char* sql, const Values&... values) {
    SQLite::Statement query = statement(sql, values...);
    if (!query.executeStep() || query.getColumn(0).isNull()) return std::nullopt;
    return column_as<Value>(query.getColumn(0));
}

/// The first column of every row.
template <typename Value = int64_t, typename... Values>
std::vector<Value> all(const char* sql, const Values&... values) {
    SQLite::Statement query = statement(sql, values...);
    std::vector<Value> result;
    while (query.executeStep()) result.push_back(column_as<Value>(query.getColumn(0)));
    return result;
}

}  // namespace appliance
