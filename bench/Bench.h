// The harness of the benchmarks: contestants that do the same work take turns in one process, round by round, so that
// noise hits all alike, and the medians of their rounds are compared.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

/// Does a piece of work once. What it answers tells what came of it and is the same for all who do the work.
using Run = std::function<std::uint64_t()>;

/// One way to do a piece of work.
struct Contestant {
    Contestant(std::string itsName, Run itsRun, double itsGoal = 0, std::function<void()> itsSetUp = {})
        : name(std::move(itsName)), run(std::move(itsRun)), goal(itsGoal), setUp(std::move(itsSetUp)) {}

    std::string name;
    Run run;
    double goal;                  ///< of a peer: the least ratio that we mean to reach against it; 0 for none
    std::function<void()> setUp;  ///< prepares a run, untimed; may be empty
};

/// Stops the benchmarks where a result is not what it must be. @throw std::runtime_error with what was required
void Require(bool holds, std::string_view what);

/// A run that does an operation so many times and counts those that went as they should.
/// @param operation answers whether it did.
template <class Operation>
Run Repeat(std::uint64_t times, Operation operation) {
    return [=]() mutable {
        std::uint64_t right = 0;
        for (std::uint64_t i = 0; i < times; ++i) right += operation() ? 1 : 0;
        return right;
    };
}

/// How the figures of one invocation are taken and printed. The unit of a figure is part of its job's name.
class Session {
 public:
    static constexpr int fewestRounds = 5;

    /// @param rounds the least number of rounds; work that is done in no time is given more.
    explicit Session(int rounds) noexcept : rounds_(rounds) {}

    /// The median time of an operation of each contestant in nanoseconds. Before any is timed, all of them run once and
    /// their results are compared, as they are after every round.
    /// @param operations how many of them one run does.
    /// @throw std::runtime_error where two results differ
    std::vector<double> Time(const std::vector<Contestant>& contestants, double operations) const;

    /// Times ours, the first contestant, beside its peers, and prints a line for each of these. @return our figure
    double Compare(const std::string& job, double operations, const std::vector<Contestant>& contestants) const;

    /// Prints the line of one peer, and what is missing to the goal on the error output.
    /// @param ours, theirs  the less, the better.
    void Print(const std::string& job, double ours, const std::string& peer, double theirs, double goal) const;

 private:
    int rounds_;
};

}  // namespace bench
