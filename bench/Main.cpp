// bench [--rounds N] [JOB...]: times the jobs, all of them where none is named, and prints a line for each comparison:
// JOB, our figure, the peer, its figure and the ratio of the two, separated by tabs. Less is better in every figure,
// and a ratio above 1 means that we are faster or smaller by that factor. Missed goals are told on the error output.
// The exit status is 1 where a result is wrong, 2 for arguments that are not understood.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <string_view>

#include "bench/Components.h"
#include "bench/Jobs.h"

namespace {

struct Job {
    std::string_view name;
    void (*run)(const bench::Session&);
};

constexpr Job jobs[] = {
    {"classify", &bench::RunClassify}, {"frame", &bench::RunFrame},     {"json", &bench::RunJson},
    {"number", &bench::RunNumber},     {"persist", &bench::RunPersist}, {"propset", &bench::RunPropset},
    {"time", &bench::RunTime},         {"xml", &bench::RunXml},
};

struct Arguments {
    int rounds = 7;
    std::vector<Job> chosen;
};

std::optional<Arguments> Read(const std::vector<std::string_view>& words) {
    Arguments read;
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (*word == "--rounds") {
            if (++word == words.end()) return {};
            const auto [end, error] = std::from_chars(word->data(), word->data() + word->size(), read.rounds);
            if (error != std::errc() || end != word->data() + word->size()) return {};
        } else {
            const auto job =
                std::find_if(std::begin(jobs), std::end(jobs), [=](const Job& j) { return j.name == *word; });
            if (job == std::end(jobs)) return {};
            read.chosen.push_back(*job);
        }
    }
    if (read.chosen.empty()) read.chosen.assign(std::begin(jobs), std::end(jobs));
    if (read.rounds < bench::Session::fewestRounds) return {};
    return read;
}

}  // namespace

int main(int count, char** words) try {
    const auto arguments = Read({words + 1, words + count});
    if (!arguments) {
        std::fprintf(stderr, "usage: bench [--rounds N, at least %d] [JOB...]\njobs:", bench::Session::fewestRounds);
        for (const Job& job : jobs) std::fprintf(stderr, " %.*s", static_cast<int>(job.name.size()), job.name.data());
        std::fprintf(stderr, "\n");
        return 2;
    }
    const bench::Apartment apartment;
    const bench::Session session(arguments->rounds);
    for (const Job& job : arguments->chosen) job.run(session);
    return 0;
} catch (const std::exception& fault) {
    std::fprintf(stderr, "bench: %s\n", fault.what());
    return 1;
}
