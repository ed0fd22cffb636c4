// The report as a workbook: the same information as the CSV, laid out for reading, with charts.

#include <algorithm>

#include <xlsxwriter.h>

#include "base/child.h"
#include "report/export.h"
#include "report/xlsx_charts.h"
#include "report/xlsx_sheet.h"
#include "shared/ranges.h"

namespace ssd_op::report {

namespace {

using Style = Sheet::Style;

/// Columns of a label at the sheet's left edge, and of the value beside it.
constexpr unsigned kLabelEnd = 2;
constexpr unsigned kValue = 3;

std::string rate_text(uint64_t kib_a_second) { return size_text(kib_a_second * 1024) + "/sec"; }

std::string iops_text(uint64_t iops) { return std::to_string(iops) + " IOPS"; }

void write_line(Sheet& sheet, unsigned row, std::string_view label, std::string_view value) {
    sheet.label(row, 0, kLabelEnd, label);
    sheet.value(row, kValue, value);
}

/// Each of these writes from `row` on and returns the row after its last.
unsigned write_test_information(Sheet& sheet, const ssd_op_db_record& record) {
    sheet.title(0, "[ TEST INFORMATION ]");
    write_line(sheet, 1, "TEST NAME", test_name(record));
    write_line(sheet, 2, "NAS MODEL", record.nas_model);
    write_line(sheet, 3, "FW VERSION", record.nas_fw_version);
    write_line(sheet, 4, "NAS SERIAL NO", record.nas_serial_no);
    write_line(sheet, 5, "NAS CPU INFO", record.nas_cpu_info);
    unsigned row = 6;
    sheet.label(row, 0, kLabelEnd, "NAS MEMORY INFO");
    const auto items = memory_items(record);
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) sheet.merged({++row, 0, kLabelEnd});
        sheet.value(row, kValue, items[i]);
    }
    write_line(sheet, ++row, "START TIME", time_text(record.start_time) + '\n');
    write_line(sheet, ++row, "END TIME", time_text(record.end_time) + '\n');
    return row + 1;
}

unsigned write_drive(Sheet& sheet, unsigned row, int number, const ssd_op_db_ssd_dev& drive) {
    sheet.text(row, 4, "Disk " + std::to_string(number), Style::kLabel);
    const std::pair<const char*, std::string> lines[] = {
        {"Slot", slot_name(drive)},
        {"Bus Type", drive.bus_type},
        {"Vendor", drive.vendor},
        {"Model", drive.model},
        {"Serial No", drive.serial_no},
        {"FW Version", drive.revision},
        {"Capacity", size_text(drive.capacity)},
        {"Sequential Write", rate_text(drive.performance_write_s)},
        {"Random Write", iops_text(drive.performance_write_r)},
        {"Sequential Read", rate_text(drive.performance_read_s)},
        {"Random Read", iops_text(drive.performance_read_r)}};
    for (const auto& [label, value] : lines) {
        sheet.label(row, 5, 6, label);
        sheet.value(row, 7, value);
        ++row;
    }
    return row;
}

unsigned write_raid_groups(Sheet& sheet, unsigned row, const ssd_op_db_record& record) {
    sheet.label(row, 0, kLabelEnd, "RAID GROUP");
    for (const ssd_op_db_raid_conf& group : shared::groups(record)) {
        sheet.text(row, 3, "md" + std::to_string(group.raid_id), Style::kLabel);
        sheet.text(row, 4, "Type", Style::kLabel);
        sheet.value(row, 5, raid_word(group));
        ++row;
        sheet.text(row, 4, "Size", Style::kLabel);
        sheet.value(row, 5, size_text(group.raid_capacity * 1024));
        ++row;
        int number = 0;
        for (const ssd_op_db_ssd_dev& drive : shared::drives(group))
            row = write_drive(sheet, row, ++number, drive);
    }
    return row;
}

void write_evaluation(Sheet& sheet, unsigned row, const ssd_op_db_record& record) {
    sheet.label(row, 0, 1, "OP Ratio(%)");
    for (int i = 0; i < record.count; ++i)
        sheet.number(row, kFirstResult + i, record.percentage[i]);
    ++row;
    sheet.label(row, 0, 1, "Result(IOPS)");
    for (int i = 0; i < record.count; ++i)
        sheet.number(row, kFirstResult + i, static_cast<double>(record.result_2[i]));
}

