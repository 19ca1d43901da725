// Classifiers and statistics through their interfaces: natural breaks beside the direct reading of their steps and the
// exact optimum, the others beside one pass over the data.
#include <movaSystem.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include "bench/Components.h"
#include "bench/ExactBreaks.h"
#include "bench/Jobs.h"
#include "kvcore/SafeArray.h"
#include "tests/DirectNaturalBreaks.h"

namespace bench {
namespace {

enum class Shape { uniform, normal, skewed, clustered };
constexpr const char* shapeNames[] = {"uniform", "normal", "skewed", "clustered"};

/// Distinct values of a distribution, ascending, with frequencies up to 20, in arrays that classifiers take.
class Data {
 public:
    Data(Shape shape, std::size_t count) {
        std::mt19937_64 random(count);
        const auto unit = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
        const auto normal = [&] {
            return std::sqrt(-2 * std::log(unit() + 1e-300)) * std::cos(6.283185307179586 * unit());
        };
        std::vector<double> numbers(count);
        for (double& number : numbers) {
            number = shape == Shape::uniform  ? 1000 * unit()
                     : shape == Shape::normal ? 100 * normal()
                     : shape == Shape::skewed
                         ? std::exp(8 + 1.5 * normal())
                         : 100 * std::floor(1 + 7 * unit()) * std::floor(1 + 3 * unit()) + 12 * normal();
        }
        std::sort(numbers.begin(), numbers.end());
        numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
        kv::ArrayBuilder values(VT_R8, numbers.size());
        kv::ArrayBuilder frequencies(VT_I4, numbers.size());
        std::copy(numbers.begin(), numbers.end(), values.Elements<double>());
        for (std::size_t i = 0; i < numbers.size(); ++i)
            frequencies.Elements<std::int32_t>()[i] = 1 + static_cast<std::int32_t>(random() % 20);
        view_ = {{values.Elements<double>(), numbers.size()}, {frequencies.Elements<std::int32_t>(), numbers.size()}};
        values_ = values.Finish();
        frequencies_ = frequencies.Finish();
    }

    const VARIANT& Values() const { return values_.Get(); }
    const VARIANT& Frequencies() const { return frequencies_.Get(); }
    const mova::HistogramView& View() const { return view_; }

 private:
    kv::Variant values_, frequencies_;
    mova::HistogramView view_;
};

/// A number that stands for breaks.
std::uint64_t Mark(const double* breaks, std::size_t count) {
    std::uint64_t mark = count;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, breaks + i, sizeof bits);
        mark = mark * 0x9E3779B97F4A7C15 + bits;
    }
    return mark;
}

kv::Ptr<IClassify> MakeClassifier(const CLSID& classId, const Data& data) {
    auto classifier = Make<IClassify>(FactoryOf(classId));
    Require(classifier->SetHistogramData(data.Values(), data.Frequencies()) == S_OK, "A histogram is refused.");
    return classifier;
}

std::vector<double> RunClassifier(IClassify& classifier, LONG classes) {
    Require(classifier.Classify(&classes) == S_OK, "A histogram is not divided.");
    kv::Variant breaks;
    Require(classifier.get_ClassBreaks(breaks.Put()) == S_OK, "There are no breaks.");
    const auto array = kv::ArrayView::Of(breaks.Get());
    const auto* numbers = static_cast<const double*>(array->Data());
    return {numbers, numbers + array->Count()};
}

std::vector<double> DirectBreaks(const Data& data, int classes) {
    mova::test::DirectNaturalBreaks direct(data.View());
    Require(direct.Run(classes), "The direct reading makes no classes.");
    std::vector<double> breaks{data.View().values.front()};
    for (int i = 1; i <= classes; ++i) breaks.push_back(data.View().values[static_cast<std::size_t>(direct.bounds[i])]);
    return breaks;
}

std::string JobName(Shape shape, std::size_t count, int classes) {
    return std::string("classify ") + shapeNames[static_cast<int>(shape)] + " " + std::to_string(count) + ", " +
           std::to_string(classes) + " classes";
}

struct NaturalRow {
    Shape shape;
    std::size_t count;
    int classes;
    double goal;  ///< against the direct reading
};

void CompareNatural(const Session& session, const NaturalRow& row) {
    const Data data(row.shape, row.count);
    const auto classifier = MakeClassifier(CLSID_NaturalBreaks, data);
    std::uint64_t mark = 0;
    const auto ours = [&] {
        const auto breaks = RunClassifier(*classifier.Get(), row.classes);
        return mark = Mark(breaks.data(), breaks.size());
    };
    const auto direct = [&] {
        const auto breaks = DirectBreaks(data, row.classes);
        return Mark(breaks.data(), breaks.size());
    };
    const auto exact = [&] {  // finds other breaks
        Require(ExactBreaks(data.View()).Run(row.classes).size() == static_cast<std::size_t>(row.classes),
                "No optimum.");
        return mark;
    };
    session.Compare(JobName(row.shape, row.count, row.classes) + " (ns a value)", static_cast<double>(row.count),
                    {{"NaturalBreaks", ours}, {"direct reading", direct, row.goal}, {"exact optimum", exact, 1.0}});
}

