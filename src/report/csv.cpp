// The report as comma-separated text.

#include "base/number.h"
#include "report/export.h"
#include "report/output.h"
#include "shared/ranges.h"

namespace ssd_op::report {

namespace {

void write_test_information(Output& out, const ssd_op_db_record& record) {
    out << "[ TEST INFORMATION ]\n"
        << "TEST NAME," << test_name(record) << '\n'
        << "NAS MODEL," << record.nas_model << '\n'
        << "FW VERSION," << record.nas_fw_version << '\n'
        << "NAS SERIAL NO," << record.nas_serial_no << '\n'
        << "NAS CPU INFO," << record.nas_cpu_info << '\n'
        << "NAS MEMORY INFO\n";
    for (const std::string_view item : memory_items(record)) out << ',' << item << '\n';
    out << "START TIME," << time_text(record.start_time) << '\n'
        << "END TIME," << time_text(record.end_time) << '\n';
}

void write_drive(Output& out, const ssd_op_db_ssd_dev& drive) {
    out << ",," << slot_name(drive) << ", " << drive.bus_type << ',' << drive.vendor << ','
        << drive.model << ',' << drive.serial_no << ',' << drive.revision << ','
        << size_text(drive.capacity) << ',' << drive.performance_write_s << ','
        << drive.performance_write_r << ',' << drive.performance_read_s << ','
        << drive.performance_read_r << " \n";
}

void write_raid_groups(Output& out, const ssd_op_db_record& record) {
    out << "RAID Group:\n";
    for (const ssd_op_db_raid_conf& group : shared::groups(record)) {
        out << ",\"" << group.raid_id << "\"," << raid_word(group) << ','
            << size_text(group.raid_capacity * 1024) << '\n';
        out << ",,Slots,Bus Type, Vendor, Model, Serial No, FW Version, Capacity,"
               "Sequential Write Performance(KB/s), Random Write Perfrormance(IOPS),"
               "Sequential Read Performance(KB/s), Random Read Perfrormance(IOPS)\n";
        for (const ssd_op_db_ssd_dev& drive : shared::drives(group)) write_drive(out, drive);
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
void write_samples(Output& out, std::string_view label, const Samples& samples,
                   Value ssd_op_db_runtime_report::*value) {
    out << label << ',';
    if (samples.first() == nullptr) out << '\n';
    for (const ssd_op_db_runtime_report& sample : shared::nodes(samples.first()))
        out << sample.*value << (sample.next != nullptr ? ',' : '\n');
}

void write_ratio(Output& out, int percentage, const Samples& samples) {
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
    const Results results(record, record_no);
    if (results)
        write_evaluation(out, record);
    else
        out << "NG\n";
    out << "\n[ TEST RESULT ]\n";
    const db::SampleRanges ranges(record_no, results.ratios());
    for (const int percentage : results.ratios())
        write_ratio(out, percentage, Samples(record, ranges, percentage));
    return out.finish();
}

}  // namespace

bool export_csv(const Request& request) {
    return export_record(request, ".csv", [&](ssd_op_db_record& record, const ReportFile& file) {
        return write_csv(record, request.record_no, file.descriptor());
    });
}

}  // namespace ssd_op::report
