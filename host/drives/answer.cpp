#include "drives/answer.h"

#include <charconv>
#include <limits>

namespace host {

const Json& at(const Json& answer, const std::string& path) {
    static const Json nothing;
    const auto pointer = Json::json_pointer("/" + path);
    return answer.contains(pointer) ? answer[pointer] : nothing;
}

std::optional<uint64_t> count(const Json& value) {
    if (value.is_number_unsigned()) return value.get<uint64_t>();
    if (!value.is_string()) return std::nullopt;
    const auto& text = value.get_ref<const std::string&>();
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<uint64_t> times(std::optional<uint64_t> units, uint64_t unit) {
    if (!units || *units > std::numeric_limits<uint64_t>::max() / unit) return std::nullopt;
    return *units * unit;
}

}  // namespace host
