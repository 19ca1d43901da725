#include <algorithm>
#include <charconv>

#include "kvcore/SafeArray.h"
#include "kvcore/Utf.h"
#include "tools/mova/Classifiers.h"
#include "tools/mova/NumberText.h"
#include "tools/mova/PropertyLines.h"

namespace mova::tool {
namespace {

/// The options that only some methods take.
enum Taken : unsigned { none = 0, limits = 1, deviations = 2, width = 4 };

struct Method {
    std::string_view name;
    const char16_t* className;
    unsigned takes;
};
constexpr Method methods[] = {
    {"natural-breaks", u"NaturalBreaks", none},
    {"equal-interval", u"EqualInterval", limits},
    {"quantile", u"Quantile", none},
    {"standard-deviation", u"StandardDeviation", deviations | width},
    {"defined-interval", u"DefinedInterval", width},
    {"geometrical-interval", u"GeometricalInterval", none},
};

const Method& MethodOf(const std::string& name) {
    const auto* found =
        std::find_if(std::begin(methods), std::end(methods), [&](const Method& method) { return method.name == name; });
    if (found == std::end(methods)) throw WrongUsage{"classify knows these methods: " + MethodNames()};
    return *found;
}

struct Call {
    ClassifyOptions options;
    std::string file, plot;
};

double ReadDouble(const std::string& option, const std::string& text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw WrongUsage{"classify takes a number after " + option};
    return number;
}

LONG ReadClasses(const std::string& text) {
    const auto number = ReadInteger(text);
    if (!number || *number != static_cast<LONG>(*number))
        throw WrongUsage{"classify takes a whole number of 32 bits after --classes"};
    return static_cast<LONG>(*number);
}

Call ReadCall(Arguments arguments) {
    Call call;
    ClassifyOptions& options = call.options;
    const struct {
        std::string_view name;
        std::optional<double>* target;
        unsigned needs;
    } numbers[] = {{"--min", &options.minimum, limits},
                   {"--max", &options.maximum, limits},
                   {"--mean", &options.mean, deviations},
                   {"--stddev", &options.deviation, deviations},
                   {"--interval", &options.interval, width}};
    std::optional<LONG> classes;
    std::vector<std::pair<std::string, unsigned>> needs;  // of the options that were given
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto value = [&]() -> const std::string& {
            if (argument + 1 == arguments.end()) throw WrongUsage{"classify takes something after " + *argument};
            return *++argument;
        };
        const std::string name = *argument;
        const auto* number =
            std::find_if(std::begin(numbers), std::end(numbers), [&](const auto& row) { return row.name == name; });
        if (number != std::end(numbers)) {
            *number->target = ReadDouble(name, value());
            needs.emplace_back(name, number->needs);
        } else if (name == "--method") {
            options.method = value();
        } else if (name == "--classes") {
            classes = ReadClasses(value());
        } else if (name == "--plot") {
            call.plot = value();
        } else if (name == "--unlimited" || name == "--on-break") {
            (name == "--unlimited" ? options.isUnlimited : options.isOnBreak) = true;
            needs.emplace_back(name, deviations);
        } else if (call.file.empty() && (name == "-" || !name.starts_with("--"))) {
            call.file = name;
        } else {
            throw WrongUsage{"classify does not take " + name};
        }
    }
    if (options.method.empty()) throw WrongUsage{"classify takes --method and one of " + MethodNames()};
    if (!classes) throw WrongUsage{"classify takes --classes and how many"};
    if (call.file.empty()) throw WrongUsage{"classify takes a FILE or -"};
    options.classes = *classes;
    const Method& method = MethodOf(options.method);
    for (const auto& [name, needed] : needs)
        if (!(method.takes & needed)) throw WrongUsage{options.method + " does not take " + name};
    return call;
}

ClassifiedData ReadLines(const std::string& file) {
    ClassifiedData raw;
    const std::string text = ReadInput(file);
    std::size_t number = 0;
    for (const std::string_view line : SplitLines(text)) {
        ++number;
        if (!line.empty() && !AddHistogramLine(line, raw.values, raw.frequencies))
            throw WrongUsage{file + ", line " + std::to_string(number) + ": not VALUE or VALUE,FREQUENCY"};
    }
    return raw;
}

template <class Number>
kv::Variant ToArray(const std::vector<Number>& numbers, VARTYPE type) {
    kv::ArrayBuilder array(type, numbers.size());
    std::copy(numbers.begin(), numbers.end(), array.Elements<Number>());
    return array.Finish();
}
template <class Number>
std::vector<Number> FromArray(const VARIANT& value) {
    const auto array = kv::ArrayView::Of(value);
    if (!array) return {};
    const auto* numbers = static_cast<const Number*>(array->Data());
    return {numbers, numbers + array->Count()};
}

/// Sets the mean and the standard deviation, the data's own where none is given.
void SetDeviations(const ClassifyOptions& options, IUnknown& classifier, const VARIANT& values,
                   const VARIANT& frequencies) {
    const auto layout = kv::Ptr<IUnknown>(&classifier).As<IDeviationInterval>();
    const auto limit = layout.As<IDeviationInterval2>();
    if (options.isUnlimited) Check(limit->put_LimitToThreeDeviations(VARIANT_FALSE));
    if (options.isOnBreak) Check(layout->put_CenterClassOnMean(VARIANT_FALSE));
    if (options.interval) Check(layout->put_DeviationInterval(*options.interval));
    double mean = options.mean.value_or(0);
    double deviation = options.deviation.value_or(0);
    if (!options.mean || !options.deviation) {
        const auto statistics = CreateAs<IBaseStatistics>(u"BaseStatistics");
        double weight = 0;
        Check(statistics->AddWeightedValues(values, frequencies));
        Check(statistics->get_TotalWeight(&weight));
        if (weight > 0 && !options.mean) Check(statistics->get_Mean(&mean));
        if (weight > 0 && !options.deviation) Check(statistics->get_PopulationStandardDeviation(&deviation));
    }
    Check(layout->put_Mean(mean));
    Check(layout->put_StandardDev(deviation));
}

void WriteFile(const std::string& file, std::string_view content) {
    const auto stream = CreateAs<IFileStream>(u"FileStream");
    Check(stream->Open(kv::BString(PlatformPath(file)).Get(), movaFileModeCreateAlways));
    ULONG written = 0;
    Check(stream.As<IStream>()->Write(content.data(), static_cast<ULONG>(content.size()), &written));
    Check(stream->Close());
}

}  // namespace

