#include "json/JSONWriter.h"

#include <algorithm>
#include <array>
#include <limits>

#include "json/ValueForms.h"
#include "kvcore/JsTime.h"
#include "kvcore/NumberText.h"
#include "kvcore/NumberValue.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Stream.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr auto noOutput = u"The writer has no output.";
constexpr auto valueBegun = u"The writer is in the middle of a value.";
constexpr auto misplacedMember = u"A member can only be written inside an object.";
constexpr auto misplacedElement = u"An element can only be written inside an array.";
constexpr auto namelessMember = u"A member must have a name.";
constexpr auto needlessName = u"Only inside an object can there be a name.";
constexpr auto noObject = u"The innermost of what is open is no object.";
constexpr auto noArray = u"The innermost of what is open is no array.";
constexpr auto noJsonValue = u"A value of this type cannot be written as JSON.";
constexpr auto noTextValue = u"A value of this type has no text.";
constexpr auto tooDeep = u"The value has too many levels.";
constexpr auto halfAnObject = u"The object did not end what it began.";

/// The text of a value between quotation marks.
class QuotedText {
 public:
    char* Begin() noexcept { return text_.data() + 1; }
    std::string_view Finish(char* end) noexcept {
        text_.front() = *end = '"';
        return {text_.data(), end + 1};
    }

 private:
    std::array<char, kv::numberTextSize + 2> text_;
};

char* FormatWord(char* out, std::string_view word) noexcept {
    return std::copy(word.begin(), word.end(), out);
}

/// Writes a value that is neither an array nor an object. @return whether JSON has it
bool PutScalar(json::Emitter& out, const VARIANT& value) {
    if (const auto number = kv::IntegerOf(value)) {
        out.Integer(*number);
        return true;
    }
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
            out.Null();
            return true;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            if (value.punkVal) return false;
            out.Null();
            return true;
        case VT_BSTR:
            out.Text(kv::View(value.bstrVal));
            return true;
        case VT_BOOL:
            out.Boolean(value.boolVal != VARIANT_FALSE);
            return true;
        case VT_UI8:
            out.Unsigned(value.ullVal);
            return true;
        case VT_R4:
            out.Number(value.fltVal);
            return true;
        case VT_R8:
            out.Number(value.dblVal);
            return true;
        case VT_DATE:
            out.Number(kv::ToJsTime(value.date));
            return true;
        case VT_CY:
            out.Formatted(value.cyVal.int64, kv::FormatCurrency);
            return true;
        case VT_DECIMAL:
            if (value.decVal.scale > kv::greatestScale) return false;
            out.Formatted(value.decVal,
                          [](char* text, const DECIMAL& number) { return kv::FormatDecimal(text, number); });
            return true;
        default:
            return false;
    }
}

/// The text of a value as XML Schema has it. @return its end; null where the value has none
char* FormatValueText(char* out, const VARIANT& value) noexcept {
    switch (value.vt) {
        case VT_BOOL:
            return FormatWord(out, value.boolVal ? "true" : "false");
        case VT_DATE:
            return xml::FormatDate(out, value.date);
        default:
            return kv::FormatNumber(out, value);
    }
}

}  // namespace

kv::BString TextOf(const json::ByteChain& bytes) {
    auto text = kv::BString::OfLength(bytes.Utf16Length());
    bytes.CopyTo(text.Units());
    return text;
}

/// Undoes what was begun of a token, unless it is kept.
class JSONWriter::Attempt {
 public:
    explicit Attempt(json::Emitter& emitter) noexcept : emitter_(emitter), before_(emitter.Here()) {}
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() {
        if (!isKept_) emitter_.RollBack(before_);
    }
    void Keep() noexcept { isKept_ = true; }

 private:
    json::Emitter& emitter_;
    json::Emitter::Mark before_;
    bool isKept_ = false;
};

/// Keeps the tokens of a value together: nothing reaches a stream before all are written, and what was begun is undone
/// unless it is kept.
class JSONWriter::Group {
 public:
    explicit Group(JSONWriter& writer) : writer_(writer), before_(writer.emitter_.Save()) { ++writer_.groups_; }
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;
    ~Group() {
        if (!isKept_) writer_.emitter_.Restore(std::move(before_));
        --writer_.groups_;
    }
    void Keep() noexcept { isKept_ = true; }

 private:
    JSONWriter& writer_;
    json::Emitter::Snapshot before_;
    bool isKept_ = false;
};

