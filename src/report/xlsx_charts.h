#pragma once

#include <vector>

#include "report/xlsx_sheet.h"

namespace ssd_op::report {

/// Where the sheet holds the samples of a ratio: the times' row, above those of results and
/// amounts. Rows are counted from 0 here, columns too.
struct SampleRows {
    int percentage;
    unsigned row;
    unsigned count;  ///< samples on the sheet
};

/// The first column of the samples, and of the results by ratio.
constexpr unsigned kFirstSample = 3;
constexpr unsigned kFirstResult = 2;
/// Samples of a ratio that the sheet has columns for.
constexpr unsigned kRoom = kColumns - kFirstSample;

/// IOPS by ratio. `row` holds the ratios, the next one the results. Without ratios the chart is
/// empty.
void insert_result_chart(Sheet& sheet, unsigned row, unsigned ratios, unsigned at_row);

/// IOPS by time, IOPS by the amount written, and the amount by time: one curve each for every
/// ratio, one chart below the other. A ratio without samples has an empty curve. Without any ratio
/// the charts are left out, as a workbook has no chart without a curve.
void insert_sample_charts(Sheet& sheet, const std::vector<SampleRows>& ratios, unsigned at_row);

}  // namespace ssd_op::report
