// The general number format through its interfaces, in the user's locale: other locales take further runs of the tests
// that are named for them.
#include <cmath>
#include <limits>
#include <random>

#include "kvcore/Stream.h"
#include "kvcore/UserNumbers.h"
#include "tests/NumberReference.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

using Format = kv::Ptr<INumberFormat>;
using formats::NumericSettings;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr HRESULT unknownName = static_cast<HRESULT>(0x80043066);

Format NewFormat() {
    return New<INumberFormat>(u"NumericFormat");
}

/// Any number as an option, as clients in C hand it in.
template <class Enum>
Enum Option(std::int32_t number) {
    return static_cast<Enum>(number);
}

Format FormatWith(const NumericSettings& settings, const Text& suffix = {}) {
    auto format = NewFormat();
    const auto numeric = format.As<INumericFormat>();
    EXPECT_EQ(numeric->put_RoundingOption(Option<movaRoundingOptionEnum>(settings.roundingOption)), S_OK);
    EXPECT_EQ(numeric->put_RoundingValue(settings.roundingValue), S_OK);
    EXPECT_EQ(numeric->put_AlignmentOption(Option<movaNumberAlignmentEnum>(settings.alignmentOption)), S_OK);
    EXPECT_EQ(numeric->put_AlignmentWidth(settings.alignmentWidth), S_OK);
    EXPECT_EQ(numeric->put_UseSeparator(settings.useSeparator), S_OK);
    EXPECT_EQ(numeric->put_ZeroPad(settings.zeroPad), S_OK);
    EXPECT_EQ(numeric->put_ShowPlus(settings.showPlus), S_OK);
    EXPECT_EQ(format.As<INumericFormat2>()->put_Suffix(Bstr(suffix)), S_OK);
    return format;
}
NumericSettings Settings(std::int32_t option, std::int32_t digits, bool separator = false, bool zeroPad = false,
                         bool plus = false) {
    NumericSettings settings;
    settings.roundingOption = option;
    settings.roundingValue = digits;
    settings.useSeparator = separator ? VARIANT_TRUE : VARIANT_FALSE;
    settings.zeroPad = zeroPad ? VARIANT_TRUE : VARIANT_FALSE;
    settings.showPlus = plus ? VARIANT_TRUE : VARIANT_FALSE;
    return settings;
}

Text Show(const Format& format, double value) {
    return Text(AnswerOf(format, &INumberFormat::ValueToString, value).View());
}

/// All settings of a format: the seven in the order of the record, and the suffix; "*" behind them where it is dirty.
std::string State(const kv::Ptr<IUnknown>& object) {
    const auto numeric = object.As<INumericFormat>();
    std::string state;
    for (const long field : {static_cast<long>(AnswerOf(numeric, &INumericFormat::get_RoundingOption)),
                             AnswerOf(numeric, &INumericFormat::get_RoundingValue),
                             static_cast<long>(AnswerOf(numeric, &INumericFormat::get_AlignmentOption)),
                             AnswerOf(numeric, &INumericFormat::get_AlignmentWidth),
                             static_cast<long>(AnswerOf(numeric, &INumericFormat::get_UseSeparator)),
                             static_cast<long>(AnswerOf(numeric, &INumericFormat::get_ZeroPad)),
                             static_cast<long>(AnswerOf(numeric, &INumericFormat::get_ShowPlus))})
        state += std::to_string(field) + " ";
    const auto suffix = AnswerOf(object.As<INumericFormat2>(), &INumericFormat2::get_Suffix);
    return state + "'" + kv::Utf8(suffix.View()) + "'" + (object.As<IPersistStream>()->IsDirty() == S_OK ? "*" : "");
}
constexpr auto defaultState = "0 6 1 12 0 0 0 ''";
constexpr auto oddState = "1 15 0 2147483647 7 -1 1 'm\xC2\xB2'";

