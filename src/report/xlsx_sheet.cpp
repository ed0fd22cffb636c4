#include "report/xlsx_sheet.h"

#include <cmath>
#include <new>
#include <utility>

#include "report/xlsx_check.h"
#include "report/xlsx_text.h"

namespace ssd_op::report {

namespace {

constexpr lxw_color_t kOrange = 0xFF6600;

}  // namespace

Sheet::Sheet(const char* path) : path_(path) {
    static char directory[] = "/tmp";  // the library wants it writable, and leaves it alone
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = directory;
    workbook_ = workbook_new_opt(path, &options);
    if (workbook_ == nullptr) throw std::bad_alloc();
    sheet_ = workbook_add_worksheet(workbook_, nullptr);
    title_format_ = workbook_add_format(workbook_);
    label_format_ = workbook_add_format(workbook_);
    if (sheet_ == nullptr || title_format_ == nullptr || label_format_ == nullptr) {
        lxw_workbook_free(workbook_);
        throw std::bad_alloc();
    }
    format_set_bold(title_format_);
    format_set_font_color(title_format_, kOrange);
    format_set_bold(label_format_);
}

Sheet::~Sheet() {
    if (workbook_ != nullptr) lxw_workbook_free(workbook_);
}

lxw_format* Sheet::format(Style style) const {
    switch (style) {
        case Style::kTitle:
            return title_format_;
        case Style::kLabel:
            return label_format_;
        case Style::kPlain:
            break;
    }
    return nullptr;
}

void Sheet::write_text(unsigned row, unsigned column, std::string_view text, Style style) {
    note(worksheet_write_string(sheet_, row, static_cast<lxw_col_t>(column),
                                cell_text(text).c_str(), format(style)));
}

void Sheet::text(unsigned row, unsigned column, std::string_view text, Style style) {
    write_text(row, column, text, style);
    ++cells_;
}

void Sheet::number(unsigned row, unsigned column, double value) {
    // A workbook has no way to write these as numbers.
    if (!std::isfinite(value))
        return text(row, column, std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf");
    note(worksheet_write_number(sheet_, row, static_cast<lxw_col_t>(column), value, nullptr));
    ++cells_;
}

void Sheet::merged(const Merged& cells, std::string_view text, Style style) {
    note(worksheet_merge_range(sheet_, cells.row, static_cast<lxw_col_t>(cells.first), cells.row,
                               static_cast<lxw_col_t>(cells.last), nullptr, format(cells.style)));
    write_text(cells.row, cells.first, text, style);
    cells_ += cells.last - cells.first + 1;
}

void Sheet::title(unsigned row, std::string_view text) {
    merged({row, 0, kLastColumn}, text, Style::kTitle);
}

void Sheet::label(unsigned row, unsigned first, unsigned last, std::string_view text) {
    merged({row, first, last}, text, Style::kLabel);
}

void Sheet::value(unsigned row, unsigned first, std::string_view text) {
    merged({row, first, kLastColumn}, text);
}

lxw_chart* Sheet::new_chart(lxw_chart_type type) {
    lxw_chart* chart = workbook_add_chart(workbook_, type);
    if (chart == nullptr) throw std::bad_alloc();
    return chart;
}

lxw_chart_series* Sheet::add_series(lxw_chart* chart, const std::string& categories,
                                    const std::string& values) {
    lxw_chart_series* series = chart_add_series(chart, categories.c_str(), values.c_str());
    if (series == nullptr) throw std::bad_alloc();
    return series;
}

void Sheet::insert(lxw_chart* chart, unsigned row, unsigned column) {
    lxw_chart_options options{};
    options.x_scale = 3.0;
    options.y_scale = 1.5;
    note(worksheet_insert_chart_opt(sheet_, row, static_cast<lxw_col_t>(column), chart, &options));
}

bool Sheet::close() {
    note(workbook_close(std::exchange(workbook_, nullptr)));
    return intact_ && workbook_is_whole(path_.c_str(), cells_);
}

}  // namespace ssd_op::report
