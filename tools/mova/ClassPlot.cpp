#include "tools/mova/ClassPlot.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <optional>
#include <system_error>

namespace mova::tool {
namespace {

constexpr double width = 1040, height = 520;
constexpr double left = 70, right = 760, top = 64, bottom = 420;  // of the drawing itself
constexpr double legendLeft = 790;
constexpr std::size_t barCount = 120;
constexpr std::size_t mostLegendRows = 20;
constexpr std::size_t mostBreakLines = 80;
constexpr double leastLabelDistance = 15;

template <class Number>
std::optional<Number> NumberIn(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return {};
    text = text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

std::string Format(const char* format, double number) {
    std::array<char, 64> text;
    return {text.data(), static_cast<std::size_t>(std::snprintf(text.data(), text.size(), format, number))};
}
/// A length or place in the drawing.
std::string At(double place) {
    return Format("%.2f", place);
}
/// A number as it is shown.
std::string Label(double number) {
    return Format("%.6g", number);
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text)
        escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : c == '"' ? "&quot;" : std::string(1, c);
    return escaped;
}

/// The class of a value; the number of classes for none.
std::size_t ClassOf(double value, const std::vector<double>& breaks) {
    const std::size_t classes = breaks.empty() ? 0 : breaks.size() - 1;
    if (classes == 0 || value < breaks.front()) return classes;
    for (std::size_t i = 0; i < classes; ++i)
        if (value <= breaks[i + 1]) return i;
    return classes;
}

/// The class of each value. Values ascend, and so do classes unless a limit is no number.
std::vector<std::size_t> ClassesOf(const ClassifiedData& data) {
    std::vector<std::size_t> classes;
    const bool ascends =
        std::is_sorted(data.breaks.begin(), data.breaks.end()) &&
        std::none_of(data.breaks.begin(), data.breaks.end(), [](double limit) { return std::isnan(limit); });
    for (const double value : data.values) {
        if (!ascends || data.breaks.size() < 2 || value < data.breaks.front()) {
            classes.push_back(ClassOf(value, data.breaks));
        } else {
            const auto found = std::lower_bound(data.breaks.begin() + 1, data.breaks.end(), value);
            classes.push_back(static_cast<std::size_t>(found - data.breaks.begin()) - 1);
        }
    }
    return classes;
}

std::size_t ClassCount(const ClassifiedData& data) {
    return data.breaks.empty() ? 0 : data.breaks.size() - 1;
}

/// From pale yellow over green to dark blue: darker is higher, without colours and for colour-blind eyes, too.
std::string ColourOf(std::size_t index, std::size_t classes) {
    struct Colour {
        double red, green, blue;
    };
    constexpr Colour stops[] = {{250, 221, 120}, {158, 205, 118}, {61, 165, 140}, {38, 110, 142}, {55, 45, 110}};
    constexpr std::size_t last = std::size(stops) - 1;
    if (index >= classes) return "#b8b8b8";
    const double place = classes == 1 ? 2 : static_cast<double>(index * last) / static_cast<double>(classes - 1);
    const auto stop = std::min(static_cast<std::size_t>(place), last - 1);
    const double share = place - static_cast<double>(stop);
    const auto mix = [&](double from, double to) { return static_cast<int>(std::lround(from + (to - from) * share)); };
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", mix(stops[stop].red, stops[stop + 1].red) & 0xFF,
                  mix(stops[stop].green, stops[stop + 1].green) & 0xFF,
                  mix(stops[stop].blue, stops[stop + 1].blue) & 0xFF);
    return text.data();
}

std::string TextAt(double x, double y, std::string_view anchor, double size, std::string_view text,
                   std::string_view more = {}) {
    return "<text x=\"" + At(x) + "\" y=\"" + At(y) + "\" text-anchor=\"" + std::string(anchor) + "\" font-size=\"" +
           At(size) + "\"" + std::string(more) + ">" + Escaped(text) + "</text>\n";
}
std::string Rectangle(double x, double y, double wide, double high, std::string_view colour, std::string_view title) {
    return "<rect x=\"" + At(x) + "\" y=\"" + At(y) + "\" width=\"" + At(wide) + "\" height=\"" + At(high) +
           "\" fill=\"" + std::string(colour) + "\"><title>" + Escaped(title) + "</title></rect>\n";
}
std::string Line(double x1, double y1, double x2, double y2, std::string_view style) {
    return "<line x1=\"" + At(x1) + "\" y1=\"" + At(y1) + "\" x2=\"" + At(x2) + "\" y2=\"" + At(y2) + "\" " +
           std::string(style) + "/>\n";
}

/// What the horizontal axis shows.
struct Axis {
    explicit Axis(const ClassifiedData& data) {
        for (const auto* numbers : {&data.values, &data.breaks}) {
            for (const double number : *numbers) {
                if (!std::isfinite(number)) continue;
                minimum = isEmpty ? number : std::min(minimum, number);
                maximum = isEmpty ? number : std::max(maximum, number);
                isEmpty = false;
            }
        }
    }
    /// 0 to 1; in two halves, since the range may not fit a double.
    double Share(double value) const {
        const double range = maximum / 2 - minimum / 2;
        return range > 0 ? (value / 2 - minimum / 2) / range : 0.5;
    }
    double X(double value) const { return left + Share(value) * (right - left); }