/// With another value than a new one in each setting.
Format OddFormat() {
    return FormatWith({1, 15, 0, 2147483647, 7, VARIANT_TRUE, 1}, u"m\u00B2");
}

/// Values of the user's regional settings for the length of a test.
class UserSettings {
 public:
    void Set(LCTYPE type, const wchar_t* value) {
        wchar_t before[80];
        ASSERT_GT(GetLocaleInfoW(LOCALE_USER_DEFAULT, type, before, 80), 0);
        changed_.emplace_back(type, before);
        ASSERT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, type, value));
    }
    UserSettings() = default;
    ~UserSettings() {
        while (!changed_.empty()) {
            EXPECT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, changed_.back().first, changed_.back().second.c_str()));
            changed_.pop_back();
        }
    }
    UserSettings(const UserSettings&) = delete;
    UserSettings& operator=(const UserSettings&) = delete;

 private:
    std::vector<std::pair<LCTYPE, std::wstring>> changed_;
};

/// Holds what formats show and read against the steps and the platform's own function, in the locale as it is now.
void ExpectAsLocale(const char* where) {
    SCOPED_TRACE(where);
    kv::NumberFmt rules;
    kv::ReadUserRules(rules, kv::NumberFmt::allRules);
    ASSERT_EQ(rules.known, unsigned{kv::NumberFmt::allRules});
    std::mt19937_64 bits(1);
    std::vector<double> values{0.0,   -0.0, 1e-7, -1e-7, 999999.9999995, -1234567.891, 0.5, -0.5, 9007199254740992.0,
                               1e300, nan};
    for (int i = 0; i < 20; ++i)
        values.push_back(std::ldexp(static_cast<double>(static_cast<std::int64_t>(bits()) >> bits() % 63),
                                    -static_cast<int>(bits() % 64)));
    for (int digits = 0; digits <= NumericSettings::mostDigits; ++digits) {
        for (unsigned flags = 0; flags < 16; ++flags) {
            NumericSettings settings =
                Settings(static_cast<int>(flags & 1), digits, (flags & 2) != 0, (flags & 4) != 0, (flags & 8) != 0);
            settings.alignmentOption = digits % 2;
            const Text suffix = flags % 3 == 0 ? u"km" : u"";
            const auto format = FormatWith(settings, suffix);
            for (const double value : values) {
                const Text text = Show(format, value);
                ASSERT_EQ(kv::Utf8(text),
                          kv::Utf8(TextBySteps(settings, value, rules, &kv::FormatByUserLocale, suffix)))
                    << value << " to " << digits << ", flags " << flags;
                if (!std::isnan(value) && text.find_first_of(u"0123456789") == Text::npos) continue;
                double read = 0;
                ASSERT_EQ(format->StringToValue(Bstr(text), &read), S_OK) << kv::Utf8(text);
                if (std::isnan(value)) {
                    EXPECT_TRUE(std::isnan(read));
                } else if ((flags & 1) == 0) {
                    EXPECT_NEAR(read, value, std::pow(10, -digits) + std::fabs(value) * 1e-6 + 1e-9) << kv::Utf8(text);
                } else if (digits > 0) {
                    EXPECT_NEAR(read, value, std::fabs(value) * 10 * std::pow(10, -digits) + 1e-8) << kv::Utf8(text);
                }
            }
        }
    }
}

}  // namespace

