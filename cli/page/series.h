#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "output/terminal.h"

namespace cli {

/// Takes in a series of any length and keeps so much of it as a chart can show: of each equal span
/// of time the mean, the smallest and the largest value.
class Series {
  public:
    /// @param end of the time, in milliseconds
    explicit Series(int64_t end);
    void add(int64_t time, double value);

    /// {"samples", "lowest", "mean", "highest", "points": [[seconds, mean, lowest, highest], ...]};
    /// null of no samples
    Json json() const;

  private:
    struct Span {
        int64_t count = 0;
        double time = 0;  // sums, as the next
        double value = 0;
        double lowest = 0;
        double highest = 0;

        void add(double at, double added);
    };

    int64_t end_;
    Span all_;
    std::vector<Span> spans_;
};

constexpr size_t kSpans = 240;  // of a series

}  // namespace cli
