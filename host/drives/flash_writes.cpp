#include "drives/flash_writes.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "drives/answer.h"

namespace host {

namespace {

constexpr uint64_t kMib = uint64_t{1} << 20;
constexpr uint64_t kGib = uint64_t{1} << 30;

/// Names that tell their unit. Others, such as NAND_Writes, mean something else with each maker.
constexpr std::array<std::pair<std::string_view, uint64_t>, 10> kCounters{
    {{"NAND_Writes_1GiB", kGib},
     {"NAND_Writes_GiB", kGib},
     {"Total_NAND_Writes_GiB", kGib},
     {"Total_NAND_Prog_Ct_GiB", kGib},
     {"Lifetime_NAND_Prg_GiB", kGib},
     {"Flash_Writes_GiB", kGib},
     {"NAND_Writes_32MiB", 32 * kMib},
     {"Flash_Writes_32MiB", 32 * kMib},
     {"Flash_Writes_Sectors", 512},
     {"Nand_Sectors_Written", 512}}};

}  // namespace

std::optional<uint64_t> flash_writes_from_smartctl(const Json& answer) {
    for (const Json& entry : at(answer, "ata_smart_attributes/table")) {
        const Json& name = at(entry, "name");
        const auto* const counter =
            std::find_if(kCounters.begin(), kCounters.end(),
                         [&](const auto& known) { return name == known.first; });
        if (counter != kCounters.end())
            return times(count(at(entry, "raw/value")), counter->second);
    }
    return std::nullopt;
}

std::optional<uint64_t> flash_writes_from_ocp(const Json& answer) {
    for (const auto& [name, value] : answer.items()) {
        std::string key = name;
        std::transform(key.begin(), key.end(), key.begin(), [](unsigned char letter) {
            return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20)
                                                  : static_cast<char>(letter);
        });
        if (key != "physical media units written") continue;
        if (!value.is_object()) return count(value);
        if (count(at(value, "hi")) != uint64_t{0}) return std::nullopt;
        return count(at(value, "lo"));
    }
    return std::nullopt;
}

}  // namespace host
