#include "page/series.h"

#include <algorithm>
#include <cmath>

namespace cli {

namespace {

/// More digits would make the page larger, and nobody sees them.
double tenths(double value) { return std::round(value * 10) / 10; }

}  // namespace

void Series::Span::add(double at, double added) {
    lowest = count == 0 ? added : std::min(lowest, added);
    highest = count == 0 ? added : std::max(highest, added);
    time += at;
    value += added;
    ++count;
}

Series::Series(int64_t end) : end_(std::max<int64_t>(end, 0)), spans_(kSpans) {}

void Series::add(int64_t time, double value) {
    const double at = static_cast<double>(std::clamp<int64_t>(time, 0, end_));
    const double place = end_ == 0 ? 0 : at / static_cast<double>(end_) * kSpans;
    spans_[std::min(static_cast<size_t>(place), kSpans - 1)].add(at / 1000, value);
    all_.add(at / 1000, value);
}

Json Series::json() const {
    if (all_.count == 0) return nullptr;
    Json points = Json::array();
    for (const Span& span : spans_) {
        if (span.count == 0) continue;
        const auto count = static_cast<double>(span.count);
        points.push_back({tenths(span.time / count), tenths(span.value / count),
                          tenths(span.lowest), tenths(span.highest)});
    }
    return {{"samples", all_.count},
            {"lowest", all_.lowest},
            {"mean", all_.value / static_cast<double>(all_.count)},
            {"highest", all_.highest},
            {"points", std::move(points)}};
}

}  // namespace cli
