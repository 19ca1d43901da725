#include <climits>
#include <cmath>
#include <limits>

#include "tests/windows/Support.h"

namespace mova::test {
namespace {

constexpr auto noNumber = "The text is not a number.";
constexpr auto noInteger = "The text is not an integer of this size.";
constexpr auto noBoolean = "The text is not a boolean.";

kv::Ptr<IXMLTypeMapper> Mapper() {
    return New<IXMLTypeMapper>(u"XMLTypeMapper");
}

/// A mapper whose map is what the library has: the thread lets go of the one before.
kv::Ptr<IXMLTypeMapper2> FreshMapper() {
    EXPECT_EQ(FactoryOf(__uuidof(::XMLTypeMapper)).As<ISingletonRelease>()->ReleaseInstance(), S_OK);
    return New<IXMLTypeMapper2>(u"XMLTypeMapper");
}

template <class I, class Value>
using FromText = HRESULT (STDMETHODCALLTYPE I::*)(BSTR, Value*);
template <class I, class Value>
using ToText = HRESULT (STDMETHODCALLTYPE I::*)(Value, BSTR*);

/// Reads a text, writes what it is, and sees what no text gives.
template <class Value, class I = IXMLTypeMapper>
void ExpectPair(FromText<I, Value> fromText, ToText<I, Value> toText, std::u16string_view text, Value value,
                std::string_view again, std::string_view reason) {
    const auto mapper = New<I>(u"XMLTypeMapper");
    EXPECT_EQ(AnswerOf(mapper, fromText, Bstr(text)), value) << kv::Utf8(text);
    EXPECT_EQ(kv::Utf8(AnswerOf(mapper, toText, value).View()), again);
    Value read{};
    for (const std::u16string_view bad : {u"", u"x", u"1x", u"99999999999999999999999e999"}) {
        read = value;
        EXPECT_EQ((mapper.Get()->*fromText)(Bstr(bad), &read), E_INVALIDARG) << kv::Utf8(bad);
        EXPECT_EQ(TakeErrorInfo(), Refusal<I>("XMLTypeMapper", reason));
        EXPECT_EQ(read, Value{});
    }
    EXPECT_EQ((mapper.Get()->*fromText)(nullptr, &read), E_INVALIDARG);
}

}  // namespace

TEST(XMLTypeMapper, TurnsValuesIntoTextAndBack) {
    using Mapper = IXMLTypeMapper;
    const LCID user = GetThreadLocale();
    for (const LCID locale : {user, static_cast<LCID>(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), 0))}) {
        SetThreadLocale(locale);
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u" +0.10e1\t", 1.0, "1", noNumber);
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u"-1234.5", -1234.5, "-1234.5", noNumber);
        ExpectPair<DOUBLE>(&Mapper::TextToDouble, &Mapper::DoubleToText, u"-INF",
                           -std::numeric_limits<double>::infinity(), "-INF", noNumber);
        ExpectPair<FLOAT>(&Mapper::TextToFloat, &Mapper::FloatToText, u"0.1", 0.1f, "0.100000001", noNumber);
        ExpectPair<SHORT>(&Mapper::TextToShort, &Mapper::ShortToText, u"-32768", SHRT_MIN, "-32768", noInteger);
        ExpectPair<LONG>(&Mapper::TextToLong, &Mapper::LongToText, u" 2147483647", INT_MAX, "2147483647", noInteger);
        ExpectPair<LONGLONG>(&Mapper::TextToInt64, &Mapper::Int64ToText, u"-9223372036854775808", LLONG_MIN,
                             "-9223372036854775808", noInteger);
        ExpectPair<VARIANT_BOOL>(&Mapper::TextToBoolean, &Mapper::BooleanToText, u"1", VARIANT_TRUE, "true", noBoolean);
        ExpectPair<VARIANT_BOOL>(&Mapper::TextToBoolean, &Mapper::BooleanToText, u" false ", VARIANT_FALSE, "false",
                                 noBoolean);
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
    EXPECT_EQ(Refused(mapper->DateToText(1e9, text.Put()), E_INVALIDARG),
              Refusal<IXMLTypeMapper>("XMLTypeMapper", "The date is outside the years 100 to 9999."));
    EXPECT_EQ(text.Get(), nullptr);
    EXPECT_EQ(kv::Utf8(AnswerOf(mapper, &IXMLTypeMapper::DoubleToText, std::nan("")).View()), "NaN");
    EXPECT_EQ(kv::Utf8(AnswerOf(mapper, &IXMLTypeMapper::BooleanToText, VARIANT_BOOL{1}).View()), "true");
    EXPECT_EQ(Mapper().Get(), mapper.Get()) << "the thread's one";
}

