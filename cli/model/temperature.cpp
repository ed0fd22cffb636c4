#include "model/temperature.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <fmt/format.h>

#include "output/text.h"
#include "platform/hal.h"
#include "shared/drive_id.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

std::vector<Temperature> ask_drives(const ssd_op_db_record& record) {
    std::vector<Temperature> temperatures;
    for (const ssd_op_db_ssd_dev* drive : drives_of(record)) {
        PD_SMART_INFO* block = nullptr;
        const auto [enclosure, port] = shared::slot_of(drive->dev_id);
        const int result = PD_SMART_Read_Info(enclosure, port, &block);
        const std::unique_ptr<PD_SMART_INFO, FreeBlock> info(block);
        if (result != 0 || !info) continue;
        const auto celsius = static_cast<int8_t>(PD_SMART_Get_Temperature(info.get()));
        temperatures.push_back({slot_name(*drive), celsius});
    }
    return temperatures;
}

}  // namespace

const std::vector<Temperature>& TemperatureReader::read(const ssd_op_db_record& record) {
    const auto now = Clock::now();
    if (read_at_ && now - *read_at_ < std::chrono::minutes(1)) return temperatures_;
    read_at_ = now;
    temperatures_ = ask_drives(record);
    return temperatures_;
}

std::string each_text(const std::vector<Temperature>& temperatures) {
    std::string text;
    for (const auto& [slot, celsius] : temperatures) {
        text += fmt::format("{}{} {} °C", text.empty() ? "" : ", ", printable(slot), celsius);
    }
    return text;
}

std::string range_text(const std::vector<Temperature>& temperatures) {
    if (temperatures.empty()) return "";
    const auto [coolest, hottest] =
        std::minmax_element(temperatures.begin(), temperatures.end(),
                            [](const auto& a, const auto& b) { return a.celsius < b.celsius; });
    if (coolest->celsius == hottest->celsius) return fmt::format("{} °C", coolest->celsius);
    return fmt::format("{} to {} °C", coolest->celsius, hottest->celsius);
}

}  // namespace cli
