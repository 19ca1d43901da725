#include "xml/XMLTypeMapper.h"

#include <array>
#include <limits>

#include "kvcore/BString.h"
#include "kvcore/NumberText.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

static_assert(xml::dateTextSize <= kv::numberTextSize);

constexpr auto noNumber = u"The text is not a number.";
constexpr auto noInteger = u"The text is not an integer of this size.";
constexpr auto noBoolean = u"The text is not a boolean.";
constexpr auto noDate = u"The text is not a date of the years 100 to 9999.";
constexpr auto noDateText = u"The date is outside the years 100 to 9999.";

template <class Integer>
std::optional<std::int64_t> ReadInteger(BSTR text) noexcept {
    return xml::ReadInteger(kv::View(text), std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max());
}

}  // namespace

template <class Value, class Read>
HRESULT XMLTypeMapper::HandOut(Value* value, const Read& read, const char16_t* reason) const noexcept {
    if (!value) return Refuse(E_POINTER);
    *value = read ? static_cast<Value>(*read) : Value{};
    return read ? S_OK : Refuse<IXMLTypeMapper>(E_INVALIDARG, reason);
}

template <class Format>
HRESULT XMLTypeMapper::HandOutText(BSTR* text, Format format) const noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    std::array<char, kv::numberTextSize> bytes;
    const char* const end = format(bytes.data());
    if (!end) return Refuse<IXMLTypeMapper>(E_INVALIDARG, noDateText);
    std::array<char16_t, kv::numberTextSize> units;
    const auto unitsEnd = std::copy(static_cast<const char*>(bytes.data()), end, units.begin());
    *text = kv::BString({units.begin(), unitsEnd}).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::TextToDouble(BSTR text, DOUBLE* number) noexcept {
    return HandOut(number, xml::ReadDouble(kv::View(text)), noNumber);
}

STDMETHODIMP XMLTypeMapper::DoubleToText(DOUBLE number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatShortest(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToFloat(BSTR text, FLOAT* number) noexcept {
    return HandOut(number, xml::ReadFloat(kv::View(text)), noNumber);
}

STDMETHODIMP XMLTypeMapper::FloatToText(FLOAT number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatFloat(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToShort(BSTR text, SHORT* number) noexcept {
    return HandOut(number, ReadInteger<SHORT>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::ShortToText(SHORT number, BSTR* text) noexcept {
    return Int64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToLong(BSTR text, LONG* number) noexcept {
    return HandOut(number, ReadInteger<LONG>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::LongToText(LONG number, BSTR* text) noexcept {
    return Int64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToInt64(BSTR text, LONGLONG* number) noexcept {
    return HandOut(number, ReadInteger<LONGLONG>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::Int64ToText(LONGLONG number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatInt64(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToBoolean(BSTR text, VARIANT_BOOL* flag) noexcept {
    const auto value = xml::ReadBoolean(kv::View(text));
    std::optional<VARIANT_BOOL> answer;
    if (value) answer = *value ? VARIANT_TRUE : VARIANT_FALSE;
    return HandOut(flag, answer, noBoolean);
}

STDMETHODIMP XMLTypeMapper::BooleanToText(VARIANT_BOOL flag, BSTR* text) noexcept {
    const std::string_view word = flag ? "true" : "false";
    return HandOutText(text, [&](char* out) { return std::copy(word.begin(), word.end(), out); });
}

STDMETHODIMP XMLTypeMapper::TextToDate(BSTR text, DATE* date) noexcept {
    return HandOut(date, xml::ReadDate(kv::View(text)), noDate);
}

STDMETHODIMP XMLTypeMapper::DateToText(DATE date, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return xml::FormatDate(out, date); });
}

}  // namespace mova
