#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cli {

/// Key order as written: what matters most comes first.
using Json = nlohmann::ordered_json;

template <typename Value>
Json or_null(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}
inline Json positive_or_null(int value) { return value > 0 ? Json(value) : Json(nullptr); }

template <typename Items, typename ToJson>
Json json_list(const Items& items, ToJson to_json) {
    Json list = Json::array();
    for (const auto& item : items) list.push_back(to_json(item));
    return list;
}

void print_json(const Json& json);
void print_json_line(const Json& json);

bool stdout_is_terminal();

/// Asks a question on the terminal. True when the answer is "yes", spelled out.
/// @throws Failure when there is no terminal to ask on
bool confirmed(const std::string& question);

/// Lines at the end of a terminal's output that the next ones are written over. They are cut at the
/// terminal's width, since a line that wraps would be two.
class LiveBlock {
  public:
    void show(const std::vector<std::string>& lines);

  private:
    size_t height_ = 0;
};

}  // namespace cli
