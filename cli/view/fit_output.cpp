#include "view/fit_output.h"

#include <fmt/format.h>

namespace cli {

Table fit_table(const Assessment& assessment) {
    constexpr auto kRight = Table::Align::right;
    Table table({{"OP", kRight}, {"Measured", kRight}, {"Fitted", kRight}, {"Off by", kRight}});
    for (const auto& [op, measured, fitted] :
         fitted_rates(*assessment.recommendation.fit, assessment.rates)) {
        table.add({fmt::format("{} %", op), measured ? fmt::format("{:.0f}", *measured) : "-",
                   fmt::format("{:.0f}", fitted),
                   measured ? fmt::format("{:+.1f} %", (fitted / *measured - 1) * 100) : "-"});
    }
    return table;
}

std::string fit_heading(const Assessment& assessment) {
    const std::string refusal = assessment.refusal_of_fit();
    if (!refusal.empty()) return fmt::format("Fit to the theory refused: {}.\n", refusal);
    const CurveFit& fit = *assessment.recommendation.fit;
    std::string text =
        fmt::format("Fit to the theory, off by at most {:.1f} %", fit.largest_residual * 100);
    if (fit.copy > 0)
        text += fmt::format("; the drives behave as with {:.1f} % factory spare",
                            fit.factory_spare * 100);
    if (!fit.checked)
        text += "\nThree ratios, three unknowns: nothing is left to check it against.";
    return text + "\n";
}

std::string fit_text(const Assessment& assessment) {
    std::string text = fit_heading(assessment);
    if (assessment.refusal_of_fit().empty()) text += fit_table(assessment).text();
    return text;
}

}  // namespace cli
