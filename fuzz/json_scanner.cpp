// Bytes in chunks are the tokens that they are in one piece; places, skips and values hold together.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Documents.h"
#include "fuzz/Input.h"
#include "json/Unescape.h"
#include "kvcore/Utf.h"
#include "kvcore/Utf8.h"

namespace {

using json::Outcome;
using json::Scanner;
using json::State;
using json::Token;

struct Step {
    Outcome outcome;
    json::Fault fault;
    State state;
    Token token;
    std::u16string text;
    std::uint64_t offset;
    std::uint64_t line;

    bool operator==(const Step&) const = default;
};

Step StepOf(const Scanner& scanner, Outcome outcome) {
    const json::Position at = scanner.TokenPosition();
    const bool isToken = outcome == Outcome::Token;
    return {outcome,         isToken ? json::Fault::None : scanner.failure().fault, scanner.state(),
            scanner.token(), std::u16string(isToken ? scanner.Text() : u""),        at.offset,
            at.line};
}

void CheckToken(const Scanner& scanner) {
    const auto text = scanner.Text();
    switch (scanner.token()) {
        case Token::String: {
            fuzz::Require(text.size() >= 2 && text.front() == text.back(), "a string stands in its quotes");
            const auto between = scanner.Between();
            fuzz::Require((between.find(u'\\') != std::u16string_view::npos) == scanner.HasEscapes(),
                          "whether there are escapes");
            const std::unique_ptr<char16_t[]> out(new char16_t[between.size()]);
            const std::size_t length = json::Unescape(between, out.get());
            fuzz::Require(length <= between.size(), "unescaped it is not longer");
            fuzz::Require(scanner.HasEscapes() || std::u16string_view(out.get(), length) == between,
                          "plain text stays");
            break;
        }
        case Token::Number:
        case Token::Boolean:
        case Token::Null:
            scanner.Double();
            scanner.Int64();
            scanner.UInt64();
            break;
        case Token::None:
            break;
        default:
            fuzz::Require(text.size() == 1, "a bracket or brace");
    }
}

std::vector<Step> Walk(Scanner& scanner) {
    std::vector<Step> steps;
    Outcome outcome;
    do {
        outcome = scanner.Next();
        if (outcome == Outcome::Token) CheckToken(scanner);
        steps.push_back(StepOf(scanner, outcome));
        if (outcome == Outcome::Failed) scanner.Message(TextOf(scanner.failure().fault));
    } while (outcome == Outcome::Token);
    return steps;
}

/// The walk as it is laid down, by recursion; only for texts that are not deep.
bool SkipPlainly(Scanner& scanner, State end) {
    if (scanner.state() == (end == State::EndOfArray ? State::StartOfArray : State::StartOfObject) &&
        scanner.Next() == Outcome::Failed)
        return false;
    while (scanner.state() != end) {
        const State state = scanner.state();
        const bool opens = state == State::StartOfObject || state == State::StartOfArray;
        if (opens ? !SkipPlainly(scanner, state == State::StartOfArray ? State::EndOfArray : State::EndOfObject)
                  : scanner.Next() == Outcome::Failed)
            return false;
    }
    return scanner.Next() != Outcome::Failed;
}

void CheckSkip(std::u16string_view text) {
    Scanner plain;
    Scanner scanner;
    plain.OpenText(text);
    scanner.OpenText(text);
    if (plain.Next() != Outcome::Token || scanner.Next() != Outcome::Token) return;
    const State end = scanner.token() == Token::StartOfArray ? State::EndOfArray : State::EndOfObject;
    if (!SkipPlainly(plain, end)) return;  // a scalar may be wrong that skipping does not look into
    fuzz::Require(scanner.Skip(end, true) != Outcome::Failed, "what can be read can be skipped");
    fuzz::Require(StepOf(scanner, Outcome::Token) == StepOf(plain, Outcome::Token), "and ends in the same place");
}

}  // namespace

// The first byte says how long chunks are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const auto bytes = fuzz::Text(data + 1, size - 1);

    const std::unique_ptr<char16_t[]> units(new char16_t[bytes.size() + 1]);  // exactly: the sanitizer sees more
    const auto narrow = kv::DecodeUtf8(std::as_bytes(std::span(bytes)), units.get());
    if (narrow) fuzz::Require(kv::Utf16(bytes) == std::u16string_view(units.get(), *narrow), "both decoders agree");
    fuzz::Require(narrow.has_value() == (kv::Utf8(kv::Utf16(bytes)) == bytes), "valid is what comes back");

    const auto detected = json::DetectEncoding(std::as_bytes(std::span(bytes)));
    if (!detected) return 0;
    const auto body = bytes.substr(detected->mark);
    std::u16string text;
    if (detected->encoding == json::Encoding::Utf8) {
        if (!narrow) return 0;
        text = kv::Utf16(body);
    } else {
        text.resize(body.size() / 2);
        if (!text.empty()) std::memcpy(text.data(), body.data(), text.size() * 2);
    }
    if (text.empty()) return 0;

    Scanner whole;
    const std::unique_ptr<char16_t[]> exact(new char16_t[text.size() + 1]);
    std::copy(text.begin(), text.end(), exact.get());
    exact[text.size()] = u'\0';
    whole.Borrow({exact.get(), text.size()});
    const auto steps = Walk(whole);
    CheckSkip(text);

    // What ends a text only where that is known at once, and a NUL, which ends what is in memory, may differ.
    const std::size_t least = detected->mark + 4;
    json::MemorySource source(bytes);
    json::ChunkedText chunks;
    chunks.Open(source, std::max<std::uint64_t>(data[0], least));
    Scanner pieces;
    if (pieces.OpenSource(chunks).fault != json::Fault::None) return 0;
    const auto chunked = Walk(pieces);
    const auto ended =
        std::find_if(steps.begin(), steps.end(), [](const Step& step) { return step.token == Token::None; });
    const auto compared = static_cast<std::size_t>(ended - steps.begin());
    fuzz::Require(chunked.size() >= std::min(compared, steps.size() - 1), "no token is lost");
    for (std::size_t i = 0; i < std::min({compared, chunked.size(), steps.size() - 1}); ++i)
        fuzz::Require(chunked[i] == steps[i], "each token is the same");
    const Step& last = steps.back();
    if (compared == steps.size() && chunked.size() == steps.size() && last.fault != json::Fault::EndOfFile)
        fuzz::Require(chunked.back() == last, "and so is the failure");
    return 0;
}
