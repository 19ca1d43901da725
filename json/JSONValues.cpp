#include "json/JSONValues.h"

#include <movaJSONReader.h>
#include <movaJSONWriter.h>

#include <algorithm>

#include "containers/SystemNames.h"
#include "json/Emitter.h"
#include "json/HoldsScanner.h"
#include "json/JSONArray.h"
#include "json/JSONObject.h"
#include "json/JSONReader.h"
#include "json/JSONWriter.h"
#include "json/Options.h"
#include "json/ReaderSource.h"
#include "json/ScannerSource.h"
#include "json/TreeWriter.h"
#include "server/Refusal.h"

namespace mova {
namespace {

using json::Kind;
using json::Value;

constexpr std::int8_t caseSensitiveFlag = 1;
constexpr std::int8_t replaceExistingFlag = 2;
constexpr char16_t byteOrderMark = 0xFEFF;

template <class Class>
kv::Ptr<IUnknown> NewComponent(JSONValues*& values) {
    auto* const made = new Class(nullptr);
    values = &made->Values();
    return kv::Ptr<IUnknown>::Attach(made->Own());
}

/// A new JSON object or array with those flags.
kv::Ptr<IUnknown> Make(bool isObject, std::int8_t flags, JSONValues*& values) {
    auto made = isObject ? NewComponent<JSONObject>(values) : NewComponent<JSONArray>(values);
    values->caseSensitive = (flags & caseSensitiveFlag) != 0;
    values->replaceExisting = (flags & replaceExistingFlag) != 0;
    return made;
}

kv::Ptr<IJSONReader4> NewReader() {
    return kv::Ptr<IJSONReader4>::Attach(new JSONReader(nullptr));
}

/// What ToJSONString is told.
struct TextOptions {
    bool formatted = false;
    LONG indent = -1;
    LONG maximumDecimals = -1;
};

TextOptions ReadOptions(IPropertySet* options) {
    TextOptions read;
    read.formatted = FlagOption(options, u"WriteFormatted");
    read.indent = NaturalOption(options, u"IndentLevel");
    const LONG decimals = NaturalOption(options, u"MaxDecimals");
    if (decimals >= 0) read.maximumDecimals = static_cast<std::uint16_t>(decimals);
    return read;
}

/// The decimals to write a number with: its own, but no more than the maximum; -1 for as many as it needs.
LONG DecimalsFor(const Value& value, LONG maximum) noexcept {
    const LONG own = value.tag.detail < 0 ? -1 : value.tag.detail;
    return own < 0 || maximum < 0 ? std::max(own, maximum) : std::min(own, maximum);
}

/// Writes into memory without a component; objects of others it cannot.
class EmitterSink {
 public:
    EmitterSink(json::Emitter& emitter, LONG maximumDecimals) noexcept
        : emitter_(emitter), maximumDecimals_(maximumDecimals) {}

    HRESULT Start(const std::u16string_view* name, bool isObject) {
        if (HRESULT status = Begin(name); FAILED(status)) return status;
        isObject ? emitter_.StartObject() : emitter_.StartArray();
        return S_OK;
    }
    HRESULT End(bool isObject) noexcept {
        const json::Refusal refusal = isObject ? emitter_.EndObject() : emitter_.EndArray();
        return refusal == json::Refusal::None ? S_OK : E_UNEXPECTED;
    }
    HRESULT Put(const std::u16string_view* name, const Value& value) {
        if (value.tag.kind == Kind::Other) return PutForeign(name, {});
        if (HRESULT status = Begin(name); FAILED(status)) return status;
        switch (value.tag.kind) {
            case Kind::Boolean:
                emitter_.Boolean(value.payload.flag);
                break;
            case Kind::Int32:
            case Kind::Int64:
                emitter_.Integer(value.payload.integer);
                break;
            case Kind::UInt64:
                emitter_.Unsigned(value.payload.natural);
                break;
            case Kind::Float:
                emitter_.Number(value.payload.shortNumber);
                break;
            case Kind::Double:
                PutNumber(value.payload.number, DecimalsFor(value, maximumDecimals_));
                break;
            case Kind::Date:
                PutNumber(kv::ToJsTime(value.payload.number), -1);
                break;
            case Kind::NoText:
                emitter_.Text({});
                break;
            case Kind::AsciiText:
                emitter_.AsciiText(value.payload.text->Ascii());
                break;
            case Kind::WideText:
                emitter_.Text(value.payload.text->Wide());
                break;
            default:
                emitter_.Null();
                break;
        }
        return S_OK;
    }
    HRESULT PutForeign(const std::u16string_view*, const kv::Ptr<IUnknown>&) noexcept {
        metForeign_ = true;
        return E_NOTIMPL;
    }

    bool MetForeign() const noexcept { return metForeign_; }

 private:
    HRESULT Begin(const std::u16string_view* name) {
        if (!name && emitter_.Place() == json::Place::Document) return S_OK;
        const json::Refusal refusal = name ? emitter_.BeginMember(*name) : emitter_.BeginElement();
        return refusal == json::Refusal::None ? S_OK : E_INVALIDARG;
    }
    void PutNumber(double number, LONG decimals) {
        if (decimals < 0) {
            emitter_.Number(number);
        } else {
            emitter_.Number(number, static_cast<std::uint32_t>(decimals));
        }
    }