/// How much of the variance is left within the classes, beside the least that can be.
void CompareFit(const Session& session, Shape shape, std::size_t count, int classes) {
    const Data data(shape, count);
    ExactBreaks exact(data.View());
    const auto breaks = RunClassifier(*MakeClassifier(CLSID_NaturalBreaks, data).Get(), classes);
    std::vector<int> ends;
    for (std::size_t i = 1; i < breaks.size(); ++i) {
        const auto found = std::lower_bound(data.View().values.begin(), data.View().values.end(), breaks[i]);
        ends.push_back(static_cast<int>(found - data.View().values.begin()));
    }
    constexpr double millionths = 1e6;
    session.Print(JobName(shape, count, classes) + ", variance left (millionths)", exact.Misfit(ends) * millionths,
                  "exact optimum", exact.Misfit(exact.Run(classes)) * millionths, 0);
}

/// One pass over values and frequencies.
std::uint64_t PassOver(const Data& data) {
    double sum = 0;
    std::int64_t weight = 0;
    for (std::size_t i = 0; i < data.View().values.size(); ++i) {
        sum += data.View().values[i];
        weight += data.View().frequencies[i];
    }
    return sum != 0 && weight > 0 ? 1 : 0;
}

void CompareRules(const Session& session) {
    constexpr std::size_t count = 1'000'000;
    constexpr double withinTwo = 0.5;
    const Data data(Shape::skewed, count);
    const struct {
        const char* name;
        const CLSID& classId;
    } rows[] = {{"Quantile", CLSID_Quantile},
                {"EqualInterval", CLSID_EqualInterval},
                {"StandardDeviation", CLSID_StandardDeviation},
                {"GeometricalInterval", CLSID_GeometricalInterval},
                {"DefinedInterval", CLSID_DefinedInterval}};
    for (const auto& row : rows) {
        const auto classifier = MakeClassifier(row.classId, data);
        if (const auto layout = classifier.As<IDeviationInterval>()) {
            layout->put_Mean(9000);
            layout->put_StandardDev(20000);
        }
        if (const auto interval = classifier.As<IClassInterval>()) interval->put_IntervalSize(100'000);
        session.Compare(std::string("classify ") + row.name + " of 1000000 (ns a value)", static_cast<double>(count),
                        {{row.name, [&] { return RunClassifier(*classifier.Get(), 10).empty() ? 0U : 1U; }},
                         {"one pass over the arrays", [&] { return PassOver(data); }, withinTwo}});
    }
}

void CompareStatistics(const Session& session) {
    constexpr std::size_t count = 1'000'000;
    constexpr double withinHalfMore = 1 / 1.5;
    const Data data(Shape::normal, count);
    const auto statistics = Make<IBaseStatistics>(FactoryOf(CLSID_BaseStatistics));
    const auto numbers = data.View().values;
    const auto ours = [&] {
        double deviation = 0;
        const bool done = SUCCEEDED(statistics->Reset()) && SUCCEEDED(statistics->AddValues(data.Values())) &&
                          SUCCEEDED(statistics->get_StandardDeviation(&deviation));
        return done && deviation > 0 ? 1U : 0U;
    };
    const auto plain = [&] {
        double sum = 0;
        for (const double number : numbers) sum += number;
        return sum != 0 ? 1U : 0U;
    };
    session.Compare("classify statistics of 1000000 (ns a value)", static_cast<double>(count),
                    {{"BaseStatistics", ours}, {"a plain sum loop", plain, withinHalfMore}});
}

void CompareGrowth(const Session& session) {
    constexpr int classes = 10;
    std::vector<double> figures;
    for (const std::size_t count : {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}}) {
        const Data data(Shape::skewed, count);
        const auto classifier = MakeClassifier(CLSID_NaturalBreaks, data);
        const auto run = [&] { return static_cast<std::uint64_t>(RunClassifier(*classifier.Get(), classes).size()); };
        figures.push_back(session.Time({{"NaturalBreaks", run}}, 1e6).front());  // in milliseconds
    }
    session.Print("classify skewed 1000000, 10 classes (ms)", figures[2], "a second", 1000, 1);
    session.Print("classify skewed 1000000, 10 classes (ms)", figures[2], "itself at 100000", figures[1], 0);
    session.Print("classify skewed 100000, 10 classes (ms)", figures[1], "itself at 10000", figures[0], 0);
}

}  // namespace

void RunClassify(const Session& session) {
    constexpr NaturalRow rows[] = {
        {Shape::skewed, 1'000, 5, 1},       {Shape::skewed, 1'000, 32, 1},      {Shape::skewed, 1'000, 256, 1},
        {Shape::skewed, 10'000, 5, 1},      {Shape::skewed, 10'000, 32, 1},     {Shape::skewed, 100'000, 5, 1},
        {Shape::skewed, 100'000, 10, 30},   {Shape::skewed, 100'000, 32, 80},   {Shape::clustered, 100'000, 5, 1},
        {Shape::clustered, 100'000, 10, 1}, {Shape::clustered, 100'000, 32, 1},
    };
    for (const NaturalRow& row : rows) CompareNatural(session, row);
    CompareGrowth(session);
    CompareRules(session);
    CompareStatistics(session);
    for (const Shape shape : {Shape::uniform, Shape::normal, Shape::skewed, Shape::clustered})
        for (const int classes : {5, 10, 32}) CompareFit(session, shape, 10'000, classes);
}

}  // namespace bench
