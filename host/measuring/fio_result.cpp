#include "measuring/fio_result.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "core/failure.h"
#include "core/text.h"
#include "drives/answer.h"

namespace host {

namespace {

constexpr uint64_t kMostSeconds = 604800;  // a week: no job is let longer
constexpr double kMost = 1e18;             // what a count of any measurement is far below

[[noreturn]] void fail(const std::string& why) {
    throw Failure("fio measured nothing: " + why + ".",
                  "See dmesg for what the kernel says of it.");
}

/// It complains before its answer, in the same place.
Json answer_in(const std::string& text) {
    const size_t begin = text.starts_with('{') ? 0 : text.find("\n{");
    Json answer = begin == std::string::npos ? Json() : parse_foreign(text.substr(begin));
    if (!answer.is_object()) fail(text.empty() ? "it told nothing" : printable(trimmed(text)));
    return answer;
}

double number_at(const Json& answer, const std::string& path) {
    const Json& value = at(answer, path);
    const double number = value.is_number() ? value.get<double>() : -1;
    if (!(number >= 0 && number < kMost)) fail("its answer has no " + path);
    return number;
}

uint64_t count_at(const Json& answer, const std::string& path) {
    return static_cast<uint64_t>(number_at(answer, path));
}

std::optional<uint64_t> number_in(std::string_view text) {
    const std::string_view digits = trimmed(text);
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

uint64_t nearest_second(uint64_t milliseconds) {
    return milliseconds / 1000 + (milliseconds % 1000 >= 500 ? 1 : 0);
}

}  // namespace

FioResult fio_result(const std::string& text, bool read) {
    const Json answer = answer_in(text);
    const Json& job = at(answer, "jobs/0");
    if (const uint64_t error = count_at(job, "error"); error != 0)
        fail(std::strerror(static_cast<int>(error)));
    const Json& side = at(job, read ? "read" : "write");
    if (count_at(side, "total_ios") == 0) fail("nothing was done in the time");
    constexpr double kNanoseconds = 1000;  // of a microsecond
    return {count_at(side, "io_bytes"),
            count_at(side, "bw_bytes"),
            count_at(side, "iops"),
            count_at(side, "runtime"),
            number_at(side, "lat_ns/mean") / kNanoseconds,
            number_at(side, "lat_ns/percentile/99.000000") / kNanoseconds,
            {}};
}

std::vector<uint64_t> fio_log(const std::string& text, uint64_t milliseconds) {
    const uint64_t seconds = std::min(nearest_second(milliseconds), kMostSeconds);
    std::vector<uint64_t> rates(std::max<uint64_t>(seconds, 1) - 1);
    bool tells = false;
    for (const std::string_view line : split(text, '\n')) {
        const auto fields = split(line, ',');
        if (fields.size() < 2) continue;
        const uint64_t second = nearest_second(number_in(fields[0]).value_or(0));
        const auto rate = number_in(fields[1]);
        if (!rate || second == 0 || second > seconds) continue;
        if (second > rates.size()) rates.resize(second);
        rates[second - 1] = *rate;
        tells = true;
    }
    return tells ? rates : std::vector<uint64_t>();
}

std::string details_of(const FioResult& result) {
    std::string text = fmt::format("mean_latency_us,{:.1f}\np99_latency_us,{:.1f}\n",
                                   result.mean_microseconds, result.p99_microseconds);
    for (const uint64_t rate : result.iops_of_seconds) text += fmt::format("iops,{}\n", rate);
    return text;
}

}  // namespace host
