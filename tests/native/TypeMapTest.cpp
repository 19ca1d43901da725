#include "xml/TypeMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kvcore/GuidText.h"
#include "kvcore/Utf.h"

namespace xml {
namespace {

constexpr std::u16string_view newest = u"urn:mova:schemas:10.0";

TEST(SchemaRelease, NamesAndNamespacesLeadToReleases) {
    EXPECT_EQ(NamespaceOf(newestRelease), newest);
    for (const ReleaseRow& row : schemaReleases) {
        EXPECT_EQ(ReleaseOf(row.uri), row.release);
        EXPECT_EQ(ReleaseNamed(row.name), row.release);
        EXPECT_EQ(NamespaceOf(row.release), row.uri);
        EXPECT_EQ(NameOf(row.release), row.name);
    }
    for (const std::u16string_view uri :
         {u"", u"urn:mova:schemas:", u"urn:mova:schemas:9", u"urn:mova:schemas:9.4", u"urn:mova:schemas:9.30",
          u"URN:mova:schemas:9.3", u" urn:mova:schemas:9.3", u"urn:mova:schemas:9.3/", u"9.3"})
        EXPECT_FALSE(ReleaseOf(uri)) << kv::Utf8(uri);
    for (const std::u16string_view name : {u"", u"9", u"10", u"9.3.0", u"11.0"}) EXPECT_FALSE(ReleaseNamed(name));
}

TEST(TypeMap, HasTheLibrarysOwnTypesFromTheirFirstReleaseOn) {
    const struct {
        std::u16string_view name, classId;
        SchemaRelease earliest = SchemaRelease::V9_0;
    } rows[] = {{u"PropertySet", u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}"},
                {u"PropertySetProperty", u"{5B6D2B14-F64A-4457-84E0-617AE2130FF9}"},
                {u"PropertySetArray", u"{C94BBD8A-EC33-4921-8EC3-6AD4B33232C3}"},
                {u"PropertySetPropertyArray", u"{4FAEB515-22D6-4FF8-8D3C-108858856D6A}"},
                {u"StrArray", u"{A7F92065-36CE-47B6-A463-4763DA947CC2}"},
                {u"UID", u"{78FF7FA1-FB2F-11D1-94A2-080009EEBECB}"},
                {u"NumericFormat", u"{7E4F4719-8E54-11D2-AAD8-000000000000}", SchemaRelease::V9_3},
                {u"Time", u"{E1721810-8210-45B1-8590-FC4C911FBA20}", SchemaRelease::V9_3},
                {u"TimeDuration", u"{09692C1C-21FA-4FE2-8EFA-6C4ACB59A323}", SchemaRelease::V9_3}};
    TypeMap map;
    ASSERT_EQ(map.Count(), std::size(rows));
    std::size_t index = 0;
    for (const auto& row : rows) {
        const kv::IdBits id = kv::ParseGuid(row.classId).value();
        for (const ReleaseRow& release : schemaReleases) {
            const TypeName type{row.name, release.uri};
            if (release.release < row.earliest) {
                EXPECT_FALSE(map.FindClass(type)) << kv::Utf8(row.name);
                EXPECT_FALSE(map.FindType(id, release.release));
                continue;
            }
            EXPECT_EQ(map.FindClass(type), id) << kv::Utf8(row.name);
            EXPECT_EQ(map.FindType(id, release.release), type);
            EXPECT_TRUE(map.Add(type, id));
            EXPECT_FALSE(map.Add(type, {1, 2}));
            EXPECT_EQ(map.Remove(type), TypeMap::Removal::Own);
        }
        EXPECT_EQ(map.FindType(id), (TypeName{row.name, newest}));
        EXPECT_EQ(map.At(index).type, (TypeName{row.name, newest}));
        EXPECT_EQ(map.At(index++).classId, id);
        EXPECT_FALSE(map.FindClass({row.name, u"urn:other"}));
        EXPECT_FALSE(map.FindClass({row.name, u""}));
    }
    EXPECT_FALSE(map.FindClass({u"propertyset", newest}));
    EXPECT_FALSE(map.FindClass({u"", newest}));
    EXPECT_EQ(map.Count(), std::size(rows));
    EXPECT_TRUE(map.Add({u"Set", u"u"}, OwnTypes().front().classId));
    EXPECT_EQ(map.FindType(OwnTypes().front().classId), (TypeName{u"PropertySet", newest})) << "which was there first";
}

TEST(TypeMap, IsWhatAPlainListWouldBe) {
    std::mt19937 bits(3);
    TypeMap map;
    std::vector<std::pair<std::pair<std::u16string, std::u16string>, std::uint64_t>> plain;
    for (int step = 0; step < 20'000; ++step) {
        const std::u16string name(1, static_cast<char16_t>(u'A' + bits() % 26));
        const std::u16string uri(1, static_cast<char16_t>(u'a' + bits() % 8));
        const std::uint64_t classNumber = bits() % 12;
        const TypeName type{name, uri};
        const auto at = std::find_if(plain.begin(), plain.end(),
                                     [&](const auto& row) { return row.first == std::pair(name, uri); });
        if (bits() % 3 != 0) {
            const bool isFree = at == plain.end();
            ASSERT_EQ(map.Add(type, {classNumber, 1}), isFree || at->second == classNumber);
            if (isFree) plain.push_back({{name, uri}, classNumber});
        } else {
            ASSERT_EQ(map.Remove(type) == TypeMap::Removal::Removed, at != plain.end());
            if (at != plain.end()) plain.erase(at);
        }
        const auto first =
            std::find_if(plain.begin(), plain.end(), [&](const auto& row) { return row.second == classNumber; });
        const auto found = map.FindType({classNumber, 1});
        ASSERT_EQ(found.has_value(), first != plain.end());
        if (found) {
            ASSERT_EQ(*found, (TypeName{first->first.first, first->first.second}));
        }
        ASSERT_EQ(map.Count(), plain.size() + OwnTypes().size());
    }
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const auto& [type, classNumber] = plain[i];
        const auto entry = map.At(OwnTypes().size() + i);
        EXPECT_EQ(entry.type, (TypeName{type.first, type.second}));
        EXPECT_EQ(entry.classId, (kv::IdBits{classNumber, 1}));
        EXPECT_EQ(map.FindClass(entry.type), entry.classId);
    }
}

}  // namespace
}  // namespace xml
