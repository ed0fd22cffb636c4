#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/observation.h"
#include "model/recommendation.h"
#include "model/record.h"

namespace cli {

/// A ratio that was measured, and all that is known about its measurement.
struct Measured {
    Result result;
    Observation observation;
    std::optional<double> lifetime_factor;
};

/// What a record has to say about the question how much OP its drives need.
struct Assessment {
    Record record;
    Wish wish;
    std::optional<double> endurance_tb;  // that may be written to the flash of a drive
    std::vector<Rate> rates;
    std::vector<Measured> measured;  // one for each rate
    std::vector<Unmeasured> unmeasured;
    Recommendation recommendation;

    uint64_t volume_bytes() const;
    uint64_t cost_bytes(int op) const;

    /// What tells how sure the answer is: the chosen ratio, or the best where none was chosen.
    const Measured& decisive() const;
    bool margin_is_within_excursion() const;

    /// Why the fit is not used; empty when it is.
    std::string refusal_of_fit() const;
    /// What the host may write to a drive until the endurance is used up.
    std::optional<double> host_terabytes(const Measured& ratio) const;
};

/// @throws Failure when there is no such record, or no ratio of it was measured
Assessment assess(int record_no, const Wish& wish, std::optional<double> endurance_tb);

}  // namespace cli