    double minimum = 0, maximum = 0;
    bool isEmpty = true;
};

/// Bars of equal width; in each, the classes one upon the other.
std::string DrawBars(const ClassifiedData& data, const Axis& axis) {
    struct Part {
        std::size_t bar, itsClass;
        double count;
    };
    std::vector<Part> parts;  // ascending in both
    std::vector<double> heights(barCount);
    const std::vector<std::size_t> classes = ClassesOf(data);
    for (std::size_t i = 0; i < data.values.size(); ++i) {
        if (!std::isfinite(data.values[i]) || data.frequencies[i] <= 0) continue;
        const auto bar = std::min(static_cast<std::size_t>(axis.Share(data.values[i]) * static_cast<double>(barCount)),
                                  barCount - 1);
        if (parts.empty() || parts.back().bar != bar || parts.back().itsClass != classes[i])
            parts.push_back({bar, classes[i], 0});
        parts.back().count += data.frequencies[i];
        heights[bar] += data.frequencies[i];
    }
    const double highest = *std::max_element(heights.begin(), heights.end());
    if (!(highest > 0)) return {};
    std::string drawing;
    constexpr double barWidth = (right - left) / static_cast<double>(barCount);
    std::vector<double> reached(barCount, bottom);
    for (const Part& part : parts) {
        const double high = part.count / highest * (bottom - top);
        reached[part.bar] -= high;
        drawing += Rectangle(left + barWidth * static_cast<double>(part.bar) + 0.5, reached[part.bar], barWidth - 1,
                             high, ColourOf(part.itsClass, ClassCount(data)), Label(part.count));
    }
    const std::string axisStyle = "stroke=\"#444\"";
    drawing += Line(left, top, left, bottom, axisStyle);
    for (const double share : {0.0, 0.5, 1.0})
        drawing += TextAt(left - 8, bottom - share * (bottom - top) + 4, "end", 12, Label(highest * share));
    return drawing;
}

std::string DrawBreaks(const ClassifiedData& data, const Axis& axis) {
    constexpr double bandTop = bottom + 2, bandHeight = 12;
    std::string drawing;
    for (std::size_t i = 0; i < ClassCount(data) && ClassCount(data) <= mostBreakLines; ++i) {
        const double lower = data.breaks[i], upper = data.breaks[i + 1];
        if (!std::isfinite(lower) || !std::isfinite(upper) || upper < lower) continue;
        drawing += Rectangle(axis.X(lower), bandTop, std::max(axis.X(upper) - axis.X(lower), 0.5), bandHeight,
                             ColourOf(i, ClassCount(data)), Label(lower) + " to " + Label(upper));
    }
    double lastLabel = left - leastLabelDistance;
    for (std::size_t i = 0; i < data.breaks.size() && ClassCount(data) <= mostBreakLines; ++i) {
        if (!std::isfinite(data.breaks[i])) continue;
        const double x = axis.X(data.breaks[i]);
        drawing +=
            Line(x, top, x, bandTop + bandHeight + 4, "stroke=\"#333\" stroke-width=\"1\" stroke-dasharray=\"3 3\"");
        if (x - lastLabel < leastLabelDistance) continue;
        lastLabel = x;
        const double y = bandTop + bandHeight + 18;
        drawing += TextAt(x + 4, y, "end", 12, Label(data.breaks[i]),
                          " transform=\"rotate(-45 " + At(x + 4) + " " + At(y) + ")\"");
    }
    return drawing;
}

std::string DrawLegend(const ClassifiedData& data) {
    constexpr double rowHeight = 20, box = 13;
    const std::vector<std::int64_t> counts = CountsOf(data);
    const std::size_t rows = std::min(counts.size(), mostLegendRows);
    std::string drawing =
        TextAt(legendLeft, top - 10, "start", 13, "Class") + TextAt(width - 20, top - 10, "end", 13, "Count");
    double y = top + 6;
    for (std::size_t i = 0; i < rows; ++i, y += rowHeight) {
        drawing += Rectangle(legendLeft, y - 11, box, box, ColourOf(i, counts.size()), "");
        drawing += TextAt(legendLeft + 20, y, "start", 13,
                          (i == 0 ? "" : "> ") + Label(data.breaks[i]) + " to " + Label(data.breaks[i + 1]));
        drawing += TextAt(width - 20, y, "end", 13, std::to_string(counts[i]));
    }
    if (counts.size() > rows)
        drawing += TextAt(legendLeft + 20, y, "start", 13, "and " + std::to_string(counts.size() - rows) + " more");
    const auto all = std::accumulate(data.frequencies.begin(), data.frequencies.end(), std::int64_t{0});
    const std::int64_t outside = all - std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
    if (outside != 0) {
        y += rowHeight;
        drawing += Rectangle(legendLeft, y - 11, box, box, ColourOf(1, 1), "");
        drawing += TextAt(legendLeft + 20, y, "start", 13, "in no class") +
                   TextAt(width - 20, y, "end", 13, std::to_string(outside));
    }
    return drawing;
}

}  // namespace

