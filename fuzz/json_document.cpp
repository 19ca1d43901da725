// A document loads the same in one piece and in chunks, in either encoding; what was loaded is written and loads again
// with the same values; and a container that it is changed in is what a plain list of names and values would be.
#include <memory>
#include <utility>
#include <vector>

#include "fuzz/Documents.h"
#include "fuzz/Input.h"
#include "json/Container.h"
#include "json/Emitter.h"
#include "kvcore/Utf.h"

namespace {

using fuzz::Compared;
using fuzz::Document;
using fuzz::Require;
using fuzz::Shown;
using json::Fault;
using json::Kind;
using json::Loaded;
using json::Scanner;
using json::Value;

/// Few hashes, so that names meet in every chain.
std::uint32_t CrowdedHash(std::u16string_view name) noexcept {
    return fuzz::SpreadHash(name) & 3;
}

struct Options {
    bool replaces = false;
    bool isFormatted = false;
    std::int32_t depth = 0;
    json::NameHash hash = &fuzz::SpreadHash;
};

/// How loading ended, and where. The excerpt in a message differs with how much of the text is in memory.
struct Ending {
    Loaded loaded;
    bool lacksName;
    Fault fault;
    json::State state;
    std::uint64_t offset, line, column;

    bool operator==(const Ending&) const = default;
};

Ending EndingOf(const Scanner& scanner, const Document& document) {
    const json::Position at = scanner.TokenPosition();
    const bool hasFailed = document.loaded == Loaded::SourceFailed;
    const Fault fault = hasFailed && !document.lacksName ? scanner.failure().fault : Fault::None;
    if (fault != Fault::None) {
        const std::u16string message = scanner.Message(TextOf(fault));
        const std::u16string head =
            std::u16string(TextOf(fault)) + u"; state : " + std::u16string(NameOf(scanner.state())) + u"; buffer : ";
        Require(message.starts_with(head) && message.size() <= head.size() + 50, "a message says what and where");
    }
    return {document.loaded, document.lacksName, fault, scanner.state(), at.offset, at.line, at.column};
}

/// Whether a text was refused because it ended too early; that is seen a token later where the end comes by itself.
bool IsCutShort(const Ending& ending) {
    return ending.fault == Fault::EndOfFile || ending.fault == Fault::EndInString ||
           (ending.loaded == Loaded::WrongToken && ending.state != json::State::Empty);
}

Document LoadChunks(Scanner& scanner, json::ChunkedText& chunks, json::MemorySource& bytes, std::size_t chunk,
                    const Options& options, bool& isOpen) {
    chunks.Open(bytes, chunk);
    isOpen = scanner.OpenSource(chunks).fault == Fault::None;
    return isOpen ? fuzz::LoadDocument(scanner, options.hash, options.replaces, options.depth) : Document();
}

std::string AsBytes(std::u16string_view text, bool lowFirst) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += lowFirst ? low : high;
        bytes += lowFirst ? high : low;
    }
    return bytes;
}

/// Loads bytes in chunks and holds that against how their text loaded in one piece, where they are known to be of that
/// encoding.
void CheckChunks(std::string_view bytes, json::Encoding encoding, std::size_t chunk, const Options& options,
                 const Document& whole, const Ending& expected) {
    const auto detected = json::DetectEncoding(std::as_bytes(std::span(bytes)));
    if (!detected || detected->encoding != encoding) return;
    json::MemorySource source(bytes);
    json::ChunkedText chunks;
    Scanner scanner;
    bool isOpen = false;
    const Document pieces = LoadChunks(scanner, chunks, source, std::max(chunk, detected->mark + 4), options, isOpen);
    Require(isOpen, "the first chunk is read");
    const Ending ending = EndingOf(scanner, pieces);
    if (IsCutShort(expected)) {
        Require(pieces.loaded != Loaded::All, "it is refused, too");
        return;
    }
    Require(ending == expected, "chunks end as the whole does");
    Require(Shown(pieces, Compared::Everything) == Shown(whole, Compared::Everything), "and hold the same");
}

/// With the high byte first a text is not known, and not taken for another one.
void CheckHighByteFirst(std::u16string_view text, std::size_t chunk, const Options& options) {
    for (const std::u16string& marked : {std::u16string(text), u'\uFEFF' + std::u16string(text)}) {
        const std::string bytes = AsBytes(marked, false);
        json::MemorySource source(bytes);
        json::ChunkedText chunks;
        Scanner scanner;
        bool isOpen = false;
        const Document document = LoadChunks(scanner, chunks, source, chunk, options, isOpen);
        Require(!document.entries, "the high byte first is no text");
    }
}

void WriteEntries(json::Emitter& out, const json::Entries& entries, bool isObject);

