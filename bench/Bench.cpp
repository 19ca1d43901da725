#include "bench/Bench.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace bench {
namespace {

constexpr double leastSeconds = 0.25;  // of all rounds of a job together: short runs are repeated up to there

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// One round: the seconds that each contestant takes. @throw std::runtime_error where their results differ
std::vector<double> TakeTurns(const std::vector<Contestant>& contestants) {
    std::vector<double> seconds;
    std::uint64_t expected = 0;
    for (const Contestant& contestant : contestants) {
        if (contestant.setUp) contestant.setUp();
        const double start = Now();
        const std::uint64_t result = contestant.run();
        const double end = Now();
        if (seconds.empty()) expected = result;
        Require(result == expected, contestant.name + " and " + contestants.front().name + " do not do the same.");
        seconds.push_back(end - start);
    }
    return seconds;
}

}  // namespace

void Require(bool holds, std::string_view what) {
    if (!holds) throw std::runtime_error(std::string(what));
}

std::vector<double> Session::Time(const std::vector<Contestant>& contestants, double operations) const {
    TakeTurns(contestants);
    std::vector<std::vector<double>> times(contestants.size());
    double spent = 0;
    for (int round = 0; round < rounds_ || spent < leastSeconds; ++round) {
        const std::vector<double> seconds = TakeTurns(contestants);
        for (std::size_t i = 0; i < seconds.size(); ++i) {
            times[i].push_back(seconds[i]);
            spent += seconds[i];
        }
    }
    std::vector<double> medians;
    medians.reserve(times.size());
    for (const auto& taken : times) medians.push_back(Median(taken) * 1e9 / operations);
    return medians;
}

double Session::Compare(const std::string& job, double operations, const std::vector<Contestant>& contestants) const {
    const std::vector<double> medians = Time(contestants, operations);
    for (std::size_t i = 1; i < contestants.size(); ++i)
        Print(job, medians.front(), contestants[i].name, medians[i], contestants[i].goal);
    return medians.front();
}

void Session::Print(const std::string& job, double ours, const std::string& peer, double theirs, double goal) const {
    const double ratio = theirs / ours;
    std::printf("%s\t%.1f\t%s\t%.1f\t%.3f\n", job.c_str(), ours, peer.c_str(), theirs, ratio);
    std::fflush(stdout);
    if (ratio < goal)
        std::fprintf(stderr, "below goal: %s against %s: ratio %.3f, goal %.3f\n", job.c_str(), peer.c_str(), ratio,
                     goal);
}

}  // namespace bench
