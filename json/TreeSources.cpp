#include "json/TreeSources.h"

#include <limits>

#include "json/Unescape.h"

namespace mova {
namespace {

/// A count of decimals as a tag keeps it.
std::int8_t DecimalsOf(std::ptrdiff_t decimals) noexcept {
    return decimals > std::numeric_limits<std::int8_t>::max() ? json::noDecimals : static_cast<std::int8_t>(decimals);
}

json::Value Integer(std::int64_t number) noexcept {
    using Short = std::numeric_limits<std::int32_t>;
    return json::Value::Of(number,
                           number >= Short::min() && number <= Short::max() ? json::Kind::Int32 : json::Kind::Int64);
}

}  // namespace

json::Value ScannerSource::Number() const noexcept {
    const std::u16string_view text = scanner_.Text();
    const std::size_t exponent = text.find_first_of(u"eE");
    const std::size_t point = text.rfind(u'.');
    if (exponent != text.npos) return json::Value::Of(scanner_.Double(), json::Kind::Double);
    if (point == text.npos)
        return text.front() == u'n' || text.front() == u'N' ? json::Value::Of(scanner_.Double(), json::Kind::Double)
                                                            : Integer(scanner_.Int64());
    const auto decimals = static_cast<std::ptrdiff_t>(text.size() - point);
    return json::Value::Of(scanner_.Double(), json::Kind::Double, DecimalsOf(decimals));
}

json::Token ReaderSource::Current() noexcept {
    LONG token = static_cast<LONG>(json::Token::None);
    if (FAILED(reader_.GetTokenType(&token))) return json::Token::None;
    return static_cast<json::Token>(token);
}

bool ReaderSource::TakeName(json::TreeBuilder& builder) {
    kv::BString name;
    if (!Went(reader_.ReadPropertyName(name.Put()))) return false;
    builder.SetName(name.View());
    return true;
}

bool ReaderSource::TakeScalar(json::TreeBuilder& builder, json::Value& value) {
    kv::Variant read;
    LONG decimals = json::noDecimals;
    if (!Went(reader_.ReadValueEx(read.Put(), &decimals))) return false;
    const VARIANT& given = read.Get();
    switch (given.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return true;
        case VT_BSTR:
            value = builder.CopyText(kv::View(given.bstrVal));
            return true;
        case VT_BOOL:
            value = json::Value::Of(given.boolVal != VARIANT_FALSE);
            return true;
        case VT_I4:
            value = json::Value::Of(std::int64_t{given.lVal}, json::Kind::Int32);
            return true;
        case VT_I8:
            value = json::Value::Of(std::int64_t{given.llVal}, json::Kind::Int64);
            return true;
        case VT_UI8:
            value = json::Value::Of(std::int64_t{given.llVal}, json::Kind::UInt64);
            return true;
        case VT_R8:
            value = json::Value::Of(given.dblVal, json::Kind::Double, DecimalsOf(decimals));
            return true;
        case VT_DATE:
            value = json::Value::Of(given.date, json::Kind::Date);
            return true;
        default:
            return Went(E_UNEXPECTED);  // nothing that a reader makes of a scalar
    }
}

}  // namespace mova