TEST(XMLTypeMapper, TurnsTheFurtherIntegersIntoTextAndBack) {
    using Mapper = IXMLTypeMapper2;
    ExpectPair<CHAR, Mapper>(&Mapper::TextToSByte, &Mapper::SByteToText, u" -128", -128, "-128", noInteger);
    ExpectPair<BYTE, Mapper>(&Mapper::TextToByte, &Mapper::ByteToText, u"255", 255, "255", noInteger);
    ExpectPair<USHORT, Mapper>(&Mapper::TextToUShort, &Mapper::UShortToText, u"+65535", 65535, "65535", noInteger);
    ExpectPair<ULONG, Mapper>(&Mapper::TextToULong, &Mapper::ULongToText, u"4294967295\n", 4294967295, "4294967295",
                              noInteger);
    ExpectPair<ULONGLONG, Mapper>(&Mapper::TextToUInt64, &Mapper::UInt64ToText, u"18446744073709551615", ULLONG_MAX,
                                  "18446744073709551615", noInteger);
    const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
    CHAR small = 1;
    BYTE byte = 1;
    USHORT word = 1;
    ULONG number = 1;
    ULONGLONG large = 1;
    for (const HRESULT status :
         {mapper->TextToSByte(Bstr(u"128"), &small), mapper->TextToSByte(Bstr(u"-129"), &small),
          mapper->TextToByte(Bstr(u"256"), &byte), mapper->TextToByte(Bstr(u"-1"), &byte),
          mapper->TextToUShort(Bstr(u"65536"), &word), mapper->TextToULong(Bstr(u"4294967296"), &number),
          mapper->TextToUInt64(Bstr(u"18446744073709551616"), &large)})
        EXPECT_EQ(status, E_INVALIDARG);
    EXPECT_TRUE(small == 0 && byte == 0 && word == 0 && number == 0 && large == 0);
}

TEST(XMLTypeMapper, TurnsAmountsAndDecimalsIntoTextAndBack) {
    const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
    CY amount{.int64 = 7};
    kv::BString text;
    EXPECT_EQ(mapper->TextToCurrency(Bstr(u" -922337203685477.5808"), &amount), S_OK);
    EXPECT_EQ(amount.int64, LLONG_MIN);
    EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::CurrencyToText, amount).View(), u"-922337203685477.5808");
    EXPECT_EQ(Refused(mapper->TextToCurrency(Bstr(u"0.00001"), &amount), E_INVALIDARG),
              Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The text is not an amount with four decimals at most."));
    EXPECT_EQ(amount.int64, 0);

    VARIANT value{};
    value.vt = VT_DECIMAL;
    EXPECT_EQ(mapper->TextToDecimal(Bstr(u"-7.9228162514264337593543950335"), &value.decVal), S_OK);
    EXPECT_EQ(value.vt, VT_DECIMAL) << "the reserved word stays";
    DECIMAL platforms{};
    kv::BString same(u"-7.9228162514264337593543950335");
    EXPECT_EQ(VarDecFromStr(same.Get(), LOCALE_INVARIANT, LOCALE_NOUSEROVERRIDE, &platforms), S_OK);
    EXPECT_EQ(VarDecCmp(&value.decVal, &platforms), static_cast<HRESULT>(VARCMP_EQ));
    EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::DecimalToText, value.decVal).View(), same.View());
    EXPECT_EQ(Refused(mapper->TextToDecimal(Bstr(u"79228162514264337593543950336"), &value.decVal), E_INVALIDARG),
              Refusal<IXMLTypeMapper2>("XMLTypeMapper",
                                       "The text is not a decimal number of 96 bits with 28 decimals at most."));
    EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::DecimalToText, value.decVal).View(), u"0");
    value.decVal.scale = 29;
    EXPECT_EQ(Refused(mapper->DecimalToText(value.decVal, text.Put()), E_INVALIDARG),
              Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The structure is not a decimal number."));
}

