// Every operation of the writer in every state that it can be in.
#include <array>
#include <functional>
#include <limits>

#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// What a writer has behind it.
enum State { NoStream, Fresh, Open, WithContent, Ended, CalledBack };
constexpr const char* stateNames[] = {
    "no stream",           "fresh", "an element is open", "an element has content", "at the end of the document",
    "called by its stream"};

// Short, for the table.
constexpr HRESULT S = S_OK, U = E_UNEXPECTED, I = E_INVALIDARG, P = E_POINTER;

struct Row {
    const char* name;
    std::function<HRESULT(IXMLWriter3*)> call;
    std::array<HRESULT, 6> statuses;  ///< in the order of the states
    std::string_view written;         ///< where the status is S_OK
};

constexpr auto xmlNamespace = u"http://www.w3.org/XML/1998/namespace";

HRESULT StartWith(IXMLWriter3* writer, const kv::Ptr<IXMLAttributes>& attributes,
                  const kv::Ptr<IXMLNamespaces>& namespaces) {
    return writer->StartElement(Bstr(u"x"), nullptr, attributes.Get(), namespaces.Get(), VARIANT_TRUE);
}
kv::Ptr<IXMLAttributes> OneAttribute(const char16_t* uri) {
    auto attributes = New<IXMLAttributes>(u"XMLAttributes");
    EXPECT_EQ(attributes->AddAttribute(Bstr(uri), Bstr(u"a"), Bstr(u"1")), S_OK);
    return attributes;
}
HRESULT Bytes(IXMLWriter3* writer, const kv::Variant& value) {
    return writer->WriteBase64(value.Get());
}
std::vector<Row> MakeRows() {
    // clang-format off
    using W = IXMLWriter3*;
    constexpr std::array<HRESULT, 6> writes = {U, S, S, S, S, U};
    constexpr std::array<HRESULT, 6> refuses = {U, I, I, I, I, U};
    constexpr std::array<HRESULT, 6> always = {S, S, S, S, S, S};
    constexpr std::array<HRESULT, 6> isNull = {P, P, P, P, P, P};
    return {
        // IXMLWriter, in slot order
        {"OutputStream put, null", [](W w) { return w->put_OutputStream(nullptr); }, {P, P, P, P, P, U}, ""},
        {"StartElement", [](W w) { return w->StartElement(Bstr(u"x"), nullptr, nullptr, nullptr, VARIANT_FALSE); }, writes, "<x>"},
        {"StartElement, empty", [](W w) { return w->StartElement(Bstr(u"x"), nullptr, nullptr, nullptr, 2); }, writes, "<x/>"},
        {"StartElement, null name", [](W w) { return w->StartElement(nullptr, nullptr, nullptr, nullptr, VARIANT_FALSE); }, refuses, ""},
        {"StartElement, empty name", [](W w) { return w->StartElement(Bstr(u""), Bstr(u"u"), nullptr, nullptr, VARIANT_FALSE); }, refuses, ""},
        {"StartElement, unknown namespace", [](W w) { return w->StartElement(Bstr(u"x"), Bstr(u"u"), nullptr, nullptr, VARIANT_TRUE); }, refuses, ""},
        {"StartElement, namespace of xml", [](W w) { return w->StartElement(Bstr(u"x"), Bstr(xmlNamespace), nullptr, nullptr, VARIANT_TRUE); }, writes, "<xml:x/>"},
        {"StartElement, empty collections", [](W w) { return StartWith(w, New<IXMLAttributes>(u"XMLAttributes"), New<IXMLNamespaces>(u"XMLNamespaces")); }, writes, "<x/>"},
        {"StartElement, an attribute", [](W w) { return StartWith(w, OneAttribute(u""), {}); }, writes, "<x a='1'/>"},
        {"WriteText", [](W w) { return w->WriteText(Bstr(u"<t>")); }, writes, "&lt;t&gt;"},
        {"WriteText, null", [](W w) { return w->WriteText(nullptr); }, writes, ""},
        {"WriteText, an ampersand", [](W w) { return w->WriteText(Bstr(u"a&b")); }, writes, "a&amp;b"},
        {"WriteText, a NUL", [](W w) { return w->WriteText(Bstr(std::u16string_view(u"a\0b", 3))); }, writes, "ab"},
        {"WriteCData", [](W w) { return w->WriteCData(Bstr(u"<t>")); }, writes, "<![CDATA[<t>]]>"},
        {"WriteCData, null", [](W w) { return w->WriteCData(nullptr); }, writes, "<![CDATA[]]>"},
        {"WriteCData, unescaped", [](W w) { return w->WriteCData(Bstr(u"<a> & 'b'")); }, writes, "<![CDATA[<a> & 'b']]>"},
        {"EndElement", [](W w) { return w->EndElement(); }, {U, U, S, S, U, U}, "</e>"},
        {"WriteBoolean", [](W w) { return w->WriteBoolean(VARIANT_TRUE); }, writes, "true"},
        {"WriteBoolean, any other", [](W w) { return w->WriteBoolean(2); }, writes, "true"},
        {"WriteBoolean, false", [](W w) { return w->WriteBoolean(VARIANT_FALSE); }, writes, "false"},
        {"WriteLong", [](W w) { return w->WriteLong(-1); }, writes, "-1"},
        {"WriteLong, the least", [](W w) { return w->WriteLong(std::numeric_limits<LONG>::min()); }, writes, "-2147483648"},
        {"WriteByte", [](W w) { return w->WriteByte(0); }, writes, "0"},
        {"WriteByte, the greatest", [](W w) { return w->WriteByte(255); }, writes, "255"},
        {"WriteShort", [](W w) { return w->WriteShort(-1); }, writes, "-1"},
        {"WriteShort, the least", [](W w) { return w->WriteShort(-32768); }, writes, "-32768"},
        {"WriteUShort", [](W w) { return w->WriteUShort(65535); }, writes, "65535"},
        {"WriteFloat", [](W w) { return w->WriteFloat(std::numeric_limits<float>::infinity()); }, writes, "INF"},
        {"WriteFloat, a tenth", [](W w) { return w->WriteFloat(0.1F); }, writes, "0.100000001"},
        {"WriteDouble", [](W w) { return w->WriteDouble(1e300); }, writes, "1e+300"},
        {"WriteDouble, a tenth", [](W w) { return w->WriteDouble(0.1); }, writes, "0.1"},
        {"WriteDouble, infinite", [](W w) { return w->WriteDouble(-std::numeric_limits<double>::infinity()); }, writes, "-INF"},
        {"WriteDouble, not a number", [](W w) { return w->WriteDouble(std::numeric_limits<double>::quiet_NaN()); }, writes, "NaN"},
        {"WriteDate", [](W w) { return w->WriteDate(-657434); }, writes, "0100-01-01T00:00:00Z"},
        {"WriteDate, half a second", [](W w) { return w->WriteDate(43861.0 + (7.5 * 3600 + 0.5) / 86400); }, writes, "2020-01-31T07:30:00.5Z"},
        {"WriteDate, the year 10000", [](W w) { return w->WriteDate(2958466); }, refuses, ""},
        {"WriteDate, not a number", [](W w) { return w->WriteDate(std::numeric_limits<double>::quiet_NaN()); }, refuses, ""},
        {"WriteCurrency", [](W w) { return w->WriteCurrency({.int64 = -5}); }, writes, "-0.0005"},
        {"WriteCurrency, the least", [](W w) { return w->WriteCurrency({.int64 = std::numeric_limits<LONGLONG>::min()}); }, writes, "-922337203685477.5808"},
        {"WriteRawText", [](W w) { return w->WriteRawText(Bstr(u"<!---->")); }, writes, "<!---->"},
        {"WriteRawText, no document", [](W w) { return w->WriteRawText(Bstr(u"</raw>&")); }, writes, "</raw>&"},
        {"WriteRawText, empty", [](W w) { return w->WriteRawText(Bstr(u"")); }, writes, ""},
        {"WriteRawText, null", [](W w) { return w->WriteRawText(nullptr); }, {U, P, P, P, P, U}, ""},
        {"WriteXMLDeclaration", [](W w) { return w->WriteXMLDeclaration(); }, writes, R"(<?xml version="1.0" encoding="utf-8" ?>)"},
        {"WriteNewLine", [](W w) { return w->WriteNewLine(); }, writes, "\r\n"},
        {"WriteTab", [](W w) { return w->WriteTab(); }, writes, "\t"},
        {"LookupNamespacePrefix, xml's", [](W w) { return w->LookupNamespacePrefix(Bstr(xmlNamespace), kv::BString().Put()); }, always, ""},
        {"LookupNamespacePrefix, unknown", [](W w) { return w->LookupNamespacePrefix(Bstr(u"u"), kv::BString().Put()); }, {I, I, I, I, I, I}, ""},
        {"LookupNamespacePrefix, null namespace", [](W w) { return w->LookupNamespacePrefix(nullptr, kv::BString().Put()); }, isNull, ""},
        {"LookupNamespacePrefix, null prefix", [](W w) { return w->LookupNamespacePrefix(Bstr(u"u"), nullptr); }, isNull, ""},
        {"OutputStream get", [](W w) { return w->get_OutputStream(kv::Ptr<IStream>().Put()); }, always, ""},
        {"OutputStream get, null", [](W w) { return w->get_OutputStream(nullptr); }, isNull, ""},
        {"WriteULong", [](W w) { return w->WriteULong(4294967295); }, writes, "4294967295"},
        {"NormalizeNewLines get", [](W w) { VARIANT_BOOL flag = 0; return w->get_NormalizeNewLines(&flag); }, always, ""},
        {"NormalizeNewLines get, null", [](W w) { return w->get_NormalizeNewLines(nullptr); }, isNull, ""},
        {"NormalizeNewLines put", [](W w) { return w->put_NormalizeNewLines(7); }, always, ""},
        {"WriteInt64", [](W w) { return w->WriteInt64(-1); }, writes, "-1"},
        {"WriteInt64, the least", [](W w) { return w->WriteInt64(std::numeric_limits<LONGLONG>::min()); }, writes, "-9223372036854775808"},
        {"WriteUInt64", [](W w) { return w->WriteUInt64(1); }, writes, "1"},
        {"WriteUInt64, the greatest", [](W w) { return w->WriteUInt64(std::numeric_limits<ULONGLONG>::max()); }, writes, "18446744073709551615"},
        // IXMLWriter2
        {"WriteBase64", [](W w) { return Bytes(w, Array(VT_UI1, {{6, 0}})); }, writes, "AAAAAAAA"},
        {"WriteBase64, from another bound", [](W w) { return Bytes(w, Array(VT_UI1, {{3, 5}})); }, writes, "AAAA"},
        {"WriteBase64, two dimensions", [](W w) { return Bytes(w, Array(VT_UI1, {{2, 0}, {2, 1}})); }, writes, "AAAAAA=="},
        {"WriteBase64, no bytes", [](W w) { return Bytes(w, Array(VT_UI1, {{0, 0}})); }, writes, ""},
        {"WriteBase64, other elements", [](W w) { return Bytes(w, Array(VT_I2, {{3, 0}})); }, refuses, ""},
        {"WriteBase64, a text", [](W w) { return Bytes(w, Value(u"AAAA")); }, refuses, ""},
        {"WriteBase64, nothing", [](W w) { return Bytes(w, kv::Variant()); }, refuses, ""},
        // IXMLWriter3
        {"WriteObjectID", [](W w) { return w->WriteObjectID(2147483647); }, writes, "ID2147483647"},
        {"WriteObjectID, negative", [](W w) { return w->WriteObjectID(-7); }, writes, "ID-7"},
    };
    // clang-format on
}

