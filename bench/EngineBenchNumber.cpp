// The text of numbers beside ICU's prepared formatter and fmt with a locale.
#include <fmt/format.h>
#include <unicode/numberformatter.h>

#include <locale>
#include <string>

#include "bench/EngineBench.h"
#include "bench/NumberData.h"
#include "formats/NumericText.h"

namespace bench {
namespace {

constexpr int decimals = 6;

/// English notation for fmt, whatever locales the machine has.
struct English final : std::numpunct<char> {
    char do_decimal_point() const override { return '.'; }
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

kv::NumberFmt EnglishRules() {
    kv::NumberFmt rules;
    rules.known = kv::NumberFmt::allRules;
    rules.decimalSeparator = std::u16string_view(u".");
    rules.thousandsSeparator = std::u16string_view(u",");
    rules.negativeSign = std::u16string_view(u"-");
    rules.grouping = 3;
    return rules;
}

/// The locale's function, which is not called for these numbers.
std::size_t NeverCalled(std::u16string_view, const kv::NumberFmt&, std::span<char16_t>) noexcept {
    return 0;
}

class NumberWork {
 public:
    explicit NumberWork(std::size_t count) : values_(MakeNumbers(count)) {
        settings_.useSeparator = 1;
        padded_ = settings_;
        padded_.zeroPad = 1;
    }

    std::uint64_t Format(bool isPadded) const {
        std::uint64_t units = 0;
        for (const double value : values_) units += Ours(value, isPadded).size();
        return units;
    }
    std::uint64_t FormatByIcu() const {
        std::uint64_t units = 0;
        for (const double value : values_) units += static_cast<std::uint64_t>(ByIcu(value).length());
        return units;
    }
    std::uint64_t FormatByFmt() const {
        std::uint64_t units = 0;
        for (const double value : values_) units += ByFmt(value).size();
        return units;
    }
    void RequireSameTexts() const {
        for (const double value : values_) {
            const icu::UnicodeString icuText = ByIcu(value);
            const std::string fmtText = ByFmt(value);
            Require(
                Ours(value, false) == std::u16string(icuText.getBuffer(), static_cast<std::size_t>(icuText.length())),
                "A number's text is not ICU's.");
            Require(Ours(value, true) == std::u16string(fmtText.begin(), fmtText.end()),
                    "A number's text is not fmt's.");
        }
    }

 private:
    std::u16string_view Ours(double value, bool isPadded) const {
        const formats::NumericText made(isPadded ? padded_ : settings_, value, rules_, &NeverCalled);
        return {text_.data(), made.Write(text_.data())};
    }
    icu::UnicodeString ByIcu(double value) const {
        UErrorCode status = U_ZERO_ERROR;
        return prepared_.formatDouble(value, status).toString(status);
    }
    std::string ByFmt(double value) const { return fmt::format(locale_, "{:.6Lf}", value); }

    std::vector<double> values_;
    kv::NumberFmt rules_ = EnglishRules();
    formats::NumericSettings settings_, padded_;
    mutable std::array<char16_t, 256> text_;
    std::locale locale_{std::locale::classic(), new English};
    icu::number::LocalizedNumberFormatter prepared_ = icu::number::NumberFormatter::withLocale(icu::Locale("en_US"))
                                                          .precision(icu::number::Precision::maxFraction(decimals))
                                                          .roundingMode(UNUM_ROUND_HALFUP);
};

}  // namespace

void RunEngineNumber(const Session& session) {
    constexpr std::size_t count = 20'000;
    constexpr double icuGoal = 4;
    constexpr double fmtGoal = 2.5;
    const NumberWork work(count);
    work.RequireSameTexts();
    session.Compare("number, engine, grouped, up to six decimals (ns)", static_cast<double>(count),
                    {{"NumericText", [&] { return work.Format(false); }},
                     {"ICU NumberFormatter, prepared", [&] { return work.FormatByIcu(); }, icuGoal}});
    session.Compare("number, engine, grouped, six decimals (ns)", static_cast<double>(count),
                    {{"NumericText", [&] { return work.Format(true); }},
                     {"fmt with a locale", [&] { return work.FormatByFmt(); }, fmtGoal}});
}

}  // namespace bench
