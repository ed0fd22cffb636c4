#include "report/xlsx_sheet.h"

#include <cmath>
#include <new>

#include "report/xlsx_check.h"
#include "report/xlsx_text.h"

namespace ssd_op::report {

namespace {

constexpr lxw_color_t kOrange = 0xFF6600;
/// More numbers are written row by row. So many take 105 MiB and 1.7 seconds, twenty ratios of an
/// hour's samples less than half of it.
constexpr uint64_t kMostNumbersKept = 500'000;

template <typename Made>
Made* made(Made* object) {
    if (object == nullptr) throw std::bad_alloc();
    return object;
}

lxw_workbook* new_workbook(const char* path, bool row_by_row) {
    static char directory[] = "/tmp";  // the library wants it writable, and leaves it alone
    lxw_workbook_options options{};
    options.constant_memory = row_by_row;
    options.tmpdir = directory;
    return made(workbook_new_opt(path, &options));
}

}  // namespace

Sheet::Sheet(const char* path, uint64_t numbers)
    : path_(path),
      workbook_(new_workbook(path, numbers > kMostNumbersKept)),
      sheet_(made(workbook_add_worksheet(workbook_.get(), nullptr))) {
    title_format_ = made(workbook_add_format(workbook_.get()));
    label_format_ = made(workbook_add_format(workbook_.get()));
    format_set_bold(title_format_);
    format_set_font_color(title_format_, kOrange);
    format_set_bold(label_format_);
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
    return made(workbook_add_chart(workbook_.get(), type));
}

lxw_chart_series* Sheet::add_series(lxw_chart* chart, const std::string& categories,
                                    const std::string& values) {
    return made(chart_add_series(chart, categories.c_str(), values.c_str()));
}

void Sheet::insert(lxw_chart* chart, unsigned row, unsigned column) {
    lxw_chart_options options{};
    options.x_scale = 3.0;
    options.y_scale = 1.5;
    note(worksheet_insert_chart_opt(sheet_, row, static_cast<lxw_col_t>(column), chart, &options));
}

bool Sheet::close() {
    note(workbook_close(workbook_.release()));
    return intact_ && workbook_is_whole(path_.c_str(), cells_);
}

}  // namespace ssd_op::report