/// A stream that keeps what is written, and first does what a test says, once.
struct Recorder final : LocalStream {
    std::string bytes;
    std::function<void()> act;
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override {
        if (const auto once = std::exchange(act, nullptr)) once();
        bytes.append(static_cast<const char*>(source), size);
        if (written) *written = size;
        return S_OK;
    }
};

HRESULT StartE(IXMLWriter3* writer) {
    return writer->StartElement(Bstr(u"e"), nullptr, nullptr, nullptr, VARIANT_FALSE);
}

/// Brings a new writer to a state.
void Enter(State state, IXMLWriter3* writer, Recorder& stream) {
    if (state == NoStream) return;
    EXPECT_EQ(writer->put_OutputStream(&stream), S_OK);
    if (state == Fresh) return;
    EXPECT_EQ(StartE(writer), S_OK);
    if (state == WithContent) {
        EXPECT_EQ(writer->WriteText(Bstr(u"t")), S_OK);
    }
    if (state == Ended) {
        EXPECT_EQ(writer->EndElement(), S_OK);
    }
    stream.bytes.clear();
}

}  // namespace

TEST(XMLWriterStates, EveryOperationInEveryState) {
    for (const Row& row : MakeRows()) {
        for (const State state : {NoStream, Fresh, Open, WithContent, Ended, CalledBack}) {
            SCOPED_TRACE(std::string(row.name) + ", " + stateNames[state]);
            Recorder stream;
            const auto writer = New<IXMLWriter3>(u"XMLWriter");
            Enter(state, writer.Get(), stream);
            SetErrorInfo(0, nullptr);
            HRESULT status = E_FAIL;
            std::string told;
            const auto call = [&] {
                status = row.call(writer.Get());
                told = TakeErrorInfo();
            };
            std::string expected;
            if (state == CalledBack) {
                stream.act = call;
                EXPECT_EQ(writer->WriteTab(), S_OK);
                expected = "\t";
            } else {
                call();
            }
            EXPECT_EQ(status, row.statuses[state]);
            EXPECT_EQ(!told.empty(), status == E_UNEXPECTED || status == E_INVALIDARG)
                << "a reason where a caller wants one";
            EXPECT_TRUE(state != NoStream || status != E_UNEXPECTED ||
                        told == Refusal<IXMLWriter>("XMLWriter", "The writer has no stream."));
            if (status == S_OK) expected += row.written;
            EXPECT_EQ(stream.bytes, expected);

            // What was refused has left the writer as it was.
            if (status == S_OK) continue;
            stream.bytes.clear();
            const bool isOpen = state == Open || state == WithContent || state == CalledBack;
            EXPECT_EQ(writer->EndElement(), isOpen ? S_OK : E_UNEXPECTED);
            EXPECT_EQ(stream.bytes, isOpen ? "</e>" : "");
        }
    }
}

