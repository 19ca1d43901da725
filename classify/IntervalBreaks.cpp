#include "classify/IntervalBreaks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace mova {
namespace {

/// Whether adding a step again and again comes from one number to another, moving each time, in no more steps than
/// there may be breaks. @return done, endless or tooMany
BreakOutcome CanWalk(double from, double to, double step) noexcept {
    if (!(step > 0) || !std::isfinite(from) || !std::isfinite(to)) return BreakOutcome::endless;
    if (!((to - from) / step < static_cast<double>(mostBreaks))) return BreakOutcome::tooMany;
    // Doubles lie farthest apart at the end that is farther from zero: what moves there by half a step moves anywhere
    // by a whole one. Else only walking tells.
    const double farthest = std::max(std::fabs(from), std::fabs(to));
    if (farthest + step / 2 > farthest) return BreakOutcome::done;
    while (from <= to) {
        const double next = from + step;
        if (!(next > from)) return BreakOutcome::endless;
        from = next;
    }
    return BreakOutcome::done;
}

/// Room for the breaks of a walk and both ends. @throw std::bad_alloc
void Reserve(std::vector<double>& breaks, double from, double to, double step) {
    constexpr double ends = 4;
    breaks.reserve(static_cast<std::size_t>(std::max((to - from) / step, 0.0) + ends));
}

}  // namespace

BreakOutcome EqualIntervalBreaks(Range range, std::int64_t classCount, std::vector<double>& breaks) {
    if (range.maximum == range.minimum) classCount = 1;
    if (classCount >= mostBreaks) return BreakOutcome::tooMany;
    breaks.reserve(static_cast<std::size_t>(classCount) + 1);
    breaks.assign(1, range.minimum);
    const double width = (range.maximum - range.minimum) / static_cast<double>(classCount);
    double limit = range.minimum;
    for (std::int64_t i = 1; i < classCount; ++i) breaks.push_back(limit += width);
    breaks.push_back(range.maximum);
    return BreakOutcome::done;
}

BreakOutcome QuantileBreaks(const HistogramView& data, std::int64_t& classCount, std::vector<double>& breaks) {
    const std::size_t count = data.values.size();
    const std::int64_t total = std::accumulate(data.frequencies.begin(), data.frequencies.end(), std::int64_t{0});
    const std::int64_t asked = std::min(classCount, static_cast<std::int64_t>(count));
    // A class takes at least one value unless less than nothing is left to be placed: the first would then have none.
    if (total < 0) return BreakOutcome::badFrequencies;
    breaks.reserve(static_cast<std::size_t>(asked) + 1);
    breaks.assign(1, data.values.front());
    std::int64_t placed = 0;
    std::size_t next = 0;
    for (std::int64_t i = 0; i < asked; ++i) {
        const double target = static_cast<double>(total - placed) / static_cast<double>(asked - i);
        if (target == 0) {
            classCount = i;
            return BreakOutcome::done;
        }
        std::int64_t taken = 0;
        while (next < count && static_cast<double>(taken) < target &&
               (taken <= 0 || static_cast<double>(data.frequencies[next]) < target))
            taken += data.frequencies[next++];
        breaks.push_back(data.values[next - 1]);
        placed += taken;
    }
    classCount = asked;
    return BreakOutcome::done;
}

