#pragma once

#include <string>
#include <vector>

namespace cli {

/// What the user's terminal can show.
enum class Charset { kAscii, kUnicode };

/// The one that the user's locale promises.
Charset terminal_charset();

struct Point {
    double x;
    double y;
};

/// Points by ascending x.
using Curve = std::vector<Point>;

struct Tick {
    double x;
    double label_x;  // where its label is centred
    std::string label;
};

/// A diagram. Its y axis counts from 0.
struct Plot {
    std::string y_label;
    std::string x_label;
    double x_begin;
    double x_end;
    std::vector<Curve> curves;
    std::vector<Tick> ticks;  // of the x axis; one without room for its label stays without
};

constexpr int kPlotWidth = 80;

/// The diagram as lines of at most kPlotWidth columns: in braille, which has eight dots to a
/// character, or in plain ASCII, where "'", "." and ":" are two dots above each other.
std::string plot_text(const Plot& plot, Charset charset);

/// Collects a curve of any number of points and keeps so many that it still looks the same: of all
/// that fall into one of a diagram's finest columns the first, the lowest, the highest, the last.
class CurveThinner {
  public:
    explicit CurveThinner(double x_end);
    void add(Point point);
    Curve curve() const;

  private:
    struct Column {
        bool used = false;
        Point first, lowest, highest, last;
    };
    double x_end_;
    std::vector<Column> columns_;
};

}  // namespace cli
