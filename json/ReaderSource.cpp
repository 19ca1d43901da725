#include "json/ReaderSource.h"

#include "json/ScannerSource.h"
#include "kvcore/Variant.h"
#include "server/Refusal.h"

namespace mova {

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
    LONG decimals = -1;
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
            value = json::Value::Of(given.dblVal, json::Kind::Double, json::TaggedDecimals(decimals));
            return true;
        case VT_DATE:
            value = json::Value::Of(given.date, json::Kind::Date);
            return true;
        default:
            return Went(Refuse(E_UNEXPECTED));  // nothing that a reader makes of a scalar
    }
}

}  // namespace mova