TEST(XMLTypeMapper, TurnsBytesIntoTextAndBack) {
    const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
    const auto contentOf = [](const kv::Variant& bytes) {
        const VARIANT& value = bytes.Get();
        EXPECT_EQ(value.vt, VT_ARRAY | VT_UI1);
        if (value.vt != (VT_ARRAY | VT_UI1)) return std::string("none");
        return std::string(static_cast<const char*>(value.parray->pvData), value.parray->rgsabound[0].cElements);
    };
    const struct {
        std::u16string_view base64, again, hex, hexAgain;
        std::string_view bytes;
    } rows[] = {{u"Zm9vYmFy", u"Zm9vYmFy", u"666f6F626172", u"666F6F626172", "foobar"},
                {u" Zg = \t=\r\n", u"Zg==", u" 66\n", u"66", "f"},
                {u"Z m8=", u"Zm8=", u"666F", u"666F", "fo"},
                {u"", u"", u"", u"", ""}};
    for (const auto& row : rows) {
        kv::Variant bytes, hexBytes;
        EXPECT_EQ(mapper->TextToBytes(Bstr(row.base64), bytes.Put()), S_OK);
        EXPECT_EQ(contentOf(bytes), row.bytes);
        EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::BytesToText, bytes.Get()).View(), row.again);
        EXPECT_EQ(mapper->HexToBytes(Bstr(row.hex), hexBytes.Put()), S_OK);
        EXPECT_EQ(contentOf(hexBytes), row.bytes);
        EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::BytesToHex, hexBytes.Get()).View(), row.hexAgain);
    }
    kv::Variant bytes;
    kv::BString text;
    EXPECT_EQ(mapper->TextToBytes(nullptr, bytes.Put()), S_OK);
    for (const std::u16string_view bad : {u"Zg", u"Zh==", u"Zg==Zg==", u"Z-8="}) {
        EXPECT_EQ(mapper->TextToBytes(Bstr(bad), bytes.Put()), E_INVALIDARG) << kv::Utf8(bad);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The text is not base64."));
        EXPECT_EQ(bytes.Get().vt, VT_EMPTY);
    }
    for (const std::u16string_view bad : {u"0", u"0x", u"0 00"}) {
        EXPECT_EQ(mapper->HexToBytes(Bstr(bad), bytes.Put()), E_INVALIDARG) << kv::Utf8(bad);
        EXPECT_EQ(TakeErrorInfo(),
                  Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The text is not pairs of hexadecimal digits."));
    }
    const kv::Variant shorts = Array(VT_I2, {{3, 0}});
    for (const HRESULT status :
         {mapper->BytesToText(shorts.Get(), text.Put()), mapper->BytesToHex(Value(u"00").Get(), text.Put())}) {
        EXPECT_EQ(status, E_INVALIDARG);
    }
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The value is not an array of bytes."));
}

