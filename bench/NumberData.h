// Numbers as they are shown: measures of several sizes with few decimals, counts among them.
#pragma once

#include <cmath>
#include <random>
#include <vector>

namespace bench {

/// So many numbers of six decimals at most, the same at every call. Those that are almost zero are left out, for the
/// platform's formatting fails for them.
inline std::vector<double> MakeNumbers(std::size_t count) {
    std::minstd_rand random(7);
    std::uniform_real_distribution<double> unit(-0.3, 0.7);
    constexpr double scales[] = {1, 100, 1e4, 1e7};
    constexpr double millionth = 1e6;
    constexpr double least = 0.001;
    std::vector<double> numbers(count);
    for (std::size_t i = 0; i < count; ++i) {
        numbers[i] = std::round(unit(random) * scales[i % 4] * millionth) / millionth;
        if (std::fabs(numbers[i]) < least) numbers[i] = least;
        if (i % 5 == 0) numbers[i] = std::floor(std::fabs(numbers[i]) * 1000);
    }
    return numbers;
}

}  // namespace bench
