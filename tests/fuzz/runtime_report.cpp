// The test script's runtime report.

#include "fuzz/target.h"
#include "fuzz/world.h"
#include "support/files.h"
#include "support/records.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* kFile = "/tmp/fuzz.csv";
    constexpr int kRatio = 30;
    const std::string text(fuzz::text_of(data, size));
    fuzz::renew_database();
    support::write_file(kFile, text);

    const int result = SSD_OP_DB_Update_Runtime_Report(1, kRatio, kFile, 0);
    const int rows = SSD_OP_DB_Query_Record_Runtime_Count(1, kRatio);
    fuzz::require(result == 0 || result == -1, "an import succeeds or fails");
    fuzz::require(rows >= 0 && rows <= fuzz::most_lines(text), "a line is one row at most");
    fuzz::require(result == 0 || rows == 0, "what failed leaves nothing");
    const support::Record record = support::empty_record();
    SSD_OP_DB_Query_Record_Runtime_Report(record.get(), 1, kRatio, 1);
    int read = 0;
    for (const auto* row = record->runtime_report; row != nullptr; row = row->next) ++read;
    fuzz::require(read == rows, "each row can be read");
    return 0;
}
