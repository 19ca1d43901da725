#include "json/Scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "json/MemorySource.h"
#include "json/ScannerSource.h"
#include "kvcore/NumberText.h"
#include "kvcore/Utf.h"

namespace json {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

/// What a scanner is at, as a line of a trace.
std::string TraceOf(const Scanner& scanner) {
    std::string text = kv::Utf8(scanner.Text());
    switch (scanner.token()) {
        case Token::String:
            return (scanner.state() == State::InPropertyName ? "name " : "string ") + text;
        case Token::Number:
            return "number " + text;
        case Token::Boolean:
            return scanner.Double() == 1.0 ? "true" : "false";
        case Token::Null:
            return "null";
        case Token::None:
            return "none";
        default:
            return text;
    }
}

std::string FailureOf(const Scanner& scanner) {
    return kv::Utf8(scanner.Message(TextOf(scanner.failure().fault)));
}

/// All tokens, and what they ended in.
std::vector<std::string> Trace(Scanner& scanner) {
    std::vector<std::string> trace;
    for (;;) {
        const Outcome outcome = scanner.Next();
        if (outcome == Outcome::Token) {
            trace.push_back(TraceOf(scanner));
            continue;
        }
        trace.push_back(outcome == Outcome::End ? "end" : FailureOf(scanner));
        return trace;
    }
}

std::string Joined(const std::vector<std::string>& trace) {
    std::string joined;
    for (const auto& line : trace) joined += joined.empty() ? line : " | " + line;
    return joined;
}

/// A text in memory of exactly its size, its NUL included, so that the sanitizer sees a read beyond it.
class ExactText {
 public:
    explicit ExactText(std::u16string_view text) : units_(new char16_t[text.size() + 1]), size_(text.size()) {
        std::copy(text.begin(), text.end(), units_.get());
        units_[size_] = u'\0';
    }
    std::u16string_view View() const { return {units_.get(), size_}; }

