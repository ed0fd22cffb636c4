#include "view/record_plot.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "model/record.h"
#include "model/results.h"
#include "model/samples.h"
#include "output/text.h"

namespace cli {

namespace {

std::string ratio_plot(const ssd_op_db_record& record, Charset charset) {
    Plot plot{"IOPS", "OP (%)", 0, 0, {{}}, {}};
    for (const Result& result : results_of(record)) {
        if (!result.iops || !std::isfinite(*result.iops)) continue;
        plot.curves[0].push_back({double(result.op), *result.iops});
        plot.ticks.push_back({double(result.op), double(result.op), std::to_string(result.op)});
    }
    if (plot.ticks.empty()) return "No ratio has a result.\n";
    plot.x_begin = plot.ticks.front().x;
    plot.x_end = plot.ticks.back().x;
    return plot_text(plot, charset);
}

/// The samples of a ratio, seconds and IOPS; empty when there are none.
Curve samples_of(int record_no, int ratio) {
    const RateSamples loaded = load_rates(record_no, ratio);
    const auto samples = shared::nodes(loaded.holder->runtime_report);
    int64_t end = 0;
    for (const auto& sample : samples) end = std::max(end, sample.time_slap);
    CurveThinner thinner(double(end) / 1000);
    for (const auto& sample : samples)
        thinner.add({double(std::max<int64_t>(sample.time_slap, 0)) / 1000,
                     double(std::max(sample.result, 0))});
    return thinner.curve();
}

/// All ratios one after the other: as curves over each other they could not be told apart.
std::string time_plot(const ssd_op_db_record& record, Charset charset) {
    Plot plot{"IOPS", "", 0, 0, {}, {}};
    for (int i = 0; i < record.count; ++i) {
        Curve curve = samples_of(record.record_no, record.percentage[i]);
        if (curve.empty()) continue;
        const double start = plot.x_end;
        plot.x_end += curve.back().x;
        for (Point& point : curve) point.x += start;
        plot.ticks.push_back(
            {start, (start + plot.x_end) / 2, fmt::format("OP {}", record.percentage[i])});
        plot.curves.push_back(std::move(curve));
    }
    if (plot.curves.empty()) return "There are no samples.\n";
    plot.x_label =
        fmt::format("time, one OP ratio (%) after the other, {} in all", duration_text(plot.x_end));
    return plot_text(plot, charset);
}

}  // namespace

std::string record_plots(const ssd_op_db_record& record, Charset charset) {
    return "IOPS over OP\n\n" + ratio_plot(record, charset) + "\nIOPS over time\n\n" +
           time_plot(record, charset);
}

}  // namespace cli
