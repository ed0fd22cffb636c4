// The report as comma-separated text.

#include "base/number.h"
#include "report/export.h"
#include "report/output.h"

namespace base = ssd_op::base;
namespace db = ssd_op::db;
namespace report = ssd_op::report;

namespace {

using report::Output;

void write_test_information(Output& out, const ssd_op_db_record& record) {
    out << "[ TEST INFORMATION ]\n"
        << "TEST NAME," << report::test_name(record) << '\n'
        << "NAS MODEL," << record.nas_model << '\n'
        << "FW VERSION," << record.nas_fw_version << '\n'
        << "NAS SERIAL NO," << record.nas_serial_no << '\n'
        << "NAS CPU INFO," << record.nas_cpu_info << '\n'
        << "NAS MEMORY INFO\n";
    for (const std::string_view item : report::memory_items(record)) out << ',' << item << '\n';
    out << "START TIME," << report::time_text(record.start_time) << '\n'
        << "END TIME," << report::time_text(record.end_time) << '\n';
}

void write_drive(Output& out, const ssd_op_db_ssd_dev& drive) {
    out << ",," << report::slot_name(drive) << ", " << drive.bus_type << ',' << drive.vendor << ','
        << drive.model << ',' << drive.serial_no << ',' << drive.revision << ','
        << report::size_text(drive.capacity) << ',' << drive.performance_write_s << ','
        << drive.performance_write_r << ',' << drive.performance_read_s << ','
        << drive.performance_read_r << " \n";
}

void write_raid_groups(Output& out, const ssd_op_db_record& record) {
    out << "RAID Group:\n";
    for (const auto* group = record.raid_conf; group != nullptr; group = group->next) {
        out << ",\"" << group->raid_id << "\"," << report::raid_word(*group) << ','
            << report::size_text(group->raid_capacity * 1024) << '\n';
        out << ",,Slots,Bus Type, Vendor, Model, Serial No, FW Version, Capacity,"
               "Sequential Write Performance(KB/s), Random Write Perfrormance(IOPS),"
               "Sequential Read Performance(KB/s), Random Read Perfrormance(IOPS)\n";
        for (int i = 0; i < group->ssd_drive_num; ++i) write_drive(out, group->ssd_drives[i]);
    }
    out << '\n';
}

void write_evaluation(Output& out, const ssd_op_db_record& record) {
    out << "OP Ratio (%),";
    for (int i = 0; i < record.count; ++i) out << (i > 0 ? "," : "") << record.percentage[i];
    out << "\nResult(IOPS),";
    for (int i = 0; i < record.count; ++i)
        out << (i > 0 ? "," : "") << base::decimal_text(record.result_2[i]);
    out << '\n';
}

template <typename Value>
void write_samples(Output& out, std::string_view label, const report::Samples& samples,
                   Value ssd_op_db_runtime_report::*value) {
    out << label << ',';
    const auto* sample = samples.first();
    if (sample == nullptr) out << '\n';
    for (; sample != nullptr; sample = sample->next)
        out << sample->*value << (sample->next != nullptr ? ',' : '\n');
}

void write_ratio(Output& out, int percentage, const report::Samples& samples) {
    out << "OP Ratio (%) ," << percentage << '\n';
    if (!samples) {
        out << "No data.\n";
        return;
    }
    write_samples(out, "Time Slap (ms)", samples, &ssd_op_db_runtime_report::time_slap);
    write_samples(out, "Result (IOPS)", samples, &ssd_op_db_runtime_report::result);
    write_samples(out, "Written(KB)", samples, &ssd_op_db_runtime_report::write_amount);
}

bool write_csv(ssd_op_db_record& record, int record_no, int file) {
    Output out(file);
    write_test_information(out, record);
    write_raid_groups(out, record);
    out << "[ OVER-PROVISIONING EVALUATION ]\n";
    const report::Results results(record, record_no);
    if (results)
        write_evaluation(out, record);
    else
        out << "NG\n";
    out << "\n[ TEST RESULT ]\n";
    const db::SampleRanges ranges(record_no, results.ratios());
    for (const int percentage : results.ratios())
        write_ratio(out, percentage, report::Samples(record, ranges, percentage));
    return out.finish();
}

}  // namespace

int SSD_OP_Test_Export_CSV(int record_no, char* path, int path_size) {
    return report::export_record({__func__, record_no, path, path_size}, ".csv",
                                 [&](ssd_op_db_record& record, const report::ReportFile& file) {
                                     return write_csv(record, record_no, file.descriptor());
                                 });
}
