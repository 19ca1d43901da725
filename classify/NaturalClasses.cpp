#include "classify/NaturalClasses.h"

#include <algorithm>
#include <cmath>

namespace mova {
namespace {

/// A class came to hold no weight.
struct VarianceError {};

/// What is known of a number that summing in doubles would give; both limits are that number once it was summed.
struct Limits {
    double low = 0, high = 0;

    static Limits Of(double number) noexcept { return {number, number}; }
};

struct ClassState {
    Limits mean;
    Limits deviation;  ///< the sum of squared deviations from the mean
    bool isSummed = false;
};

/// A move of the bound between two classes, by what its outcome depends on.
struct Shift {
    std::int32_t first = -1, from = -1, last = -1;  ///< the classes' first value, the bound, and their last value

    bool operator==(const Shift&) const noexcept = default;
};

// A run with fewer values a class than this is quicker without sums, and so is a class of that many.
constexpr std::int64_t fewValuesAClass = 16;
constexpr std::int32_t fewValues = 8;

class Search {
 public:
    /// @param blocks null where all classes are to be summed
    /// @param ascends whether the values do, and are finite
    Search(const HistogramView& data, int classCount, const BlockSums* blocks, bool ascends, NaturalBounds& bounds)
        : data_(data), k_(classCount), blocks_(blocks), ascends_(ascends), bounds_(bounds) {}

    /// @throw VarianceError
    void Run() {
        const auto count = static_cast<std::int64_t>(data_.values.size());
        for (int i = 0; i < k_; ++i) bounds_[At(i)] = static_cast<std::int32_t>(i * count / k_ - 1);
        bounds_[At(k_)] = static_cast<std::int32_t>(count - 1);
        for (int i = 0; i < k_; ++i) {
            if (blocks_) Sums(i) = blocks_->Between(At(Bound(i) + 1), At(Bound(i + 1) + 1));
            Judge(i);
        }
        Reassign();
        if (!ShiftBounds()) return;
        ShiftBounds();
        Reassign();
    }

 private:
    static std::size_t At(int index) noexcept { return static_cast<std::size_t>(index); }
    double Value(std::int32_t index) const noexcept { return data_.values[At(index)]; }
    ClassState& Class(int index) noexcept { return classes_[At(index)]; }
    ClassSums& Sums(int index) noexcept { return classSums_[At(index)]; }
    std::int32_t& Bound(int index) noexcept { return bounds_[At(index)]; }

    /// Sums a class's values in their order and knows it then.
    void SumUp(ClassState& state, std::int32_t first, std::int32_t last) const;
    /// Limits for what summing up would give, from the class's sums.
    void Estimate(ClassState& state, const ClassSums& sums, std::int32_t first, std::int32_t last) const;
    /// What is to be known of a class of these values.
    void Judge(ClassState& state, const ClassSums& sums, std::int32_t first, std::int32_t last) const {
        if (first > last) throw VarianceError();
        if (blocks_ && last - first >= fewValues) {
            Estimate(state, sums, first, last);
        } else {
            SumUp(state, first, last);
        }
    }
    void Judge(int i) { Judge(Class(i), Sums(i), Bound(i) + 1, Bound(i + 1)); }
    void Settle(ClassState& state, std::int32_t first, std::int32_t last) const {
        if (!state.isSummed) SumUp(state, first, last);
    }

    void Reassign();
    /// The classes' new states after a round, out of the remembered ones. @return whether any bound has moved
    bool TakeRound();
    /// What the sums of two neighbours become when the bound between them goes from one index to another.
    void MoveSums(int lower, std::int32_t from, std::int32_t to);
    /// The sign of the change that the last round has made to the sum of all deviations.
    int CompareTotals();
    Limits Total(const std::array<ClassState, mostNaturalClasses>& classes) const noexcept;

    void Scan(int i);
    void ScanEach(int i);
    /// The two halves of a scan where the values ascend. @return false where each value must be looked at
    bool GoDown(int i);
    bool GoUp(int i);
    void SettleRemembered(int i) { Settle(Class(i), remembered_[At(i)] + 1, remembered_[At(i + 1)]); }

    /// One pass. @return whether it has moved a bound
    bool ShiftBounds();
    bool TryShift(int lower, int step);

