/// An nbdkit plugin that makes a drive of this project's model of flash: a sparse file holds what
/// is written, the model tells how long that takes. A real kernel then meets what it would meet on
/// an SSD: the fuller the flash, the more it copies, and the longer a write takes; what is
/// discarded counts as spare again.
///
///     nbdkit flash_plugin.so FILE [unit_us=60] [spare_percent=7] [nodiscard=1]
///
///     unit_us        time that a write of 4 KiB takes while nothing is copied; all other times of
///     the
///                    model keep their proportion to it, so that an emulator can carry them
///     spare_percent  flash beyond the size that the drive shows
///     nodiscard      what is discarded reads as zeros, but the flash goes on copying it
///
/// The flash is new when the plugin starts, whatever the file holds.
#include <cerrno>
#include <cinttypes>
#include <exception>
#include <memory>
#include <string>

#define NBDKIT_API_VERSION 2
#include <nbdkit-plugin.h>

#include "flash_drive.h"

/// Requests wait for the flash beside each other, as in a drive's queue.
#define THREAD_MODEL NBDKIT_THREAD_MODEL_PARALLEL

namespace {

guest::Settings settings;
std::unique_ptr<guest::FlashDrive> drive;

void tell_counters() {
    const auto counters = drive->counters();
    nbdkit_debug("pages written %" PRIu64 ", copied %" PRIu64 ", discarded %" PRIu64
                 ", write amplification %.2f",
                 counters.host_pages, counters.copied_pages, counters.trimmed_pages,
                 counters.write_amplification());
}

/// Runs what one of nbdkit's calls asks for; no exception leaves it.
template <typename Action>
int call(Action action) {
    try {
        action();
        return 0;
    } catch (const std::exception& failure) {
        nbdkit_error("%s", failure.what());
        nbdkit_set_error(EIO);
        return -1;
    }
}

int configure(const char* key, const char* value) {
    const std::string name = key;
    if (name == "file") {
        settings.path = value;
        return 0;
    }
    if (name == "unit_us") return nbdkit_parse_unsigned(key, value, &settings.unit_us);
    if (name == "spare_percent") return nbdkit_parse_unsigned(key, value, &settings.spare_percent);
    if (name == "nodiscard") {
        const int yes = nbdkit_parse_bool(value);
        settings.nodiscard = yes > 0;
        return yes < 0 ? -1 : 0;
    }
    nbdkit_error("there is no setting %s", key);
    return -1;
}

int configured() {
    if (!settings.path.empty() && settings.spare_percent <= 1000) return 0;
    nbdkit_error("file=FILE is needed, and spare_percent of at most 1000");
    return -1;
}

nbdkit_plugin make_plugin() {
    nbdkit_plugin plugin = {};
    plugin.name = "flash";
    plugin.longname = "a drive with the times of a model of flash";
    plugin.magic_config_key = "file";
    plugin.config = configure;
    plugin.config_complete = configured;
    plugin.get_ready = [] {
        return call([] { drive = std::make_unique<guest::FlashDrive>(settings); });
    };
    plugin.unload = [] {
        if (drive) tell_counters();
        drive.reset();
    };
    plugin.open = [](int) -> void* { return NBDKIT_HANDLE_NOT_NEEDED; };
    plugin.get_size = [](void*) { return static_cast<std::int64_t>(drive->bytes()); };
    plugin.can_multi_conn = [](void*) { return 1; };
    plugin.pread = [](void*, void* to, std::uint32_t count, std::uint64_t offset, std::uint32_t) {
        return call([=] { drive->read(static_cast<char*>(to), count, offset); });
    };
    plugin.pwrite = [](void*, const void* from, std::uint32_t count, std::uint64_t offset,
                       std::uint32_t) {
        return call([=] { drive->write(static_cast<const char*>(from), count, offset); });
    };
    plugin.trim = [](void*, std::uint32_t count, std::uint64_t offset, std::uint32_t) {
        return call([=] { drive->discard(count, offset); });
    };
    // A drive with capacitors: what it has answered for stays.
    plugin.flush = [](void*, std::uint32_t) { return 0; };
    return plugin;
}

nbdkit_plugin plugin = make_plugin();

}  // namespace

NBDKIT_REGISTER_PLUGIN(plugin)
