// The data that classifiers take.
#pragma once

#include <cstdint>
#include <span>

namespace mova {

/// Values and how often each occurs; the two are of one length. Callers supply distinct values in ascending order; what
/// a method does with others is its own affair, but no method reads outside or fails to end.
struct HistogramView {
    std::span<const double> values;
    std::span<const std::int32_t> frequencies;
};

/// Classes that natural breaks can be asked for.
inline constexpr int mostNaturalClasses = 256;

/// Breaks that a method makes at most (128 MiB of them).
inline constexpr std::int64_t mostBreaks = 1 << 24;

}  // namespace mova
