#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mova::tool {

/// A histogram, ascending, and the breaks that a classifier made of it.
struct ClassifiedData {
    std::vector<double> values;
    std::vector<std::int32_t> frequencies;
    std::vector<double> breaks;  ///< the lower limit of the first class, then the upper limit of each
};

/// Reads "VALUE" or "VALUE,FREQUENCY", a number and a whole number of 32 bits; blanks around either are skipped.
/// @return false where the line is neither; nothing has then been added
bool AddHistogramLine(std::string_view line, std::vector<double>& values, std::vector<std::int32_t>& frequencies);

/// How many observations lie in each class: in the first whose upper limit is not below the value. What lies below the
/// first or above the last limit is in none.
std::vector<std::int64_t> CountsOf(const ClassifiedData& data);

/// How much of the variance the classes explain, 0 to 1: 1 less the squared deviations from the class means by those
/// from the mean of all. What lies in no class makes one more. 1 where nothing varies.
double FitOf(const ClassifiedData& data);

/// The histogram with classes in colours, their limits and counts, as an SVG document.
std::string DrawClasses(std::string_view title, const ClassifiedData& data);

}  // namespace mova::tool
