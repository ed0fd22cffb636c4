// A program that writes a report's workbook with the workbook library alone.

#include <algorithm>
#include <cstdio>

#include <xlsxwriter.h>

#include "peers.h"

namespace {

constexpr int kHeaderRows = 88;
constexpr int kRoom = 16381;

struct Book {
    lxw_workbook* workbook;
    lxw_worksheet* sheet;
    lxw_format* bold;
};

void write_header(const Book& book) {
    for (int row = 0; row < kHeaderRows; ++row) {
        worksheet_merge_range(book.sheet, row, 0, row, 2, "", book.bold);
        worksheet_write_string(book.sheet, row, 0, "A label", book.bold);
        worksheet_merge_range(book.sheet, row, 3, row, 11, "", book.bold);
        worksheet_write_string(book.sheet, row, 3, "A value of some length", nullptr);
    }
}

template <typename Value>
void write_samples(const Book& book, int row, const char* label, int samples, Value value) {
    worksheet_merge_range(book.sheet, row, 1, row, 2, "", book.bold);
    worksheet_write_string(book.sheet, row, 1, label, book.bold);
    for (int i = 0; i < std::min(samples, kRoom); ++i)
        worksheet_write_number(book.sheet, row, static_cast<lxw_col_t>(3 + i), value(i), nullptr);
}

void write_ratio(const Book& book, int row, int ratio, int samples) {
    worksheet_write_string(book.sheet, row, 0, "OP", book.bold);
    write_samples(book, row, "Time(s)", samples, [](int i) { return i; });
    write_samples(book, row + 1, "Result(IOPS)", samples,
                  [ratio](int i) { return 20000 + ratio * 100 + i * 7919 % 1000; });
    write_samples(book, row + 2, "Written(GB)", samples,
                  [](int i) { return static_cast<double>(i * 83886ULL * 100 >> 20) / 100.0; });
}

void insert_chart(const Book& book, int at_row, int ratios, int samples, int x_row, int y_row) {
    lxw_chart* chart = workbook_add_chart(book.workbook, LXW_CHART_SCATTER_SMOOTH);
    char last[16];
    lxw_col_to_name(last, static_cast<lxw_col_t>(2 + std::min(samples, kRoom)), 0);
    for (int ratio = 0; ratio < ratios; ++ratio) {
        const int row = kHeaderRows + 3 * ratio + 1;
        char x[64];
        char y[64];
        std::snprintf(x, sizeof x, "=Sheet1!$D$%d:$%s$%d", row + x_row, last, row + x_row);
        std::snprintf(y, sizeof y, "=Sheet1!$D$%d:$%s$%d", row + y_row, last, row + y_row);
        chart_series_set_name(chart_add_series(chart, x, y), "10%");
    }
    lxw_chart_options options{};
    options.x_scale = 3.0;
    options.y_scale = 1.5;
    worksheet_insert_chart_opt(book.sheet, at_row, 3, chart, &options);
}

}  // namespace

int bench::write_workbook(const char* path, int ratios, int samples, bool rows_at_once) {
    lxw_workbook_options options{};
    options.constant_memory = rows_at_once;
    Book book{};
    book.workbook = workbook_new_opt(path, &options);
    book.sheet = workbook_add_worksheet(book.workbook, nullptr);
    book.bold = workbook_add_format(book.workbook);
    format_set_bold(book.bold);
    write_header(book);
    for (int ratio = 0; ratio < ratios; ++ratio)
        write_ratio(book, kHeaderRows + 3 * ratio, ratio, samples);
    const int after = kHeaderRows + 3 * ratios + 2;
    insert_chart(book, after, ratios, samples, 0, 1);
    insert_chart(book, after + 24, ratios, samples, 2, 1);
    insert_chart(book, after + 48, ratios, samples, 0, 2);
    return workbook_close(book.workbook) == LXW_NO_ERROR ? 0 : -1;
}
