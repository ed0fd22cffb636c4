#include "model/samples.h"

#include <algorithm>

#include <fmt/format.h>

#include "output/failure.h"

namespace cli {

void fail_reading_samples(int record_no) {
    throw Failure(kFailed, fmt::format("The samples of record {} cannot be read.", record_no),
                  "ssd-op db check tells more.");
}

RateSamples load_rates(int record_no, int op) {
    const int count = SSD_OP_DB_Query_Record_Runtime_Count(record_no, op);
    RateSamples samples{empty_record(), 1 + std::max(count - 1, 0) / kMostSamples};
    if (SSD_OP_DB_Query_Record_Runtime_Report(samples.holder.get(), record_no, op, samples.every) !=
        0)
        fail_reading_samples(record_no);
    return samples;
}

void load_temperatures(ssd_op_db_record& record, int op) {
    for (ssd_op_db_raid_conf& group : shared::groups(record)) {
        SSD_OP_DB_Free_SSD_Runtime_Data(&group);
        for (ssd_op_db_ssd_dev& drive : shared::drives(group)) {
            if (SSD_OP_DB_Query_SSD_Runtime_Data(&drive, record.record_no, op) != 0)
                fail_reading_samples(record.record_no);
        }
    }
}

}  // namespace cli
