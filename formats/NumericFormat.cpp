#include "formats/NumericFormat.h"

#include <cmath>
#include <limits>

#include "kvcore/UserNumbers.h"
#include "kvcore/ValueFormat.h"
#include "server/NamedMessage.h"

namespace mova {
namespace {

using formats::NumericSettings;
using formats::NumericText;

constexpr UINT nullMessage = 1008;  ///< of the string table: how a value that is no number is shown
constexpr HRESULT unknownName = static_cast<HRESULT>(0x80043066);

constexpr auto badDigits = u"The rounding value must be a whole number from 0 to 15.";
constexpr auto badWidth = u"The alignment width must not be negative.";
constexpr auto tooWide = u"Numbers are aligned in fields of at most 32,767 characters.";
constexpr auto noNumber = u"The text is not a number.";
constexpr auto unnamedOption = u"An option has no name, so it cannot be written.";
constexpr auto unknownOption = u"An option's name is not known.";

/// Of the record: the suffix is in those of the newer documents.
constexpr std::int16_t newestRecord = 2;
constexpr kv::SaveVersions recordVersions{.newer = newestRecord, .earlier = {1, 1, 1, 1, 1, 1, 1}};

/// What an option is called in documents.
struct OptionName {
    std::int32_t option;
    std::u16string_view name;
};
constexpr std::array<OptionName, 2> roundingNames{
    {{formats::roundDecimals, u"movaRoundNumberOfDecimals"},
     {formats::roundSignificantDigits, u"movaRoundNumberOfSignificantDigits"}}};
constexpr std::array<OptionName, 2> alignmentNames{
    {{formats::alignRight, u"movaAlignRight"}, {formats::alignLeft, u"movaAlignLeft"}}};

constexpr std::u16string_view roundingOptionElement = u"RoundingOption";
constexpr std::u16string_view alignmentOptionElement = u"AlignmentOption";
constexpr std::u16string_view roundingValueElement = u"RoundingValue";
constexpr std::u16string_view alignmentWidthElement = u"AlignmentWidth";
constexpr std::u16string_view useSeparatorElement = u"UseSeparator";
constexpr std::u16string_view zeroPadElement = u"ZeroPad";
constexpr std::u16string_view showPlusElement = u"ShowPlus";
constexpr std::u16string_view suffixElement = u"Suffix";

/// Empty for an option without a name.
std::u16string_view NameOf(std::int32_t option, const std::array<OptionName, 2>& names) noexcept {
    for (const OptionName& each : names)
        if (each.option == option) return each.name;
    return {};
}

/// Reads an option by its name. @return whether the element is not there, or its name is known
bool ReadOption(XmlFieldReader& in, std::u16string_view element, const std::array<OptionName, 2>& names,
                std::int32_t& option) {
    kv::BString text;
    if (!in.Get(&IXMLSerializeData::GetString, element, text.Put())) return true;
    for (const OptionName& each : names) {
        if (each.name != text.View()) continue;
        option = each.option;
        return true;
    }
    return false;
}

/// Reads a whole number from 0 on. @return whether the element is not there, or the number is no greater than it may be
bool ReadWhole(XmlFieldReader& in, std::u16string_view element, LONG most, std::int32_t& number) {
    LONG read = 0;
    if (!in.Get(&IXMLSerializeData::GetLong, element, &read)) return true;
    if (read < 0 || read > most) return false;
    number = read;
    return true;
}

}  // namespace

STDMETHODIMP NumericFormat::ValueToString(DOUBLE value, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    kv::NumberFmt rules;
    kv::ReadUserRules(rules, formats::RulesNeeded(settings_, value));
    const NumericText made(settings_, value, rules, &kv::FormatByUserLocale);
    if (made.What() == NumericText::Kind::tooWide) return Refuse<INumberFormat>(E_INVALIDARG, tooWide);
    if (made.What() == NumericText::Kind::null) {
        *text = kv::BString(TableMessage(nullMessage)).Detach();
        return S_OK;
    }
    const std::u16string_view suffix =
        made.What() == NumericText::Kind::number ? suffix_.View() : std::u16string_view();
    kv::BString units = kv::BString::OfLength(made.Size() + (suffix.empty() ? 0 : suffix.size() + 1));
    char16_t* end = made.Write(units.Units());
    if (!suffix.empty()) {
        *end++ = u' ';
        suffix.copy(end, suffix.size());
    }
    *text = units.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP NumericFormat::StringToValue(BSTR text, DOUBLE* value) noexcept try {
    if (!value) return Refuse(E_POINTER);
    *value = 0;
    kv::NumberFmt rules;
    kv::ReadUserRules(rules, kv::NumberFmt::decimalRule);
    const std::u16string_view units = kv::View(text);
    auto read = kv::PlainStringToValue(units, rules.decimalSeparator.View());
    if (!read) {
        kv::ReadUserRules(rules, kv::NumberFmt::allRules);
        read = kv::StringToValue(units, rules, suffix_.View());
    }
    if (!read && units == TableMessage(nullMessage)) read = std::numeric_limits<double>::quiet_NaN();
    if (!read) return Refuse<INumberFormat>(E_INVALIDARG, noNumber);
    *value = *read;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

template <class Field, class Value>
HRESULT NumericFormat::Put(Field& field, Value value) noexcept {
    field = value;
    SetDirty();
    return S_OK;
}

template <class Field, class Value>
HRESULT NumericFormat::Get(const Field& field, Value* value) const noexcept {
    if (!value) return Refuse(E_POINTER);
    *value = static_cast<Value>(field);
    return S_OK;
}

STDMETHODIMP NumericFormat::put_RoundingOption(movaRoundingOptionEnum option) noexcept {
    return Put(settings_.roundingOption, option);
}

STDMETHODIMP NumericFormat::get_RoundingOption(movaRoundingOptionEnum* option) noexcept {
    return Get(settings_.roundingOption, option);
}

STDMETHODIMP NumericFormat::put_RoundingValue(LONG digits) noexcept {
    if (digits < 0 || digits > NumericSettings::mostDigits) return Refuse<INumericFormat>(E_INVALIDARG, badDigits);
    return Put(settings_.roundingValue, digits);
}

STDMETHODIMP NumericFormat::get_RoundingValue(LONG* digits) noexcept {
    return Get(settings_.roundingValue, digits);
}

STDMETHODIMP NumericFormat::put_AlignmentOption(movaNumberAlignmentEnum alignment) noexcept {
    return Put(settings_.alignmentOption, alignment);
}

STDMETHODIMP NumericFormat::get_AlignmentOption(movaNumberAlignmentEnum* alignment) noexcept {
    return Get(settings_.alignmentOption, alignment);
}

STDMETHODIMP NumericFormat::put_AlignmentWidth(LONG width) noexcept {
    if (width < 0) return Refuse<INumericFormat>(E_INVALIDARG, badWidth);
    return Put(settings_.alignmentWidth, width);
}

STDMETHODIMP NumericFormat::get_AlignmentWidth(LONG* width) noexcept {
    return Get(settings_.alignmentWidth, width);
}

STDMETHODIMP NumericFormat::put_UseSeparator(VARIANT_BOOL isGrouped) noexcept {
    return Put(settings_.useSeparator, isGrouped);
}

STDMETHODIMP NumericFormat::get_UseSeparator(VARIANT_BOOL* isGrouped) noexcept {
    return Get(settings_.useSeparator, isGrouped);
}

STDMETHODIMP NumericFormat::put_ZeroPad(VARIANT_BOOL isPadded) noexcept {
    return Put(settings_.zeroPad, isPadded);
}

STDMETHODIMP NumericFormat::get_ZeroPad(VARIANT_BOOL* isPadded) noexcept {
    return Get(settings_.zeroPad, isPadded);
}

STDMETHODIMP NumericFormat::put_ShowPlus(VARIANT_BOOL isShown) noexcept {
    return Put(settings_.showPlus, isShown);
}

STDMETHODIMP NumericFormat::get_ShowPlus(VARIANT_BOOL* isShown) noexcept {
    return Get(settings_.showPlus, isShown);
}

STDMETHODIMP NumericFormat::put_Suffix(BSTR suffix) noexcept try {
    suffix_ = kv::BString(kv::View(suffix));
    SetDirty();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP NumericFormat::get_Suffix(BSTR* suffix) noexcept try {
    if (!suffix) return Refuse(E_POINTER);
    *suffix = nullptr;
    *suffix = kv::BString(suffix_.View()).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP NumericFormat::Increment(DOUBLE value, DOUBLE* result) noexcept {
    if (!result) return Refuse(E_POINTER);
    *result = value;
    if (settings_.roundingOption == formats::roundDecimals) {
        *result = formats::IncrementDecimals(value, settings_.roundingValue);
        return S_OK;
    }
    kv::BString text;
    double shown = 0;
    if (HRESULT status = ValueToString(value, text.Put()); FAILED(status)) return status;
    if (HRESULT status = StringToValue(text.Get(), &shown); FAILED(status)) return status;
    *result = std::isfinite(shown) ? formats::IncrementSignificant(shown, settings_.roundingValue) : shown;
    return S_OK;
}

STDMETHODIMP NumericFormat::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto clone = kv::Ptr<NumericFormat>::Attach(Make());
    clone->settings_ = settings_;
    clone->suffix_ = kv::BString(suffix_.View());
    *copy = clone.As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void NumericFormat::WriteFields(kv::StreamWriter& out) const {
    out << kv::KvStreamGetProSaveVersion(out.Stream(), recordVersions) << settings_.roundingOption
        << settings_.roundingValue << settings_.alignmentOption << settings_.alignmentWidth << settings_.useSeparator
        << settings_.zeroPad << settings_.showPlus;
    if (kv::KvStreamGetDocumentVersion(out.Stream()) >= kv::currentDocumentVersion) kv::WriteText(out, suffix_.View());
}

/// Fields that are read before something fails have their new values then; the stream's own failure is E_FAIL, too.
HRESULT NumericFormat::ReadFields(kv::StreamReader& in) {
    std::int16_t version = 0;
    if (in.Read(version) && version > newestRecord) return RefuseNewer();
    const auto read = [&](auto& field, auto isRight) {
        auto value = field;
        if (!in.Read(value)) return false;
        if (!isRight(value)) return in.Fail();
        field = value;
        SetDirty();  // until all is read
        return true;
    };
    const auto any = [](auto) { return true; };
    if (!read(settings_.roundingOption, any) ||
        !read(settings_.roundingValue,
              [](LONG digits) { return digits >= 0 && digits <= NumericSettings::mostDigits; }) ||
        !read(settings_.alignmentOption, any) ||
        !read(settings_.alignmentWidth, [](LONG width) { return width >= 0; }) || !read(settings_.useSeparator, any) ||
        !read(settings_.zeroPad, any) || !read(settings_.showPlus, any))
        return E_FAIL;
    if (version < newestRecord) return S_OK;
    std::u16string suffix;
    if (!kv::ReadText(in, suffix)) return E_FAIL;
    suffix_ = kv::BString(suffix);
    return S_OK;
}

HRESULT NumericFormat::WriteElements(XmlFieldWriter& out) const {
    const std::u16string_view rounding = NameOf(settings_.roundingOption, roundingNames);
    const std::u16string_view alignment = NameOf(settings_.alignmentOption, alignmentNames);
    if (rounding.empty() || alignment.empty()) return Refuse<IXMLSerialize>(unknownName, unnamedOption);
    out.Add(&IXMLSerializeData::AddString, roundingOptionElement, kv::BString(rounding).Get());
    out.Add(&IXMLSerializeData::AddString, alignmentOptionElement, kv::BString(alignment).Get());
    out.Add(&IXMLSerializeData::AddLong, roundingValueElement, settings_.roundingValue);
    out.Add(&IXMLSerializeData::AddLong, alignmentWidthElement, settings_.alignmentWidth);
    out.Add(&IXMLSerializeData::AddBoolean, useSeparatorElement, settings_.useSeparator);
    out.Add(&IXMLSerializeData::AddBoolean, zeroPadElement, settings_.zeroPad);
    out.Add(&IXMLSerializeData::AddBoolean, showPlusElement, settings_.showPlus);
    out.Add(&IXMLSerializeData::AddString, suffixElement, suffix_.Get());
    return out.Status();
}

/// The unit stays unless it is read. What is read before something fails has its new value then, the rest a new
/// format's.
HRESULT NumericFormat::ReadElements(XmlFieldReader& in) {
    settings_ = {};
    SetDirty();  // also where something fails
    if (!ReadOption(in, roundingOptionElement, roundingNames, settings_.roundingOption) ||
        !ReadOption(in, alignmentOptionElement, alignmentNames, settings_.alignmentOption))
        return Refuse<IXMLSerialize>(unknownName, unknownOption);
    if (!ReadWhole(in, roundingValueElement, NumericSettings::mostDigits, settings_.roundingValue))
        return Refuse<IXMLSerialize>(E_INVALIDARG, badDigits);
    if (!ReadWhole(in, alignmentWidthElement, std::numeric_limits<LONG>::max(), settings_.alignmentWidth))
        return Refuse<IXMLSerialize>(E_INVALIDARG, badWidth);
    in.Get(&IXMLSerializeData::GetBoolean, useSeparatorElement, &settings_.useSeparator);
    in.Get(&IXMLSerializeData::GetBoolean, zeroPadElement, &settings_.zeroPad);
    in.Get(&IXMLSerializeData::GetBoolean, showPlusElement, &settings_.showPlus);
    kv::BString suffix;
    if (in.Get(&IXMLSerializeData::GetString, suffixElement, suffix.Put())) suffix_ = std::move(suffix);
    return in.Status();
}

}  // namespace mova