    const HistogramView data_;
    const int k_;
    const BlockSums* const blocks_;
    const bool ascends_;
    NaturalBounds& bounds_;
    NaturalBounds remembered_;
    std::array<ClassState, mostNaturalClasses> classes_, rememberedClasses_;
    std::array<Shift, mostNaturalClasses> failedUp_, failedDown_;  ///< by upper class: what need not be tried again
    std::array<ClassSums, mostNaturalClasses> classSums_;          ///< where there are blocks
};

void Search::SumUp(ClassState& state, std::int32_t first, std::int32_t last) const {
    std::int64_t weight = 0;
    double sum = 0;
    for (std::int32_t j = first; j <= last; ++j) {
        weight += data_.frequencies[At(j)];
        sum += data_.frequencies[At(j)] * Value(j);
    }
    if (weight <= 0) throw VarianceError();
    const double mean = sum / static_cast<double>(weight);
    double deviation = 0;
    for (std::int32_t j = first; j <= last; ++j) {
        const double distance = Value(j) - mean;
        deviation += distance * distance * data_.frequencies[At(j)];
    }
    state.mean = Limits::Of(mean);
    state.deviation = Limits::Of(deviation);
    state.isSummed = true;
}

void Search::Estimate(ClassState& state, const ClassSums& sums, std::int32_t first, std::int32_t last) const {
    // In grid steps. With a whole number a near the mean, the sum of f (x - a)^2 is squares - a (2 sum - a weight),
    // which is exact and not much greater than the deviation: what it is too much is (sum - a weight)^2 / weight.
    if (sums.weight == 0) throw VarianceError();
    const auto weight = static_cast<double>(sums.weight);
    const auto near = static_cast<std::uint64_t>(AsDouble(sums.sum) / weight);
    const Uint128 share = static_cast<Uint128>(near) * sums.weight;
    const double rest = sums.sum >= share ? AsDouble(sums.sum - share) : -AsDouble(share - sums.sum);
    Uint192 around = sums.squares;
    around -= Product(near, sums.sum + sums.sum - share);
    const double aroundNear = AsDouble(around);
    const double excess = rest * rest / weight;
    double high = aroundNear - excess + (aroundNear + excess) * 0x1p-48;
    double low = aroundNear - excess - (aroundNear + excess) * 0x1p-48;

    // Off the grid each value is less than a step away from where it counts; so is the mean, and the root of the
    // deviation is less than the root of the weight away.
    double offGrid = 0;
    if (!blocks_->AreExact(At(first), At(last))) {
        offGrid = 1;
        const double reach = 2 * std::sqrt(std::max(high, 0.0) * weight) * 1.0001;
        low -= reach;
        high += reach + weight;
    }

    // Summing n terms one by one in doubles has a relative error below n units of 2^-53, when all are of one sign; for
    // the mean it is relative to the greatest magnitude. A wrong mean adds its squared error to the deviation.
    const double terms = (static_cast<double>(last - first) + 32) * (0x1p-53 * 1.0001);
    const double greatest = std::max(std::fabs(Value(first)), std::fabs(Value(last))) * blocks_->StepsPerUnit();
    const bool meanIsExact = blocks_->SumsAreExactInDoubles();
    const double meanError = greatest * (meanIsExact ? 0x1p-52 : terms);
    const double step = blocks_->Step();
    constexpr double lostBelow = 0x1p-100;  // far more than can be lost below the smallest number
    state.deviation.high = (high + weight * meanError * meanError * 1.0001 + lostBelow) * (1 + terms) * step * step;
    state.deviation.low = std::max(0.0, (low - lostBelow) * (1 - terms)) * step * step;
    if (meanIsExact) {
        const Uint128 origin =
            static_cast<Uint128>(static_cast<std::uint64_t>(std::abs(blocks_->Origin()))) * sums.weight;
        const bool isNegative = blocks_->Origin() < 0 && sums.sum < origin;
        const Uint128 magnitude = isNegative              ? origin - sums.sum
                                  : blocks_->Origin() < 0 ? sums.sum - origin
                                                          : sums.sum + origin;
        const double sum = AsDouble(magnitude) * step;
        state.mean = Limits::Of((isNegative ? -sum : sum) / weight);
    } else {
        // Far from the grid's zero, the whole number is not so near that what it lacks is small beside the mean.
        const double lack = rest / weight;
        const double mean = static_cast<double>(static_cast<std::int64_t>(near) + blocks_->Origin()) + lack;
        const double error = meanError + (greatest + std::fabs(lack)) * 0x1p-49 + offGrid;
        state.mean = {(mean - error) * step, (mean + error) * step};
    }
    state.isSummed = false;
}

Limits Search::Total(const std::array<ClassState, mostNaturalClasses>& classes) const noexcept {
    // Adding rounds alike for all numbers between the limits: the sum of what is between stays between.
    Limits total;
    for (int i = 0; i < k_; ++i) {
        total.low += classes[At(i)].deviation.low;
        total.high += classes[At(i)].deviation.high;
    }
    return total;
}

void Search::Reassign() {
    for (;;) {
        std::copy_n(bounds_.begin(), k_ + 1, remembered_.begin());
        for (int i = 0; i < k_; ++i) Scan(i);
        std::copy_n(classes_.begin(), k_, rememberedClasses_.begin());
        if (!TakeRound()) return;
        const int change = CompareTotals();
        if (change < 0) continue;
        if (change > 0) {
            for (int i = 0; i + 1 < k_; ++i) MoveSums(i, Bound(i + 1), remembered_[At(i + 1)]);
            std::copy_n(remembered_.begin(), k_ + 1, bounds_.begin());
            std::copy_n(rememberedClasses_.begin(), k_, classes_.begin());
        }
        return;
    }
}

void Search::MoveSums(int lower, std::int32_t from, std::int32_t to) {
    if (!blocks_ || from == to) return;
    const ClassSums crossing = blocks_->Between(At(std::min(from, to) + 1), At(std::max(from, to) + 1));
    Sums(from < to ? lower : lower + 1) += crossing;
    Sums(from < to ? lower + 1 : lower) -= crossing;
}

bool Search::TakeRound() {
    bool moved = false;
    for (int i = 0; i < k_; ++i) {
        const bool upperMoved = Bound(i + 1) != remembered_[At(i + 1)];
        if (upperMoved) MoveSums(i, remembered_[At(i + 1)], Bound(i + 1));
        if (upperMoved || Bound(i) != remembered_[At(i)]) Judge(i);
        moved = moved || upperMoved;
    }
    return moved;
}

int Search::CompareTotals() {
    Limits now = Total(classes_);
    Limits before = Total(rememberedClasses_);
    if (now.high < before.low) return -1;
    if (now.low > before.high) return 1;
    for (int i = 0; i < k_; ++i) {
        const bool isSame = Bound(i) == remembered_[At(i)] && Bound(i + 1) == remembered_[At(i + 1)];
        Settle(Class(i), Bound(i) + 1, Bound(i + 1));
        ClassState& old = rememberedClasses_[At(i)];
        if (isSame) {
            old = Class(i);
        } else {
            Settle(old, remembered_[At(i)] + 1, remembered_[At(i + 1)]);
        }
    }
    now = Total(classes_);
    before = Total(rememberedClasses_);
    return now.low < before.low ? -1 : now.low > before.low ? 1 : 0;
}

void Search::Scan(int i) {
    if (!ascends_ || !GoDown(i) || !GoUp(i)) ScanEach(i);
}

void Search::ScanEach(int i) {
    const bool hasLower = i >= 1;
    const bool hasUpper = i < k_ - 1;
    if (hasLower) SettleRemembered(i - 1);
    SettleRemembered(i);
    if (hasUpper) SettleRemembered(i + 1);
    const double own = Class(i).mean.low;
    const double lower = hasLower ? Class(i - 1).mean.low : 0;
    const double upper = hasUpper ? Class(i + 1).mean.low : 0;
    const std::int32_t last = Bound(i + 1);
    std::int32_t below = Bound(i);
    for (std::int32_t j = below + 1; j <= last; ++j) {
        const double value = Value(j);
        const double distance = std::fabs(value - own);
        if (hasLower && j != last && distance > std::fabs(value - lower)) {
            below = j;
        } else if (hasUpper && below != j - 1 && distance > std::fabs(value - upper)) {
            Bound(i + 1) = j - 1;
            break;
        }
    }
    Bound(i) = below;
}

/// The first index from one to another, not included, for which something does not hold that holds up to there. It is
/// looked for where it is likely: near the begin.
template <class Predicate>
std::int32_t Partition(std::int32_t begin, std::int32_t end, Predicate holds) {
    for (std::int32_t step = 1; step < end - begin; step *= 2) {
        if (!holds(begin + step - 1)) {
            end = begin + step - 1;
            break;
        }
        begin += step;
    }
    while (begin < end) {
        const std::int32_t middle = begin + (end - begin) / 2;
        if (holds(middle)) {
            begin = middle + 1;
        } else {
            end = middle;
        }
    }
    return begin;
}

bool Search::GoDown(int i) {
    if (i == 0) return true;
    const std::int32_t first = Bound(i) + 1;
    const std::int32_t last = Bound(i + 1);
    const Limits& own = Class(i).mean;
    const Limits& lower = Class(i - 1).mean;
    for (;;) {
        // With all values at or above the lower mean, and that below their own, whoever is nearer to the lower mean
        // stands in front of those who are not; differences in doubles keep this order.
        if (!(lower.high <= Value(first) && lower.high <= own.low)) return false;
        const std::int32_t end =
            Partition(first, last, [&](std::int32_t j) { return own.low - Value(j) > Value(j) - lower.low; });
        if (end == last || own.high - Value(end) <= Value(end) - lower.high) {
            Bound(i) = end - 1;
            return true;
        }
        SettleRemembered(i);
        SettleRemembered(i - 1);
    }
}

bool Search::GoUp(int i) {
    if (i == k_ - 1) return true;
    const std::int32_t last = Bound(i + 1);
    const Limits& own = Class(i).mean;
    const Limits& upper = Class(i + 1).mean;
    for (;;) {
        if (!(Value(last) <= upper.low && own.high <= upper.low)) return false;
        const std::int32_t begin = last + 1 - Partition(0, last - Bound(i) - 1, [&](std::int32_t fromLast) {
                                       const double value = Value(last - fromLast);
                                       return !(value - own.low <= upper.low - value);
                                   });
        if (begin > last) return true;
        if (Value(begin) - own.high > upper.high - Value(begin)) {
            Bound(i + 1) = begin - 1;
            return true;
        }
        SettleRemembered(i);
        SettleRemembered(i + 1);
    }
}

bool Search::ShiftBounds() {
    bool moved = false;
    for (int i = 0; i + 1 < k_; ++i)
        while (Bound(i + 2) - Bound(i + 1) > 1 && TryShift(i, 1)) moved = true;
    for (int i = k_ - 1; i >= 1; --i)
        while (Bound(i) - Bound(i - 1) > 1 && TryShift(i - 1, -1)) moved = true;
    return moved;
}

bool Search::TryShift(int lower, int step) {
    const int upper = lower + 1;
    const std::int32_t first = Bound(lower) + 1;
    const std::int32_t last = Bound(upper + 1);
    const std::int32_t from = Bound(upper);
    const std::int32_t to = from + step;
    const Shift shift{first, from, last};
    Shift& failed = (step > 0 ? failedUp_ : failedDown_)[At(upper)];
    if (shift == failed) return false;
    ClassSums lowerSums;
    ClassSums upperSums;
    if (blocks_) {
        const std::size_t crossing = At(std::max(from, to));
        const ClassSums crossingSums = blocks_->Between(crossing, crossing + 1);
        lowerSums = Sums(lower);
        upperSums = Sums(upper);
        (step > 0 ? lowerSums : upperSums) += crossingSums;
        (step > 0 ? upperSums : lowerSums) -= crossingSums;
    }
    ClassState newLower;
    ClassState newUpper;
    Judge(newLower, lowerSums, first, to);
    Judge(newUpper, upperSums, to + 1, last);
    ClassState& oldLower = Class(lower);
    ClassState& oldUpper = Class(upper);
    bool falls = newLower.deviation.high + newUpper.deviation.high < oldLower.deviation.low + oldUpper.deviation.low;
    if (!falls &&
        !(newLower.deviation.low + newUpper.deviation.low >= oldLower.deviation.high + oldUpper.deviation.high)) {
        Settle(oldLower, first, from);
        Settle(oldUpper, from + 1, last);
        Settle(newLower, first, to);
        Settle(newUpper, to + 1, last);
        falls = newLower.deviation.low + newUpper.deviation.low < oldLower.deviation.low + oldUpper.deviation.low;
    }
    if (!falls) {
        failed = shift;
        return false;
    }
    Bound(upper) = to;
    oldLower = newLower;
    oldUpper = newUpper;
    if (blocks_) {
        Sums(lower) = lowerSums;
        Sums(upper) = upperSums;
    }
    return true;
}

/// Whether all values are finite and none is below the one in front of it.
bool Ascend(std::span<const double> values) noexcept {
    if (!std::isfinite(values.front()) || !std::isfinite(values.back())) return false;
    for (std::size_t i = 1; i < values.size(); ++i)
        if (!(values[i] >= values[i - 1])) return false;
    return true;
}

}  // namespace

bool FindNaturalBounds(const HistogramView& data, int classCount, BlockSums& sums, NaturalBounds& bounds) {
    const auto count = static_cast<std::int64_t>(data.values.size());
    const bool usesSums = count / classCount >= fewValuesAClass && sums.Make(data);
    const bool ascends = usesSums || Ascend(data.values);
    NaturalBounds found;
    try {
        Search(data, classCount, usesSums ? &sums : nullptr, ascends, found).Run();
    } catch (const VarianceError&) {
        return false;
    }
    std::copy_n(found.begin(), classCount + 1, bounds.begin());
    return true;
}

}  // namespace mova