HRESULT JSONWriter::RefuseOutput() const noexcept {
    return Refuse<IJSONWriter>(E_UNEXPECTED, output_ == Output::Busy ? valueBegun : noOutput);
}

HRESULT JSONWriter::Finish() noexcept {
    if (output_ == Output::Memory || groups_ != 0) return S_OK;
    const kv::Ptr<IStream> stream = stream_;  // which may call back and let go of itself
    output_ = Output::Busy;
    HRESULT status = S_OK;
    emitter_.Bytes().ForEachBlock([&](std::string_view bytes) {
        status = kv::KvStreamWrite(stream.Get(), bytes.data(), bytes.size(), nullptr);
        return SUCCEEDED(status);
    });
    emitter_.Bytes().Clear();
    output_ = Output::Stream;
    return status;
}

HRESULT JSONWriter::BeginMember(BSTR name) {
    const json::Refusal refusal = emitter_.BeginMember(kv::View(name));
    if (refusal == json::Refusal::None) return S_OK;
    return Refuse<IJSONWriter>(E_INVALIDARG, refusal == json::Refusal::Nameless ? namelessMember : misplacedMember);
}

HRESULT JSONWriter::BeginElement() {
    if (emitter_.BeginElement() == json::Refusal::None) return S_OK;
    return Refuse<IJSONWriter>(E_INVALIDARG, misplacedElement);
}

template <class Put>
HRESULT JSONWriter::Member(BSTR name, Put put) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    Attempt attempt(emitter_);
    if (HRESULT status = BeginMember(name); FAILED(status)) return status;
    put(emitter_);
    attempt.Keep();
    return Finish();
} catch (...) {
    return CaughtStatus();
}

template <class Put>
HRESULT JSONWriter::Element(Put put) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    Attempt attempt(emitter_);
    if (HRESULT status = BeginElement(); FAILED(status)) return status;
    put(emitter_);
    attempt.Keep();
    return Finish();
} catch (...) {
    return CaughtStatus();
}

template <class Put>
HRESULT JSONWriter::Start(BSTR name, Put put) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    Attempt attempt(emitter_);
    if (emitter_.IsInObject()) {
        if (!name) return Refuse<IJSONWriter>(E_UNEXPECTED, namelessMember);
        if (HRESULT status = BeginMember(name); FAILED(status)) return status;
    } else {
        if (!kv::View(name).empty()) return Refuse<IJSONWriter>(E_UNEXPECTED, needlessName);
        if (emitter_.IsInArray() && emitter_.BeginElement() != json::Refusal::None) return Refuse(E_FAIL);
    }
    put(emitter_);
    attempt.Keep();
    return Finish();
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONWriter::End(json::Refusal (json::Emitter::*end)(), const char16_t* reason) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    Attempt attempt(emitter_);
    if ((emitter_.*end)() != json::Refusal::None) return Refuse<IJSONWriter>(E_UNEXPECTED, reason);
    attempt.Keep();
    return Finish();
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONWriter::WriteToStream(IStream* stream) noexcept {
    if (!stream) return Refuse(E_POINTER);
    if (output_ == Output::Busy || groups_ != 0) return Refuse<IJSONWriter>(E_UNEXPECTED, valueBegun);
    emitter_.Bytes().Clear();
    output_ = Output::Stream;
    stream_ = kv::Ptr<IStream>(stream);
    return S_OK;
}

STDMETHODIMP JSONWriter::WriteToMemory() noexcept {
    if (output_ == Output::Busy || groups_ != 0) return Refuse<IJSONWriter>(E_UNEXPECTED, valueBegun);
    emitter_.Bytes().Clear();
    output_ = Output::Memory;
    stream_ = {};
    return S_OK;
}

