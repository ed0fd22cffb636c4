#include "output/plot.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <langinfo.h>

#include "output/text.h"

namespace cli {

namespace {

constexpr int kRows = 13;  // odd: the middle of the y axis has a row of its own
constexpr int kLabelWidth = 7;
constexpr int kCells = kPlotWidth - kLabelWidth - 2;  // a blank and the axis are between
constexpr int kFinestColumns = kCells * 2;

/// The characters of a charset: how many dots one shows, and how the axes look.
struct Style {
    int dots_across, dots_down;
    const char *axis, *axis_tick, *corner, *line, *line_tick;
};

constexpr Style kBraille{2, 4, "│", "┤", "└", "─", "┬"};
constexpr Style kPlain{1, 2, "|", "+", "+", "-", "+"};

std::string braille(unsigned dots) {
    // Bit numbers of the dots, row by row.
    constexpr unsigned kBits[] = {0, 3, 1, 4, 2, 5, 6, 7};
    unsigned pattern = 0;
    for (unsigned dot = 0; dot < std::size(kBits); ++dot) {
        if ((dots >> dot & 1U) != 0) pattern |= 1U << kBits[dot];
    }
    return {'\xE2', static_cast<char>(0xA0U | pattern >> 6U),
            static_cast<char>(0x80U | (pattern & 0x3FU))};
}

std::string cell_text(unsigned dots, Charset charset) {
    if (dots == 0) return " ";
    if (charset == Charset::kUnicode) return braille(dots);
    return dots == 3 ? ":" : dots == 1 ? "'" : ".";
}

/// Dots in a grid, kept by the character that shows them; row 0 is the highest.
class Canvas {
  public:
    explicit Canvas(Charset charset)
        : charset_(charset),
          style_(charset == Charset::kUnicode ? kBraille : kPlain),
          cells_(size_t{kRows} * kCells) {}

    const Style& style() const { return style_; }
    int width() const { return kCells * style_.dots_across; }
    int height() const { return kRows * style_.dots_down; }

    void dot(int x, int y) {
        const int cell = y / style_.dots_down * kCells + x / style_.dots_across;
        const int bit = y % style_.dots_down * style_.dots_across + x % style_.dots_across;
        cells_[static_cast<size_t>(cell)] |= 1U << static_cast<unsigned>(bit);
    }

    void line(int x, int y, int to_x, int to_y) {
        const int steps = std::max({std::abs(to_x - x), std::abs(to_y - y), 1});
        for (int i = 0; i <= steps; ++i)
            dot(x + (to_x - x) * i / steps, y + (to_y - y) * i / steps);
    }

    std::string row(size_t number) const {
        std::string text;
        for (size_t i = 0; i < kCells; ++i)
            text += cell_text(cells_[number * kCells + i], charset_);
        return text;
    }

  private:
    Charset charset_;
    const Style& style_;
    std::vector<unsigned> cells_;
};

/// The place of a value between 0 and 1 in a row of so many.
int place(double part, int count) {
    return static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * (count - 1)));
}

double part_of_axis(const Plot& plot, double x) {
    return plot.x_end > plot.x_begin ? (x - plot.x_begin) / (plot.x_end - plot.x_begin) : 0.5;
}

/// The end of an axis that holds the value: 1, 2, 3, 4, 5, 6 or 8 with zeros.
double axis_end(double value) {
    if (value <= 0) return 1;
    const double unit = std::pow(10, std::floor(std::log10(value)));
    for (const double factor : {1, 2, 3, 4, 5, 6, 8}) {
        if (value <= factor * unit) return factor * unit;
    }
    return 10 * unit;
}

