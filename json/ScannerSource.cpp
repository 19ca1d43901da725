#include "json/ScannerSource.h"

#include <limits>

#include "json/PlainNumber.h"
#include "json/Unescape.h"
#include "kvcore/NumberText.h"

namespace json {

std::u16string_view ScannerSource::Unescaped(std::u16string_view between) {
    if (!scanner_.HasEscapes()) return between;
    if (unescaped_.size() < between.size()) unescaped_.resize(between.size() * 2);
    return {unescaped_.data(), Unescape(between, unescaped_.data())};
}

Number NumberAt(const Scanner& scanner) noexcept {
    constexpr std::int64_t none = -1;
    const std::u16string_view text = scanner.Text();
    PlainNumber plain;
    if (text.size() <= longestPlainNumber && scanner.UnitsUpToTokenEnd() >= 16 && TakeApart(text, plain)) {
        if (plain.decimals >= 0) {
            const double number = kv::MakeDouble(plain.digits, plain.decimals, plain.isNegative);
            return {Value::Of(number, Kind::Double, TaggedDecimals(plain.decimals + 1)), plain.decimals + 1};
        }
        if (plain.digits <= std::numeric_limits<std::int64_t>::max()) {
            const auto number = static_cast<std::int64_t>(plain.digits);
            return {Integer(plain.isNegative ? -number : number), none};
        }
    }
    constexpr std::size_t nowhere = std::u16string_view::npos;
    std::size_t point = nowhere;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'.') point = i;
        if ((text[i] | 0x20) == u'e' || (text[i] | 0x20) == u'n')
            return {Value::Of(scanner.Double(), Kind::Double), none};
    }
    if (point == nowhere) return {Integer(scanner.Int64()), none};
    const auto decimals = static_cast<std::int64_t>(text.size() - point);
    return {Value::Of(scanner.Double(), Kind::Double, TaggedDecimals(decimals)), decimals};
}

Value Integer(std::int64_t number) noexcept {
    using Short = std::numeric_limits<std::int32_t>;
    return Value::Of(number, number >= Short::min() && number <= Short::max() ? Kind::Int32 : Kind::Int64);
}

std::int8_t TaggedDecimals(std::int64_t decimals) noexcept {
    const bool isKept = decimals >= 0 && decimals <= std::numeric_limits<std::int8_t>::max();
    return isKept ? static_cast<std::int8_t>(decimals) : noDecimals;
}

}  // namespace json
