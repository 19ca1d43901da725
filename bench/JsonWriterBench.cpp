// The JSON writer beside RapidJSON's, both given the same tokens.
#include <map>

#include "bench/Components.h"
#include "bench/JsonBench.h"
#include "bench/JsonPeers.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Variant.h"

namespace bench {
namespace {

using Writer8 = rapidjson::Writer<Buffer8, Utf16, Utf8>;
using PrettyWriter8 = rapidjson::PrettyWriter<Buffer8, Utf16, Utf8>;
constexpr LONG indent = 2;

/// A call of a writer.
struct Call {
    enum class Kind { StartObject, EndObject, StartArray, EndArray, Text, Integer, Double, Boolean, Null };

    Kind kind;
    UINT nameLength;
    UINT textLength;
    BSTR name;  ///< null for an element
    union {
        BSTR text;
        std::int64_t integer;
        double number;
        bool flag;
    };
};

/// The calls that write a text, as a handler that makes them.
class Tape {
 public:
    using Ch = wchar_t;

    explicit Tape(const wchar_t* text) { Walk<exact>(text, *this); }

    const std::vector<Call>& Calls() const { return calls_; }

    bool Null() { return Add(Call::Kind::Null); }
    bool Bool(bool flag) {
        Add(Call::Kind::Boolean);
        calls_.back().flag = flag;
        return true;
    }
    bool Int(int value) { return Int64(value); }
    bool Uint(unsigned value) { return Int64(value); }
    bool Int64(std::int64_t value) {
        Add(Call::Kind::Integer);
        calls_.back().integer = value;
        return true;
    }
    bool Uint64(std::uint64_t value) { return Int64(static_cast<std::int64_t>(value)); }  // none is larger
    bool Double(double value) {
        Add(Call::Kind::Double);
        calls_.back().number = value;
        return true;
    }
    bool RawNumber(const wchar_t*, rapidjson::SizeType, bool) { return false; }
    bool String(const wchar_t* units, rapidjson::SizeType count, bool) {
        texts_.emplace_back(std::u16string_view(kv::Narrow16(units), count));
        Add(Call::Kind::Text);
        calls_.back().text = texts_.back().Get();
        calls_.back().textLength = count;
        return true;
    }
    bool Key(const wchar_t* units, rapidjson::SizeType count, bool) {
        const std::u16string_view name(kv::Narrow16(units), count);
        const auto known = names_.find(name);
        name_ = known != names_.end() ? &known->second
                                      : &names_.emplace(std::u16string(name), kv::BString(name)).first->second;
        return true;
    }
    bool StartObject() { return Add(Call::Kind::StartObject); }
    bool EndObject(rapidjson::SizeType) { return Add(Call::Kind::EndObject); }
    bool StartArray() { return Add(Call::Kind::StartArray); }
    bool EndArray(rapidjson::SizeType) { return Add(Call::Kind::EndArray); }

 private:
    bool Add(Call::Kind kind) {
        const kv::BString* const name = std::exchange(name_, nullptr);
        Call& call = calls_.emplace_back();
        call.kind = kind;
        call.name = name ? name->Get() : nullptr;
        call.nameLength = SysStringLen(call.name);
        return true;
    }

