#pragma once

#include <string_view>

#include "base/boundary.h"
#include "base/text.h"
#include "db/record_owner.h"
#include "report/file.h"
#include "report/report.h"

namespace ssd_op::report {

/// What the caller of an exported function wants, and the function's own name.
struct Request {
    base::Caller caller;
    int record_no;
    char* path;
    int path_size;
};

/// The way of every report: reads the record, has `write(record, file)` write it, and gives it its
/// name and the caller its path. 0, or -1 when there is no report.
template <typename Write>
int export_record(const Request& request, std::string_view suffix, Write&& write) noexcept {
    if (request.path == nullptr) {
        SM_TRACE(SM_TRACE_ERROR, "%s: Parameter error.\n", request.caller.function);
        return -1;
    }
    return base::guarded(request.caller, -1, [&] {
        const db::RecordOwner record = db::load_record(request.record_no);
        if (!record) {
            SM_TRACE(SM_TRACE_ERROR, "%s: Fail to quert record(%d).\n", request.caller.function,
                     request.record_no);
            return -1;
        }
        const std::string path = report_path(record->title, suffix);
        base::copy_text(request.path, request.path_size > 0 ? request.path_size : 0, path);
        ReportFile file(path);
        if (!file) return -1;
        if (write(*record, file) && file.publish()) return 0;
        SM_TRACE(SM_TRACE_ERROR, "%s: Fail to write report(%s).\n", request.caller.function,
                 path.c_str());
        return -1;
    });
}

}  // namespace ssd_op::report