bool AddHistogramLine(std::string_view line, std::vector<double>& values, std::vector<std::int32_t>& frequencies) {
    const std::size_t comma = line.find(',');
    const auto value = NumberIn<double>(line.substr(0, comma));
    const auto frequency = comma == std::string_view::npos ? std::optional<std::int32_t>(1)
                                                           : NumberIn<std::int32_t>(line.substr(comma + 1));
    if (!value || !frequency) return false;
    values.push_back(*value);
    frequencies.push_back(*frequency);
    return true;
}

std::vector<std::int64_t> CountsOf(const ClassifiedData& data) {
    std::vector<std::int64_t> counts(ClassCount(data));
    const std::vector<std::size_t> classes = ClassesOf(data);
    for (std::size_t i = 0; i < classes.size(); ++i)
        if (classes[i] < counts.size()) counts[classes[i]] += data.frequencies[i];
    return counts;
}

double FitOf(const ClassifiedData& data) {
    struct Sums {
        double weight = 0, sum = 0, squares = 0;
        double Mean() const { return weight != 0 ? sum / weight : 0; }
    };
    const std::vector<std::size_t> classes = ClassesOf(data);
    std::vector<Sums> sums(ClassCount(data) + 1);
    Sums all;
    for (std::size_t i = 0; i < classes.size(); ++i) {
        for (Sums* to : {&sums[classes[i]], &all}) {
            to->weight += data.frequencies[i];
            to->sum += data.frequencies[i] * data.values[i];
        }
    }
    for (std::size_t i = 0; i < classes.size(); ++i) {
        for (Sums* to : {&sums[classes[i]], &all}) {
            const double distance = data.values[i] - to->Mean();
            to->squares += distance * distance * data.frequencies[i];
        }
    }
    double within = 0;
    for (const Sums& one : sums) within += one.squares;
    return all.squares > 0 ? 1 - within / all.squares : 1;
}

std::string DrawClasses(std::string_view title, const ClassifiedData& data) {
    const Axis axis(data);
    const auto all = std::accumulate(data.frequencies.begin(), data.frequencies.end(), std::int64_t{0});
    const std::string classes = std::to_string(ClassCount(data)) + (ClassCount(data) == 1 ? " class" : " classes");
    std::string drawing = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + At(width) + " " + At(height) +
                          "\" width=\"" + At(width) + "\" height=\"" + At(height) +
                          "\" font-family=\"sans-serif\" fill=\"#222\">\n<title>" + Escaped(title) + "</title>\n";
    drawing += Rectangle(0, 0, width, height, "#ffffff", "");
    drawing += TextAt(left, 30, "start", 19, title);
    drawing += TextAt(right, 30, "end", 13,
                      classes + ", " + std::to_string(all) + " observations of " + std::to_string(data.values.size()) +
                          " values, goodness of fit " + Format("%.4f", FitOf(data)));
    if (!axis.isEmpty) drawing += DrawBars(data, axis) + DrawBreaks(data, axis);
    drawing += Line(left, bottom, right, bottom, "stroke=\"#444\"");
    drawing += DrawLegend(data);
    return drawing + "</svg>\n";
}

}  // namespace mova::tool
