#include "kvcore/NumberValue.h"

#include "kvcore/NumberText.h"

namespace kv {

std::optional<std::int64_t> IntegerOf(const VARIANT& value) noexcept {
    switch (value.vt) {
        case VT_I1:
            return static_cast<signed char>(value.cVal);
        case VT_UI1:
            return value.bVal;
        case VT_I2:
            return value.iVal;
        case VT_UI2:
            return value.uiVal;
        case VT_I4:
        case VT_INT:
            return value.lVal;
        case VT_UI4:
        case VT_UINT:
            return value.ulVal;
        case VT_I8:
            return value.llVal;
        default:
            return {};
    }
}

char* FormatNumber(char* out, const VARIANT& value) noexcept {
    if (const auto number = IntegerOf(value)) return FormatInt64(out, *number);
    switch (value.vt) {
        case VT_UI8:
            return FormatUInt64(out, value.ullVal);
        case VT_R4:
            return FormatFloat(out, value.fltVal);
        case VT_R8:
            return FormatShortest(out, value.dblVal);
        case VT_CY:
            return FormatCurrency(out, value.cyVal.int64);
        case VT_DECIMAL:
            return FormatDecimal(out, value.decVal);
        default:
            return nullptr;
    }
}

char* FormatDecimal(char* out, const DECIMAL& number) noexcept {
    return FormatDecimal(out, number.Hi32, number.Lo64, number.scale, number.sign != 0);
}

void SetDecimal(DECIMAL& number, std::uint32_t high, std::uint64_t low, int scale, bool isNegative) noexcept {
    number.scale = static_cast<BYTE>(scale);
    number.sign = isNegative ? DECIMAL_NEG : 0;
    number.Hi32 = high;
    number.Lo64 = low;
}

}  // namespace kv