void WriteValue(json::Emitter& out, const Value& value) {
    switch (value.tag.kind) {
        case Kind::Boolean:
            return out.Boolean(value.payload.flag);
        case Kind::Int32:
        case Kind::Int64:
            return out.Integer(value.payload.integer);
        case Kind::Double:
            if (value.tag.detail < 0) return out.Number(value.payload.number);
            return out.Number(value.payload.number, static_cast<std::uint32_t>(value.tag.detail));
        case Kind::NoText:
            return out.Text({});
        case Kind::AsciiText:
            return out.AsciiText(value.payload.text->Ascii());
        case Kind::WideText:
            return out.Text(value.payload.text->Wide());
        case Kind::Object:
        case Kind::Array:
            return WriteEntries(out, *value.payload.entries, value.tag.kind == Kind::Object);
        default:
            return out.Null();
    }
}

void WriteEntries(json::Emitter& out, const json::Entries& entries, bool isObject) {
    isObject ? out.StartObject() : out.StartArray();
    for (std::uint32_t i = 0; i < entries.count; ++i) {
        const auto refusal = isObject ? out.BeginMember(entries.NameAt(i)) : out.BeginElement();
        Require(refusal == json::Refusal::None, "what was loaded can be written");
        WriteValue(out, entries.At(i, isObject));
    }
    Require((isObject ? out.EndObject() : out.EndArray()) == json::Refusal::None, "and closed");
}

std::string Written(const Document& document, bool isFormatted) {
    json::Emitter out;
    out.SetFormatted(isFormatted);
    WriteEntries(out, *document.entries, document.isObject);
    std::string bytes(out.Bytes().Size(), '?');
    out.Bytes().CopyTo(bytes.data());
    return bytes;
}

void CheckWriting(const Document& document, const Options& options) {
    const std::string bytes = Written(document, options.isFormatted);
    Scanner scanner;
    scanner.OpenText(kv::Utf16(bytes));
    const Document again = fuzz::LoadDocument(scanner, options.hash, false, 0);
    Require(again.loaded == Loaded::All, "what was written loads");
    Require(Shown(again, Compared::Meaning) == Shown(document, Compared::Meaning), "with the same values");
    Require(Written(again, options.isFormatted) == bytes, "and is written the same");
}

/// A document's outermost container under edits, and what it must then be.
class Edited {
 public:
    Edited(Document document, json::NameHash hash)
        : isObject_(document.isObject), hash_(hash), container_(document.isObject, &Dispose) {
        for (std::uint32_t i = 0; i < document.entries->count; ++i) {
            model_.emplace_back(isObject_ ? std::u16string(document.entries->NameAt(i)) : std::u16string(), "");
            PutShown(model_.back().second, document.entries->At(i, isObject_));
        }
        json::Entries* const entries = document.entries;
        container_.Adopt(std::move(document.arena), entries);
    }

    void Run(fuzz::Input& input) {
        while (!input.IsEmpty()) {
            Step(input);
            Require(container_.Count() == model_.size(), "as many values as there should be");
        }
        for (std::uint32_t i = 0; i < container_.Count(); ++i) {
            std::string shown;
            PutShown(shown, container_.At(i));
            Require(shown == model_[i].second, "each value at its place");
            if (isObject_) Require(container_.NameAt(i) == model_[i].first, "and its name");
        }
    }

 private:
    static void Dispose(const Value& value) noexcept { delete static_cast<int*>(value.payload.held); }

    static void PutShown(std::string& out, const Value& value) {
        if (value.tag.kind == Kind::Held) {
            out += 'h';
            out += std::to_string(*static_cast<const int*>(value.payload.held));
        } else {
            fuzz::PutValue(out, value, Compared::Meaning);
        }
    }

    static Value NewValue(std::uint8_t choice) {
        switch (choice % 4) {
            case 0:
                return Value::Of(std::int64_t{choice}, Kind::Int32);
            case 1:
                return json::MakeText(std::u16string(choice / 8, u'x'));
            case 2:
                return json::MakeText(std::u16string(choice / 8, u'\u20AC'));
            default:
                return Value::Of(static_cast<void*>(new int(choice)), Kind::Held);
        }
    }

    static std::u16string NewName(std::uint8_t choice) {
        if (choice % 2 == 0) return {static_cast<char16_t>(u'a' + choice / 2 % 32)};
        return {u'N', static_cast<char16_t>(u'A' + choice / 2 % 4), static_cast<char16_t>(choice < 128 ? 0 : 0xC4)};
    }

    std::uint32_t Expected(auto matches) const {
        for (std::size_t i = 0; i < model_.size(); ++i)
            if (matches(model_[i].first)) return static_cast<std::uint32_t>(i);
        return json::Container::none;
    }

    void Find(const std::u16string& name) const {
        const auto isEqual = [&](std::u16string_view other) { return other == name; };
        const auto isSame = [&](std::u16string_view other) { return mova::SameName(other, name, &fuzz::UpcaseOf); };
        Require(container_.Find(name, hash_(name)) == Expected(isEqual), "a name is found where it first is");
        Require(container_.FindSame(hash_(name), isSame) == Expected(isSame), "in either case, too");
    }

