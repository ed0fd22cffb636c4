#include "storage/lvm.h"

#include <charconv>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "core/failure.h"
#include "core/tool.h"
#include "storage/array.h"

namespace host {

namespace {

std::string settings(const std::vector<std::string>& devices) {
    std::vector<std::string> filter;
    for (const std::string& device : devices) filter.push_back(fmt::format("\"a|^{}$|\"", device));
    filter.emplace_back("\"r|.*|\"");
    const std::string list = fmt::format("[{}]", fmt::join(filter, ","));
    return fmt::format(
        "devices {{ filter={0} global_filter={0} scan=[\"/dev\"] use_devicesfile=0 hints=\"none\" "
        "obtain_device_list_from_udev=0 external_device_info_source=\"none\" }} "
        "activation {{ udev_sync=0 udev_rules=0 monitoring=0 }} "
        "backup {{ backup=0 archive=0 }} "
        "global {{ use_lvmpolld=0 use_lvmlockd=0 notify_dbus=0 }}",
        list);
}

}  // namespace

Lvm::Lvm(const Roots& roots, const std::vector<ArrayRecord>& arrays) {
    for (const ArrayRecord& record : arrays) {
        if (const auto array = running_array(roots, record))
            devices_.push_back(array->device(roots));
    }
}

std::string Lvm::run(const std::vector<std::string>& words) const {
    std::vector<std::string> all{"lvm", words.at(0), "--config", settings(devices_)};
    all.insert(all.end(), words.begin() + 1, words.end());
    return must_run(all, {.most_time = std::chrono::minutes(2),
                          .variables = {"DM_DISABLE_UDEV=1", "LVM_SUPPRESS_FD_WARNINGS=1"}});
}

std::vector<Json> Lvm::report(const std::string& command, const std::string& fields) const {
    return report_in(
        run({command, "--reportformat", "json", "--units", "b", "--nosuffix", "-o", fields}));
}

std::vector<Json> report_in(const std::string& text) {
    const Json json = parse_foreign(text);
    try {
        std::vector<Json> objects;
        // Under one name that tells of what they are.
        for (const Json& list : json.at("report").at(0)) {
            for (const Json& object : list) objects.push_back(object);
        }
        return objects;
    } catch (const Json::exception&) {
        throw Failure("A report of LVM is not understood.", "Is this version of LVM very new?");
    }
}

std::string text_in(const Json& object, const char* field) {
    const auto found = object.is_object() ? object.find(field) : object.end();
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

uint64_t number_in(const Json& object, const char* field) {
    const std::string text = text_in(object, field);
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

}  // namespace host
