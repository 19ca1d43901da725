// How JSON values read by type under the user's locale: it is settled when a process begins, so other locales take
// further runs of these tests.
#include <movaJSON.h>

#include <cmath>

#include "kvcore/BString.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using Object = kv::Ptr<IJSONObjectEx>;

std::u16string UserLocale() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    const int length = GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH);
    return length > 0 ? std::u16string(kv::Narrow16(name), static_cast<std::size_t>(length) - 1) : std::u16string();
}

/// A reading as text; "-" where no value was found.
template <class T, class Show>
std::string Reading(const Object& object, HRESULT (STDMETHODCALLTYPE IJSONObject::*get)(BSTR, T*, VARIANT_BOOL*),
                    BSTR name, Show show) {
    T value{};
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ((object.Get()->*get)(name, &value, &found), S_OK);
    return found ? show(value) : "-";
}

std::string NumberText(double number) {
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", number);
    return text;
}

/// Boolean, integer, number, date and text; behind the bar number and text in English notation.
std::string Readings(const Object& object, BSTR name) {
    std::string all = Reading(object, &IJSONObject::GetBoolean, name,
                              [](VARIANT_BOOL flag) { return std::string(flag ? "true" : "false"); }) +
                      " " +
                      Reading(object, &IJSONObject::GetLong, name, [](LONG number) { return std::to_string(number); }) +
                      " " + Reading(object, &IJSONObject::GetDouble, name, &NumberText) + " " +
                      Reading(object, &IJSONObject::GetDate, name, &NumberText) + " " +
                      Reading(object, &IJSONObject::GetString, name,
                              [](BSTR text) { return kv::Utf8(kv::BString::Attach(text).View()); });
    for (const VARTYPE type : {VT_R8, VT_BSTR}) {
        kv::Variant converted;
        VARIANT_BOOL found = VARIANT_FALSE;
        EXPECT_EQ(object->GetValueAs(name, type, converted.Put(), &found), S_OK);
        all += type == VT_R8 ? " | " : " ";
        const VARIANT& value = converted.Get();
        all += !found ? "-" : type == VT_R8 ? NumberText(value.dblVal) : kv::Utf8(kv::View(value.bstrVal));
    }
    return all;
}

}  // namespace

TEST(JSONLocales, ValuesByType) {
    const auto object = New<IJSONObjectEx>(u"JSONObject");
    ASSERT_EQ(object->FromJSONString(
                  Bstr(u"{\"half\":1234.5,\"two\":2,\"point\":\"1.5\",\"comma\":\"1,5\",\"thousands\":\"1.234,5\","
                       u"\"yes\":true,\"word\":\"TRUE\",\"day\":\"2000-01-02\",\"TITLE\":\"nan\"}")),
              S_OK);
    ASSERT_EQ(object->AddDate(Bstr(u"date"), 36526.25), S_OK);
    const struct {
        std::u16string_view name;
        std::string_view english, german, turkish;  ///< empty for the same as in front
    } rows[] = {
        {u"half", "true 1234 1234.5 25569.00001 1234.5 | 1234.5 1234.5",
         "true 1234 1234.5 25569.00001 1234,5 | 1234.5 1234.5", ""},
        {u"two", "true 2 2 25569 2 | 2 2", "", ""},
        {u"point", "true 2 1.5 25569 1.5 | 1.5 1.5", "true 15 1.5 25569 1.5 | 1.5 1.5", ""},
        {u"comma", "true 15 15 25569 1,5 | 15 1,5", "true 2 15 25569 1,5 | 15 1,5", ""},
        {u"thousands", "true 1 1.2345 25569 1.234,5 | 1.2345 1.234,5",
         "true 1234 1.2345 25569 1.234,5 | 1.2345 1.234,5", ""},
        {u"yes", "true -1 -1 25569 true | -1 -1", "", ""},
        {u"word", "true - - - TRUE | - TRUE", "", ""},
        {u"day", "- - - - 2000-01-02 | - 2000-01-02", "", ""},
        {u"TITLE", "- - nan - nan | - nan", "", ""},
        {u"date", "true 36526 36526.25 25569.00042 1/1/2000 6:00:00 AM | 36526.25 1/1/2000 6:00:00 AM",
         "true 36526 36526.25 25569.00042 1.1.2000 06:00:00 | 36526.25 1/1/2000 6:00:00 AM",
         "true 36526 36526.25 25569.00042 01.01.2000 06:00:00 | 36526.25 1/1/2000 6:00:00 AM"},
    };
    const std::u16string locale = UserLocale();
    std::printf("user's locale: %s\n", kv::Utf8(locale).c_str());
    const bool isTurkish = locale == u"tr-TR";
    const bool isGerman = locale == u"de-DE";
    ASSERT_TRUE(isTurkish || isGerman || locale == u"en-US") << "nothing is known of this locale";
    for (const auto& row : rows) {
        std::string_view expected = row.english;
        if ((isGerman || isTurkish) && !row.german.empty()) expected = row.german;
        if (isTurkish && !row.turkish.empty()) expected = row.turkish;
        EXPECT_EQ(Readings(object, Bstr(row.name)), expected) << kv::Utf8(row.name);
    }
    EXPECT_EQ(object->put_CaseSensitive(VARIANT_FALSE), S_OK);
    const auto exists = AnswerOf(object, &IJSONObjectEx::MemberExists, Bstr(u"title"));
    EXPECT_EQ(exists, VARIANT_TRUE) << "names are folded the same for every user";
}

}  // namespace mova::test
