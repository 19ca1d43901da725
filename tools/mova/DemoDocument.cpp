#include <algorithm>
#include <cmath>

#include "kvcore/Utf.h"
#include "tools/mova/Demo.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

using Object = kv::Ptr<IJSONObjectEx>;

/// A number as a format shows it.
std::string Shown(INumberFormat& format, double number) {
    kv::BString text;
    Check(format.ValueToString(number, text.Put()));
    return kv::Utf8(text.View());
}

double NumberIn(IJSONObject& object, std::u16string_view name) {
    double number = 0;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(object.GetDouble(Text(name).Get(), &number, &found));
    return number;
}

/// The text of an object, in lines, with two decimals at most.
std::string Formatted(IJSONObject& object) {
    const auto options = CreateAs<IPropertySet>(u"PropertySet");
    VARIANT formatted{};
    formatted.vt = VT_BOOL;
    formatted.boolVal = VARIANT_TRUE;
    Check(options->SetProperty(Text(u"WriteFormatted").Get(), formatted));
    VARIANT number{};
    number.vt = VT_I4;
    number.lVal = 2;
    Check(options->SetProperty(Text(u"IndentLevel").Get(), number));
    Check(options->SetProperty(Text(u"MaxDecimals").Get(), number));
    kv::BString text;
    Check(object.ToJSONString(options.Get(), text.Put()));
    return kv::Utf8(text.View());
}

/// The strongest of the events.
Object Strongest(IJSONArray& features) {
    LONG count = 0;
    Check(features.GetCount(&count));
    Object strongest;
    double greatest = 0;
    for (LONG i = 0; i < count; ++i) {
        const Object feature = ObjectIn(features, i);
        const double magnitude = NumberIn(*ObjectIn(*feature.Get(), u"properties").Get(), u"mag");
        if (strongest && magnitude <= greatest) continue;
        strongest = feature;
        greatest = magnitude;
    }
    const Object properties = ObjectIn(*strongest.Get(), u"properties");
    Print("  " + std::to_string(count) + " events; the strongest, of magnitude " + TextIn(*properties.Get(), u"mag") +
          ", " + TextIn(*properties.Get(), u"place") + "\n");
    return strongest;
}

/// The magnitudes of the first events in a column, then the energy of the strongest, relative to magnitude 0.
void ShowMagnitudes(IJSONArray& features) {
    Heading(
        "Their magnitudes, in the user's regional settings: two decimals, on the right of eight characters, a unit");
    const auto format = CreateAs<INumberFormat>(u"NumericFormat");
    const auto settings = format.As<INumericFormat>();
    Check(settings->put_RoundingValue(2));
    Check(settings->put_ZeroPad(VARIANT_TRUE));
    Check(settings->put_AlignmentOption(movaAlignRight));
    Check(settings->put_AlignmentWidth(8));
    Check(format.As<INumericFormat2>()->put_Suffix(Text(u"Mw").Get()));
    constexpr LONG shownCount = 5;
    LONG count = 0;
    Check(features.GetCount(&count));
    double greatest = 0;
    for (LONG i = 0; i < count; ++i) {
        const double magnitude = NumberIn(*ObjectIn(*ObjectIn(features, i).Get(), u"properties").Get(), u"mag");
        greatest = std::max(greatest, magnitude);
        if (i < shownCount) Print("  |" + Shown(*format.Get(), magnitude) + "|\n");
    }
    Check(settings->put_RoundingOption(movaRoundNumberOfSignificantDigits));
    Check(settings->put_ZeroPad(VARIANT_FALSE));
    Check(settings->put_UseSeparator(VARIANT_TRUE));
    Check(settings->put_AlignmentOption(movaAlignLeft));
    Check(format.As<INumericFormat2>()->put_Suffix(Text(u"times").Get()));
    const double energy = std::pow(10, 1.5 * greatest);
    double next = 0;
    Check(format.As<INumberFormatOperations>()->Increment(energy, &next));
    Print("  the energy of the strongest, to two digits: " + Shown(*format.Get(), energy) +
          " that of magnitude 0; one displayed unit more: " + Shown(*format.Get(), next) + "\n");
}

void ShowBroken() {
    Heading("A broken copy of it, samples/events-broken.geojson");
    const auto stream = MemoryOf(ReadSample("events-broken.geojson"));
    const auto reader = CreateAs<IJSONReaderPosition>(u"JSONReader");
    const auto object = CreateAs<IJSONObject>(u"JSONObject");
    try {
        Check(reader->ReadFromStream(stream.Get()));
        Check(object->ParseJSON(reader.Get()));
    } catch (const Refused& refused) {
        PrintRefusal(refused);
        LONGLONG line = 0;
        LONGLONG column = 0;
        Check(reader->get_FailureLine(&line));
        Check(reader->get_FailureColumn(&column));
        Print("  place        line " + std::to_string(line) + ", column " + std::to_string(column) + "\n");
    }
}

}  // namespace

kv::Ptr<IJSONObjectEx> ObjectIn(IJSONArray& array, LONG index) {
    kv::Ptr<IJSONObject> object;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(array.GetJSONObject(index, object.Put(), &found));
    return object.As<IJSONObjectEx>();
}

kv::Ptr<IJSONObjectEx> ObjectIn(IJSONObject& around, std::u16string_view name) {
    kv::Ptr<IJSONObject> object;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(around.GetJSONObject(Text(name).Get(), object.Put(), &found));
    return object.As<IJSONObjectEx>();
}

std::string TextIn(IJSONObject& object, std::u16string_view name) {
    kv::BString text;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(object.GetString(Text(name).Get(), text.Put(), &found));
    return kv::Utf8(text.View());
}

void ShowDocument() {
    Heading("A GeoJSON text, samples/events.geojson, as JSON objects");
    const std::u16string text = kv::Utf16(ReadSample("events.geojson"));
    const auto document = CreateAs<IJSONObjectEx>(u"JSONObject");
    Check(document->put_ReplaceExisting(VARIANT_TRUE));
    Check(document->FromJSONString(Text(text).Get()));
    kv::Ptr<IJSONArray> features;
    VARIANT_BOOL found = VARIANT_FALSE;
    Check(document->GetJSONArray(Text(u"features").Get(), features.Put(), &found));
    const Object strongest = Strongest(*features.Get());
    ShowMagnitudes(*features.Get());

    Heading("The strongest again, as it is written after changes: a number replaced, a member added, one removed");
    const Object properties = ObjectIn(*strongest.Get(), u"properties");
    Check(properties->AddDouble(Text(u"mag").Get(), NumberIn(*properties.Get(), u"mag") + 0.125));
    Check(properties->AddBoolean(Text(u"reviewed").Get(), VARIANT_TRUE));
    Check(properties->RemoveMember(Text(u"felt").Get()));
    Print(Formatted(*strongest.Get()) + "\n");
    const std::string whole = Formatted(*document.Get());
    Print("  the whole document written like this: " + std::to_string(whole.size()) + " bytes\n");
    ShowBroken();
}

}  // namespace mova::tool
