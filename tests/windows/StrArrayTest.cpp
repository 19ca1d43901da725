#include "tests/windows/Persistence.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using namespace std::string_view_literals;
using Texts = kv::Ptr<IStringArray>;

Texts Split(std::u16string_view text, std::u16string_view delimiter) {
    auto texts = New<IStringArray>(u"StrArray");
    EXPECT_EQ(texts->Split(Bstr(text), Bstr(delimiter)), S_OK);
    return texts;
}
/// All elements, each behind its index.
std::string ElementsOf(const Texts& texts) {
    const auto count = AnswerOf(texts, &IStringArray::get_Count);
    std::string all;
    for (LONG i = 0; i < count; ++i) {
        const auto element = AnswerOf(texts, &IStringArray::get_Element, i);
        all += std::to_string(i) + kv::Utf8(element.View()) + " ";
    }
    return all;
}

}  // namespace

TEST(StrArray, HoldsTextsInOrder) {
    const auto texts = New<IStringArray>(u"StrArray");
    EXPECT_EQ(texts->Add(Bstr(u"b")), S_OK);
    EXPECT_EQ(texts->Insert(0, Bstr(u"a")), S_OK);
    EXPECT_EQ(texts->Insert(2, nullptr), S_OK);
    EXPECT_EQ(texts->put_Element(1, Bstr(u"B")), S_OK);
    EXPECT_EQ(ElementsOf(texts), "0a 1B 2 ");
    for (const LONG outside : {-1L, 3L, 2147483647L}) {
        BSTR untouched = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(texts->get_Element(outside, &untouched), E_INVALIDARG);
        EXPECT_EQ(untouched, nullptr);
        EXPECT_EQ(texts->put_Element(outside, nullptr), E_INVALIDARG);
        EXPECT_EQ(texts->Remove(outside), E_INVALIDARG);
        EXPECT_EQ(texts->Insert(outside == 3 ? 4 : outside, nullptr), E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IStringArray>("StrArray", "The index is outside the array."));
    }
    EXPECT_EQ(AnswerOf(texts, &IStringArray::Find, Bstr(u"b"), VARIANT_FALSE), -1);
    EXPECT_EQ(AnswerOf(texts, &IStringArray::Find, Bstr(u"b"), VARIANT_TRUE), 1);
    EXPECT_EQ(AnswerOf(texts, &IStringArray::Find, nullptr, VARIANT_FALSE), 2);
    EXPECT_EQ(texts->Remove(0), S_OK);
    EXPECT_EQ(ElementsOf(texts), "0B 1 ");
    EXPECT_EQ(texts->RemoveAll(), S_OK);
    EXPECT_EQ(ElementsOf(texts), "");
}

TEST(StrArray, SplitsAndJoins) {
    const struct {
        std::u16string_view text, delimiter;
        std::string_view elements;
    } rows[] = {
        {u"", u",", ""},      {u"a", u",", "0a "},    {u"a,,b,", u",", "0a 1 2b 3 "}, {u"a, b", u", ", "0a 1b "},
        {u",", u",", "0 1 "}, {u"abc", u"", "0abc "}, {u"aaa", u"aa", "0 1a "}};
    for (const auto& row : rows) {
        const auto texts = Split(row.text, row.delimiter);
        EXPECT_EQ(ElementsOf(texts), row.elements) << kv::Utf8(row.text);
        EXPECT_EQ(AnswerOf(texts, &IStringArray::Join, Bstr(row.delimiter)).View(), row.text);
    }
}

TEST(StrArray, TakesAndGivesArraysOfValues) {
    const auto texts = Split(u"old", u"");
    EXPECT_EQ(texts->put_Values(ArrayOf({1, 2}).Get()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IStringArray>("StrArray", "The values must be an array of strings."));
    EXPECT_EQ(texts->put_Values(Value(u"text").Get()), E_INVALIDARG);
    EXPECT_EQ(ElementsOf(texts), "0old ");
    EXPECT_EQ(texts->put_Values(ArrayOf({u"x", u"y"}).Get()), S_OK);
    EXPECT_EQ(ElementsOf(texts), "0x 1y ");
    kv::Variant values;
    EXPECT_EQ(texts->get_Values(values.Put()), S_OK);
    EXPECT_TRUE(kv::SameValue(values.Get(), ArrayOf({u"x", u"y"}).Get()));
}

TEST(StrArray, IsSavedClonedAndReadHoweverDamaged) {
    const auto texts = Split(u"first||\u00E4\0\u6771"sv, u"|");
    const Bytes saved = Saved(texts.Get());
    ExpectGolden(saved, "texts.bin");
    EXPECT_EQ(ElementsOf(Loaded(ReadGolden("texts.bin")).As<IStringArray>()), ElementsOf(texts));
    const auto copy = CloneOf(texts);
    EXPECT_EQ(texts->RemoveAll(), S_OK);
    EXPECT_EQ(ElementsOf(copy).substr(0, 10), "0first 1 2");
    Loader loader;
    ForEveryDamage(saved, [&](const Bytes& damaged) {
        kv::Ptr<IUnknown> object;
        const HRESULT status = loader.Load(damaged, object);
        if (const auto loaded = object.As<IStringArray>()) {
            EXPECT_EQ(status, S_OK);
            ElementsOf(loaded);
        }
    });
}

}  // namespace mova::test