TEST(XMLTypeMapper, TurnsIdentifiersIntoTextAndBack) {
    const auto mapper = New<IXMLIdentifierText>(u"XMLTypeMapper");
    const GUID expected = __uuidof(::PropertySet);
    for (const std::u16string_view text :
         {u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}", u" 588e5a11-d09b-11d1-aa7c-00c04fa33a15\n"}) {
        EXPECT_EQ(AnswerOf(mapper, &IXMLIdentifierText::TextToGUID, Bstr(text)), expected);
    }
    kv::BString text;
    EXPECT_EQ(AnswerOf(mapper, &IXMLIdentifierText::GUIDToText, &expected).View(),
              u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}");
    GUID read = expected;
    EXPECT_EQ(Refused(mapper->TextToGUID(Bstr(u"movaSystem.PropertySet"), &read), E_INVALIDARG),
              Refusal<IXMLIdentifierText>("XMLTypeMapper", "The text is not a GUID."));
    EXPECT_EQ(read, GUID{});
    EXPECT_EQ(mapper->TextToGUID(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(mapper->GUIDToText(nullptr, text.Put()), E_POINTER);
    EXPECT_EQ(mapper->GUIDToText(&expected, nullptr), E_POINTER);
}

TEST(XMLTypeMapper, KnowsTheTypesOfTheLibrary) {
    const auto mapper = FreshMapper();
    const LONG count = AnswerOf(mapper, &IXMLTypeMapper2::get_TypeCount);
    EXPECT_EQ(count, 9);
    for (LONG index = 0; index < count; ++index) {
        kv::BString typeName, name, uri, classId, id;
        EXPECT_EQ(mapper->GetType(index, typeName.Put(), uri.Put(), classId.Put()), S_OK);
        EXPECT_EQ(uri.View(), u"urn:mova:schemas:10.0");
        EXPECT_EQ(mapper->FindType(classId.Get(), name.Put(), uri.Put()), S_OK);
        EXPECT_EQ(name.View(), typeName.View());
        EXPECT_EQ(uri.View(), u"urn:mova:schemas:10.0");
        EXPECT_EQ(classId.View(), kv::GuidText(AnswerOf(New<IClassID>(typeName.View()), &IClassID::GetClassID)));
        for (const char16_t* release : {u"urn:mova:schemas:9.3", u"urn:mova:schemas:10.0"}) {
            EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::FindClass, typeName.Get(), Bstr(release)).View(),
                      classId.View());
            EXPECT_EQ(Refused(mapper->RemoveType(typeName.Get(), Bstr(release)), E_INVALIDARG),
                      Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The types of the library are not removed."));
        }
        EXPECT_EQ(mapper->FindClass(typeName.Get(), Bstr(u"urn:mova:schemas:8.0"), id.Put()), S_FALSE);
        EXPECT_EQ(id.Get(), nullptr);
    }
}

TEST(XMLTypeMapper, TypesAreAddedFoundAndRemoved) {
    const auto mapper = FreshMapper();
    const auto ownCount = AnswerOf(mapper, &IXMLTypeMapper2::get_TypeCount);
    constexpr auto first = u"{00000000-0000-0000-0000-000000000001}";
    constexpr auto second = u"00000000-0000-0000-0000-000000000002";
    const auto add = [&](const char16_t* name, const char16_t* uri, const char16_t* id) {
        return mapper->AddType(Bstr(name), Bstr(uri), Bstr(id));
    };
    EXPECT_EQ(add(u"Road", u"urn:u", first), S_OK);
    EXPECT_EQ(add(u"Way", u"", first), S_OK);
    EXPECT_EQ(add(u"Road", u"urn:u", first), S_FALSE);
    EXPECT_EQ(add(u"Road", u"urn:v", second), S_OK);
    const struct {
        const char16_t *name, *uri, *id;
        std::string_view reason;
    } refused[] = {
        {u"Road", u"urn:u", second, "The type stands for another class."},
        {u"UID", u"urn:mova:schemas:9.2", second, "The type stands for another class."},
        {u"", u"urn:u", first, "A type must have a name without a colon."},
        {u"p:Road", u"urn:u", first, "A type must have a name without a colon."},
        {u"Street", u"urn:u", u"movaSystem.UID", "The text is not a GUID."},
        {u"Street", u"urn:u", u"", "The text is not a GUID."},
        {u"Street", u"urn:u", u"{00000000-0000-0000-0000-000000000000}", "A type cannot stand for the null GUID."}};
    for (const auto& row : refused) {
        EXPECT_EQ(Refused(add(row.name, row.uri, row.id), E_INVALIDARG),
                  Refusal<IXMLTypeMapper2>("XMLTypeMapper", row.reason));
    }
    EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::get_TypeCount), ownCount + 3);
    EXPECT_EQ(Mapper().Get(), mapper.Get()) << "the thread's one";

    kv::BString id, name, uri;
    EXPECT_EQ(AnswerOf(mapper, &IXMLTypeMapper2::FindClass, Bstr(u"Road"), Bstr(u"urn:v")).View(),
              u"{00000000-0000-0000-0000-000000000002}");
    EXPECT_EQ(mapper->FindClass(Bstr(u"road"), Bstr(u"urn:v"), id.Put()), S_FALSE);
    EXPECT_EQ(mapper->FindClass(nullptr, nullptr, id.Put()), S_FALSE);
    EXPECT_EQ(mapper->FindType(Bstr(first), name.Put(), uri.Put()), S_OK);
    EXPECT_EQ(name.View(), u"Road");
    EXPECT_EQ(uri.View(), u"urn:u");
    EXPECT_EQ(mapper->RemoveType(Bstr(u"Road"), Bstr(u"urn:u")), S_OK);
    EXPECT_EQ(mapper->RemoveType(Bstr(u"Road"), Bstr(u"urn:u")), S_FALSE);
    EXPECT_EQ(mapper->FindType(Bstr(first), name.Put(), uri.Put()), S_OK);
    EXPECT_EQ(name.View(), u"Way");
    EXPECT_EQ(uri.View(), u"");
    EXPECT_EQ(mapper->RemoveType(Bstr(u"Way"), nullptr), S_OK);
    EXPECT_EQ(mapper->FindType(Bstr(first), name.Put(), uri.Put()), S_FALSE);
    EXPECT_EQ(name.Get(), nullptr);
    EXPECT_EQ(uri.Get(), nullptr);
    EXPECT_EQ(mapper->FindType(Bstr(u"Road"), name.Put(), uri.Put()), E_INVALIDARG);
    EXPECT_EQ(mapper->GetType(ownCount, name.Put(), uri.Put(), id.Put()), S_OK);
    EXPECT_EQ(uri.View(), u"urn:v");
    for (const LONG outside : {-1L, ownCount + 1}) {
        EXPECT_EQ(Refused(mapper->GetType(outside, name.Put(), uri.Put(), id.Put()), E_INVALIDARG),
                  Refusal<IXMLTypeMapper2>("XMLTypeMapper", "The index is outside the types."));
    }
    for (const HRESULT status :
         {mapper->FindType(Bstr(first), name.Put(), nullptr), mapper->FindType(Bstr(first), nullptr, uri.Put()),
          mapper->GetType(0, nullptr, uri.Put(), id.Put()), mapper->GetType(0, name.Put(), nullptr, id.Put()),
          mapper->GetType(0, name.Put(), uri.Put(), nullptr)})
        EXPECT_EQ(status, E_POINTER);
    EXPECT_EQ(mapper->RemoveType(Bstr(u"Road"), Bstr(u"urn:v")), S_OK);
}

}  // namespace mova::test
