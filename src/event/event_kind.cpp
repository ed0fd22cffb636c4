#include "event/event_kind.h"

#include <iterator>
#include <string_view>

#include "base/text.h"

namespace ssd_op::event {

namespace {

enum class Detail { none, number, name, step, failure };

/// What the types have in common; `step` and `failure` choose their entry by the detail.
struct Kind {
    int entry;
    bool tells_feature;  // its text names the feature in {1}, beside the application in {0}
    bool wants_record;   // and tells its title
    Detail detail;
    EngineNotice notice;
};

constexpr Kind kKinds[] = {
    /* SSD_OP_EVENT_STARTED         */ {5, true, true, Detail::none, {1, "MSG_SFT_001"}},
    /* SSD_OP_EVENT_STEP_FAILED     */ {17, true, true, Detail::step, {}},
    /* SSD_OP_EVENT_COMPLETED       */ {7, true, true, Detail::none, {2, "MSG_SFT_002"}},
    /* SSD_OP_EVENT_STOPPED         */ {9, true, true, Detail::none, {4, "MSG_SFT_004"}},
    /* SSD_OP_EVENT_UPLOADING       */ {8, true, true, Detail::none, {}},
    /* SSD_OP_EVENT_RECORD_DELETED  */ {14, true, false, Detail::name, {}},
    /* SSD_OP_EVENT_ALL_DELETED     */ {15, false, false, Detail::none, {}},
    /* SSD_OP_EVENT_DELETE_FAILED   */ {16, false, false, Detail::none, {}},
    /* SSD_OP_EVENT_FAILED          */ {11, true, true, Detail::failure, {3, "MSG_SFT_003"}},
    /* SSD_OP_EVENT_STORAGE_CREATED */ {6, false, false, Detail::number, {}},
    /* SSD_OP_EVENT_STORAGE_REMOVED */ {13, false, false, Detail::number, {}},
};
static_assert(std::size(kKinds) == SSD_OP_EVENT_STORAGE_REMOVED + 1);

constexpr int kFailedWithoutGroup = 12;
constexpr int kRatioSkipped = 18;
constexpr int kNoGroup = -1;

bool is_missing(const Kind& kind, const ssd_op_db_record* record, const void* detail) {
    const bool detail_is_optional = kind.detail == Detail::none || kind.detail == Detail::failure;
    return (kind.wants_record && record == nullptr) || (!detail_is_optional && detail == nullptr);
}

void set_entry(Event& event, int number) { event.text = table_entry(number); }

/// A step that failed, or a ratio that is skipped. False for any other code: nothing to report.
bool add_step(Event& event, const ssd_op_event_step& step) {
    if (step.code == SSD_OP_STEP_SKIPPED) {
        set_entry(event, kRatioSkipped);
        event.level = event.text->level;
        event.arguments.push_back(std::to_string(step.percentage) + "%");
    }
    return step.code == SSD_OP_STEP_SKIPPED || step.code == SSD_OP_STEP_FAILED;
}

/// A failed test, told with its RAID group when there is one. The level stays that of the text with
/// a group. Without any detail there was no test yet, and the log engine gets no notice.
void add_failure(Event& event, const int* group) {
    if (group == nullptr) event.notice = {};
    if (group == nullptr || *group == kNoGroup)
        set_entry(event, kFailedWithoutGroup);
    else
        event.arguments.push_back(std::to_string(*group));
}

void add_name(Event& event, const char* name) {
    SM_TRACE(SM_TRACE_INFO, "%s: name(%s)\n", "SSD_OP_Write_System_Log", name);
    event.arguments.emplace_back(name);
}

/// Adds what the detail tells. False when that leaves nothing to report.
bool add_detail(Event& event, Detail kind, const void* detail) {
    switch (kind) {
        case Detail::none:
            break;
        case Detail::number:
            event.arguments.push_back(std::to_string(*static_cast<const int*>(detail)));
            break;
        case Detail::name:
            add_name(event, static_cast<const char*>(detail));
            break;
        case Detail::step:
            return add_step(event, *static_cast<const ssd_op_event_step*>(detail));
        case Detail::failure:
            add_failure(event, static_cast<const int*>(detail));
            break;
    }
    return true;
}

}  // namespace

Decision decide(int type, const ssd_op_db_record* record, const void* detail) {
    if (type < 0 || type >= static_cast<int>(std::size(kKinds))) return {true, std::nullopt};
    const Kind& kind = kKinds[type];
    if (is_missing(kind, record, detail)) return {false, std::nullopt};

    Event event{};
    set_entry(event, kind.entry);
    event.level = event.text->level;
    event.notice = kind.notice;
    event.arguments.emplace_back("%V001%");
    if (kind.tells_feature) event.arguments.emplace_back("%V002%");
    if (kind.wants_record) event.arguments.emplace_back(base::field_text(record->title));
    if (!add_detail(event, kind.detail, detail)) return {true, std::nullopt};
    return {true, std::move(event)};
}

}  // namespace ssd_op::event
