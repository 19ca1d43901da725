// Whatever is called in whatever order, what the emitter has written is JSON with the tokens that it took; what it
// refuses, and what is rolled back, leaves no trace.
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "json/Emitter.h"
#include "json/Scanner.h"
#include "json/Unescape.h"
#include "kvcore/Utf.h"

namespace {

using json::Refusal;
using json::Token;

/// A token that must come back.
struct Expected {
    Token token;
    std::u16string text;  // of a string
    double number = 0;
    bool isExact = true;  // whether the number must come back bit by bit
};

std::string BytesOf(const json::Emitter& out) {
    std::string bytes(out.Bytes().Size(), '?');
    out.Bytes().CopyTo(bytes.data());
    return bytes;
}

std::u16string TakeText(fuzz::Input& input) {
    std::u16string text;
    std::size_t repeated = 1;
    std::size_t length = input.Byte();
    if (length > 250) repeated = 40, length -= 240;
    for (std::size_t i = 0; i < length && !input.IsEmpty(); ++i) {
        const std::uint8_t low = input.Byte();
        text += low < 0xC0 ? low : static_cast<char16_t>(low << 8 | input.Byte());
    }
    std::u16string whole;
    for (std::size_t i = 0; i < repeated; ++i) whole += text;
    return whole;
}

double TakeDouble(fuzz::Input& input) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 4; ++i) bits = bits << 16 | input.Word();
    if (input.Byte() % 2 == 0) return static_cast<double>(static_cast<std::int64_t>(bits)) / 1e7;
    return std::bit_cast<double>(bits);
}

Expected TakeNumber(json::Emitter& out, fuzz::Input& input) {
    const double value = TakeDouble(input);
    const std::uint8_t kind = input.Byte() % 4;
    if (kind == 0) {
        const auto integer = std::bit_cast<std::int64_t>(value);
        out.Integer(integer);
        return {.token = Token::Number, .text = {}, .number = static_cast<double>(integer)};
    }
    if (kind == 1) {
        const auto single = static_cast<float>(value);
        out.Number(single);
        if (std::isnan(single)) return {.token = Token::String, .text = u"NaN"};
        const bool isFinite = std::isfinite(single);
        return {.token = Token::Number, .text = {}, .number = static_cast<double>(single), .isExact = !isFinite};
    }
    kind == 2 ? out.Number(value) : out.Number(value, input.Byte() % 20u);
    if (std::isnan(value)) return {.token = Token::String, .text = u"NaN"};
    return {.token = Token::Number, .text = {}, .number = value, .isExact = kind == 2 || std::isinf(value)};
}

Expected TakeValue(json::Emitter& out, fuzz::Input& input) {
    switch (input.Byte() % 8) {
        case 0:
            out.Null();
            return {.token = Token::Null, .text = {}};
        case 1:
            out.Boolean(false);
            return {.token = Token::Boolean, .text = {}};
        case 2: {
            const std::u16string text = TakeText(input);
            out.Text(text);
            return {.token = Token::String, .text = text};
        }
        case 3:
            out.StartObject();
            return {.token = Token::StartOfObject, .text = {}};
        case 4:
            out.StartArray();
            return {.token = Token::StartOfArray, .text = {}};
        default:
            return TakeNumber(out, input);
    }
}

/// The emitter and the tokens that it has taken.
class Document {
 public:
    explicit Document(fuzz::Input& input) : input_(input) {
        Open(input.Byte() % 2 != 0);
        while (!input_.IsEmpty()) Step();
        while (!isArray_.empty()) Close(isArray_.back());
        fuzz::Require(out_.Place() == json::Place::Document, "all is closed");
    }

    void Check() const {
        const std::string bytes = BytesOf(out_);
        std::u16string text(out_.Bytes().Utf16Length(), u'?');
        out_.Bytes().CopyTo(text.data());
        fuzz::Require(text == kv::Utf16(bytes), "the same text either way");
        json::Scanner scanner;
        scanner.Borrow(text);
        for (const Expected& expected : tokens_) CheckToken(scanner, expected);
        fuzz::Require(scanner.Next() == json::Outcome::End, "nothing behind");
    }