std::string MethodNames() {
    std::string names;
    for (const Method& method : methods) names.append(names.empty() ? "" : ", ").append(method.name);
    return names;
}

Classified Classify(const ClassifyOptions& options, const ClassifiedData& raw) {
    const Method& method = MethodOf(options.method);
    Classified result;
    kv::Variant values;
    kv::Variant frequencies;
    Check(CreateAs<IHistogramMaker>(u"BaseStatistics")
              ->MakeHistogram(ToArray(raw.values, VT_R8).Get(), ToArray(raw.frequencies, VT_I4).Get(), values.Put(),
                              frequencies.Put()));
    const auto classifier = CreateAs<IClassify>(method.className);
    if (method.takes & limits) {
        const auto range = classifier.As<IClassifyMinMax>();
        if (options.minimum) Check(range->put_Minimum(*options.minimum));
        if (options.maximum) Check(range->put_Maximum(*options.maximum));
    } else if (method.takes & deviations) {
        SetDeviations(options, *classifier.Get(), values.Get(), frequencies.Get());
    } else if (options.interval) {
        Check(classifier.As<IClassInterval>()->put_IntervalSize(*options.interval));
    }
    Check(classifier->SetHistogramData(values.Get(), frequencies.Get()));
    result.classes = options.classes;
    result.status = classifier->Classify(&result.classes);
    Check(result.status);
    kv::Variant breaks;
    kv::BString name;
    Check(classifier->get_ClassBreaks(breaks.Put()));
    Check(classifier->get_MethodName(name.Put()));
    result.methodName = kv::Utf8(name.View());
    result.data = {FromArray<double>(values.Get()), FromArray<std::int32_t>(frequencies.Get()),
                   FromArray<double>(breaks.Get())};
    return result;
}

int RunClassify(Arguments arguments) {
    const Call call = ReadCall(arguments);
    const Classified result = Classify(call.options, ReadLines(call.file));
    if (!call.plot.empty()) WriteFile(call.plot, DrawClasses(result.methodName, result.data));
    Print("classes\t" + std::to_string(result.classes) + "\t" + StatusText(result.status) + "\n");
    std::string line = "breaks";
    for (const double limit : result.data.breaks) line += "\t" + NumberText(limit);
    Print(line + "\n");
    return 0;
}

}  // namespace mova::tool