    json::Emitter& emitter_;
    const LONG maximumDecimals_;
    bool metForeign_ = false;
};

/// Writes through any writer, by its operations.
class WriterSink {
 public:
    /// @param rootName of the outermost container; null for none
    WriterSink(IJSONWriter4& writer, BSTR rootName) noexcept : writer_(writer), rootName_(rootName) {
        const auto options = kv::Ptr<IJSONWriter4>(&writer).As<ICPPJSONWriterOptions>();
        VARIANT_BOOL active = VARIANT_FALSE;
        SHORT decimals = 0;
        if (options && SUCCEEDED(options->get_MaximumDecimalsActive(&active)) && active &&
            SUCCEEDED(options->get_MaximumDecimals(&decimals)))
            maximumDecimals_ = decimals;
    }

    HRESULT Start(const std::u16string_view* name, bool isObject) {
        const kv::BString held = name ? kv::BString(*name) : kv::BString();
        const bool isRoot = !std::exchange(hasRoot_, true);
        return isObject ? writer_.StartObject(isRoot ? rootName_ : held.Get())
                        : writer_.StartArray(isRoot ? rootName_ : held.Get());
    }
    HRESULT End(bool isObject) noexcept { return isObject ? writer_.EndObject() : writer_.EndArray(); }
    HRESULT Put(const std::u16string_view* name, const Value& value) {
        kv::Variant copy;
        if (HRESULT status = CopyValue(value, copy.Put()); FAILED(status)) return status;
        const kv::BString held = name ? kv::BString(*name) : kv::BString();
        if (value.tag.kind != Kind::Double)
            return name ? writer_.WriteVariant(held.Get(), copy.Get()) : writer_.WriteVariantElement(copy.Get());
        const LONG decimals = DecimalsFor(value, maximumDecimals_);
        const double number = value.payload.number;
        if (decimals < 0) return name ? writer_.WriteDouble(held.Get(), number) : writer_.WriteDoubleElement(number);
        return name ? writer_.WriteDoubleWithDecimals(held.Get(), number, decimals)
                    : writer_.WriteDoubleElementWithDecimals(number, decimals);
    }
    HRESULT PutForeign(const std::u16string_view* name, const kv::Ptr<IUnknown>& object) {
        const kv::BString held = name ? kv::BString(*name) : kv::BString();
        const VARIANT value = kv::ObjectValue(object.Get());
        return name ? writer_.WriteVariant(held.Get(), value) : writer_.WriteVariantElement(value);
    }