/// One row of samples, as far as the sheet reaches.
template <typename Value>
void write_samples(Sheet& sheet, unsigned row, std::string_view label, const Samples& samples,
                   Value value) {
    sheet.merged({row, 1, 2, Style::kLabel}, label, Style::kLabel);
    unsigned column = kFirstSample;
    for (const auto* sample = samples.first(); sample != nullptr && column < kColumns;
         sample = sample->next)
        sheet.number(row, column++, value(*sample));
}

/// Cells that the samples will take; as many as they can take when nobody knows.
uint64_t sample_cells(const db::SampleRanges& ranges, std::span<const int> ratios) {
    uint64_t samples = 0;
    for (const int ratio : ratios)
        samples += std::min<uint64_t>(ranges.rows(ratio).value_or(kRoom), kRoom);
    return 3 * samples;
}

double seconds(const ssd_op_db_runtime_report& sample) {
    const int64_t whole = sample.time_slap / 1000;
    return static_cast<double>(whole);
}
double iops(const ssd_op_db_runtime_report& sample) { return sample.result; }
double written_gb(const ssd_op_db_runtime_report& sample) {
    return static_cast<double>((sample.write_amount * 100) >> 20) / 100.0;
}

/// Rows and charts of the samples, ratio by ratio.
class SampleTable {
  public:
    SampleTable(Sheet& sheet, unsigned row, const char* function)
        : sheet_(sheet), row_(row), function_(function) {}

    void write_ratio(int index, int percentage, const Samples& samples) {
        sheet_.text(row_, 0, "OP: " + std::to_string(percentage) + "%\n", Style::kLabel);
        if (!samples) {
            sheet_.label(row_, 1, 2, "No Data.");
            ++row_;
            return;
        }
        write_samples(sheet_, row_, "Time(s)", samples, seconds);
        write_samples(sheet_, row_ + 1, "Result(IOPS)", samples, iops);
        write_samples(sheet_, row_ + 2, "Written(GB)", samples, written_gb);
        remember(index, percentage, samples.count());
        row_ += 3;
    }

    void insert_charts() { insert_sample_charts(sheet_, with_curve_, row_ + 2); }

  private:
    /// A ratio gets its curves, unless it has more samples than columns have names for.
    void remember(int index, int percentage, unsigned count) {
        constexpr unsigned kNamedColumns = 475254;  // A to ZZZZ
        if (count > kRoom)
            SM_TRACE(SM_TRACE_INFO, "%s:i(%d), count(%u): %u samples are left out.\n", function_,
                     index, count, count - kRoom);
        if (count + kFirstSample > kNamedColumns)
            SM_TRACE(SM_TRACE_INFO, "%s:i(%d), count(%u) is too big.\n", function_, index, count);
        else
            with_curve_.push_back({percentage, row_, std::min(count, kRoom)});
    }

    Sheet& sheet_;
    unsigned row_;
    const char* function_;
    std::vector<SampleRows> with_curve_;
};

bool write_workbook(const char* function, ssd_op_db_record& record, int record_no,
                    const char* path) {
    const Results results(record, record_no);
    const auto ratios = results.ratios();
    const db::SampleRanges ranges(record_no, ratios);
    Sheet sheet(path, sample_cells(ranges, ratios));
    unsigned row = write_test_information(sheet, record);
    row = write_raid_groups(sheet, row, record) + 1;
    sheet.title(row, "[ OVER-PROVISIONING EVALUATION ]");
    if (results)
        write_evaluation(sheet, row + 1, record);
    else
        sheet.value(row + 1, 0, "NG!!!");
    insert_result_chart(sheet, row + 1, static_cast<unsigned>(ratios.size()), row + 4);
    sheet.title(row + 28, "[ TEST RESULT ]");
    SampleTable table(sheet, row + 29, function);
    for (size_t i = 0; i < ratios.size(); ++i)
        table.write_ratio(static_cast<int>(i), ratios[i], Samples(record, ranges, ratios[i]));
    table.insert_charts();
    return sheet.close();
}

}  // namespace

bool export_xlsx(const Request& request) {
    return export_record(request, ".xlsx", [&](ssd_op_db_record& record, const ReportFile& file) {
        // The workbook library may end its process when it gets no memory.
        return base::succeeds_in_child(request.function, [&] {
            return write_workbook(request.function, record, request.record_no, file.working_path());
        });
    });
}

}  // namespace ssd_op::report
