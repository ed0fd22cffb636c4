#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <xlsxwriter.h>

#include "report/plain_locale.h"

namespace ssd_op::report {

/// A workbook with one sheet, in the making. Rows are written from top to bottom.
///
/// The workbook library keeps all cells until the end, so that charts get a copy of their points
/// and texts are shared. Of a large sheet, which would take too much memory, a finished row goes to
/// a file of the library's at once; its charts refer to the cells alone.
///
/// A failed step is remembered; the rest may go on, and close() tells. It is made in a process of
/// its own: without memory the library may end that, or keep what it has opened.
class Sheet {
  public:
    /// @param numbers  about how many numbers the sheet will have, which is what makes it large
    /// @throws std::bad_alloc
    Sheet(const char* path, uint64_t numbers);

    enum class Style { kPlain, kLabel, kTitle };

    /// One cell.
    void text(unsigned row, unsigned column, std::string_view text, Style style = Style::kPlain);
    void number(unsigned row, unsigned column, double value);

    /// Cells merged into one, and what stands in it.
    struct Merged {
        unsigned row, first, last;
        Style style = Style::kTitle;
    };
    void merged(const Merged& cells, std::string_view text = {}, Style style = Style::kPlain);

    /// A title over the sheet's width.
    void title(unsigned row, std::string_view text);
    /// A label in merged cells.
    void label(unsigned row, unsigned first, unsigned last, std::string_view text);
    /// A value in the merged cells from `first` to the last of the sheet's width.
    void value(unsigned row, unsigned first, std::string_view text);

    lxw_chart* new_chart(lxw_chart_type type);
    lxw_chart_series* add_series(lxw_chart* chart, const std::string& categories,
                                 const std::string& values);
    void insert(lxw_chart* chart, unsigned row, unsigned column);

    /// Writes the workbook to its path. Whether it is whole.
    bool close();

  private:
    struct FreeWorkbook {
        void operator()(lxw_workbook* workbook) const { lxw_workbook_free(workbook); }
    };

    void write_text(unsigned row, unsigned column, std::string_view text, Style style);
    void note(lxw_error result) { intact_ = intact_ && result == LXW_NO_ERROR; }
    lxw_format* format(Style style) const;

    PlainLocale locale_;
    std::string path_;
    std::unique_ptr<lxw_workbook, FreeWorkbook> workbook_;
    lxw_worksheet* sheet_;
    lxw_format* title_format_;
    lxw_format* label_format_;
    uint64_t cells_ = 0;
    bool intact_ = true;
};

/// Columns of the part of the sheet that is read as a table, counted from 0 like all columns here.
constexpr unsigned kLastColumn = 11;
/// Columns that a sheet can have.
constexpr unsigned kColumns = 16384;

}  // namespace ssd_op::report
