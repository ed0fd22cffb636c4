#include "event/delivery.h"

#include <array>
#include <ctime>
#include <new>
#include <string_view>

#include <unistd.h>

#include "base/owners.h"
#include "base/text.h"
#include "platform/ini.h"

namespace ssd_op::event {

namespace {

constexpr const char* kNotifier = "NoticeHall";
constexpr int kNotifierChannel = 3;
constexpr int kEngineFacility = 13;
constexpr size_t kMostArguments = 4;

int event_type_of(int level) {
    switch (level) {
        case 1:
            return NASLOG_ERROR;
        case 2:
            return NASLOG_WARNING;
        default:
            return NASLOG_INFORMATION;
    }
}

/// The arguments as a list that ends in NULL.
using ArgumentList = std::array<const char*, kMostArguments + 1>;

ArgumentList list_of(const Arguments& arguments) {
    ArgumentList list{};
    for (size_t i = 0; i < arguments.size() && i < kMostArguments; ++i)
        list[i] = arguments[i].c_str();
    return list;
}

void describe(NASLOG_EVENT& entry, const ssd_op_requester* requester, int event_type,
              const char* message) {
    entry.type = event_type;
    if (requester != nullptr) {
        base::copy_text(entry.user, base::field_text(requester->user));
        base::copy_text(entry.address, base::field_text(requester->address));
        base::copy_text(entry.computer, "---");
    }
    base::copy_text(entry.description, message);
}

/// Behind the last argument the platform stops at the first NULL, so shorter lists need no call of
/// their own.
void notify(const NASLOG_MESSAGE& text, const ArgumentList& list) {
    naslog_notice_send(text.application_id, text.level, kNotifierChannel, text.category_id,
                       text.message_id, 0, 0, 0, text.text, list[0], list[1], list[2], list[3],
                       static_cast<const char*>(nullptr));
}

void tell_engine(const EngineNotice& notice, const NASLOG_EVENT& entry, const char* title,
                 const char* message) {
    const int severity = ChangeLogTypeToNoticeSeverity(entry.type);
    SendNoticeToLogEngine(severity, 0, 0, "", kEngineFacility, title, notice.number, -1, 0,
                          entry.user, entry.address, "", notice.message_id, 0, "", message);
}

}  // namespace

bool notifications_are_on() {
    if (Is_BRIX_Installed(kNotifier) == 0) return false;
    char target[256] = {};
    const ssize_t length = ::readlink("/usr/local/sbin/notify", target, sizeof target - 1);
    return length > 0 && std::string_view(target).find(kNotifier) != std::string_view::npos;
}

base::HeapBlock<NASLOG_EVENT> new_entry() {
    auto entry = base::make_zeroed<NASLOG_EVENT>();
    if (!entry) throw std::bad_alloc();
    return entry;
}

void deliver(const Event& event, int type, const ssd_op_requester* requester, const char* title,
             bool as_notification, NASLOG_EVENT& entry) {
    const ArgumentList list = list_of(event.arguments);
    char message[kMessageSize] = {};
    ssd_op_fill_message(message, kMessageSize, event.text->text, list.data());
    if (as_notification) notify(*event.text, list);

    describe(entry, requester, event_type_of(event.level), message);
    ::tzset();
    if (!as_notification) naslog_event_add(&entry);
    SM_TRACE(SM_TRACE_INFO, "%s: type(%d), msg(%s)\n", "SSD_OP_Write_System_Log", type, message);
    if (event.notice.number != 0) tell_engine(event.notice, entry, title, message);
}

}  // namespace ssd_op::event
