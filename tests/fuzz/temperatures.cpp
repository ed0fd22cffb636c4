// The drives' temperature samples.

#include "fuzz/target.h"
#include "fuzz/world.h"
#include "support/files.h"
#include "support/records.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* kFile = "/tmp/fuzz.csv";
    constexpr int kRatio = 10;  // has samples, which the file replaces
    const std::string text(fuzz::text_of(data, size));
    fuzz::renew_database();
    support::write_file(kFile, text);

    const int result = SSD_OP_DB_Update_SSD_Runtime_Data(1, kRatio, kFile);
    fuzz::require(result == 0 || result == -1, "an import succeeds or fails");
    const support::Record record = support::read_record(1);
    int read = 0;
    for (auto* group = record->raid_conf; group != nullptr; group = group->next) {
        for (int i = 0; i < group->ssd_drive_num; ++i) {
            SSD_OP_DB_Query_SSD_Runtime_Data(&group->ssd_drives[i], 1, kRatio);
            for (auto* row = group->ssd_drives[i].runtime_data; row != nullptr; row = row->next) {
                fuzz::require(row->percentage == kRatio, "a sample is one of its ratio");
                ++read;
            }
        }
    }
    fuzz::require(read <= (result == 0 ? fuzz::most_lines(text) : 0),
                  "a line is one sample at most, and what failed leaves none");
    return 0;
}
