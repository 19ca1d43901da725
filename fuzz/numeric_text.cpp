// Numbers come out as the steps say, step by step, whatever the settings and the locale's rules; what a locale's number
// format wrote reads back; and any text is read or refused, in both ways alike.
#include <bit>

#include "fuzz/Input.h"
#include "tests/NumberLocales.h"
#include "tests/NumberReference.h"

namespace {

using mova::test::Text;

double Number(fuzz::Input& input) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 4; ++i) bits = bits << 16 | input.Word();
    return std::bit_cast<double>(bits);
}

Text Units(fuzz::Input& input, std::size_t most) {
    Text text;
    for (std::size_t left = input.Byte() % (most + 1); left > 0; --left) text += static_cast<char16_t>(input.Word());
    return text;
}

/// Rules of a locale, or any.
kv::NumberFmt AnyRules(fuzz::Input& input, bool& isLocale) {
    const unsigned choice = input.Byte();
    isLocale = choice < 2 * std::size(mova::test::numberLocales);
    if (isLocale) return mova::test::numberLocales[choice / 2].fmt;
    const Text decimal = Units(input, 3);
    const Text thousands = Units(input, 3);
    const Text sign = Units(input, 3);
    const std::uint32_t grouping = input.Word();
    const std::uint32_t negativeOrder = input.Byte() % 5u;
    return mova::test::Rules(decimal, thousands, grouping, sign, negativeOrder, input.Byte() % 2u);
}

formats::NumericSettings AnySettings(fuzz::Input& input) {
    formats::NumericSettings settings;
    const unsigned flags = input.Byte();
    settings.roundingOption = flags % 8 == 7 ? 2 : static_cast<int>(flags % 2);
    settings.useSeparator = static_cast<std::int16_t>(flags & 0x10);
    settings.zeroPad = static_cast<std::int16_t>(flags & 0x20);
    settings.showPlus = static_cast<std::int16_t>(flags & 0x40);
    settings.alignmentOption = static_cast<int>(flags >> 7 & 1);
    settings.roundingValue = input.Byte() % (formats::NumericSettings::mostDigits + 1);
    settings.alignmentWidth = input.Byte();
    return settings;
}

void CheckText(const Text& text, const kv::NumberFmt& rules) {
    const auto read = kv::StringToValue(text, rules, {});
    const auto plain = kv::PlainStringToValue(text, rules.decimalSeparator.View());
    fuzz::Require(!plain || (read && *read == *plain), "both ways read the same number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    bool isLocale = false;
    const kv::NumberFmt rules = AnyRules(input, isLocale);
    const formats::NumericSettings settings = AnySettings(input);
    const double value = Number(input);
    const Text unit = Units(input, 6);

    const formats::NumericText made(settings, value, rules, &mova::test::FormatAsLocale);
    const Text text = mova::test::TextOf(made, unit);
    fuzz::Require(text == mova::test::TextBySteps(settings, value, rules, &mova::test::FormatAsLocale, unit),
                  "the text is what the steps say");
    const bool hasDigit = made.What() == formats::NumericText::Kind::bare ||
                          mova::test::TextOf(made, {}).find_first_of(u"0123456789") != Text::npos;
    if (isLocale && hasDigit) {
        const auto read = kv::StringToValue(text, rules, unit);
        fuzz::Require(read.has_value(), "what was written reads back");
        const Text again = mova::test::TextBySteps(settings, *read, rules, &mova::test::FormatAsLocale, unit);
        // What has no text of its own, was rounded to a power of ten, or has more digits than are shown.
        const bool isOther = made.What() == formats::NumericText::Kind::bare || settings.roundingOption > 1 ||
                             std::fabs(*read) > 9007199254740992.0 ||
                             (settings.roundingOption == 1 && settings.roundingValue == 0);
        fuzz::Require(isOther || kv::StringToValue(again, rules, unit) == read, "and is shown as the same number");
    }
    Text rest;
    while (!input.IsEmpty()) rest += static_cast<char16_t>(input.Byte() * (input.Byte() % 8 == 7 ? 257u : 1u));
    CheckText(rest, rules);
    CheckText(text, rules);
    return 0;
}
