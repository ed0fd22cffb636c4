#include "model/step_rows.h"

#include "shared/ranges.h"

namespace cli {

std::vector<const ssd_op_db_runtime_report*> step_rows(const ssd_op_db_record& record) {
    std::vector<const ssd_op_db_runtime_report*> steps, all;
    for (const auto& row : ssd_op::shared::nodes(record.runtime_report)) {
        if (all.empty() || row.write_amount > all.back()->write_amount) steps.push_back(&row);
        all.push_back(&row);
    }
    return steps.size() > 1 ? steps : all;
}

}  // namespace cli
