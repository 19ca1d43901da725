// engine-bench [JOB...]: times engines natively, those of all jobs where none is named, and prints lines as bench does;
// names of other jobs are passed over. The exit status is 1 where a result is wrong.
#include "bench/EngineBench.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>

namespace {

struct Job {
    std::string_view name;
    void (*run)(const bench::Session&);
};

constexpr Job jobs[] = {
    {"json", &bench::RunEngineJson}, {"number", &bench::RunEngineNumber}, {"xml", &bench::RunEngineXml}};

}  // namespace

int main(int count, char** words) try {
    const bench::Session session(7);
    for (const Job& job : jobs)
        if (count == 1 || std::find(words + 1, words + count, job.name) != words + count) job.run(session);
    return 0;
} catch (const std::exception& fault) {
    std::fprintf(stderr, "engine-bench: %s\n", fault.what());
    return 1;
}