BreakOutcome DeviationBreaks(Range range, const DeviationLayout& layout, std::int64_t& classCount,
                             std::vector<double>& breaks) {
    const auto [minimum, maximum] = range;
    const double step = layout.deviation * layout.interval;
    if (step == 0) {
        breaks = {minimum, layout.isLimited ? minimum : maximum};
        classCount = 1;
        return BreakOutcome::done;
    }
    if (!layout.isLimited) {
        const double offset = layout.meanIsCentered ? step * 0.5 : 0;
        const double first = std::floor((minimum - layout.mean + offset) / step) * step + layout.mean - offset;
        const bool walks = maximum > first;
        if (walks) {
            if (const auto outcome = CanWalk(first, maximum, step); outcome != BreakOutcome::done) return outcome;
            Reserve(breaks, first, maximum, step);
        }
        breaks.assign(1, minimum);
        for (double limit = first; walks && limit < maximum; limit += step)
            if (limit > minimum) breaks.push_back(limit);
        breaks.push_back(maximum);
        classCount = static_cast<std::int64_t>(breaks.size()) - 1;
        return BreakOutcome::done;
    }
    const double reach = 3 * layout.deviation;
    const double low = layout.interval > 1 ? std::floor((step * 0.5 - reach) / step) * step + layout.mean - step * 0.5
                                           : layout.mean - reach + step * 0.5;
    const double high = reach + layout.mean - step * 0.5;
    if (!(high < low)) {
        if (const auto outcome = CanWalk(low, high, step); outcome != BreakOutcome::done) return outcome;
        Reserve(breaks, low, high, step);
    }
    breaks.assign(1, minimum);
    for (double limit = low; !(limit > high); limit += step)
        if (minimum <= limit && limit <= maximum) breaks.push_back(limit);
    if (breaks.size() == 1) {
        breaks.clear();
        return BreakOutcome::noClass;
    }
    if (maximum > breaks.back()) breaks.push_back(maximum);
    classCount = static_cast<std::int64_t>(breaks.size()) - 1;
    return BreakOutcome::done;
}

BreakOutcome DefinedIntervalBreaks(Range range, double width, std::int64_t& classCount, std::vector<double>& breaks) {
    const auto [minimum, maximum] = range;
    if (!std::isfinite(minimum) || !std::isfinite(maximum)) return BreakOutcome::endless;
    const bool walks = maximum > minimum;
    if (walks) {
        constexpr double mostCounted = 0x1p53;  // adding 1 to a greater number need not move it
        if (const auto outcome = CanWalk(minimum, maximum, width); outcome != BreakOutcome::done) return outcome;
        if (std::max(std::fabs(minimum), std::fabs(maximum)) / width >= mostCounted) return BreakOutcome::endless;
        Reserve(breaks, minimum, maximum, width);
    }
    breaks.assign(1, minimum);
    // Multiples by multiplying, not by adding: seven tenths are then as near to 0.7 as a double can be.
    for (double multiple = std::floor(minimum / width) + 1; walks && multiple * width < maximum; ++multiple)
        if (multiple * width > minimum) breaks.push_back(multiple * width);
    breaks.push_back(maximum);
    classCount = static_cast<std::int64_t>(breaks.size()) - 1;
    return BreakOutcome::done;
}

BreakOutcome GeometricalBreaks(const HistogramView& data, std::int64_t& classCount, std::vector<double>& breaks) {
    constexpr double nearestToEnd = 1e-6;
    const Range range{data.values.front(), data.values.back()};
    if (classCount >= mostBreaks) return BreakOutcome::tooMany;
    std::int64_t total = 0;
    for (const std::int32_t frequency : data.frequencies) {
        if (frequency < 0) return BreakOutcome::badFrequencies;
        total += frequency;
    }
    if (total == 0) return BreakOutcome::badFrequencies;
    std::size_t middle = 0;
    for (std::int64_t passed = data.frequencies[0]; passed * 2 < total; passed += data.frequencies[middle]) ++middle;
    const double median = data.values[middle];
    const double width = range.maximum - range.minimum;
    if (!std::isfinite(width) || !(range.minimum <= median && median <= range.maximum)) return BreakOutcome::endless;
    if (width == 0) classCount = 1;

    const auto classes = static_cast<double>(classCount);
    const double place = std::clamp((median - range.minimum) / width, nearestToEnd, 1 - nearestToEnd);
    // With the factor f, the i-th limit lies at (f^i - 1) / (f^classes - 1) of the range; expm1 keeps this where f is
    // near 1.
    const double logFactor = classCount == 1 ? 0 : std::log((1 - place) / place) * 2 / classes;
    breaks.reserve(static_cast<std::size_t>(classCount) + 1);
    breaks.assign(1, range.minimum);
    for (std::int64_t i = 1; i < classCount; ++i) {
        const auto index = static_cast<double>(i);
        const double share =
            logFactor == 0 ? index / classes : std::expm1(logFactor * index) / std::expm1(logFactor * classes);
        breaks.push_back(range.minimum + share * width);
    }
    breaks.push_back(range.maximum);
    return BreakOutcome::done;
}

}  // namespace mova