std::string value_text(double value) {
    if (value < 10'000) return fmt::format("{:g}", value);
    const std::pair<double, const char*> units[] = {{1e9, "G"}, {1e6, "M"}, {1e3, "k"}};
    for (const auto& [size, name] : units) {
        if (value >= size) return fmt::format("{:.4g}{}", value / size, name);
    }
    return {};
}

void draw(Canvas& canvas, const Plot& plot, const Curve& curve, double y_end) {
    bool first = true;
    int last_x = 0, last_y = 0;
    for (const Point& point : curve) {
        const int x = place(part_of_axis(plot, point.x), canvas.width());
        const int y = place(1 - point.y / y_end, canvas.height());
        canvas.line(first ? x : last_x, first ? y : last_y, x, y);
        first = false;
        last_x = x;
        last_y = y;
    }
}

std::string rows_text(const Canvas& canvas, double y_end) {
    std::string text;
    for (int row = 0; row < kRows; ++row) {
        const bool labelled = row % (kRows / 2) == 0;
        const double value = y_end * (kRows - 1 - row) / (kRows - 1);
        std::string line =
            fmt::format("{:>{}} {}{}", labelled ? value_text(value) : "", kLabelWidth,
                        labelled ? canvas.style().axis_tick : canvas.style().axis,
                        canvas.row(static_cast<size_t>(row)));
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

/// The x axis: its line, the labels of its ticks and its own.
std::string x_axis_text(const Plot& plot, const Style& style) {
    std::vector<const char*> line(kCells, style.line);
    std::string labels;
    for (const Tick& tick : plot.ticks) {
        line[static_cast<size_t>(place(part_of_axis(plot, tick.x), kCells))] = style.line_tick;
        const int cell = place(part_of_axis(plot, tick.label_x), kCells);
        const int size = static_cast<int>(tick.label.size());
        const auto start =
            static_cast<size_t>(std::clamp(cell - size / 2, 0, std::max(kCells - size, 0)));
        if (size > kCells || (!labels.empty() && start <= labels.size())) continue;
        labels.resize(start, ' ');
        labels += tick.label;
    }
    const std::string indent(kLabelWidth + 1, ' ');
    std::string text = indent + style.corner;
    for (const char* part : line) text += part;
    const size_t margin = (kCells - std::min(columns(plot.x_label), size_t{kCells})) / 2;
    return text + "\n" + indent + " " + labels + "\n" + indent + " " + std::string(margin, ' ') +
           cut(plot.x_label, kCells) + "\n";
}

}  // namespace

Charset terminal_charset() {
    std::setlocale(LC_CTYPE, "");
    return std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0 ? Charset::kUnicode : Charset::kAscii;
}

std::string plot_text(const Plot& plot, Charset charset) {
    double highest = 0;
    for (const Curve& curve : plot.curves) {
        for (const Point& point : curve) highest = std::max(highest, point.y);
    }
    Canvas canvas(charset);
    for (const Curve& curve : plot.curves) draw(canvas, plot, curve, axis_end(highest));
    return fmt::format("{:>{}}\n", plot.y_label, kLabelWidth) +
           rows_text(canvas, axis_end(highest)) + x_axis_text(plot, canvas.style());
}

CurveThinner::CurveThinner(double x_end) : x_end_(x_end), columns_(kFinestColumns) {}

void CurveThinner::add(Point point) {
    const double part = x_end_ > 0 ? point.x / x_end_ : 0;
    Column& column = columns_[static_cast<size_t>(place(part, kFinestColumns))];
    if (!column.used) column = {true, point, point, point, point};
    if (point.y < column.lowest.y) column.lowest = point;
    if (point.y > column.highest.y) column.highest = point;
    column.last = point;
}

Curve CurveThinner::curve() const {
    Curve curve;
    for (const Column& column : columns_) {
        if (!column.used) continue;
        Curve kept{column.first, column.lowest, column.highest, column.last};
        std::stable_sort(kept.begin(), kept.end(),
                         [](const Point& a, const Point& b) { return a.x < b.x; });
        curve.insert(curve.end(), kept.begin(), kept.end());
    }
    return curve;
}

}  // namespace cli