STDMETHODIMP JSONWriter::GetMemoryBuffer(VARIANT* bytes) noexcept try {
    if (!bytes) return Refuse(E_POINTER);
    VariantInit(bytes);
    if (output_ != Output::Memory) return S_OK;
    kv::ArrayBuilder copy(VT_UI1, emitter_.Bytes().Size());
    emitter_.Bytes().CopyTo(copy.Elements<char>());
    *bytes = copy.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONWriter::GetStream(IStream** stream) noexcept {
    if (!stream) return Refuse(E_POINTER);
    *stream = kv::Ptr<IStream>(stream_).Detach();
    return S_OK;
}

STDMETHODIMP JSONWriter::SetFormatted(VARIANT_BOOL formatted) noexcept {
    emitter_.SetFormatted(formatted != VARIANT_FALSE);
    return S_OK;
}

STDMETHODIMP JSONWriter::SetIndentLevel(LONG blanks) noexcept {
    if (blanks < 0) return Refuse<IJSONWriter>(E_INVALIDARG, u"The indent level must not be negative.");
    emitter_.SetIndent(static_cast<std::uint32_t>(blanks));
    return S_OK;
}

STDMETHODIMP JSONWriter::StartObject(BSTR name) noexcept {
    return Start(name, [](json::Emitter& out) { out.StartObject(); });
}

STDMETHODIMP JSONWriter::EndObject() noexcept {
    return End(&json::Emitter::EndObject, noObject);
}

STDMETHODIMP JSONWriter::StartArray(BSTR name) noexcept {
    return Start(name, [](json::Emitter& out) { out.StartArray(); });
}

STDMETHODIMP JSONWriter::EndArray() noexcept {
    return End(&json::Emitter::EndArray, noArray);
}

STDMETHODIMP JSONWriter::WriteVariant(BSTR name, VARIANT value) noexcept {
    return WriteAny(name, true, value);
}

STDMETHODIMP JSONWriter::WriteString(BSTR name, BSTR text) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Text(kv::View(text)); });
}

STDMETHODIMP JSONWriter::WriteBoolean(BSTR name, VARIANT_BOOL flag) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Boolean(flag != VARIANT_FALSE); });
}

STDMETHODIMP JSONWriter::WriteByte(BSTR name, BYTE number) noexcept {
    return WriteInt64(name, number);
}

STDMETHODIMP JSONWriter::WriteShort(BSTR name, SHORT number) noexcept {
    return WriteInt64(name, number);
}

STDMETHODIMP JSONWriter::WriteLong(BSTR name, LONG number) noexcept {
    return WriteInt64(name, number);
}

STDMETHODIMP JSONWriter::WriteFloat(BSTR name, FLOAT number) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Number(number); });
}

STDMETHODIMP JSONWriter::WriteDouble(BSTR name, DOUBLE number) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Number(number); });
}

STDMETHODIMP JSONWriter::WriteDate(BSTR name, DATE date) noexcept {
    return WriteDouble(name, kv::ToJsTime(date));
}

STDMETHODIMP JSONWriter::WriteDateText(BSTR name, DATE date) noexcept {
    if (!HasOutput()) return RefuseOutput();
    QuotedText text;
    char* const end = xml::FormatDate(text.Begin(), date);
    if (!end) return Refuse<IJSONWriter>(E_INVALIDARG, xml::noDateText);
    return Member(name, [&](json::Emitter& out) { out.Token(text.Finish(end)); });
}

STDMETHODIMP JSONWriter::WriteNull(BSTR name) noexcept {
    return Member(name, [](json::Emitter& out) { out.Null(); });
}

STDMETHODIMP JSONWriter::WriteVariantElement(VARIANT value) noexcept {
    return WriteAny(nullptr, false, value);
}

STDMETHODIMP JSONWriter::WriteStringElement(BSTR text) noexcept {
    return Element([&](json::Emitter& out) { out.Text(kv::View(text)); });
}

STDMETHODIMP JSONWriter::WriteBooleanElement(VARIANT_BOOL flag) noexcept {
    return Element([&](json::Emitter& out) { out.Boolean(flag != VARIANT_FALSE); });
}

STDMETHODIMP JSONWriter::WriteByteElement(BYTE number) noexcept {
    return WriteInt64Element(number);
}

STDMETHODIMP JSONWriter::WriteShortElement(SHORT number) noexcept {
    return WriteInt64Element(number);
}

STDMETHODIMP JSONWriter::WriteLongElement(LONG number) noexcept {
    return WriteInt64Element(number);
}

STDMETHODIMP JSONWriter::WriteFloatElement(FLOAT number) noexcept {
    return Element([&](json::Emitter& out) { out.Number(number); });
}

STDMETHODIMP JSONWriter::WriteDoubleElement(DOUBLE number) noexcept {
    return Element([&](json::Emitter& out) { out.Number(number); });
}

STDMETHODIMP JSONWriter::WriteDateElement(DATE date) noexcept {
    return WriteDoubleElement(kv::ToJsTime(date));
}

STDMETHODIMP JSONWriter::WriteDateTextElement(DATE date) noexcept {
    if (!HasOutput()) return RefuseOutput();
    QuotedText text;
    char* const end = xml::FormatDate(text.Begin(), date);
    if (!end) return Refuse<IJSONWriter>(E_INVALIDARG, xml::noDateText);
    return Element([&](json::Emitter& out) { out.Token(text.Finish(end)); });
}

