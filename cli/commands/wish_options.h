#pragma once

#include <optional>

#include "commands/commands.h"
#include "model/recommendation.h"

namespace cli {

struct WishOptions {
    Wish wish;
    std::optional<double> endurance_tb;
};

/// --min-iops, --gain and --endurance.
void add_wish_options(Arguments& command, WishOptions& options);

}  // namespace cli
