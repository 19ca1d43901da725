#include <array>
#include <charconv>

#include "kvcore/Utf.h"
#include "tools/mova/Classifiers.h"
#include "tools/mova/Demo.h"

namespace mova::tool {
namespace {

/// The magnitudes of the sample's events.
ClassifiedData Magnitudes() {
    const auto document = CreateAs<IJSONObject>(u"JSONObject");
    const std::u16string text = kv::Utf16(ReadSample("events.geojson"));
    Check(document->FromJSONString(Text(text).Get()));
    VARIANT_BOOL found = VARIANT_FALSE;
    kv::Ptr<IJSONArray> features;
    Check(document->GetJSONArray(Text(u"features").Get(), features.Put(), &found));
    LONG count = 0;
    Check(features->GetCount(&count));
    ClassifiedData magnitudes;
    for (LONG i = 0; i < count; ++i) {
        kv::Ptr<IJSONObject> feature;
        kv::Ptr<IJSONObject> properties;
        double magnitude = 0;
        Check(features->GetJSONObject(i, feature.Put(), &found));
        Check(feature->GetJSONObject(Text(u"properties").Get(), properties.Put(), &found));
        Check(properties->GetDouble(Text(u"mag").Get(), &magnitude, &found));
        magnitudes.values.push_back(magnitude);
        magnitudes.frequencies.push_back(1);
    }
    return magnitudes;
}

std::string Padded(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

/// A number to some decimals.
std::string Short(double number, int decimals) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, decimals);
    return {text.data(), end.ptr};
}

}  // namespace

void ShowClasses() {
    Heading("The magnitudes of the events in five classes, by every method");
    const ClassifiedData raw = Magnitudes();
    Print("  Fit is how much of the variance the classes explain; in brackets, how many events a class has.\n");
    for (const std::string method : {"natural-breaks", "equal-interval", "quantile", "standard-deviation",
                                     "defined-interval", "geometrical-interval"}) {
        ClassifyOptions options;
        options.method = method;
        options.classes = 5;
        const Classified result = Classify(options, raw);
        std::string line = "  " + Padded(result.methodName, 23) + "fit " + Short(FitOf(result.data), 3) + "  ";
        const auto counts = CountsOf(result.data);
        line += Short(result.data.breaks.front(), 2);
        for (std::size_t i = 0; i < counts.size(); ++i)
            line += " (" + std::to_string(counts[i]) + ") " + Short(result.data.breaks[i + 1], 2);
        Print(line + "\n");
    }
}

}  // namespace mova::tool
