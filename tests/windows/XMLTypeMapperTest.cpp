#include <climits>
#include <cmath>
#include <limits>

#include "tests/windows/Support.h"

namespace mova::test {
namespace {

kv::Ptr<IXMLTypeMapper> Mapper() {
    return New<IXMLTypeMapper>(u"XMLTypeMapper");
}

template <class Value>
using FromText = HRESULT (STDMETHODCALLTYPE IXMLTypeMapper::*)(BSTR, Value*);
template <class Value>
using ToText = HRESULT (STDMETHODCALLTYPE IXMLTypeMapper::*)(Value, BSTR*);

/// Reads a text, writes what it is, and sees what no text gives.
template <class Value>
void ExpectPair(FromText<Value> fromText, ToText<Value> toText, std::u16string_view text, Value value,
                std::string_view again, std::string_view reason) {
    const auto mapper = Mapper();
    Value read{};
    EXPECT_EQ((mapper.Get()->*fromText)(Bstr(text), &read), S_OK) << kv::Utf8(text);
    EXPECT_EQ(read, value) << kv::Utf8(text);
    kv::BString written;
    EXPECT_EQ((mapper.Get()->*toText)(value, written.Put()), S_OK);
    EXPECT_EQ(kv::Utf8(written.View()), again);
    for (const std::u16string_view bad : {u"", u"x", u"1x", u"99999999999999999999999e999"}) {
        read = value;
        EXPECT_EQ((mapper.Get()->*fromText)(Bstr(bad), &read), E_INVALIDARG) << kv::Utf8(bad);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLTypeMapper>("XMLTypeMapper", reason));
        EXPECT_EQ(read, Value{});
    }
    EXPECT_EQ((mapper.Get()->*fromText)(nullptr, &read), E_INVALIDARG);
    EXPECT_EQ((mapper.Get()->*fromText)(Bstr(text), nullptr), E_POINTER);
    EXPECT_EQ((mapper.Get()->*toText)(value, nullptr), E_POINTER);
}

}  // namespace

TEST(XMLTypeMapper, TurnsValuesIntoTextAndBack) {
    using Mapper = IXMLTypeMapper;
    const LCID user = GetThreadLocale();
    for (const LCID locale : {user, static_cast<LCID>(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), 0))}) {
        SetThreadLocale(locale);
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u" +0.10e1\t", 1.0, "1",
                           "The text is not a number.");
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u"-1234.5", -1234.5, "-1234.5",
                           "The text is not a number.");
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u"-INF",
                           -std::numeric_limits<double>::infinity(), "-INF", "The text is not a number.");
        ExpectPair<FLOAT>(&Mapper::TextToFloat, &Mapper::FloatToText, u"0.1", 0.1f, "0.100000001",
                          "The text is not a number.");
        ExpectPair<SHORT>(&Mapper::TextToShort, &Mapper::ShortToText, u"-32768", SHRT_MIN, "-32768",
                          "The text is not an integer of this size.");
        ExpectPair<LONG>(&Mapper::TextToLong, &Mapper::LongToText, u" 2147483647", INT_MAX, "2147483647",
                         "The text is not an integer of this size.");
        ExpectPair<LONGLONG>(&Mapper::TextToInt64, &Mapper::Int64ToText, u"-9223372036854775808", LLONG_MIN,
                             "-9223372036854775808", "The text is not an integer of this size.");
        ExpectPair<VARIANT_BOOL>(&Mapper::TextToBoolean, &Mapper::BooleanToText, u"1", VARIANT_TRUE, "true",
                                 "The text is not a boolean.");
        ExpectPair<VARIANT_BOOL>(&Mapper::TextToBoolean, &Mapper::BooleanToText, u" false ", VARIANT_FALSE, "false",
                                 "The text is not a boolean.");
        ExpectPair<DATE>(&Mapper::TextToDate, &Mapper::DateToText, u"2020-01-31T15:00:00+03:00", 43861.5,
                         "2020-01-31T12:00:00Z", "The text is not a date of the years 100 to 9999.");
    }
    SetThreadLocale(user);
}

TEST(XMLTypeMapper, RefusesWhatIsOutsideTheRange) {
    const auto mapper = Mapper();
    SHORT number = 7;
    EXPECT_EQ(mapper->TextToShort(Bstr(u"32768"), &number), E_INVALIDARG);
    EXPECT_EQ(number, 0);
    kv::BString text;
    EXPECT_EQ(mapper->DateToText(1e9, text.Put()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLTypeMapper>("XMLTypeMapper", "The date is outside the years 100 to 9999."));
    EXPECT_EQ(text.Get(), nullptr);
    EXPECT_EQ(mapper->DoubleToText(std::nan(""), text.Put()), S_OK);
    EXPECT_EQ(kv::Utf8(text.View()), "NaN");
    EXPECT_EQ(mapper->BooleanToText(1, text.Put()), S_OK);
    EXPECT_EQ(kv::Utf8(text.View()), "true");
    EXPECT_EQ(Mapper().Get(), mapper.Get()) << "the thread's one";
}

}  // namespace mova::test
