#include "report/xlsx_charts.h"

#include "report/xlsx_text.h"

namespace ssd_op::report {

namespace {

constexpr unsigned kChartHeight = 24;  // rows from one chart to the next

/// `count` cells of a row from a column on; both counted from 0. Of no cells the last comes before
/// the first, which readers take for two empty ones.
std::string cells(unsigned row, unsigned first, unsigned count) {
    const std::string line = std::to_string(row + 1);
    return "=Sheet1!$" + column_name(first + 1) + '$' + line + ":$" + column_name(first + count) +
           '$' + line;
}

/// What a chart of samples shows: rows below the times'.
struct SampleChart {
    unsigned x_row, y_row;
    const char* x_name;
    const char* y_name;
};
constexpr SampleChart kSampleCharts[] = {
    {0, 1, "Time(Sec)", "IOPS"}, {2, 1, "Written(GB)", "IOPS"}, {0, 2, "Time(Sec)", "Written(GB)"}};

void name_axes(lxw_chart* chart, const char* x_name, const char* y_name) {
    chart_axis_set_name(chart->x_axis, x_name);
    chart_axis_set_name(chart->y_axis, y_name);
}

}  // namespace

void insert_result_chart(Sheet& sheet, unsigned row, unsigned ratios, unsigned at_row) {
    lxw_chart* chart = sheet.new_chart(LXW_CHART_LINE);
    lxw_chart_series* series = sheet.add_series(chart, cells(row, kFirstResult, ratios),
                                                cells(row + 1, kFirstResult, ratios));
    chart_series_set_marker_type(series, LXW_CHART_MARKER_CIRCLE);
    chart_series_set_marker_size(series, 10);
    chart_series_set_name(series, "Over-provisioning amount");
    chart_title_off(chart);
    name_axes(chart, "OP Ratio(%)", "IOPS");
    sheet.insert(chart, at_row, kFirstResult);
}

void insert_sample_charts(Sheet& sheet, const std::vector<SampleRows>& ratios, unsigned at_row) {
    if (ratios.empty()) return;
    for (const SampleChart& kind : kSampleCharts) {
        lxw_chart* chart = sheet.new_chart(LXW_CHART_SCATTER_SMOOTH);
        for (const SampleRows& ratio : ratios) {
            lxw_chart_series* series =
                sheet.add_series(chart, cells(ratio.row + kind.x_row, kFirstSample, ratio.count),
                                 cells(ratio.row + kind.y_row, kFirstSample, ratio.count));
            chart_series_set_name(series, (std::to_string(ratio.percentage) + '%').c_str());
        }
        name_axes(chart, kind.x_name, kind.y_name);
        sheet.insert(chart, at_row, kFirstSample);
        at_row += kChartHeight;
    }
}

}  // namespace ssd_op::report
