// Natural breaks read step by step, each class summed anew whenever it changes: the judge of the fast way, and its peer
// in the benchmarks.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>

#include "classify/Histogram.h"

namespace mova::test {

class DirectNaturalBreaks {
    /// An array by whole numbers that may be differences.
    template <class Number, std::size_t size>
    struct Table : std::array<Number, size> {
        Number& operator[](int index) { return std::array<Number, size>::operator[](static_cast<std::size_t>(index)); }
    };

 public:
    explicit DirectNaturalBreaks(const HistogramView& data) : data_(data) {}

    /// @param classCount 1 to 256, at most as many as there are values.
    /// @return false where a class came to hold no weight.
    bool Run(int classCount) {
        k_ = classCount;
        const auto count = static_cast<std::int64_t>(data_.values.size());
        for (int i = 0; i < k_; ++i) bounds[i] = static_cast<std::int32_t>(i * count / k_ - 1);
        bounds[k_] = static_cast<std::int32_t>(count - 1);
        bool moved = false;
        if (!Reassign() || !Shift(moved)) return false;
        if (!moved) return true;
        return Shift(moved) && Reassign();
    }

    Table<std::int32_t, 257> bounds{};

 private:
    bool Sum(int i) {
        std::int64_t weight = 0;
        double sum = 0;
        for (std::int32_t j = bounds[i] + 1; j <= bounds[i + 1]; ++j) {
            weight += Frequency(j);
            sum += Frequency(j) * Value(j);
        }
        if (weight <= 0) return false;
        means_[i] = sum / static_cast<double>(weight);
        deviations_[i] = 0;
        for (std::int32_t j = bounds[i] + 1; j <= bounds[i + 1]; ++j)
            deviations_[i] += (Value(j) - means_[i]) * (Value(j) - means_[i]) * Frequency(j);
        return true;
    }
    bool SumAll(double& total) {
        total = 0;
        for (int i = 0; i < k_; ++i) {
            if (!Sum(i)) return false;
            total += deviations_[i];
        }
        return true;
    }

    bool Reassign() {
        double total = 0;
        if (!SumAll(total)) return false;
        for (;;) {
            const auto oldBounds = bounds;
            for (int i = 0; i < k_; ++i) Scan(i);
            const auto oldMeans = means_;
            const auto oldDeviations = deviations_;
            const double before = total;
            if (!SumAll(total)) return false;
            if (total < before) continue;
            if (total > before) {
                bounds = oldBounds;
                means_ = oldMeans;
                deviations_ = oldDeviations;
            }
            return true;
        }
    }
    void Scan(int i) {
        const std::int32_t last = bounds[i + 1];
        for (std::int32_t j = bounds[i] + 1; j <= last; ++j) {
            const double own = std::fabs(Value(j) - means_[i]);
            if (i >= 1 && j != bounds[i + 1] && own > std::fabs(Value(j) - means_[i - 1])) {
                bounds[i] = j;
            } else if (i < k_ - 1 && bounds[i] != j - 1 && own > std::fabs(Value(j) - means_[i + 1])) {
                bounds[i + 1] = j - 1;
                return;
            }
        }
    }

    /// One pass, upward and downward.
    bool Shift(bool& moved) {
        moved = false;
        for (int i = 0; i <= k_ - 2; ++i)
            for (bool goesOn = true; goesOn && bounds[i + 2] - bounds[i + 1] > 1;)
                if (!Try(i, 1, goesOn, moved)) return false;
        for (int i = k_ - 1; i >= 1; --i)
            for (bool goesOn = true; goesOn && bounds[i] - bounds[i - 1] > 1;)
                if (!Try(i - 1, -1, goesOn, moved)) return false;
        return true;
    }
    /// Moves the bound between a class and the next one.
    bool Try(int lower, int step, bool& falls, bool& moved) {
        const double oldMeans[] = {means_[lower], means_[lower + 1]};
        const double oldDeviations[] = {deviations_[lower], deviations_[lower + 1]};
        bounds[lower + 1] += step;
        if (!Sum(lower) || !Sum(lower + 1)) return false;
        falls = deviations_[lower] + deviations_[lower + 1] < oldDeviations[0] + oldDeviations[1];
        if (falls) {
            moved = true;
            return true;
        }
        bounds[lower + 1] -= step;
        for (int i = 0; i < 2; ++i) {
            means_[lower + i] = oldMeans[i];
            deviations_[lower + i] = oldDeviations[i];
        }
        return true;
    }

    double Value(std::int32_t j) const { return data_.values[static_cast<std::size_t>(j)]; }
    std::int32_t Frequency(std::int32_t j) const { return data_.frequencies[static_cast<std::size_t>(j)]; }

    HistogramView data_;
    int k_ = 0;
    Table<double, 256> means_{}, deviations_{};
};

}  // namespace mova::test
