/// Measurements of drives.

#include <string>

#include "core/failure.h"
#include "enrolment/given.h"
#include "measuring/measurement.h"
#include "platform/hal.h"
#include "provider/call.h"
#include "provider/figures.h"
#include "provider/measuring.h"

namespace {

using namespace host;
using provider::arguments;
using provider::call;

constexpr int kFailure = -1;

const char* key_of(const Measurement& kind) {
    if (kind.sequential) return kind.read ? "read_speed" : "write_speed";
    return kind.read ? "read_iops" : "write_iops";
}

int measure_one(const char* name, unsigned dev_id, const Measurement& kind) {
    const auto drive = given_drive(Roots{}, dev_id);
    const std::string wwn = drive ? drive->identity.wwn : "";
    const auto keep = [&](const std::string& value) {
        return provider::keep_figure(dev_id, wwn, key_of(kind), value);
    };
    int result = keep("testing");
    try {
        if (!drive) throw Failure("There is no enrolled drive.", "See ssd-op-host drives list.");
        return result | keep(std::to_string(measure(Roots{}, *drive, kind)));
    } catch (const std::exception& error) {
        keep("fail");
        provider::tell_failure(name, arguments(dev_id)(), error);
        return kFailure;
    }
}

int measure_all(const char* name, const unsigned* dev_ids, int count, const int* part_nos,
                Measurement kind, bool background) {
    return call(name,
                arguments(dev_ids != nullptr && count > 0 ? dev_ids[0] : 0, count, kind.sequential,
                          background),
                [&] {
                    return provider::measure_each(dev_ids, count, part_nos, background,
                                                  [&](unsigned dev_id, int part_no) {
                                                      kind.part_no = part_no;
                                                      return measure_one(name, dev_id, kind);
                                                  });
                });
}

}  // namespace

int Disk_Read_Performance_Test(const unsigned* dev_ids, int count, int sequential, int background) {
    return measure_all("Disk_Read_Performance_Test", dev_ids, count, nullptr,
                       {sequential != 0, true, 0}, background != 0);
}

int Disk_Write_Performance_Test(const unsigned* dev_ids, int count, const int* part_nos,
                                int sequential, int background) {
    return measure_all("Disk_Write_Performance_Test", dev_ids, count, part_nos,
                       {sequential != 0, false, 0}, background != 0);
}