    void Step(fuzz::Input& input) {
        const std::uint8_t action = input.Byte();
        const std::uint8_t choice = input.Byte();
        const auto place = model_.empty() ? 0u : static_cast<std::uint32_t>(choice % model_.size());
        switch (action % 8) {
            case 0:
            case 1:
            case 2: {
                const Value value = NewValue(action);
                model_.emplace_back(isObject_ ? NewName(choice) : std::u16string(), "");
                PutShown(model_.back().second, value);
                if (isObject_) return container_.Append(model_.back().first, hash_(model_.back().first), value);
                return container_.Append(value);
            }
            case 3:
                if (model_.empty()) return;
                container_.Remove(place);
                model_.erase(model_.begin() + static_cast<std::ptrdiff_t>(place));
                return;
            case 4: {
                if (model_.empty()) return;
                const Value value = NewValue(action / 8);
                model_[place].second.clear();
                PutShown(model_[place].second, value);
                return container_.Replace(place, value);
            }
            case 5:
                if (action < 0xF0) return;
                model_.clear();
                return container_.Clear();
            default:
                if (isObject_) Find(action < 64 && !model_.empty() ? model_[place].first : NewName(choice));
        }
    }

    const bool isObject_;
    const json::NameHash hash_;
    json::Container container_;
    std::vector<std::pair<std::u16string, std::string>> model_;
};

/// How many objects and arrays are in one another.
int LevelsOf(const json::Entries& entries, bool isObject) {
    int deepest = 0;
    for (std::uint32_t i = 0; i < entries.count; ++i) {
        const Value value = entries.At(i, isObject);
        if (value.tag.kind == Kind::Object || value.tag.kind == Kind::Array)
            deepest = std::max(deepest, LevelsOf(*value.payload.entries, value.tag.kind == Kind::Object));
    }
    return deepest + 1;
}

void CheckDepth(std::u16string_view text, const Options& options, const Document& document) {
    if (document.loaded == Loaded::All) {
        const int levels = document.entries ? LevelsOf(*document.entries, document.isObject) : 0;
        Require(levels + options.depth <= json::maxDepth + 1, "no deeper than it may be");
    } else if (document.loaded == Loaded::TooDeep && options.depth > 0) {
        Scanner scanner;
        scanner.OpenText(text);
        const Document outermost = fuzz::LoadDocument(scanner, options.hash, options.replaces, 0);
        if (outermost.loaded != Loaded::All) return;
        const int levels = LevelsOf(*outermost.entries, outermost.isObject);
        Require(levels + options.depth > json::maxDepth + 1, "what is refused is too deep");
    }
}

}  // namespace

// Four bytes choose options, the length of chunks, the depth and how many bytes of edits come before the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 4) return 0;
    Options options;
    options.replaces = (data[0] & 1) != 0;
    options.isFormatted = (data[0] & 2) != 0;
    options.hash = (data[0] & 4) != 0 ? &CrowdedHash : &fuzz::SpreadHash;
    const bool isWide = (data[0] & 8) != 0;
    options.depth = (data[2] & 0x80) != 0 ? json::maxDepth - (data[2] & 0x7F) : 0;
    const std::size_t chunk = data[1];
    const std::size_t edits = std::min<std::size_t>(data[3], size - 4);
    fuzz::Input input(data + 4, edits);
    const auto bytes = fuzz::Text(data + 4 + edits, size - 4 - edits);

    std::u16string text;
    if (isWide) {
        text.resize(bytes.size() / 2);
        if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * 2);
    } else {
        text = kv::Utf16(bytes);
    }
    text.erase(0, text.find_first_not_of(u'\uFEFF'));  // any of which would be a mark
    if (text.empty()) return 0;

    Scanner scanner;
    scanner.OpenText(text);
    Document whole = fuzz::LoadDocument(scanner, options.hash, options.replaces, options.depth);
    const Ending ending = EndingOf(scanner, whole);
    CheckDepth(text, options, whole);
    if (text.find(u'\0') == std::u16string::npos) {  // one outside of strings ends no more than a chunk
        if (std::u16string_view(kv::Utf16(kv::Utf8(text))) == text)
            CheckChunks(kv::Utf8(text), json::Encoding::Utf8, chunk, options, whole, ending);
        CheckChunks(AsBytes(text, true), json::Encoding::Utf16, chunk, options, whole, ending);
        CheckChunks("\xFF\xFE" + AsBytes(text, true), json::Encoding::Utf16, chunk, options, whole, ending);
    }
    if (!whole.entries) return 0;
    CheckHighByteFirst(text, chunk, options);
    if (whole.loaded == Loaded::All) CheckWriting(whole, options);
    Edited(std::move(whole), options.hash).Run(input);
    return 0;
}
