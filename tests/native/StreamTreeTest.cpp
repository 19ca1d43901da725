#include "tools/mova/StreamTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace mova::tool {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string Golden(const std::string& name) {
    std::ifstream file(MOVA_SOURCES "/tests/golden/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

StreamTree Print(std::string_view bytes, ClassNamer nameClass = nullptr) {
    return PrintStream(std::as_bytes(std::span(bytes)), nameClass);
}

std::string_view LastLine(std::string_view lines) {
    lines.remove_suffix(1);
    return lines.substr(lines.rfind('\n') + 1);
}

constexpr auto setClass = "\x11\x5A\x8E\x58\x9B\xD0\xD1\x11\xAA\x7C\x00\xC0\x4F\xA3\x3A\x15"sv;
constexpr auto arrayClass = "\x8A\xBD\x4B\xC9\x33\xEC\x21\x49\x8E\xC3\x6A\xD4\xB3\x32\x32\xC3"sv;
constexpr auto uidClass = "\xA1\x7F\xFF\x78\x2F\xFB\xD1\x11\x94\xA2\x08\x00\x09\xEE\xBE\xCB"sv;
constexpr auto ownClass = "\x11\x5A\x8E\x58\x9B\xD0\xD1\x11\xAA\x7C\x00\xC0\x4F\xA3\x3A\x16"sv;

std::string Number32(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}
std::string Reference(std::string_view classId, std::uint32_t number) {
    return std::string(classId) + Number32(number);
}
/// An array's beginning: its type's low byte, and so many elements from 0 on.
std::string Array(char type, std::uint32_t count) {
    return type + "\x20\x01\0"s + Number32(count) + Number32(0);
}
std::string Repeated(std::string_view part, std::size_t times) {
    std::string all;
    for (; times != 0; --times) all += part;
    return all;
}
/// A set with one property whose name is empty, at 0; its value begins at 0x1E.
std::string SetWith(std::string_view value) {
    return Reference(setClass, 1) + "\1\0"s + Number32(1) + Number32(0) + std::string(value);
}

}  // namespace

TEST(StreamTree, ShowsAGraph) {
    const auto tree = Print(Golden("graph.bin"));
    EXPECT_EQ(tree.lines, R"(00000000  PropertySet #1 v1, 6 properties
0000001A    "first" = unknown PropertySet #2 v1, 2 properties
00000044      "name" = str "shared"
00000062      "parent" = unknown PropertySet #1, above
00000088    "second" = unknown PropertySet #2, above
000000AE    "nothing" = unknown null
000000D2    "values" = variant[3]
000000EE      [0] = i4 7
000000F4      [1] = unknown PropertySet #1, above
0000010A      [2] = variant[2]
00000116        [0] = str "a"
0000011E        [1] = str "b"
00000126    "properties" = unknown PropertySetPropertyArray #3 v1, 2 elements
0000015A      [0] = PropertySetProperty #4 v1
00000170        name = "K"
00000176        value = unknown PropertySet #2, above
0000018C      [1] = PropertySetProperty #4, above
000001A0    "sets" = unknown PropertySetArray #5 v1, 2 elements
000001C8      [0] = PropertySet #2, above
000001DC      [1] = PropertySet #1, above
000001F0  end
)");
    EXPECT_EQ(tree.end, StreamEnd::whole);
}

TEST(StreamTree, ShowsNumericFormats) {
    const std::string format = Golden("numeric-format.bin");
    EXPECT_EQ(Print(format).lines, R"(00000000  NumericFormat #1 v2
00000016    rounding option = 1
0000001A    rounding value = 15
0000001E    alignment = 0
00000022    width = 2147483647
00000026    use separator = true
00000028    zero pad = true
0000002A    show plus = true
0000002C    suffix = "m²"
00000034  end
)");
    std::string old = format.substr(0, 0x2C);
    old[0x14] = 1;
    EXPECT_TRUE(Print(old).lines.ends_with("0000002A    show plus = true\n0000002C  end\n")) << "without a suffix";
}

