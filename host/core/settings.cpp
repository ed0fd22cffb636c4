#include "core/settings.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/ini.h"
#include "core/text.h"

namespace host {

namespace {

constexpr size_t kMostWords = 64;

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw Failure("The settings in " + path + " cannot be used: " + why + ".",
                  "docs/host.md tells what may stand there.");
}

/// It names a program that root runs.
void check_owner(const std::string& path) {
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0) return;
    if (found.st_uid != ::geteuid() || (found.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        refuse(path, "others than root may write to it");
}

std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    std::string plain = text;
    std::replace(plain.begin(), plain.end(), '\t', ' ');
    for (const std::string_view word : split(plain, ' ')) {
        if (!word.empty()) words.emplace_back(word);
    }
    return words;
}

bool names_unit(const std::string& word) {
    constexpr std::array kTypes{".service", ".socket", ".timer", ".target", ".path"};
    constexpr std::string_view kOthers(":_.\\@-");
    const auto allowed = [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               kOthers.find(c) != std::string_view::npos;
    };
    return word.size() < 256 && word.front() != '-' &&
           std::all_of(word.begin(), word.end(), allowed) &&
           std::any_of(kTypes.begin(), kTypes.end(),
                       [&](const char* type) { return word.ends_with(type); });
}

}  // namespace

Settings load_settings(const Roots& roots) {
    check_owner(roots.settings);
    Settings settings;
    for (const auto& [section, keys] : read_ini(roots.settings)) {
        for (const auto& [key, value] : keys) {
            const std::vector<std::string> words = words_of(value);
            if (words.size() > kMostWords) refuse(roots.settings, key + " has too many words");
            if (section == "services" && key == "units")
                settings.units = words;
            else if (section == "notices" && key == "command")
                settings.notify = words;
            else
                refuse(roots.settings,
                       "[" + printable(section) + "] " + printable(key) + " is no setting");
        }
    }
    for (const std::string& unit : settings.units)
        if (!names_unit(unit)) refuse(roots.settings, printable(unit) + " is no unit of systemd");
    if (!settings.notify.empty() && !settings.notify[0].starts_with('/'))
        refuse(roots.settings, "the command needs its whole path");
    return settings;
}

}  // namespace host