TEST(XMLWriterStates, WhatTheStreamAnswersIsNotLookedAt) {
    /// A stream that fails, and first does what the test says.
    struct Backward final : LocalStream {
        std::function<void()> act = [] {};
        int writes = 0;
        STDMETHODIMP Write(const void*, ULONG, ULONG*) noexcept override { return ++writes, act(), STG_E_MEDIUMFULL; }
    };
    Backward stream;
    const auto writer = New<IXMLWriter3>(u"XMLWriter");
    EXPECT_EQ(writer->put_OutputStream(&stream), S_OK);
    const auto rows = MakeRows();
    for (const Row& row : rows) EXPECT_TRUE(row.statuses[Open] != S_OK || row.call(writer.Get()) == S_OK) << row.name;
    EXPECT_GT(stream.writes, 20);

    // What comes back from the stream is refused, and the tag that is being written is whole.
    int tried = 0, refused = 0;
    const auto other = MemoryStream("");
    stream.act = [&] {
        for (const Row& row : rows) {
            if (row.statuses[CalledBack] != E_UNEXPECTED) continue;
            ++tried;
            refused += row.call(writer.Get()) == E_UNEXPECTED;
        }
        EXPECT_EQ(writer->put_OutputStream(other.Get()), E_UNEXPECTED);
    };
    EXPECT_EQ(StartE(writer.Get()), S_OK);
    EXPECT_EQ(refused, tried);
    EXPECT_GT(tried, 40);
    stream.act = [] {};
    EXPECT_EQ(writer->put_OutputStream(other.Get()), S_OK);
    EXPECT_EQ(writer->EndElement(), S_OK);
    EXPECT_EQ(SizeOf(other.Get()), 4u);
}

// A collection of another maker is read while a tag is being made.
TEST(XMLWriterStates, CollectionsThatCallBackAreRefused) {
    struct Counted final : LocalAttributes {
        std::function<void()> act;
        STDMETHODIMP get_Count(LONG* attributeCount) noexcept override { return act(), *attributeCount = 0, S_OK; }
    };
    for (const Row& row : MakeRows()) {
        SCOPED_TRACE(row.name);
        Recorder stream;
        const auto writer = New<IXMLWriter3>(u"XMLWriter");
        Enter(Open, writer.Get(), stream);
        Counted attributes;
        HRESULT status = E_FAIL;
        attributes.act = [&] { status = row.call(writer.Get()); };
        EXPECT_EQ(writer->StartElement(Bstr(u"f"), nullptr, &attributes, nullptr, VARIANT_TRUE), S_OK);
        EXPECT_EQ(status, row.statuses[CalledBack]);
        EXPECT_EQ(writer->EndElement(), S_OK);
        EXPECT_EQ(stream.bytes, "<f/></e>");
    }
}

}  // namespace mova::test
