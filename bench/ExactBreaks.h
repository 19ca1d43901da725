// The classes with the least squared deviations of all, by dynamic programming: what natural breaks are measured by.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "classify/Histogram.h"

namespace bench {

/// For one class more at a time, the best way to divide each beginning of the values: the last class of a longer
/// beginning never starts earlier, so that the starts are found by halving, in classes x n x log n steps.
class ExactBreaks {
 public:
    explicit ExactBreaks(const mova::HistogramView& data) : count_(static_cast<int>(data.values.size())) {
        const auto size = data.values.size();
        weights_.resize(size + 1);
        sums_.resize(size + 1);
        squares_.resize(size + 1);
        for (std::size_t i = 0; i < size; ++i) {
            const long double weight = data.frequencies[i];
            const long double value = data.values[i];
            weights_[i + 1] = weights_[i] + weight;
            sums_[i + 1] = sums_[i] + weight * value;
            squares_[i + 1] = squares_[i] + weight * value * value;
        }
    }

    /// The index of the last value of each class. @param classes not more than there are values
    std::vector<int> Run(int classes) {
        previous_.resize(Size(count_));
        best_.assign(Size(count_), 0);
        starts_.assign(Size(classes), std::vector<int>(Size(count_)));
        for (int end = 0; end < count_; ++end) previous_[Size(end)] = Deviations(0, end);
        for (int i = 1; i < classes; ++i) {
            Solve(i, i, count_ - 1, i, count_ - 1);
            std::swap(previous_, best_);
        }
        std::vector<int> ends(Size(classes));
        int end = count_ - 1;
        for (int i = classes - 1; i >= 0; --i) {
            ends[Size(i)] = end;
            end = starts_[Size(i)][Size(end)] - 1;
        }
        return ends;
    }

    /// The squared deviations within classes that end at these values, by those of all from their mean.
    double Misfit(const std::vector<int>& ends) const {
        long double within = 0;
        int first = 0;
        for (const int end : ends) {
            within += Deviations(first, end);
            first = end + 1;
        }
        return static_cast<double>(within / Deviations(0, count_ - 1));
    }

 private:
    static std::size_t Size(int index) { return static_cast<std::size_t>(index); }
    long double Deviations(int first, int last) const {
        const long double weight = weights_[Size(last + 1)] - weights_[Size(first)];
        const long double sum = sums_[Size(last + 1)] - sums_[Size(first)];
        return squares_[Size(last + 1)] - squares_[Size(first)] - sum * sum / weight;
    }
    /// Finds the best start of a class for all ends from one to another, of which it is known where they lie.
    void Solve(int itsClass, int low, int high, int leastStart, int greatestStart) {
        if (low > high) return;
        const int end = low + (high - low) / 2;
        long double least = std::numeric_limits<long double>::infinity();
        int start = leastStart;
        for (int i = std::max(leastStart, itsClass); i <= std::min(greatestStart, end); ++i) {
            const long double total = previous_[Size(i - 1)] + Deviations(i, end);
            if (total >= least) continue;
            least = total;
            start = i;
        }
        best_[Size(end)] = least;
        starts_[Size(itsClass)][Size(end)] = start;
        Solve(itsClass, low, end - 1, leastStart, start);
        Solve(itsClass, end + 1, high, start, greatestStart);
    }

    int count_;
    std::vector<long double> weights_, sums_, squares_, previous_, best_;
    std::vector<std::vector<int>> starts_;
};

}  // namespace bench