TEST(StreamTree, ShowsWhatStandsOneAfterTheOther) {
    const std::string uid = Golden("uid.bin");
    EXPECT_EQ(Print(Reference(uidClass, 7) + uid + Reference(uidClass, 7) + std::string(16, '\0') +
                    Reference(setClass, 2) + Golden("set-by-value.bin"))
                  .lines,
              R"(00000000  UID #7 v1
00000016    has value = true
00000017    identifier = {78FF7FA1-FB2F-11D1-94A2-080009EEBECB}
00000027    subtype = 7
0000002B  UID #7, above
0000003F  null
0000004F  PropertySet #2 v1, 5 properties
00000069    "number" = i4 1
0000007F    "empty" = null
0000008F    "object" = null
000000A1    "dispatch" = null
000000B7    "objects" = unknown[1]
000000D5      [0] = null
000000E5  end
)");
    EXPECT_EQ(Print("").lines, "00000000  end\n");
    EXPECT_EQ(Print(Golden("texts.bin")).lines, R"(00000000  StrArray #1 v1, 3 elements
0000001A    [0] = "first"
00000028    [1] = ""
0000002C    [2] = "ä\u0000東"
00000036  end
)");
}

TEST(StreamTree, ReadsEveryValueThatTheLibraryWrites) {
    const std::string values = Golden("values.bin");
    const auto tree = Print(SetWith(Array(12, 48) + values));
    EXPECT_EQ(tree.end, StreamEnd::whole) << tree.lines;
    EXPECT_EQ(tree.offset, 42 + values.size());
    EXPECT_NE(tree.lines.find("00000048      ... 40 more\n"), std::string::npos) << tree.lines;
}