 private:
    std::unique_ptr<char16_t[]> units_;
    std::size_t size_;
};

std::string TraceOf(std::u16string_view text) {
    const ExactText exact(text);
    Scanner scanner;
    scanner.Borrow(exact.View());
    return Joined(Trace(scanner));
}

TEST(Scanner, ReadsTokensAndSaysWhatIsWrong) {
    const struct {
        std::u16string_view text;
        std::string_view trace;
    } rows[] = {
        {u"{}", "{ | } | end"},
        {u" \t\r\n\v\f\u00A0\u2003[\u3000]\u205F", "[ | ] | end"},
        {u"", "end"},
        {u"  ", "end"},
        {u"{\"a\":1,'b':[true,FALSE,null,Null,nan,NaN,-0.5e-3]}",
         "{ | name \"a\" | number 1 | name 'b' | [ | true | false | null | null | number nan | number NaN | number "
         "-0.5e-3 | ] | } | end"},
        {u"[[],{},[{}],\"\\\"\",\"\\\\\",'it\\'s','\"',\"'\"]",
         "[ | [ | ] | { | } | [ | { | } | ] | string \"\\\"\" | string \"\\\\\" | string 'it\\'s' | string '\"' | "
         "string "
         "\"'\" | ] | end"},
        {u"{\"a\" : \"b\" , \"c\" : [ 1 , 2 ] }",
         R"({ | name "a" | string "b" | name "c" | [ | number 1 | number 2 | ] | } | end)"},
        {u"[{}}", "[ | { | } | } | end"},  // a brace may close an array whose last element was a container
        {u"[", "[ | end"},
        {u"[1 ", "[ | number 1 | end"},
        {u"{\"a\" ", "{ | name \"a\" | end"},
        {u"[1]\0x"sv, "[ | number 1 | ] | none | end"},
        {u"[1,\0"sv, "[ | number 1 | none | end"},
        {u"[\"a\0b\"]"sv, "[ | string \"a\0b\" | ] | end"sv},

        {u"1", "Expected to find comma, colon or start of array; state : Empty; buffer : 1"},
        {u"\uFEFF[", "Expected to find comma, colon or start of array; state : Empty; buffer : \uFEFF["},
        {u"{a:1}", "{ | Expected to find comma, colon or start of array; state : startOfObject; buffer : {a:1"},
        {u"[1,]", "[ | number 1 | Unexpected ']'; state : inArrayValueDelimiter; buffer : ,"},
        {u"{\"a\":1,}", "{ | name \"a\" | number 1 | Unexpected '}'; state : inPropertyValueDelimiter; buffer : ,"},
        {u"[1}", "[ | number 1 | Unexpected '}'; state : inArrayValue; buffer : 1"},
        {u"{\"a\":{}]", "{ | name \"a\" | { | } | Unexpected ']'; state : startOfObject; buffer : }"},
        {u"{\"a\":1]", "{ | name \"a\" | number 1 | Unexpected ']'; state : inPropertyValue; buffer : 1"},
        {u"{]", "{ | Unexpected ']'; state : startOfObject; buffer : {"},
        {u"]", "Unexpected ']'; state : Empty; buffer : ]"},
        {u"[}", "[ | Unexpected '}'; state : startOfArray; buffer : ["},
        {u"{}}", "{ | } | Unexpected '}'; state : Empty; buffer : }"},
        {u"{},{", "{ | } | Unexpected ','; state : Empty; buffer : },"},
        {u"[[],,", "[ | [ | ] | Unexpected ','; state : inArrayValueDelimiter; buffer : ,"},
        {u"[,1]", "[ | Unexpected ','; state : startOfArray; buffer : [,1"},
        {u"{\"a\",", R"({ | name "a" | Unexpected ','; state : inPropertyName; buffer : ")"},
        {u"[:", "[ | Unexpected ':'; state : startOfArray; buffer : ["},
        {u"{\"a\"::", "{ | name \"a\" | Unexpected ':'; state : inPropertyNameDelimiter; buffer : :"},
        {u"{}{", "{ | } | Unexpected '{'; state : endOfObject; buffer : }"},
        {u"{{", "{ | Unexpected '{'; state : startOfObject; buffer : {"},
        {u"{}[", "{ | } | Unexpected '['; state : endOfObject; buffer : }"},
        {u"\"a\"", "Unexpected single or double quote; state : Empty; buffer : \"a\""},
        {u"{\"a\" 'b'", R"({ | name "a" | Unexpected single or double quote; state : inPropertyName; buffer : " ')"},
        {u"{\"a\":1 2",
         "{ | name \"a\" | number 1 | Expected to find comma, colon or start of array; state : "
         "inPropertyValue; buffer : 1"},

        {u"[1,", "[ | number 1 | Unexpected end of file; state : inArrayValueDelimiter; buffer : "},
        {u"{\"a\": ", "{ | name \"a\" | Unexpected end of file; state : inPropertyNameDelimiter; buffer : "},
        {u"[1", "[ | Unexpected end of file; state : inArrayValue; buffer : ["},
        {u"{\"a\"", "{ | Unexpected end of file; state : inPropertyName; buffer : {\"a"},
        {u"[\"a",
         "[ | Unexpected end of file while looking for closing single or double quote; state : inArrayValue; "
         "buffer : [\""},
        {u"['a\"",
         "[ | Unexpected end of file while looking for closing single or double quote; state : inArrayValue; "
         "buffer : ['a"},
        {u"[\"a\\\"",
         "[ | Unexpected end of file while looking for closing single or double quote; state : "
         "inArrayValue; buffer : [\"a\\"},
        {u"[\"a\\",
         "[ | Unexpected end of file while looking for closing single or double quote; state : "
         "inArrayValue; buffer : [\"a"},

        {u"[tru]", "[ | Unrecognized token type; state : inArrayValue; buffer : [tru"},
        {u"[-a]", "[ | Unrecognized token type; state : inArrayValue; buffer : [-a"},
        {u"[-]", "[ | Unrecognized token type; state : inArrayValue; buffer : [-"},
        {u"[+1]", "[ | Unrecognized token type; state : inArrayValue; buffer : [+1"},
        {u"[.5]", "[ | Unrecognized token type; state : inArrayValue; buffer : [.5"},
        {u"[truex]", "[ | Unrecognized token type; state : inArrayValue; buffer : [truex"},
        {u"[Infinity]", "[ | Unrecognized token type; state : inArrayValue; buffer : [Infinity"},
        {u"[\u00E4]", "[ | Unrecognized token type; state : inArrayValue; buffer : [\u00E4"},
        {u"[1\0]"sv, "[ | invalid double value; state : inArrayValue; buffer : [1\0"sv},
        {u"[012]", "[ | invalid double value; state : inArrayValue; buffer : [012"},
        {u"[-01]", "[ | invalid double value; state : inArrayValue; buffer : [-01"},
        {u"[1.]", "[ | invalid double value; state : inArrayValue; buffer : [1."},
        {u"[0x10]", "[ | invalid double value; state : inArrayValue; buffer : [0x10"},
        {u"[1.2.3]", "[ | invalid double value; state : inArrayValue; buffer : [1.2.3"},
        {u"[1e]", "[ | invalid double value; state : inArrayValue; buffer : [1e"},
        {u"[1-2]", "[ | invalid double value; state : inArrayValue; buffer : [1-2"},
        {u"[1e999]", "[ | invalid double value; state : inArrayValue; buffer : [1e999"},
        {u"[1:2]", "[ | invalid double value; state : inArrayValue; buffer : [1:2"},

        // at most fifty characters, from the last one in front of the token that is no white space
        {u"[1, \n  x, 23456789 123456789 123456789 123456789 123456789 ]",
         "[ | number 1 | Unrecognized token type; state : inArrayValue; buffer : , \n  x, 23456789 123456789 "
         "123456789 123456789 123"},
    };
    for (const auto& row : rows) EXPECT_EQ(TraceOf(row.text), row.trace) << kv::Utf8(row.text);
}

/// Texts whose tokens are at every distance from the end, so that each is found the fast and the slow way.
TEST(Scanner, ReadsTheSameNearTheEndAndFarFromIt) {
    // clang-format off
    const std::u16string_view texts[] = {
        u"[1,-2.5,true,null,\"a\\\\b\",'c',{\"d\":[]},[{}],\"long enough to be more than sixteen\"]",
        u"[123456789012345678901,0.12345678901234567,-1.2345678901234567e+300,nan]",
        u"{\"a\":{\"b\":{\"c\":[1,2,3]}},\"d\":\"\\u0041\\\"\",\"e\":1e5,\"f\":-0}", u"[1,01]", u"[[],x]",
        u"[\"abc\" 1]", u"{\"a\":1 \"b\"}", u"[1 2]", u"[{}}", u"[1}", u"{\"a\":[}", u"[-]",
        u"[12345678901234567890123456789012345678901234567890,2]", u"[0.]", u"[00]", u"[1.5.5]", u"[1,,2]",
    };
    // clang-format on
    for (const auto text : texts) {
        const std::string near = TraceOf(text);
        const std::string far = TraceOf(std::u16string(text) + std::u16string(80, u' '));
        const auto cut = [](const std::string& trace) { return trace.substr(0, trace.find("buffer : ")); };
        EXPECT_EQ(cut(near), cut(far)) << kv::Utf8(text);
        EXPECT_EQ(cut(near), cut(TraceOf(std::u16string(text) + u"           "))) << kv::Utf8(text);
    }
}

/// Loads an array that a text holds. @return its values
std::vector<Value> ArrayIn(const std::u16string& text, kv::ArenaPtr& arena) {
    Scanner scanner;
    scanner.OpenText(text);
    arena = kv::ArenaPtr::Attach(kv::Arena::Make());
    TreeBuilder builder(
        *arena.Get(), [](std::u16string_view) noexcept { return 0u; }, false, 0);
    ScannerSource source(scanner);
    EXPECT_EQ(scanner.Next(), Outcome::Token);
    EXPECT_EQ(LoadTree(source, builder, false, 0), Loaded::All) << kv::Utf8(text);
    const Entries& entries = *builder.Finish();
    std::vector<Value> values;
    for (std::size_t i = 0; i < entries.count; ++i) values.push_back(entries.At(i, false));
    return values;
}

TEST(Scanner, ReadsNumbersOfEveryLength) {
    const std::u16string digits = u"9182736450918273645091827";
    const std::u16string far(40, u' ');
    for (std::size_t length = 1; length <= digits.size(); ++length)
        for (std::size_t whole = 1; whole <= length; ++whole)
            for (const auto* sign : {u"", u"-"}) {
                std::u16string number = sign + digits.substr(0, whole);
                if (whole < length) number += u'.' + digits.substr(whole, length - whole);
                // Alone near both ends, first, in a row, behind something else, and last.
                for (const auto& text : {u'[' + number + u']', far + u'[' + number + u',' + number + u']' + far,
                                         u"[null," + number + u',' + number + u"\t," + number + u']' + far}) {
                    kv::ArenaPtr arena;
                    for (const Value& value : ArrayIn(text, arena)) {
                        if (value.tag.kind == Kind::Empty) continue;
                        EXPECT_EQ(value.tag.kind == Kind::Double, whole < length) << kv::Utf8(text);
                        if (whole < length) {
                            EXPECT_EQ(value.payload.number, *kv::ReadDouble(number)) << kv::Utf8(text);
                            EXPECT_EQ(value.tag.detail, static_cast<int>(length - whole) + 1) << kv::Utf8(text);
                        } else {
                            EXPECT_EQ(value.payload.integer, kv::ReadInt64(number)) << kv::Utf8(text);
                            EXPECT_EQ(value.tag.kind == Kind::Int32, length <= 9) << kv::Utf8(text);
                        }
                    }
                }
            }
    kv::ArenaPtr arena;
    const auto values = ArrayIn(u"[-0.0,0.30000000000000004,1e3,1.0]" + far, arena);
    EXPECT_TRUE(std::signbit(values[0].payload.number));
    EXPECT_EQ(values[1].payload.number, 0.30000000000000004);
    EXPECT_EQ(values[2].payload.number, 1000);
    EXPECT_EQ(values[3].tag.detail, 2);
}

TEST(Scanner, KnowsNoNumberAfterAFailure) {
    for (const auto* text : {u"[12345678, ]", u"[1, ]", u"[1.25 x]", u"[1,2"}) {
        Scanner scanner;
        scanner.OpenText(std::u16string(20, u' ') + text + std::u16string(40, u' '));
        while (scanner.Next() == Outcome::Token) {
        }
        const Value value = NumberAt(scanner).value;
        const double number =
            value.tag.kind == Kind::Double ? value.payload.number : static_cast<double>(value.payload.integer);
        EXPECT_TRUE(number == scanner.Double() || number == static_cast<double>(scanner.Int64()))
            << kv::Utf8(text) << ": " << number;
    }
}

/// A walk as it is laid down: by recursion, one token after the other.
class PlainSkip {
 public:
    explicit PlainSkip(Scanner& scanner) : scanner_(scanner) {}
    bool Skip(State end) {
        if (scanner_.state() == (end == State::EndOfArray ? State::StartOfArray : State::StartOfObject) && !Next())
            return false;
        while (scanner_.state() != end) {
            const State state = scanner_.state();
            const bool opens = state == State::StartOfObject || state == State::StartOfArray;
            if (!(opens ? Skip(state == State::StartOfArray ? State::EndOfArray : State::EndOfObject) : Next()))
                return false;
        }
        return Next();
    }

 private:
    bool Next() { return scanner_.Next() != Outcome::Failed; }
    Scanner& scanner_;
};

TEST(Scanner, SkipsAsReadingDoes) {
    // clang-format off
    const std::u16string_view texts[] = {
        u"{\"a\":[1,{\"b\":[]},\"]\"],\"c\":{}} ", u"[[[1],[2,[3]]],4] ", u"[[{}}, 5]", u"[[{}},[1]]", u"[1,[2}",
        u"[[1,2]", u"[{\"a\":}]", u"{\"a\":[{},{\"b\":1}],\"x\":[\"\\\"]\"]}  ", u"[[]]]", u"[{},{}}", u"[",
        u"[[],x]",
    };
    // clang-format on
    for (const auto text : texts) {
        for (const std::size_t room : {std::size_t{0}, std::size_t{100}}) {
            const std::u16string padded = std::u16string(text) + std::u16string(room, u' ');
            Scanner plain;
            Scanner scanner;
            plain.OpenText(padded);
            scanner.OpenText(padded);
            plain.Next();
            scanner.Next();
            const State end = text[0] == u'[' ? State::EndOfArray : State::EndOfObject;
            const bool skipped = PlainSkip(plain).Skip(end);
            EXPECT_EQ(scanner.Skip(end, true) != Outcome::Failed, skipped) << kv::Utf8(text);
            EXPECT_EQ(scanner.state(), plain.state()) << kv::Utf8(text);
            EXPECT_EQ(scanner.TokenPosition().offset, plain.TokenPosition().offset) << kv::Utf8(text);
        }
    }
    Scanner scanner;
    scanner.OpenText(u"[1,tru,01,x, {\"a\":?}] ");  // not looked into
    scanner.Next();
    scanner.Next();
    EXPECT_EQ(scanner.Skip(State::EndOfArray, false), Outcome::Token);
    EXPECT_EQ(scanner.state(), State::EndOfArray);
    scanner.OpenText(u"[x]");  // but for the first one
    scanner.Next();
    EXPECT_EQ(scanner.Skip(State::EndOfArray, false), Outcome::Failed);
}

TEST(Scanner, KnowsWhereItIs) {
    Scanner scanner;
    scanner.OpenText(u"{\"a\":1,\r\n \"b\":\n\r[\r2, x]}");
    std::vector<std::string> places;
    const auto place = [](const Position& at) {
        return std::to_string(at.offset) + ":" + std::to_string(at.line) + ":" + std::to_string(at.column);
    };
    while (scanner.Next() == Outcome::Token) places.push_back(place(scanner.TokenPosition()));
    EXPECT_EQ(Joined(places), "0:1:1 | 1:1:2 | 5:1:6 | 10:2:2 | 16:4:1 | 18:5:1");
    EXPECT_EQ(place(scanner.FailurePosition()), "21:5:4");
    scanner.OpenText(u"[\n1,\n2]");
    scanner.Next();
    const auto mark = scanner.Mark();
    scanner.Next();
    scanner.Next();
    EXPECT_EQ(place(scanner.TokenPosition()), "5:3:1");
    EXPECT_TRUE(scanner.GoTo(mark));
    EXPECT_EQ(place(scanner.TokenPosition()), "0:1:1");
    EXPECT_EQ(place(scanner.FailurePosition()), "0:0:0");
    scanner.OpenText(u"");
    EXPECT_FALSE(scanner.GoTo(mark));
}

std::string BytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

/// @param size what the source says that it has, by which the length of the chunks goes.
std::string TraceOfBytes(std::string_view bytes, std::uint64_t size, std::int32_t failure = 0) {
    MemorySource source(bytes, failure);
    ChunkedText chunks;
    chunks.Open(source, size);
    Scanner scanner;
    const Failure opened = scanner.OpenSource(chunks);
    if (opened.fault != Fault::None) return kv::Utf8(scanner.Message(TextOf(opened.fault)));
    return Joined(Trace(scanner));
}

TEST(ChunkedText, ReadsTheSameWhateverTheChunks) {
    // clang-format off
    const std::u16string_view texts[] = {
        u"{\"name\":\"Stra\u00DFe \u6771\u4EAC \U0001F30D\",\"escaped\":\"\\\"\\\\\",\"n\":[1.25, -3 , true,null]}\n",
        u"[ [ ] , { } , 'x\\'y' , \"0123456789012345678901234567890123456789\" , 12345678901234567890123 ] ",
        u"[[{}}", u"{\"a\" : 1 , } ", u"[1 2]", u"[tru]", u"[1,01]", u"[\"a\\\\\" ] \n x", u"[1, ", u"[\"abc\\",
    };
    // clang-format on
    for (const auto text : texts) {
        const auto cut = [](const std::string& trace) { return trace.substr(0, trace.find("buffer : ")); };
        const std::string whole = cut(TraceOf(text));
        for (const std::string& mark : {""s, "mark"s}) {
            const std::string narrow = (mark.empty() ? "" : "\xEF\xBB\xBF") + kv::Utf8(text);
            const std::string wide = (mark.empty() ? "" : "\xFF\xFE") + BytesOf(text);
            for (std::uint64_t size = mark.empty() ? 0 : 2; size < 90; ++size)
                EXPECT_EQ(cut(TraceOfBytes(narrow, size)), whole) << kv::Utf8(text) << " by " << size + 1;
            for (std::uint64_t size = 1; size < 90; ++size)
                EXPECT_EQ(cut(TraceOfBytes(wide, size)), whole) << kv::Utf8(text) << " in UTF-16 by " << size + 1;
        }
    }
}

TEST(ChunkedText, DetectsTheEncoding) {
    const struct {
        std::string_view bytes;
        std::string_view trace;
    } rows[] = {
        {"\xEF\xBB\xBF{}"sv, "{ | } | end"},
        {"\xFF\xFE{\0}\0"sv, "{ | } | end"},
        {"{\0}\0"sv, "{ | } | end"},
        {"[\0]\0"sv, "[ | ] | end"},
        {"{}", "{ | } | end"},
        {" []", "[ | ] | end"},
        {" \0[\0]\0"sv, "[ | ] | end"},
        {"\n []", "[ | ] | end"},             // both are white space, though U+200A were, too
        {"\x03\x20[\0]\0"sv, "[ | ] | end"},  // U+2003
        {"[", "[ | end"},
        {" ", "end"},
        {"[\0]\0\n"sv, "[ | ] | end"},
        {"", "Expected { or [; state : Empty; buffer : "},
        {"x", "Could not determine encoding; state : Empty; buffer : "},
        {"\xFE\xFF\0["sv, "Could not determine encoding; state : Empty; buffer : "},
        {"\xEF\xBB\xBF", "Input buffer is empty or contains invalid UTF8 characters.; state : Empty; buffer : "},
        {"\xFF\xFE", "; state : Empty; buffer : "},
        {"[\"\xC3\"]", "Input buffer is empty or contains invalid UTF8 characters.; state : Empty; buffer : "},
        {"[\"\xED\xA0\x80\"]", "Input buffer is empty or contains invalid UTF8 characters.; state : Empty; buffer : "},
        {"[\"\xC0\x80\"]", "Input buffer is empty or contains invalid UTF8 characters.; state : Empty; buffer : "},
    };
    for (const auto& row : rows) EXPECT_EQ(TraceOfBytes(row.bytes, row.bytes.size()), row.trace);
}

TEST(ChunkedText, PassesFailuresOn) {
    EXPECT_EQ(TraceOfBytes("[1, 2", 4, -5), "[ | number 1 | ReadChunk failed; state : inArrayValue; buffer : 2");
    EXPECT_EQ(TraceOfBytes("[1, ", 3, -5), "[ | number 1 | ReadChunk failed; state : inArrayValueDelimiter; buffer : ");
    EXPECT_EQ(TraceOfBytes("[\"ab", 3, -5), "[ | ReadChunk failed; state : inArrayValue; buffer : \"ab");
    EXPECT_EQ(TraceOfBytes("[1]\xC3", 2), "[ | number 1 | ] | ReadChunk failed; state : endOfArray; buffer : ");
    MemorySource source("[12", -5);
    ChunkedText chunks;
    chunks.Open(source, 2);
    Scanner scanner;
    EXPECT_EQ(scanner.OpenSource(chunks).fault, Fault::None);
    EXPECT_EQ(scanner.Next(), Outcome::Token);
    EXPECT_EQ(scanner.Next(), Outcome::Failed);
    EXPECT_EQ(scanner.failure().cause, Fault::SourceFailed);
    EXPECT_EQ(scanner.failure().code, -5);
}

}  // namespace
}  // namespace json