TEST(NumericFormat, KeepsItsSettings) {
    EXPECT_EQ(State(NewFormat().As<IUnknown>()), defaultState);
    const auto format = OddFormat();
    EXPECT_EQ(State(format.As<IUnknown>()), std::string(oddState) + "*");
    const auto numeric = format.As<INumericFormat>();
    for (const LONG digits : {16L, -1L, 2147483647L, -2147483647L - 1}) {
        EXPECT_EQ(Refused(numeric->put_RoundingValue(digits), E_INVALIDARG),
                  Refusal<INumericFormat>("NumericFormat", "The rounding value must be a whole number from 0 to 15."));
    }
    for (const LONG width : {-1L, -2147483647L - 1}) {
        EXPECT_EQ(Refused(numeric->put_AlignmentWidth(width), E_INVALIDARG),
                  Refusal<INumericFormat>("NumericFormat", "The alignment width must not be negative."));
    }
    EXPECT_EQ(State(format.As<IUnknown>()), std::string(oddState) + "*");
    EXPECT_EQ(numeric->put_RoundingOption(Option<movaRoundingOptionEnum>(-7)), S_OK);
    EXPECT_EQ(numeric->put_AlignmentOption(Option<movaNumberAlignmentEnum>(9)), S_OK);
    EXPECT_EQ(numeric->put_RoundingValue(0), S_OK);
    EXPECT_EQ(format.As<INumericFormat2>()->put_Suffix(nullptr), S_OK);
    EXPECT_EQ(State(format.As<IUnknown>()), "-7 0 9 2147483647 7 -1 1 ''*");
}

TEST(NumericFormat, ClonesWithAllFields) {
    const auto format = OddFormat();
    const auto copy = CloneOf(format);
    EXPECT_EQ(State(copy.As<IUnknown>()), oddState);
    EXPECT_EQ(copy.As<INumericFormat2>()->put_Suffix(Bstr(u"s")), S_OK);
    EXPECT_EQ(State(format.As<IUnknown>()), std::string(oddState) + "*");
}