TEST(StreamTree, PrintsValuesByTheirType) {
    const struct {
        std::string bytes;
        std::string_view text;
    } rows[] = {
        {"\0\0"s, "empty"},
        {"\1\0"s, "null"},
        {"\x10\0\x80"s, "i1 -128"},
        {"\x11\0\xFF"s, "ui1 255"},
        {"\2\0\xFF\xFF"s, "i2 -1"},
        {"\x12\0\xFF\xFF"s, "ui2 65535"},
        {"\3\0\0\0\0\x80"s, "i4 -2147483648"},
        {"\x16\0\xFF\xFF\xFF\xFF"s, "int -1"},
        {"\x13\0\xFF\xFF\xFF\xFF"s, "ui4 4294967295"},
        {"\x17\0\xFF\xFF\xFF\xFF"s, "uint 4294967295"},
        {"\x14\0\0\0\0\0\0\0\0\x80"s, "i8 -9223372036854775808"},
        {"\x15\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "ui8 18446744073709551615"},
        {"\4\0\xCD\xCC\xCC\x3D"s, "r4 0.1"},
        {"\5\0\0\0\0\0\0\0\xF8\xFF"s, "r8 nan"},
        {"\5\0\0\0\0\0\0\0\xF0\xFF"s, "r8 -inf"},
        {"\7\0\0\0\0\0\x18\xF9\xE5\x40"s, "date 45000.75"},
        {"\6\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "currency -0.0001"},
        {"\6\0\0\0\0\0\0\0\0\x80"s, "currency -922337203685477.5808"},
        {"\6\0\0\0\0\0\0\0\0\0"s, "currency 0.0000"},
        {"\x0A\0\x05\x40\x00\x80"s, "error 0x80004005"},
        {"\x0B\0\xFF\xFF"s, "bool true"},
        {"\x0B\0\0\0"s, "bool false"},
        {"\x0B\0\1\0"s, "bool 1"},
        {"\x0E\0xy\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "decimal 79228162514264337593543950335"},
        {"\x0E\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0"s, "decimal 18446744073709551616"},
        {"\x0E\0\0\0\x1C\x80\0\0\0\0\1\0\0\0\0\0\0\0"s, "decimal -0.0000000000000000000000000001"},
        {"\x0E\0\0\0\2\0\0\0\0\0\x96\0\0\0\0\0\0\0"s, "decimal 1.50"},
        {"\x08\0\0\0\0\0"s, "str \"\""},
        {"\x08\0\7\0\0\0a\0\0\0\"\0x"s, R"(str "a\u0000\"" and a byte)"},
        {"\x0D\0"s + std::string(16, '\0'), "unknown null"},
        {"\x09\0"s + Reference(ownClass, 1), "dispatch {588E5A11-D09B-11D1-AA7C-00C04FA33A16} #1, above"},
        {"\3\x20\0\0"s, "i4[] null"},
        {Array(3, 0), "i4[0] {}"},
        {Array(17, 8) + "\0\1\2\3\4\5\6\7"s, "ui1[8] {0, 1, 2, 3, 4, 5, 6, 7}"},
        {Array(17, 9) + "\0\1\2\3\4\5\6\7x"s, "ui1[9] {0, 1, 2, 3, 4, 5, 6, 7, ... 1 more}"},
        {"\2\x20\2\0\2\0\0\0\0\0\0\0\1\0\0\0\xFB\xFF\xFF\xFF\1\0\2\0"s, "i2[1 from -5][2] {1, 2}"},
        {"\x11\x20\x0A\0"s + Repeated("\1\0\0\0\0\0\0\0"sv, 10) + "x", "ui1[1][1][1][1][1][1][1][1][... 2 more] {120}"},
        {Array(8, 2) + "\2\0\0\0a\0\0\0\0\0"s, R"(str[2] {"a", ""})"},
        {Array(12, 1) + "\1\0"s, "variant[1]\n0000002A      [0] = null"},
        {Array(13, 10) + Repeated(std::string(16, '\0'), 8) + Reference(setClass, 1) + Reference(setClass, 2) +
             std::string(6, '\0'),
         R"(unknown[10]
0000002A      [0] = null
0000003A      [1] = null
0000004A      [2] = null
0000005A      [3] = null
0000006A      [4] = null
0000007A      [5] = null
0000008A      [6] = null
0000009A      [7] = null
000000AA      ... 2 more
000000BE      [9] = PropertySet #2 v0, 0 properties)"},
    };
    for (const auto& row : rows) {
        const auto tree = Print(SetWith(row.bytes));
        const std::string head = "00000000  PropertySet #1 v1, 1 property\n0000001A    \"\" = ";
        EXPECT_EQ(tree.lines.substr(0, tree.lines.rfind('\n', tree.lines.size() - 2)), head + std::string(row.text));
        EXPECT_EQ(tree.end, StreamEnd::whole) << row.text;
    }
}

TEST(StreamTree, CutsLongTextsBetweenCharacters) {
    const auto text = [](std::size_t before, std::size_t behind) {
        const std::string units =
            Repeated("x\0"sv, before) + "\x3D\xD8\xFA\xDD" + Repeated("y\0"sv, behind);  // U+1F5FA
        return Print(SetWith("\x08\0"s + Number32(static_cast<std::uint32_t>(units.size())) + units)).lines;
    };
    const std::string map = "\xF0\x9F\x97\xBA";
    for (const auto& [before, behind, shown] : {std::tuple(62u, 0u, std::string(62, 'x') + map + "\"\n"),
                                                std::tuple(62u, 1u, std::string(62, 'x') + map + "\"... of 65 units\n"),
                                                std::tuple(63u, 0u, std::string(63, 'x') + "\"... of 65 units\n"),
                                                std::tuple(64u, 9u, std::string(64, 'x') + "\"... of 75 units\n")})
        EXPECT_NE(text(before, behind).find("str \"" + shown), std::string::npos) << text(before, behind);
}

TEST(StreamTree, SaysWhereAStreamBreaksAndWhy) {
    const struct {
        std::string bytes;
        std::string_view line;
    } rows[] = {
        {"x", "00000000  broken: cut short, 16 bytes are wanted and 1 is left"},
        {Reference(setClass, 1), "00000014  broken: cut short, 2 bytes are wanted and 0 are left"},
        {Reference(setClass, 1) + "\2\0\0\0\0\0"s, "00000014  broken: the object was written by a newer version"},
        {Reference(setClass, 1) + "\1\0\xFF\xFF\xFF\x7F"s,
         "0000001A  broken: cut short, 4 bytes are wanted and 0 are left"},
        {Reference(setClass, 1) + "\1\0\1\0\0\0\xFF\xFF\xFF\xFFx"s,
         "0000001E  broken: cut short, 8589934590 bytes are wanted and 1 is left"},
        {SetWith("\x0F\0"s), "0000001E  broken: unknown value type 15"},
        {SetWith("\3\x40"s), "0000001E  broken: unknown value type 16387"},
        {SetWith("\x24\x20\0\0"s), "0000001E  broken: unknown value type 8228"},
        {SetWith("\x0C\0"s), "0000001E  broken: a variant that is not in an array"},
        {SetWith("\0\x20\1\0"s), "0000001E  broken: an array of type empty"},
        {SetWith(Array(12, 1) + "\3\x40"s), "0000002A  broken: unknown value type 16387"},
        {SetWith("\x11\x20\2\0"s + Repeated("\0\0\1\0\0\0\0\0"sv, 2)),
         "0000001E  broken: more elements than 32 bits can count"},
        {SetWith(Array(17, 0xFFFFFFFF)), "0000002A  broken: cut short, 1 byte is wanted and 0 are left"},
        {SetWith(Repeated(Array(12, 1), 501)), "0000178E  broken: arrays nest too deeply"},
        {SetWith("\x0E\0\0\0\x1D\0\0\0\0\0\0\0\0\0\0\0\0\0"s),
         "00000020  broken: a decimal number has an impossible scale or sign"},
        {SetWith("\x0D\0"s + Reference(uidClass, 2) + "\xFF\xFF\1"s + std::string(16, 'x') + "\xFF\xFF\xFF\xFF"s),
         "00000047  broken: the subtype is negative"},
        {Reference(arrayClass, 1) + "\1\0\1\0\0\0"s + std::string(16, '\0'),
         "0000001A  broken: null is no element of the array"},
    };
    for (const auto& row : rows) {
        const auto tree = Print(row.bytes);
        EXPECT_EQ(LastLine(tree.lines), row.line) << tree.lines;
        EXPECT_EQ(tree.end, StreamEnd::broken);
    }
}

TEST(StreamTree, EndsAtAClassThatItCannotRead) {
    const std::string bytes = SetWith("\x0D\0"s + Reference(ownClass, 2) + "whatever");
    const auto name = [](const kv::IdBits&) -> std::u16string_view { return u"Own\u00C4"; };
    const auto tree = Print(bytes, name);
    EXPECT_TRUE(
        tree.lines.ends_with("0000001A    \"\" = unknown Own\xC3\x84 #2\n"
                             "00000034  unknown: only the class can read its objects: "
                             "{588E5A11-D09B-11D1-AA7C-00C04FA33A16}\n"))
        << tree.lines;
    EXPECT_EQ(tree.end, StreamEnd::unknown);
    EXPECT_NE(Print(bytes).lines.find("unknown {588E5A11-D09B-11D1-AA7C-00C04FA33A16} #2\n"), std::string::npos);
}

TEST(StreamTree, OfEveryPrefixEndsWhereItIsCut) {
    const std::string graph = Golden("graph.bin");
    const std::string whole = Print(graph).lines;
    for (std::size_t size = 1; size < graph.size(); ++size) {
        const std::string prefix = graph.substr(0, size);
        const auto tree = Print(prefix);
        EXPECT_EQ(tree.end, StreamEnd::broken) << size;
        EXPECT_LE(tree.offset, size);
        const auto wanted = tree.reason.find(", ") + 2;
        EXPECT_GT(tree.offset + std::stoul(tree.reason.substr(wanted)), size) << tree.reason;
        EXPECT_EQ(LastLine(tree.lines), OffsetText(tree.offset) + "  broken: " + tree.reason);
    }
}

TEST(StreamTree, FollowsObjectsAThousandDeepAndStaysInProportion) {
    const auto chain = [](std::uint32_t length, const std::string& between) {
        std::string bytes;
        for (std::uint32_t i = 1; i <= length; ++i)
            bytes += Reference(setClass, i) + "\1\0\1\0\0\0\0\0\0\0"s + between + "\x0D\0"s;
        return bytes + std::string(16, '\0');
    };
    const auto deepest = Print(chain(1000, {}));
    EXPECT_EQ(deepest.end, StreamEnd::whole);
    EXPECT_LT(deepest.lines.size(), 110'000u);
    EXPECT_NE(deepest.lines.find(std::string(42, ' ') + "(1000) \"\" = unknown null\n"), std::string::npos);
    EXPECT_EQ(Print(chain(1001, {})).reason, "the objects nest too deeply");
    EXPECT_EQ(Print(chain(1000, Array(12, 1))).end, StreamEnd::whole);
    EXPECT_EQ(Print(chain(4, Repeated(Array(12, 1), 500))).end, StreamEnd::whole);
    const auto deeper = Print(chain(6, Repeated(Array(12, 1), 500)));
    EXPECT_EQ(deeper.end, StreamEnd::broken);
    EXPECT_EQ(deeper.reason, "arrays nest too deeply");
}

}  // namespace mova::tool
