#include "fuzz/world.h"

#include <unistd.h>

#include "core/blueprint.h"
#include "fuzz/target.h"
#include "support/files.h"
#include "support/records.h"

namespace fuzz {

const char* const kDatabase = "/share/DATA_1/.Oprella/ssd_op.db";

namespace {

std::string make_database() {
    using appliance::drive_id;
    constexpr const char* kReport = "/tmp/report.csv";
    constexpr const char* kSamples = "/tmp/samples.csv";
    appliance::install({});
    const support::Record record = support::record_of(
        "it's \"one\"",
        {{800, 5, {drive_id(0), drive_id(1), drive_id(2)}}, {801, 1, {drive_id(3)}}});
    require(SSD_OP_DB_New_Record(record.get()) == 0, "a record can be made");
    SSD_OP_DB_Update_Record_Status(SSD_OP_TEST_STATUS_TESTING, 1);
    for (const int ratio : {10, 20}) {
        SSD_OP_DB_Update_Test_Result(1, ratio, 1.5L, 20'000);
        support::write_file(kReport, "1000, 20000, 1, 0, 80\n2000, 20001, 1, 0, 90\n");
        support::write_file(kSamples, "1000, 65537, 1, 30\n2000, 65537, 1, 32\n");
        require(SSD_OP_DB_Update_Runtime_Report(1, ratio, kReport, 0) == 0 &&
                    SSD_OP_DB_Update_SSD_Runtime_Data(1, ratio, kSamples) == 0,
                "samples can be imported");
    }
    std::string bytes = support::read_file(kDatabase);
    require(!bytes.empty(), "the database has a file");
    return bytes;
}

}  // namespace

const std::string& database_bytes() {
    static const std::string bytes = make_database();
    return bytes;
}

void renew_database() {
    const std::string& bytes = database_bytes();
    ::unlink((std::string(kDatabase) + "-journal").c_str());
    support::write_file(kDatabase, bytes);
}

}  // namespace fuzz