 private:
    IJSONWriter4& writer_;
    BSTR rootName_;
    LONG maximumDecimals_ = -1;
    bool hasRoot_ = false;
};

}  // namespace

std::int8_t JSONValues::Flags() const noexcept {
    return static_cast<std::int8_t>((caseSensitive ? caseSensitiveFlag : 0) |
                                    (replaceExisting ? replaceExistingFlag : 0));
}

kv::Ptr<IUnknown> JSONValues::MakeChild(bool childIsObject) const {
    JSONValues* values = nullptr;
    return Make(childIsObject, Flags(), values);
}

kv::Ptr<IUnknown> JSONValues::ObjectAt(std::uint32_t i) {
    const Value value = held.At(i);
    if (value.tag.kind == Kind::Held) return kv::Ptr<IUnknown>(static_cast<IUnknown*>(value.payload.held));
    if (TypeOf(value) == VT_DISPATCH)
        return kv::Ptr<IUnknown>(static_cast<const kv::Variant*>(value.payload.held)->Get().pdispVal);
    if (!IsContainer(value.tag.kind)) return {};
    JSONValues* values = nullptr;
    auto made = Make(value.tag.kind == Kind::Object, value.tag.detail, values);
    values->held.Adopt(held.SharedArena(), const_cast<json::Entries*>(value.payload.entries));
    held.Replace(i, NewValue::OfObject(made.Get()));
    return made;
}

HRESULT JSONValues::CopyOut(std::uint32_t i, VARIANT* target) {
    VariantInit(target);
    const Value value = held.At(i);
    if (!IsContainer(value.tag.kind) && value.tag.kind != Kind::Held) return CopyValue(value, target);
    kv::Ptr<IUnknown> object = ObjectAt(i);
    if (value.tag.kind == Kind::Held) {
        if (const auto stream = object.As<IStream>()) {
            if (HRESULT status = ReadStream(stream, object); FAILED(status)) return status;
        }
    }
    *target = kv::ObjectValue(object.Detach());
    return S_OK;
}

HRESULT JSONValues::CopyOut(std::uint32_t i, kv::Ptr<IJSONObject>& target) {
    kv::Ptr<IUnknown> object = ObjectAt(i);
    if (const auto stream = object.As<IStream>()) {
        if (HRESULT status = ReadStream(stream, object); FAILED(status)) return status;
    }
    target = object.As<IJSONObject>();
    return S_OK;
}

HRESULT JSONValues::ReadStream(const kv::Ptr<IStream>& stream, kv::Ptr<IUnknown>& object) const {
    if (HRESULT status = stream->Seek({}, STREAM_SEEK_SET, nullptr); FAILED(status)) return Refuse(status);
    const auto reader = NewReader();
    if (HRESULT status = reader->ReadFromStream(stream.Get()); FAILED(status)) return status;
    JSONValues* values = nullptr;
    auto made = Make(true, Flags(), values);
    if (HRESULT status = values->Load(reader.Get(), 0); FAILED(status)) return status;
    object = std::move(made);
    return S_OK;
}

template <class Source, class Failure>
HRESULT JSONValues::LoadFrom(Source& source, LONG depth, Failure failure) {
    if (source.Current() == json::Token::None) {
        bool isEmpty = false;
        if (!source.Start(isEmpty)) return failure();
        if (isEmpty) return S_OK;
    }
    auto arena = kv::ArenaPtr::Attach(kv::Arena::Make());
    json::TreeBuilder builder(*arena.Get(), &HashName, replaceExisting, Flags());
    const json::Loaded loaded = json::LoadTree(source, builder, isObject, depth);
    if (json::Entries* const entries = builder.Finish()) held.Adopt(std::move(arena), entries);
    switch (loaded) {
        case json::Loaded::All:
            return S_OK;
        case json::Loaded::SourceFailed:
            return failure();
        case json::Loaded::WrongToken:
            return Refuse(E_UNEXPECTED);
        default:
            return Refuse(E_FAIL);
    }
}

HRESULT JSONValues::Load(IJSONReader* reader, LONG depth) {
    if (depth > json::maxDepth) return Refuse(E_FAIL);
    held.Clear();
    const auto newest = kv::Ptr<IJSONReader>(reader).As<IJSONReader4>();
    if (!newest) return Refuse(E_NOINTERFACE);
    if (const auto holder = newest.As<IHoldsScanner>()) {
        json::ScannerSource source(holder->TheScanner());
        return LoadFrom(source, depth, [&] {
            if (!source.LacksName()) return holder->ReportFailure();
            kv::BString name;
            return newest->ReadPropertyName(name.Put());  // it says what is wrong with the name
        });
    }
    ReaderSource source(*newest.Get());
    return LoadFrom(source, depth, [&] { return source.Status(); });
}

HRESULT JSONValues::LoadText(BSTR text) {
    std::u16string_view view = kv::View(text);
    if (view.empty()) return S_OK;
    if (view.front() == byteOrderMark) view.remove_prefix(1);
    const auto reader = NewReader();
    const auto holder = reader.As<IHoldsScanner>();
    holder->TheScanner().Borrow(view);
    if (HRESULT status = holder->Step(); FAILED(status)) return status;
    return Load(reader.Get(), 0);
}

HRESULT JSONValues::WriteText(IPropertySet* options, IUnknown* keeper, BSTR* text) {
    const TextOptions read = ReadOptions(options);
    json::Emitter emitter;
    emitter.SetFormatted(read.formatted);
    if (read.indent >= 0) emitter.SetIndent(static_cast<std::uint32_t>(read.indent));
    if (read.maximumDecimals >= 0) emitter.SetMaximumDecimals(static_cast<std::uint32_t>(read.maximumDecimals));
    EmitterSink sink(emitter, read.maximumDecimals);
    const HRESULT status = TreeWriter(sink).Write(nullptr, *this, keeper);
    if (sink.MetForeign())
        return WriteTextThroughWriter(read.formatted, read.indent, read.maximumDecimals, keeper, text);
    if (FAILED(status)) return Refuse(status);
    *text = TextOf(emitter.Bytes()).Detach();
    return S_OK;
}

HRESULT JSONValues::WriteTextThroughWriter(bool formatted, LONG indent, LONG maximumDecimals, IUnknown* keeper,
                                           BSTR* text) {
    const auto writer = kv::Ptr<IJSONWriter4>::Attach(JSONWriter::Make());
    if (HRESULT status = writer->WriteToMemory(); FAILED(status)) return status;
    writer->SetFormatted(formatted ? VARIANT_TRUE : VARIANT_FALSE);
    if (indent >= 0) writer->SetIndentLevel(indent);
    if (maximumDecimals >= 0)
        writer.As<ICPPJSONWriterOptions>()->put_MaximumDecimals(static_cast<SHORT>(maximumDecimals));
    if (HRESULT status = Write(nullptr, writer.Get(), keeper); FAILED(status)) return status;
    return writer->GetText(text);
}

HRESULT JSONValues::Write(BSTR name, IJSONWriter* writer, IUnknown* keeper) {
    const auto newest = kv::Ptr<IJSONWriter>(writer).As<IJSONWriter4>();
    if (!newest) return Refuse(E_NOINTERFACE);
    WriterSink sink(*newest.Get(), name);
    return TreeWriter(sink).Write(nullptr, *this, keeper);
}

}  // namespace mova
