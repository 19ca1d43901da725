// The JSON engine beside simdjson, which reads UTF-8 that lies in memory and keeps its memory from text to text.
#include <simdjson.h>

#include "bench/EngineBench.h"
#include "bench/JsonData.h"
#include "json/MemorySource.h"
#include "json/ScannerSource.h"
#include "kvcore/Utf.h"

namespace bench {
namespace {

using json::Outcome;
using json::Scanner;
using json::Token;

std::uint32_t HashName(std::u16string_view name) noexcept {
    std::uint32_t hash = 2166136261U;
    for (const char16_t c : name) hash = (hash ^ c) * 16777619U;
    return hash;
}

/// A scanner that stands on the first token of UTF-8 in chunks.
class ChunkScanner {
 public:
    explicit ChunkScanner(std::string_view utf8) : bytes_(utf8) {
        chunks_.Open(bytes_, utf8.size());
        Require(scanner_.OpenSource(chunks_).fault == json::Fault::None && scanner_.Next() == Outcome::Token,
                "A text in chunks is not opened.");
    }
    Scanner& Get() noexcept { return scanner_; }

 private:
    json::MemorySource bytes_;
    json::ChunkedText chunks_;
    Scanner scanner_;
};

/// Loads the document that a scanner stands on the start of. @return the number of its outermost entries
std::uint64_t LoadAndFree(Scanner& scanner) {
    const auto arena = kv::ArenaPtr::Attach(kv::Arena::Make());
    json::TreeBuilder builder(*arena.Get(), &HashName, false, 0);
    json::ScannerSource source(scanner);
    const bool isObject = scanner.token() == Token::StartOfObject;
    Require(json::LoadTree(source, builder, isObject, 0) == json::Loaded::All, "A text is not loaded.");
    return builder.Finish()->count;
}

std::uint64_t CountTokens(Scanner& scanner) {
    std::uint64_t count = 0;
    Outcome outcome = Outcome::Token;
    for (; outcome == Outcome::Token; outcome = scanner.Next()) ++count;
    Require(outcome == Outcome::End, "A text is not read to its end.");
    return count;
}

/// As many tokens as a text of the value has.
std::uint64_t CountTokens(const simdjson::dom::element& value) {
    std::uint64_t count = 1;
    if (value.is_object()) {
        ++count;
        for (const auto& member : value.get_object()) count += 1 + CountTokens(member.value);
    } else if (value.is_array()) {
        ++count;
        for (const auto& element : value.get_array()) count += CountTokens(element);
    }
    return count;
}

std::uint64_t CountEntries(const simdjson::dom::element& value) {
    return value.is_object() ? value.get_object().size() : value.get_array().size();
}

void CompareJson(const Session& session, const JsonText& text) {
    constexpr double goal = 0.5;
    const std::u16string wide = kv::Utf16(text.utf8);
    const simdjson::padded_string padded(text.utf8);
    simdjson::dom::parser parser;
    const Run parse = [&] { return CountEntries(parser.parse(padded)); };
    const std::uint64_t tokens = CountTokens(parser.parse(padded));
    const std::string name = "json engine " + text.name;
    const double size = static_cast<double>(text.utf8.size()) / 1024;
    session.Compare(name + ", load (ns a KiB)", size,
                    {{"LoadTree utf16",
                      [&] {
                          Scanner scanner;
                          scanner.Borrow(wide);
                          Require(scanner.Next() == Outcome::Token, "A text is not opened.");
                          return LoadAndFree(scanner);
                      }},
                     {"simdjson dom, parser reused", parse, goal}});
    session.Compare(name + ", load from UTF-8 in chunks (ns a KiB)", size,
                    {{"LoadTree utf8", [&] { return LoadAndFree(ChunkScanner(text.utf8).Get()); }},
                     {"simdjson dom, parser reused", parse}});
    session.Compare(name + ", tokens of UTF-8 in chunks (ns a KiB)", size,
                    {{"Scanner utf8", [&] { return CountTokens(ChunkScanner(text.utf8).Get()); }},
                     {"simdjson dom, parser reused", [&] { return parse() == 0 ? 0 : tokens; }, goal}});
}

}  // namespace

void RunEngineJson(const Session& session) {
    constexpr std::size_t megabyte = 1'000'000;
    CompareJson(session, MakeFeatures(10 * megabyte));
    CompareJson(session, MakeRecords(5 * megabyte));
    CompareJson(session, MakeCoordinates(5 * megabyte));
}

}  // namespace bench