STDMETHODIMP JSONWriter::WriteNullElement() noexcept {
    return Element([](json::Emitter& out) { out.Null(); });
}

STDMETHODIMP JSONWriter::Reset() noexcept {
    if (groups_ != 0 || output_ == Output::Busy) return Refuse<IJSONWriter>(E_UNEXPECTED, valueBegun);
    emitter_.Reset();
    return S_OK;
}

STDMETHODIMP JSONWriter::WriteRaw(BSTR name, BSTR text) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Raw(kv::View(text)); });
}

STDMETHODIMP JSONWriter::WriteRawElement(BSTR text) noexcept {
    return Element([&](json::Emitter& out) { out.Raw(kv::View(text)); });
}

STDMETHODIMP JSONWriter::WriteDoubleElementWithDecimals(DOUBLE number, LONG decimals) noexcept {
    return Element([&](json::Emitter& out) { out.Number(number, static_cast<std::uint32_t>(decimals)); });
}

STDMETHODIMP JSONWriter::WriteDoubleWithDecimals(BSTR name, DOUBLE number, LONG decimals) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Number(number, static_cast<std::uint32_t>(decimals)); });
}

STDMETHODIMP JSONWriter::WriteInt64(BSTR name, LONGLONG number) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Integer(number); });
}

STDMETHODIMP JSONWriter::WriteInt64Element(LONGLONG number) noexcept {
    return Element([&](json::Emitter& out) { out.Integer(number); });
}

STDMETHODIMP JSONWriter::WriteUInt64(BSTR name, ULONGLONG number) noexcept {
    return Member(name, [&](json::Emitter& out) { out.Unsigned(number); });
}

STDMETHODIMP JSONWriter::WriteUInt64Element(ULONGLONG number) noexcept {
    return Element([&](json::Emitter& out) { out.Unsigned(number); });
}