 private:
    static void CheckToken(json::Scanner& scanner, const Expected& expected) {
        fuzz::Require(scanner.Next() == json::Outcome::Token, "a token");
        fuzz::Require(scanner.token() == expected.token, "the token that was written");
        if (expected.token == Token::String) {
            std::u16string read(scanner.Between().size(), u'?');
            read.resize(json::Unescape(scanner.Between(), read.data()));
            fuzz::Require(read == expected.text, "the text that was written");
        } else if (expected.token == Token::Number && expected.isExact) {
            constexpr double greatest = std::numeric_limits<double>::max();
            const double number =
                std::isinf(expected.number) ? std::copysign(greatest, expected.number) : expected.number;
            fuzz::Require(std::bit_cast<std::uint64_t>(scanner.Double()) == std::bit_cast<std::uint64_t>(number),
                          "the number that was written");
        }
    }

    void Open(bool isArray) {
        isArray ? out_.StartArray() : out_.StartObject();
        tokens_.push_back({.token = isArray ? Token::StartOfArray : Token::StartOfObject, .text = {}});
        isArray_.push_back(isArray);
    }

    void Close(bool isArray) {
        const bool fits = !isArray_.empty() && isArray_.back() == isArray;
        const std::size_t size = out_.Bytes().Size();
        const Refusal refusal = isArray ? out_.EndArray() : out_.EndObject();
        fuzz::Require((refusal == Refusal::None) == fits, "only the innermost is closed");
        if (!fits) {
            fuzz::Require(out_.Bytes().Size() == size, "a refusal writes nothing");
            return;
        }
        tokens_.push_back({.token = isArray ? Token::EndOfArray : Token::EndOfObject, .text = {}});
        isArray_.pop_back();
    }

    void Put() {
        const bool asMember = input_.Byte() % 4 != 0 ? !isArray_.empty() && !isArray_.back() : input_.Byte() % 2 != 0;
        const std::u16string name = asMember ? TakeText(input_) : std::u16string();
        const bool fits = !isArray_.empty() && isArray_.back() != asMember && !(asMember && name.empty());
        const std::size_t size = out_.Bytes().Size();
        const Refusal refusal = asMember ? out_.BeginMember(name) : out_.BeginElement();
        fuzz::Require((refusal == Refusal::None) == fits, "a value stands where it may");
        if (!fits) {
            fuzz::Require(out_.Bytes().Size() == size, "a refusal writes nothing");
            return;
        }
        if (asMember) tokens_.push_back({.token = Token::String, .text = name});
        tokens_.push_back(TakeValue(out_, input_));
        const Token token = tokens_.back().token;
        if (token == Token::StartOfArray || token == Token::StartOfObject)
            isArray_.push_back(token == Token::StartOfArray);
    }

    void Undo() {
        auto before = out_.Save();
        const std::string bytes = BytesOf(out_);
        const auto tokens = tokens_;
        const auto open = isArray_;
        for (int i = input_.Byte() % 8; i > 0; --i) input_.Byte() % 3 == 0 ? Close(input_.Byte() % 2 != 0) : Put();
        out_.Restore(std::move(before));
        fuzz::Require(BytesOf(out_) == bytes, "the bytes are back");
        tokens_ = tokens;
        isArray_ = open;
    }

    void Step() {
        if (isArray_.empty()) {  // a document is one value: the rest is not looked at
            while (!input_.IsEmpty()) input_.Byte();
            return;
        }
        switch (const std::uint8_t step = input_.Byte(); step % 16) {
            case 0:
                return Close(step >= 128);
            case 1:
                return Close(isArray_.back());
            case 2:
                out_.SetFormatted(step >= 128);
                return out_.SetIndent(input_.Byte());
            case 3:
                return Undo();
            default:
                return Put();
        }
    }

    fuzz::Input& input_;
    json::Emitter out_;
    std::vector<Expected> tokens_;
    std::vector<bool> isArray_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Document(input).Check();
    return 0;
}