    std::vector<Call> calls_;
    std::vector<kv::BString> texts_;
    std::map<std::u16string, kv::BString, std::less<>> names_;
    const kv::BString* name_ = nullptr;  ///< of the next value
};

HRESULT Play(const Call& call, IJSONWriter4& writer) {
    const bool isMember = call.name != nullptr;
    switch (call.kind) {
        case Call::Kind::StartObject:
            return writer.StartObject(call.name);
        case Call::Kind::EndObject:
            return writer.EndObject();
        case Call::Kind::StartArray:
            return writer.StartArray(call.name);
        case Call::Kind::EndArray:
            return writer.EndArray();
        case Call::Kind::Text:
            return isMember ? writer.WriteString(call.name, call.text) : writer.WriteStringElement(call.text);
        case Call::Kind::Integer:
            return isMember ? writer.WriteInt64(call.name, call.integer) : writer.WriteInt64Element(call.integer);
        case Call::Kind::Double:
            return isMember ? writer.WriteDouble(call.name, call.number) : writer.WriteDoubleElement(call.number);
        case Call::Kind::Boolean: {
            const VARIANT_BOOL flag = call.flag ? VARIANT_TRUE : VARIANT_FALSE;
            return isMember ? writer.WriteBoolean(call.name, flag) : writer.WriteBooleanElement(flag);
        }
        case Call::Kind::Null:
            return isMember ? writer.WriteNull(call.name) : writer.WriteNullElement();
    }
    return E_UNEXPECTED;
}

template <class Writer>
bool PlayPeer(const Call& call, Writer& writer) {
    if (call.name && !writer.Key(call.name, call.nameLength)) return false;
    switch (call.kind) {
        case Call::Kind::StartObject:
            return writer.StartObject();
        case Call::Kind::EndObject:
            return writer.EndObject();
        case Call::Kind::StartArray:
            return writer.StartArray();
        case Call::Kind::EndArray:
            return writer.EndArray();
        case Call::Kind::Text:
            return writer.String(call.text, call.textLength);
        case Call::Kind::Integer:
            return writer.Int64(call.integer);
        case Call::Kind::Double:
            return writer.Double(call.number);
        case Call::Kind::Boolean:
            return writer.Bool(call.flag);
        case Call::Kind::Null:
            return writer.Null();
    }
    return false;
}

/// Writes all into memory. @param accepted receives how many calls were
kv::Ptr<IJSONWriter4> Write(const kv::Ptr<IClassFactory>& factory, const Tape& tape, bool formatted,
                            std::uint64_t& accepted) {
    auto writer = Make<IJSONWriter4>(factory);
    writer->WriteToMemory();
    if (formatted) {
        writer->SetFormatted(VARIANT_TRUE);
        writer->SetIndentLevel(indent);
    }
    accepted = 0;
    for (const Call& call : tape.Calls()) accepted += Play(call, *writer.Get()) == S_OK ? 1 : 0;
    return writer;
}

template <class Writer>
std::uint64_t WritePeer(const Tape& tape, Writer& writer) {
    std::uint64_t accepted = 0;
    for (const Call& call : tape.Calls()) accepted += PlayPeer(call, writer) ? 1 : 0;
    return accepted;
}

kv::Variant BytesOf(const kv::Ptr<IJSONWriter4>& writer) {
    kv::Variant bytes;
    Require(writer->GetMemoryBuffer(bytes.Put()) == S_OK, "A writer does not give its bytes.");
    return bytes;
}

class Ours {
 public:
    Ours(const JsonSubject& subject, const Tape& tape) : factory_(FactoryOf(__uuidof(::JSONWriter))), tape_(tape) {
        for (const bool formatted : {false, true}) {
            std::uint64_t accepted = 0;
            const kv::Variant bytes = BytesOf(Write(factory_, tape_, formatted, accepted));
            const auto view = kv::ArrayView::Of(bytes.Get());
            Require(view.has_value(), "A writer's bytes are no array.");
            const std::string text(static_cast<const char*>(view->Data()), view->Count());
            Require(Digest::Of(text.c_str()) == subject.digest, "What is written is not what was to be written.");
        }
    }

    Contestant Writing(bool formatted) const {
        return {"JSONWriter", [=, this] {
                    std::uint64_t accepted = 0;
                    Write(factory_, tape_, formatted, accepted);
                    return accepted;
                }};
    }
    Contestant WritingAndTaking() const {
        return {"JSONWriter", [this] {
                    std::uint64_t accepted = 0;
                    BytesOf(Write(factory_, tape_, false, accepted));
                    return accepted;
                }};
    }

 private:
    kv::Ptr<IClassFactory> factory_;
    const Tape& tape_;
};

}  // namespace

void CompareJsonWriting(const Session& session, const JsonSubject& subject) {
    const Tape tape(subject.wide.Get());
    const Ours ours(subject, tape);
    Buffer8 reused;
    const Run growing = [&] {
        Buffer8 buffer;
        Writer8 writer(buffer);
        return WritePeer(tape, writer);
    };
    session.Compare(subject.Job("write by token"), subject.KiB(),
                    {ours.Writing(false),
                     {"RapidJSON, growing buffer", growing, 2},
                     {"RapidJSON, buffer reused",
                      [&] {
                          reused.Clear();
                          Writer8 writer(reused);
                          return WritePeer(tape, writer);
                      },
                      1.1}});
    session.Compare(subject.Job("write by token, GetMemoryBuffer"), subject.KiB(),
                    {ours.WritingAndTaking(), {"RapidJSON, growing buffer", growing}});
    session.Compare(subject.Job("write by token, formatted"), subject.KiB(),
                    {ours.Writing(true),
                     {"RapidJSON, growing buffer",
                      [&] {
                          Buffer8 buffer;
                          PrettyWriter8 writer(buffer);
                          writer.SetIndent(' ', indent);
                          return WritePeer(tape, writer);
                      },
                      3}});
}

}  // namespace bench