STDMETHODIMP JSONWriter::GetText(BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (output_ != Output::Memory) return S_OK;
    *text = TextOf(emitter_.Bytes()).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONWriter::WriteValueText(BSTR name, VARIANT value) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    kv::Variant direct;
    const VARIANT* read = &value;
    if (value.vt & VT_BYREF) {
        if (HRESULT status = direct.Assign(value); FAILED(status)) return Refuse(status);
        read = &direct.Get();
    }
    const bool isNull = read->vt == VT_EMPTY || read->vt == VT_NULL;
    QuotedText text;
    char* end = nullptr;
    if (read->vt != VT_BSTR && !isNull) {
        end = FormatValueText(text.Begin(), *read);
        if (!end) return Refuse<IJSONWriter4>(E_INVALIDARG, read->vt == VT_DATE ? xml::noDateText : noTextValue);
    }
    const auto put = [&](json::Emitter& out) {
        if (isNull) return out.Null();
        if (!end) return out.Text(kv::View(read->bstrVal));
        out.Token(text.Finish(end));
    };
    return kv::View(name).empty() ? Element(put) : Member(name, put);
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONWriter::WriteAny(BSTR name, bool isMember, const VARIANT& value) noexcept try {
    if (!HasOutput()) return RefuseOutput();
    if (groups_ >= kv::maxNesting) return Refuse<IJSONWriter>(E_FAIL, tooDeep);
    {
        Group group(*this);
        if (HRESULT status = PutAny(name, isMember, value, kv::maxNesting); FAILED(status)) return status;
        group.Keep();
    }
    return Finish();
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONWriter::PutAny(BSTR name, bool isMember, const VARIANT& value, int budget) {
    if (value.vt & VT_BYREF) {
        kv::Variant direct;
        if (HRESULT status = direct.Assign(value); FAILED(status)) return Refuse(status);
        return PutAny(name, isMember, direct.Get(), budget);
    }
    if ((value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH) && value.punkVal)
        return PutObject(name, isMember, value.punkVal);
    if (HRESULT status = isMember ? BeginMember(name) : BeginElement(); FAILED(status)) return status;
    if (kv::IsArray(value)) return PutArray(value, budget);
    return PutScalar(emitter_, value) ? S_OK : Refuse<IJSONWriter>(E_INVALIDARG, noJsonValue);
}

HRESULT JSONWriter::PutObject(BSTR name, bool isMember, IUnknown* object) {
    // What may stand here is found out before the object is asked, which would name its own reasons.
    {
        Attempt attempt(emitter_);
        if (HRESULT status = isMember ? BeginMember(name) : BeginElement(); FAILED(status)) return status;
    }
    const std::uint64_t depth = emitter_.Depth();
    kv::Ptr<IUnknown> held(object);
    HRESULT status = S_OK;
    kv::Variant converted;
    if (held.As<IPropertySet>() || held.As<IIdentifierExchange>()) {
        ValueEncoder encoder;
        status = encoder.Encode(kv::ObjectValue(object), converted);
        if (FAILED(status)) return encoder.Explain<IJSONWriter>(*this, status);
        held = kv::Ptr<IUnknown>(converted.Get().punkVal);
    }
    if (const auto jsonObject = held.As<IJSONObject>()) {
        status = jsonObject->ToJSON(name, this);
    } else if (const auto jsonArray = held.As<IJSONArray>()) {
        status = jsonArray->ToJSON(name, this);
    } else {
        return Refuse<IJSONWriter>(E_INVALIDARG, noJsonValue);
    }
    if (FAILED(status)) return status;
    if (emitter_.Depth() != depth || emitter_.IsInObject() != isMember)
        return Refuse<IJSONWriter>(E_UNEXPECTED, halfAnObject);
    return S_OK;
}

HRESULT JSONWriter::PutArray(const VARIANT& value, int budget) {
    const auto array = kv::ArrayView::Of(value);
    if (!array) return Refuse<IJSONWriter>(E_INVALIDARG, noJsonValue);
    if (array->Dimensions() > budget) return Refuse<IJSONWriter>(E_FAIL, tooDeep);
    // The first dimension is the outermost, the last in the list of bounds, and the one whose elements are neighbours.
    const auto put = [&](const auto& self, int dimension, std::size_t from, std::size_t step) -> HRESULT {
        emitter_.StartArray();
        const SAFEARRAYBOUND& bound = array->Bound(static_cast<USHORT>(dimension));
        for (std::size_t i = 0; i < bound.cElements; ++i) {
            const std::size_t at = from + i * step;
            HRESULT status = S_OK;
            if (dimension == 0) {
                status = PutAny(nullptr, false, array->Element(at), budget - array->Dimensions());
            } else if (status = BeginElement(); SUCCEEDED(status)) {
                status = self(self, dimension - 1, at, step * bound.cElements);
            }
            if (FAILED(status)) return status;
        }
        return emitter_.EndArray() == json::Refusal::None ? S_OK : Refuse<IJSONWriter>(E_UNEXPECTED, halfAnObject);
    };
    return put(put, array->Dimensions() - 1, 0, 1);
}

STDMETHODIMP JSONWriter::get_State(movaJSONWriterState* state) noexcept {
    if (!state) return Refuse(E_POINTER);
    *state = static_cast<movaJSONWriterState>(emitter_.Place());
    return S_OK;
}

STDMETHODIMP JSONWriter::get_Depth(LONG* depth) noexcept {
    if (!depth) return Refuse(E_POINTER);
    constexpr std::uint64_t greatest = std::numeric_limits<LONG>::max();
    *depth = static_cast<LONG>(std::min(emitter_.Depth(), greatest));
    return S_OK;
}

STDMETHODIMP JSONWriter::put_MaximumDecimals(SHORT decimals) noexcept {
    if (decimals < 0)
        return Refuse<ICPPJSONWriterOptions>(E_INVALIDARG, u"The maximum of decimals must not be negative.");
    maximumDecimals_ = decimals;
    return put_MaximumDecimalsActive(VARIANT_TRUE);
}

STDMETHODIMP JSONWriter::get_MaximumDecimals(SHORT* decimals) noexcept {
    if (!decimals) return Refuse(E_POINTER);
    *decimals = maximumDecimals_;
    return S_OK;
}

STDMETHODIMP JSONWriter::put_MaximumDecimalsActive(VARIANT_BOOL active) noexcept {
    limitsDecimals_ = active != VARIANT_FALSE;
    std::optional<std::uint32_t> decimals;
    if (limitsDecimals_) decimals = static_cast<std::uint32_t>(maximumDecimals_);
    emitter_.SetMaximumDecimals(decimals);
    return S_OK;
}

STDMETHODIMP JSONWriter::get_MaximumDecimalsActive(VARIANT_BOOL* active) noexcept {
    if (!active) return Refuse(E_POINTER);
    *active = limitsDecimals_ ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

}  // namespace mova
