#include "json/ScannerSource.h"

#include <limits>

#include "json/Unescape.h"

namespace json {

std::u16string_view ScannerSource::Resolved(std::u16string_view between) {
    if (unescaped_.size() < between.size()) unescaped_.resize(between.size() * 2);
    return {unescaped_.data(), Unescape(between, unescaped_.data())};
}

Number NumberAt(const Scanner& scanner) noexcept {
    constexpr std::int64_t none = -1;
    if (const auto plain = scanner.Plain()) return {ValueOf(*plain), plain->decimals < 0 ? none : plain->decimals + 1};
    const std::u16string_view text = scanner.Text();
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

std::int8_t TaggedDecimals(std::int64_t decimals) noexcept {
    const bool isKept = decimals >= 0 && decimals <= std::numeric_limits<std::int8_t>::max();
    return isKept ? static_cast<std::int8_t>(decimals) : noDecimals;
}

}  // namespace json