TEST(NumericFormat, RefusesWhatIsNoNumberAndFieldsThatAreTooWide) {
    const auto format = NewFormat();
    for (const char16_t* text : {u"", u"abc", u"1..2", u"1 2", u"1e999", u"<null>", u"--1"}) {
        double value = 7;
        EXPECT_EQ(Refused(format->StringToValue(Bstr(text), &value), E_INVALIDARG),
                  Refusal<INumberFormat>("NumericFormat", "The text is not a number."));
        EXPECT_EQ(value, 0) << kv::Utf8(text);
    }
    double value = 7;
    EXPECT_EQ(format->StringToValue(nullptr, &value), E_INVALIDARG);

    NumericSettings wide;
    wide.alignmentOption = formats::alignRight;
    wide.alignmentWidth = 32'768;
    const auto tooWide = FormatWith(wide, u"m");
    kv::BString text(u"before");
    EXPECT_EQ(Refused(tooWide->ValueToString(1, text.Put()), E_INVALIDARG),
              Refusal<INumberFormat>("NumericFormat", "Numbers are aligned in fields of at most 32,767 characters."));
    EXPECT_EQ(text.Get(), nullptr);
    EXPECT_EQ(kv::Utf8(Show(tooWide, nan)), "<Null>") << "not aligned";
    wide.alignmentWidth = 32'767;
    EXPECT_EQ(Show(FormatWith(wide, u"m"), 1), Text(32'766, u' ') + u"1 m");
}

TEST(NumericFormat, PutsTheUnitBehindWhatIsShown) {
    NumericSettings right = Settings(0, 0);
    right.alignmentOption = formats::alignRight;
    right.alignmentWidth = 6;
    const struct {
        NumericSettings settings;
        double value;
        const char *alone, *withUnit;
    } rows[] = {
        {Settings(0, 0), 7, "7", "7 km"},
        {right, 7, "     7", "     7 km"},
        {Settings(0, 0, false, false, true), 5e-10, "0", "0 km"},
        {Settings(2, 6, true, true, true), 7, "", " km"},
        {Settings(2, 6), nan, "<Null>", "<Null>"},
        {right, nan, "<Null>", "<Null>"},
        {Settings(2, 6), 1e300, "1.000000e+300", "1.000000e+300"},
        {right, -infinity, "-inf", "-inf"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(kv::Utf8(Show(FormatWith(row.settings), row.value)), row.alone) << row.value;
        EXPECT_EQ(kv::Utf8(Show(FormatWith(row.settings, u"km"), row.value)), row.withUnit) << row.value;
    }
}

TEST(NumericFormat, IncrementsByADisplayedUnit) {
    const struct {
        NumericSettings settings;
        Text suffix;
        double value;
        HRESULT status;
        double result;
    } rows[] = {
        {Settings(0, 2), u"km", 1.5, S_OK, 1.51},
        {Settings(0, 0), u"", nan, S_OK, nan},
        {Settings(0, 6), u"", infinity, S_OK, infinity},
        {Settings(1, 6), u"km", 123.4564, S_OK, 123.457},
        {Settings(1, 6, true, true, true), u"2 m", 1234567.0, S_OK, 1234580.0},
        {Settings(1, 3), u"", -1234, S_OK, -1220.0},
        {Settings(1, 6), u"", 5e-10, S_OK, 1e-6},
        {Settings(1, 4), u"", infinity, S_OK, infinity},
        {Settings(1, 4), u"", nan, S_OK, nan},
        {Settings(2, 6), u"", 5, E_INVALIDARG, 5},
        {Settings(2, 6), u"7", 5, S_OK, 7.00001},  // the unit alone reads as a number
    };
    for (const auto& row : rows) {
        double result = 77;
        EXPECT_EQ(FormatWith(row.settings, row.suffix).As<INumberFormatOperations>()->Increment(row.value, &result),
                  row.status);
        EXPECT_TRUE(result == row.result || (std::isnan(result) && std::isnan(row.result)))
            << row.value << " became " << result;
    }
    NumericSettings wide = Settings(1, 4);
    wide.alignmentOption = formats::alignRight;
    wide.alignmentWidth = 40'000;
    double result = 77;
    EXPECT_EQ(FormatWith(wide).As<INumberFormatOperations>()->Increment(2, &result), E_INVALIDARG);
    EXPECT_EQ(result, 2);
}

TEST(NumericFormatLocales, TheUsersLocale) {
    ExpectAsLocale("the user's locale");
    kv::NumberFmt rules;
    kv::ReadUserRules(rules, kv::NumberFmt::negativeRule | kv::NumberFmt::groupingRule | kv::NumberFmt::decimalRule);
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    ASSERT_GT(GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH), 0);
    const struct {
        std::u16string_view locale;
        const char* text;
    } rows[] = {{u"en-US", "-1,234,567.5 km"},
                {u"de-DE", "-1.234.567,5 km"},
                {u"hi-IN", "-12,34,567.5 km"},
                {u"ar-SA", "1,234,567.5- km"}};
    const Text text = Show(FormatWith(Settings(0, 2, true), u"km"), -1234567.5);
    std::printf("%s: %s\n", kv::Utf8(kv::Narrow16(name)).c_str(), kv::Utf8(text).c_str());
    for (const auto& row : rows) {
        if (row.locale != kv::Narrow16(name)) continue;
        EXPECT_EQ(kv::Utf8(text), row.text);
    }
}

TEST(NumericFormatLocales, SettingsCountAtTheNextCall) {
    const auto format = FormatWith(Settings(0, 2, true, true));
    UserSettings user;
    user.Set(LOCALE_SDECIMAL, L"_");
    user.Set(LOCALE_STHOUSAND, L"''");
    user.Set(LOCALE_SGROUPING, L"2;0");
    EXPECT_EQ(kv::Utf8(Show(format, 12345.5)), "1''23''45_50");
    ExpectAsLocale("separators of the user's own");
    user.Set(LOCALE_SNEGATIVESIGN, L"~");
    user.Set(LOCALE_INEGNUMBER, L"0");
    user.Set(LOCALE_ILZERO, L"0");
    user.Set(LOCALE_SGROUPING, L"3");
    EXPECT_TRUE(Show(format, 0.25).starts_with(u'_'));
    for (const double value : {0.0, 0.3})
        EXPECT_EQ(Show(FormatWith(Settings(0, 0)), value), u"0") << "no text without a digit";
    for (const wchar_t* order : {L"0", L"1", L"2", L"3", L"4"}) {
        user.Set(LOCALE_INEGNUMBER, order);
        ExpectAsLocale("each order");
    }
}

/// The rules of other locales in place of the user's; the narrow blank of newer data for French, too.
TEST(NumericFormatLocales, OtherLocales) {
    for (const wchar_t* locale : {L"en-US", L"de-DE", L"fr-FR", L"de-CH", L"hi-IN", L"ar-SA", L"sv-SE", L"fa-IR"}) {
        UserSettings user;
        for (const LCTYPE type :
             std::initializer_list<LCTYPE>{LOCALE_SDECIMAL, LOCALE_STHOUSAND, LOCALE_SGROUPING, LOCALE_SNEGATIVESIGN,
                                           LOCALE_INEGNUMBER, LOCALE_ILZERO}) {
            wchar_t value[80];
            ASSERT_GT(GetLocaleInfoEx(locale, type, value, 80), 0);
            user.Set(type, value);
        }
        ExpectAsLocale(kv::Utf8(kv::Narrow16(locale)).c_str());
        if (std::wstring_view(locale) != L"fr-FR") continue;
        user.Set(LOCALE_STHOUSAND, L"\u202F");
        EXPECT_EQ(Show(FormatWith(Settings(0, 2, true)), 1234567.5), u"1\u202F234\u202F567,5");
        ExpectAsLocale("a narrow blank");
    }
}

TEST(NumericFormat, PersistsInAGoldenLayout) {
    const Bytes newest = Saved(OddFormat().Get());
    ExpectGolden(newest, "numeric-format.bin");
    const auto loaded = Loaded(newest);
    EXPECT_EQ(State(loaded), oddState);
    EXPECT_EQ(AnswerOf(loaded.As<IPersistStream>(), &IPersistStream::GetSizeMax).QuadPart, 24u);
}

TEST(NumericFormat, WritesTheRecordOfTheDocument) {
    const auto format = OddFormat();
    for (const LONG document : {0L, 80L, 81L, 83L, 92L, 99L, 100L, 101L}) {
        const auto memory = StreamOf({});
        const auto objects = ObjectsOver(memory.Get());
        EXPECT_EQ(objects->put_DocumentVersion(document), S_OK);
        EXPECT_EQ(format.As<IPersistStream>()->Save(objects.As<IStream>().Get(), FALSE), S_OK);
        Bytes record = BytesOf(memory);
        const bool isNew = document >= 100;
        ASSERT_EQ(record.size(), isNew ? 32u : 24u) << document;
        EXPECT_EQ(record[0], isNew ? 2 : 1);
        EXPECT_EQ(record[1], 0);
        if (!isNew) ExpectGolden(record, "numeric-format-1.bin");
        const auto other = FormatWith(Settings(0, 3), u"kept");
        EXPECT_EQ(other.As<IPersistStream>()->Load(StreamOf(record).Get()), S_OK);
        EXPECT_EQ(State(other.As<IUnknown>()), isNew ? oddState : "1 15 0 2147483647 7 -1 1 'kept'");
        // Each version up to the newest is read, those below 2 without a suffix.
        record[0] = 0xFF, record[1] = 0xFF;
        EXPECT_EQ(other.As<IPersistStream>()->Load(StreamOf(record).Get()), S_OK);
        record[0] = 3, record[1] = 0;
        const auto untouched = NewFormat();
        EXPECT_EQ(Refused(untouched.As<IPersistStream>()->Load(StreamOf(record).Get()), E_FAIL),
                  Refusal<IPersistStream>("NumericFormat", "The stream was written by a newer version."));
        EXPECT_EQ(State(untouched.As<IUnknown>()), defaultState);
    }
}

TEST(NumericFormat, KeepsWhatWasReadBeforeTheStreamBroke) {
    const Bytes record = SavedAlone(OddFormat().Get());
    // The bytes that each field ends at, and the state when the next one is cut.
    const struct {
        std::size_t end;
        std::string state;
    } fields[] = {{6, "1 6 1 12 0 0 0 ''"},           {10, "1 15 1 12 0 0 0 ''"},
                  {14, "1 15 0 12 0 0 0 ''"},         {18, "1 15 0 2147483647 0 0 0 ''"},
                  {20, "1 15 0 2147483647 7 0 0 ''"}, {22, "1 15 0 2147483647 7 -1 0 ''"},
                  {24, "1 15 0 2147483647 7 -1 1 ''"}};
    for (std::size_t cut = 0; cut < record.size(); ++cut) {
        const auto format = NewFormat();
        EXPECT_EQ(Refused(format.As<IPersistStream>()->Load(
                              StreamOf({record.begin(), record.begin() + static_cast<int>(cut)}).Get()),
                          E_FAIL),
                  Refusal<IPersistStream>("NumericFormat", "The stream is cut short or damaged."));
        std::string expected = defaultState;
        for (const auto& field : fields)
            if (field.end <= cut) expected = field.state + "*";
        EXPECT_EQ(State(format.As<IUnknown>()), expected) << "cut at " << cut;
        const auto other = NewFormat();
        Trickle failing(record, 1);
        failing.callsLeft = static_cast<int>(cut);
        EXPECT_EQ(other.As<IPersistStream>()->Load(&failing), E_FAIL) << "whatever the stream's own failure is";
        EXPECT_EQ(State(other.As<IUnknown>()), expected) << "failed at " << cut;
    }
    Loader loader;
    int loaded = 0;
    ForEveryDamage(Saved(OddFormat().Get()), [&](const Bytes& damaged) {
        kv::Ptr<IUnknown> object;
        if (FAILED(loader.Load(damaged, object)) || !object) return;
        ++loaded;
        const auto numeric = object.As<INumericFormat>();
        if (!numeric) return;
        const auto digits = AnswerOf(numeric, &INumericFormat::get_RoundingValue);
        EXPECT_TRUE(digits >= 0 && digits <= 15 && AnswerOf(numeric, &INumericFormat::get_AlignmentWidth) >= 0);
        kv::BString text;
        EXPECT_NE(object.As<INumberFormat>()->ValueToString(1.5, text.Put()), E_OUTOFMEMORY);
    });
    EXPECT_GT(loaded, 0);
}

TEST(NumericFormat, PersistsAsXml) {
    kv::BString text;
    EXPECT_EQ(NewFormat().As<IXMLVersionSupport>()->get_MinNamespaceSupported(text.Put()), S_OK);
    EXPECT_EQ(kv::Utf8(text.View()), "urn:mova:schemas:9.3");
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    EXPECT_EQ(serializer->SaveToString(OddFormat().Get(), nullptr, text.Put()), S_OK);
    const std::string document = kv::Utf8(text.View());
    EXPECT_EQ(document.substr(0, document.find(" xmlns")), "<NumericFormat xsi:type='mova:NumericFormat'");
    EXPECT_EQ(document.substr(document.find('>') + 1),
              "<RoundingOption>movaRoundNumberOfSignificantDigits</RoundingOption>"
              "<AlignmentOption>movaAlignRight</AlignmentOption><RoundingValue>15</RoundingValue>"
              "<AlignmentWidth>2147483647</AlignmentWidth><UseSeparator>true</UseSeparator><ZeroPad>true</ZeroPad>"
              "<ShowPlus>true</ShowPlus><Suffix>m\xC2\xB2</Suffix></NumericFormat>");
    EXPECT_EQ(State(AnswerOf(serializer, &IXMLSerializerAlt::LoadFromString, text.Get())),
              "1 15 0 2147483647 -1 -1 -1 'm\xC2\xB2'*");
    EXPECT_EQ(serializer->SaveToString(NewFormat().Get(), nullptr, text.Put()), S_OK);
    EXPECT_NE(kv::Utf8(text.View())
                  .find("<RoundingOption>movaRoundNumberOfDecimals</RoundingOption><AlignmentOption>"
                        "movaAlignLeft</AlignmentOption>"),
              std::string::npos);
    EXPECT_NE(kv::Utf8(text.View()).find("<Suffix/>"), std::string::npos) << "always written";
    EXPECT_EQ(serializer->put_ReleaseNamespaceURI(Bstr(u"urn:mova:schemas:9.2")), S_OK);
    EXPECT_EQ(serializer->SaveToString(NewFormat().Get(), nullptr, text.Put()), E_INVALIDARG);

    for (const auto& settings : {Settings(2, 6), Settings(-1, 6)}) {
        EXPECT_EQ(
            New<IXMLSerializerAlt>(u"XMLSerializerAlt")->SaveToString(FormatWith(settings).Get(), nullptr, text.Put()),
            unknownName)
            << "an option without a name";
    }
}

TEST(NumericFormat, ReadsXmlElementByElement) {
    const std::string reset = "0 6 1 12 0 0 0 'm\xC2\xB2'";
    const struct {
        std::string elements;
        HRESULT status;
        std::string state;
    } rows[] = {
        {"", S_OK, reset},
        {"<Suffix>km</Suffix><ShowPlus>1</ShowPlus>", S_OK, "0 6 1 12 0 0 -1 'km'"},
        {"<Suffix/><Other/><RoundingValue>0</RoundingValue>", S_OK, "0 0 1 12 0 0 0 ''"},
        {"<RoundingOption>movaRoundNumberOfDecimals</RoundingOption><AlignmentWidth>0</AlignmentWidth>", S_OK,
         "0 6 1 0 0 0 0 'm\xC2\xB2'"},
        // Of what is refused, all is reset, and what was read before has its value.
        {"<RoundingOption>1</RoundingOption>", unknownName, reset},
        {"<RoundingOption>movaAlignLeft</RoundingOption>", unknownName, reset},
        {"<RoundingOption>movaroundnumberofdecimals</RoundingOption>", unknownName, reset},
        {"<RoundingOption/>", unknownName, reset},
        {"<RoundingOption>movaRoundNumberOfSignificantDigits</RoundingOption><RoundingValue>3</RoundingValue>"
         "<AlignmentOption>movaAlignLeft </AlignmentOption><Suffix>km</Suffix>",
         unknownName, "1 6 1 12 0 0 0 'm\xC2\xB2'"},
        {"<AlignmentOption>movaAlignRight</AlignmentOption><RoundingValue>16</RoundingValue>", E_INVALIDARG,
         "0 6 0 12 0 0 0 'm\xC2\xB2'"},
        {"<RoundingValue>-1</RoundingValue>", E_INVALIDARG, reset},
        {"<RoundingValue>3</RoundingValue><AlignmentWidth>-1</AlignmentWidth>", E_INVALIDARG,
         "0 3 1 12 0 0 0 'm\xC2\xB2'"},
        {"<RoundingValue>six</RoundingValue>", E_FAIL, reset},
        {"<ZeroPad>perhaps</ZeroPad><UseSeparator>true</UseSeparator><Suffix>km</Suffix>", E_FAIL,
         "0 6 1 12 -1 0 0 'm\xC2\xB2'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.elements);
        const auto format = OddFormat();
        EXPECT_EQ(format.As<IPersistStream>()->Save(StreamOf({}).Get(), TRUE), S_OK);
        const HRESULT status = LoadInto(format.Get(), kv::Utf16(row.elements));
        EXPECT_TRUE(status == row.status || (row.status == E_FAIL && FAILED(status))) << std::hex << status;
        EXPECT_EQ(State(format.As<IUnknown>()), row.state + "*");
    }
    EXPECT_EQ(NewFormat().As<IXMLSerialize>()->Serialize(nullptr), E_POINTER);
    EXPECT_EQ(NewFormat().As<IXMLSerialize>()->Deserialize(nullptr), E_POINTER);
}

}  // namespace mova::test
