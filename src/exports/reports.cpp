#include <algorithm>

#include "exports/answer.h"
#include "report/export.h"
#include "ssd_op.h"

using namespace ssd_op;
using namespace ssd_op::exports;

namespace {

int answer_with(bool (*export_report)(const report::Request&), base::Caller caller, int record_no,
                char* path, int path_size) {
    if (path == nullptr) return parameter_error(caller.function);
    const std::span<char> room(path, static_cast<size_t>(std::max(path_size, 0)));
    return base::guarded(caller, -1, [&] {
        return answer(export_report({caller.function, record_no, room}));
    });
}

}  // namespace

int SSD_OP_Test_Export_CSV(int record_no, char* path, int path_size) {
    return answer_with(report::export_csv, __func__, record_no, path, path_size);
}

int SSD_OP_Test_Export_XLSX(int record_no, char* path, int path_size) {
    return answer_with(report::export_xlsx, __func__, record_no, path, path_size);
}
