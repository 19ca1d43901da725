#include "json/JSONReader.h"

#include <movaJSON.h>

#include <limits>
#include <optional>

#include "containers/NameFold.h"
#include "json/ScannerSource.h"
#include "json/Unescape.h"
#include "kvcore/CreateInstance.h"
#include "kvcore/JsTime.h"
#include "kvcore/NumberText.h"
#include "kvcore/Stream.h"
#include "kvcore/Variant.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

using json::Outcome;
using json::State;
using json::Token;

/// How a fault of the text or its source is told.
HRESULT StatusOfFault(json::Fault fault, std::int32_t code) noexcept {
    switch (fault) {
        case json::Fault::UnknownEncoding:
        case json::Fault::BadUtf8:
            return E_INVALIDARG;
        case json::Fault::NoCharacter:
            return E_FAIL;
        case json::Fault::SourceFailed:
            return code;
        default:
            return E_UNEXPECTED;
    }
}

/// A double as a 64-bit integer, the fraction dropped; the lowest one for what is none.
std::int64_t Truncated(double number) noexcept {
    constexpr double limit = 9223372036854775808.0;  // 2^63
    if (number >= -limit && number < limit) return static_cast<std::int64_t>(number);
    return std::numeric_limits<std::int64_t>::min();
}

bool IsScalar(Token token) noexcept {
    return token >= Token::String && token <= Token::Null;
}

/// A text as an integer of 32 bits.
std::optional<LONG> ReadLong(std::u16string_view text) noexcept {
    const auto number = xml::ReadInteger(text, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max());
    return number ? std::optional<LONG>(static_cast<LONG>(*number)) : std::nullopt;
}

/// A new object or array, loaded from a reader that stands on its start.
template <class Object>
HRESULT Load(REFCLSID objectClass, IJSONReader* reader, kv::Ptr<Object>& object) noexcept {
    const HRESULT status = kv::KvCreateInstance(objectClass, object);
    return SUCCEEDED(status) ? object->ParseJSON(reader) : status;
}
template <class Object>
HRESULT Load(REFCLSID objectClass, IJSONReader* reader, IUnknown** loaded) noexcept {
    kv::Ptr<Object> object;
    const HRESULT status = Load(objectClass, reader, object);
    return SUCCEEDED(status) ? object->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(loaded)) : status;
}

HRESULT Answer(bool is, VARIANT_BOOL* answer) noexcept {
    if (!answer) return Refuse(E_POINTER);
    *answer = is ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT Answer(std::uint64_t number, LONGLONG* answer) noexcept {
    if (!answer) return Refuse(E_POINTER);
    *answer = static_cast<LONGLONG>(number);
    return S_OK;
}

}  // namespace

/// Which of the names an object has first.
class JSONReader::NamesFound final : public json::NameSearch {
 public:
    explicit NamesFound(JSONReader& reader) noexcept : reader_(reader) {}

    /// -1 where none was found.
    LONG Index() const noexcept { return index_; }

    bool Meets(std::u16string_view between, bool hasEscapes) override {
        const auto met = reader_.Plain(between, hasEscapes);
        index_ = reader_.sought_.Find(met);
        return index_ >= 0;
    }

 private:
    JSONReader& reader_;
    LONG index_ = -1;
};

// Opening

STDMETHODIMP JSONReader::ReadFromStream(IStream* stream) noexcept try {
    if (!stream) return Refuse(E_POINTER);
    if (callsOut_) return RefuseCalledOut();
    const kv::Ptr<IStream> held(stream);
    Close();
    stream_ = held;
    STATSTG stat{};
    const HRESULT stated = CallOut([&] { return stream->Stat(&stat, STATFLAG_NONAME); });
    if (FAILED(stated) && stated != E_NOTIMPL) return stated;
    const bool isKnown = SUCCEEDED(stated) && stat.cbSize.HighPart == 0;
    chunks_.Open(*this, isKnown ? std::optional<std::uint64_t>(stat.cbSize.LowPart) : std::nullopt);
    const json::Failure failure = scanner_.OpenSource(chunks_);
    if (failure.fault == json::Fault::EmptyInput) {
        // A stream that says itself that there is nothing is no failure.
        std::byte none{};
        ULONG read = 0;
        if (CallOut([&] { return stream->Read(&none, 1, &read); }) == S_FALSE) {
            scanner_.OpenNothing();
            return S_OK;
        }
    }
    if (failure.fault == json::Fault::SourceFailed) return failure.code;
    if (failure.fault != json::Fault::None)
        return RefuseHere(StatusOfFault(failure.fault, failure.code), TextOf(failure.fault));
    return ReadNext();
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::ReadFromString(BSTR text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    if (callsOut_) return RefuseCalledOut();
    auto view = kv::View(text);
    if (view.starts_with(u'\uFEFF')) view.remove_prefix(1);
    Close();
    scanner_.OpenText(view);
    return kv::View(text).empty() ? S_FALSE : ReadNext();
} catch (...) {
    return CaughtStatus();
}

template <class Call>
HRESULT JSONReader::CallOut(Call call) noexcept {
    SetErrorInfo(0, nullptr);  // so that only what the stream says of its own failure explains it
    callsOut_ = true;
    const HRESULT status = call();
    callsOut_ = false;
    return status;
}

HRESULT JSONReader::RefuseCalledOut() const noexcept {
    return Refuse<IJSONReader>(E_UNEXPECTED, u"The reader is being called by the stream that it reads.");
}

void JSONReader::Close() noexcept {
    scanner_.Close();
    chunks_.Close();
    stream_ = {};
}

std::int32_t JSONReader::Read(std::byte* target, std::size_t size, std::size_t& read) noexcept {
    const HRESULT status = CallOut([&] { return kv::KvStreamRead(stream_.Get(), target, size, &read); });
    return FAILED(status) ? status : 0;
}

STDMETHODIMP JSONReader::GetStream(IStream** stream) noexcept {
    if (!stream) return Refuse(E_POINTER);
    *stream = kv::Ptr<IStream>(stream_).Detach();
    return S_OK;
}

// Going on

HRESULT JSONReader::StatusOf(Outcome outcome) noexcept {
    if (outcome == Outcome::Token) [[likely]]
        return S_OK;
    return outcome == Outcome::End ? S_FALSE : ReportFailure();
}

STDMETHODIMP JSONReader::ReadNext() noexcept try { return StatusOf(scanner_.Next()); } catch (...) {
    return CaughtStatus();
}

HRESULT JSONReader::GoOn(bool advance) {
    return advance ? StatusOf(scanner_.Next()) : S_OK;
}

HRESULT JSONReader::ReportFailure() noexcept try {
    const json::Failure& failure = scanner_.failure();
    const HRESULT status = failure.cause == json::Fault::None ? StatusOfFault(failure.fault, failure.code)
                                                              : StatusOfFault(failure.cause, failure.code);
    return RefuseHere(status, TextOf(failure.fault));
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONReader::RefuseHere(HRESULT status, std::u16string_view fault) const {
    if (fault.empty()) return Refuse(status);
    return Refuse<IJSONReader>(status, scanner_.Message(fault).c_str());
}

HRESULT JSONReader::Skip(State end, bool advance) noexcept try {
    return StatusOf(scanner_.Skip(end, advance));
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::SkipObject() noexcept {
    return Skip(State::EndOfObject, true);
}
STDMETHODIMP JSONReader::SkipArray() noexcept {
    return Skip(State::EndOfArray, true);
}
STDMETHODIMP JSONReader::SkipToEndOfObject(VARIANT_BOOL advance) noexcept {
    return Skip(State::EndOfObject, advance != VARIANT_FALSE);
}
STDMETHODIMP JSONReader::SkipToEndOfArray(VARIANT_BOOL advance) noexcept {
    return Skip(State::EndOfArray, advance != VARIANT_FALSE);
}

HRESULT JSONReader::Find(NamesFound& names) {
    const State state = scanner_.state();
    if (state == State::StartOfArray || state == State::InArrayValue || state == State::InArrayValueDelimiter)
        return Refuse(E_UNEXPECTED);
    return StatusOf(scanner_.Skip(State::EndOfObject, true, &names));
}

STDMETHODIMP JSONReader::FindProperty(BSTR names, VARIANT_BOOL* found) noexcept try {
    if (!found) return Refuse(E_POINTER);
    *found = VARIANT_FALSE;
    sought_.Take(kv::View(names));
    NamesFound search(*this);
    const HRESULT status = Find(search);
    if (SUCCEEDED(status) && search.Index() == 0) *found = VARIANT_TRUE;
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::FindPropertyIndex(IStringArray* names, LONG* index) noexcept try {
    if (index) *index = -1;
    if (!names || !index) return Refuse(E_POINTER);
    LONG count = 0;
    if (HRESULT status = names->get_Count(&count); FAILED(status)) return status;
    std::vector<std::u16string> texts;
    for (LONG i = 0; i < count; ++i) {
        kv::BString text;
        if (HRESULT status = names->get_Element(i, text.Put()); FAILED(status)) return status;
        texts.emplace_back(text.View());
    }
    sought_.Take(std::move(texts));
    NamesFound search(*this);
    const HRESULT status = Find(search);
    if (SUCCEEDED(status)) *index = search.Index();
    return status;
} catch (...) {
    return CaughtStatus();
}

// What the token is

STDMETHODIMP JSONReader::GetTokenType(LONG* tokenType) noexcept {
    if (!tokenType) return Refuse(E_POINTER);
    *tokenType = static_cast<LONG>(scanner_.token());
    return S_OK;
}

STDMETHODIMP JSONReader::IsStartOfObject(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.state() == State::StartOfObject, answer);
}
STDMETHODIMP JSONReader::IsEndOfObject(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.state() == State::EndOfObject, answer);
}
STDMETHODIMP JSONReader::IsStartOfArray(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.state() == State::StartOfArray, answer);
}
STDMETHODIMP JSONReader::IsEndOfArray(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.state() == State::EndOfArray, answer);
}
STDMETHODIMP JSONReader::IsString(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.token() == Token::String, answer);
}
STDMETHODIMP JSONReader::IsNumber(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.token() == Token::Number, answer);
}
STDMETHODIMP JSONReader::IsBoolean(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.token() == Token::Boolean, answer);
}
STDMETHODIMP JSONReader::IsNull(VARIANT_BOOL* answer) noexcept {
    return Answer(scanner_.token() == Token::Null, answer);
}

STDMETHODIMP JSONReader::IsPropertyName(VARIANT_BOOL* answer) noexcept {
    const bool is = scanner_.state() == State::InPropertyName;
    if (HRESULT status = Answer(is, answer); FAILED(status)) return status;
    return is ? S_OK : S_FALSE;
}

STDMETHODIMP JSONReader::HasDecimalPoint(VARIANT_BOOL* answer) noexcept {
    if (HRESULT status = Answer(false, answer); FAILED(status)) return status;
    if (scanner_.Text().empty()) return Refuse(E_UNEXPECTED);
    if (scanner_.token() != Token::Number || scanner_.Text().find(u'.') == std::u16string_view::npos) return S_FALSE;
    *answer = VARIANT_TRUE;
    return S_OK;
}

// Its value

std::u16string_view JSONReader::Plain(std::u16string_view text, bool hasEscapes) {
    if (!hasEscapes) return text;
    if (scratch_.size() < text.size()) scratch_.resize(text.size());
    return {scratch_.data(), json::Unescape(text, scratch_.data())};
}

std::u16string_view JSONReader::PlainToken() {
    if (scanner_.token() == Token::String) return Plain(scanner_.Between(), scanner_.HasEscapes());
    return scanner_.Text();
}

HRESULT JSONReader::HandOut(kv::BString text, bool advance, BSTR* target) {
    const HRESULT status = GoOn(advance);
    if (SUCCEEDED(status)) *target = text.Detach();
    return status;
}

STDMETHODIMP JSONReader::GetPropertyName(VARIANT_BOOL advance, BSTR* name) noexcept try {
    if (name) *name = nullptr;
    if (scanner_.state() != State::InPropertyName) return RefuseHere(E_UNEXPECTED, TextOf(json::Fault::NoPropertyName));
    if (!name) return Refuse(E_POINTER);
    if (scanner_.Between().empty()) return RefuseHere(E_UNEXPECTED, TextOf(json::Fault::BadToken));
    return HandOut(kv::BString(PlainToken()), advance != VARIANT_FALSE, name);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetString(VARIANT_BOOL advance, BSTR* text) noexcept try {
    if (text) *text = nullptr;
    if (!IsScalar(scanner_.token())) return Refuse(E_UNEXPECTED);
    if (!text) return Refuse(E_POINTER);
    const auto plain = PlainToken();
    return HandOut(plain.empty() ? kv::BString() : kv::BString(plain), advance != VARIANT_FALSE, text);
} catch (...) {
    return CaughtStatus();
}

/// Converts the text of a string by one of the mapper's rules.
template <class Convert, class Value>
HRESULT JSONReader::ConvertString(Convert convert, Value& value) {
    const auto text = PlainToken();
    if (text.empty()) return Refuse(E_FAIL);
    const auto converted = convert(text);
    if (!converted) return Refuse<IJSONReader3>(E_INVALIDARG, u"The string does not hold such a value.");
    value = *converted;
    return S_OK;
}

STDMETHODIMP JSONReader::GetInteger(VARIANT_BOOL advance, LONG* number) noexcept try {
    const Token token = scanner_.token();
    if (token != Token::Number && token != Token::String) return Refuse(E_UNEXPECTED);
    if (!number) return Refuse(E_POINTER);
    if (token == Token::Number) {
        *number = static_cast<LONG>(Truncated(scanner_.Double()));
    } else if (HRESULT status = ConvertString(&ReadLong, *number); FAILED(status)) {
        return status;
    }
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetDouble(VARIANT_BOOL advance, double* number) noexcept try {
    const Token token = scanner_.token();
    if (!IsScalar(token) || token == Token::Boolean) return Refuse(E_UNEXPECTED);
    if (!number) return Refuse(E_POINTER);
    if (token != Token::String) {
        *number = scanner_.Double();
    } else if (HRESULT status = ConvertString(&xml::ReadDouble, *number); FAILED(status)) {
        return status;
    }
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetBoolean(VARIANT_BOOL advance, VARIANT_BOOL* answer) noexcept try {
    const Token token = scanner_.token();
    if (!IsScalar(token) || token == Token::Null) return Refuse(E_UNEXPECTED);
    if (!answer) return Refuse(E_POINTER);
    if (token == Token::String) {
        const auto text = PlainToken();
        const bool isTrue = SameAsciiName(text, u"true");
        if (!isTrue && !SameAsciiName(text, u"false")) return Refuse(E_FAIL);
        *answer = isTrue ? VARIANT_TRUE : VARIANT_FALSE;
    } else {
        *answer = scanner_.Double() == 0.0 ? VARIANT_FALSE : VARIANT_TRUE;
        if (token == Token::Number) return Refuse(E_UNEXPECTED);
    }
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetDate(VARIANT_BOOL advance, DATE* date) noexcept try {
    const Token token = scanner_.token();
    if (token != Token::Number && token != Token::String) return Refuse(E_UNEXPECTED);
    if (!date) return Refuse(E_POINTER);
    if (token == Token::Number) {
        *date = kv::FromJsTime(scanner_.Double());
    } else if (HRESULT status = ConvertString(&xml::ReadDate, *date); FAILED(status)) {
        return status;
    }
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetInt64(VARIANT_BOOL advance, LONGLONG* number) noexcept try {
    const Token token = scanner_.token();
    if (token != Token::Number && token != Token::String) return Refuse(E_UNEXPECTED);
    if (!number) return Refuse(E_POINTER);
    *number = token == Token::Number ? scanner_.Int64() : kv::ReadInt64(PlainToken());
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::GetUInt64(VARIANT_BOOL advance, ULONGLONG* number) noexcept try {
    const Token token = scanner_.token();
    if (token != Token::Number && token != Token::String) return Refuse(E_UNEXPECTED);
    if (!number) return Refuse(E_POINTER);
    *number = token == Token::Number ? scanner_.UInt64() : kv::ReadUInt64(PlainToken());
    return GoOn(advance != VARIANT_FALSE);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::ReadPropertyName(BSTR* name) noexcept {
    return GetPropertyName(VARIANT_TRUE, name);
}
STDMETHODIMP JSONReader::ReadString(BSTR* text) noexcept {
    return GetString(VARIANT_TRUE, text);
}
STDMETHODIMP JSONReader::ReadInteger(LONG* number) noexcept {
    return GetInteger(VARIANT_TRUE, number);
}
STDMETHODIMP JSONReader::ReadDouble(double* number) noexcept {
    return GetDouble(VARIANT_TRUE, number);
}
STDMETHODIMP JSONReader::ReadBoolean(VARIANT_BOOL* answer) noexcept {
    return GetBoolean(VARIANT_TRUE, answer);
}
STDMETHODIMP JSONReader::ReadDate(DATE* date) noexcept {
    return GetDate(VARIANT_TRUE, date);
}
STDMETHODIMP JSONReader::ReadInt64(LONGLONG* number) noexcept {
    return GetInt64(VARIANT_TRUE, number);
}
STDMETHODIMP JSONReader::ReadUInt64(ULONGLONG* number) noexcept {
    return GetUInt64(VARIANT_TRUE, number);
}

STDMETHODIMP JSONReader::ReadValue(VARIANT* value) noexcept {
    return ReadValueEx(value, nullptr);
}

HRESULT JSONReader::ReadNumber(VARIANT* value, LONG& decimals) {
    const json::Number number = json::NumberAt(scanner_);
    decimals = static_cast<LONG>(number.decimals);
    if (number.value.tag.kind == json::Kind::Double) {
        value->vt = VT_R8;
        value->dblVal = number.value.payload.number;
    } else if (number.value.tag.kind == json::Kind::Int32) {
        value->vt = VT_I4;
        value->lVal = static_cast<LONG>(number.value.payload.integer);
    } else {
        value->vt = VT_I8;
        value->llVal = number.value.payload.integer;
    }
    return GoOn(true);
}

/// Loads an object or array from the reader and takes its text.
template <class Object>
HRESULT JSONReader::ReadContainer(REFCLSID objectClass, VARIANT* value) {
    if (!containersAsText_) return Refuse(E_UNEXPECTED);
    kv::Ptr<Object> object;
    if (HRESULT status = Load(objectClass, this, object); FAILED(status)) return status;
    kv::BString text;
    if (HRESULT status = object->ToJSONString(nullptr, text.Put()); FAILED(status)) return status;
    if (!text.View().empty()) {
        value->vt = VT_BSTR;
        value->bstrVal = text.Detach();
    }
    return S_OK;
}

STDMETHODIMP JSONReader::ReadValueEx(VARIANT* value, LONG* decimals) noexcept try {
    if (value) VariantInit(value);
    LONG count = -1;
    if (decimals) *decimals = count;
    const Token token = scanner_.token();
    if (token < Token::String || token > Token::StartOfArray || token == Token::EndOfObject)
        return Refuse(E_UNEXPECTED);
    if (!value) return Refuse(E_POINTER);
    kv::Variant read;
    HRESULT status = E_UNEXPECTED;
    switch (token) {
        case Token::String: {
            BSTR text = nullptr;
            status = GetString(VARIANT_TRUE, &text);
            *read.Put() = kv::Variant::FromText(kv::BString::Attach(text)).Detach();
            break;
        }
        case Token::Number:
            status = ReadNumber(read.Put(), count);
            break;
        case Token::Boolean:
            read.Put()->vt = VT_BOOL;
            status = GetBoolean(VARIANT_TRUE, &const_cast<VARIANT&>(read.Get()).boolVal);
            break;
        case Token::Null:
            status = GoOn(true);
            break;
        case Token::StartOfObject:
            status = ReadContainer<IJSONObject>(__uuidof(::JSONObject), read.Put());
            break;
        case Token::StartOfArray:
            status = ReadContainer<IJSONArray>(__uuidof(::JSONArray), read.Put());
            break;
        default:
            break;
    }
    if (FAILED(status)) return status;
    *value = read.Detach();
    if (decimals) *decimals = count;
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::SetReadContainersAsText(VARIANT_BOOL asText) noexcept {
    if (asText == VARIANT_TRUE) containersAsText_ = true;
    return S_OK;
}

STDMETHODIMP JSONReader::ParseText(BSTR text, IUnknown** object) noexcept try {
    if (object) *object = nullptr;
    if (!text || !object) return Refuse(E_POINTER);
    const auto reader = kv::Ptr<JSONReader>::Attach(Make());
    if (HRESULT status = reader->ReadFromString(text); FAILED(status)) return status;
    switch (reader->scanner_.token()) {
        case Token::StartOfObject:
            return Load<IJSONObject>(__uuidof(::JSONObject), reader.Get(), object);
        case Token::StartOfArray:
            return Load<IJSONArray>(__uuidof(::JSONArray), reader.Get(), object);
        default:
            return Refuse(E_FAIL);
    }
} catch (...) {
    return CaughtStatus();
}

// Bookmarks

STDMETHODIMP JSONReader::SaveBookmark(BSTR name) noexcept try {
    if (!scanner_.IsWhole()) return Refuse(E_FAIL);
    bookmarks_.insert_or_assign(std::u16string(kv::View(name)), scanner_.Mark());
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::RestoreBookmark(BSTR name) noexcept try {
    if (!scanner_.IsWhole()) return Refuse(E_FAIL);
    const auto found = bookmarks_.find(kv::View(name));
    if (found == bookmarks_.end()) return Refuse<IJSONReader>(E_INVALIDARG, u"No position is saved under that name.");
    if (!scanner_.GoTo(found->second))
        return Refuse<IJSONReader>(E_INVALIDARG, u"The text does not have the position that was saved.");
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONReader::RemoveBookmark(BSTR name) noexcept {
    if (!scanner_.IsWhole()) return Refuse(E_FAIL);
    if (const auto found = bookmarks_.find(kv::View(name)); found != bookmarks_.end()) bookmarks_.erase(found);
    return S_OK;
}

STDMETHODIMP JSONReader::ClearBookmarks() noexcept {
    if (!scanner_.IsWhole()) return Refuse(E_FAIL);
    bookmarks_.clear();
    return S_OK;
}

// Where it is

STDMETHODIMP JSONReader::get_TokenOffset(LONGLONG* offset) noexcept {
    return Answer(scanner_.TokenPosition().offset, offset);
}
STDMETHODIMP JSONReader::get_TokenLine(LONGLONG* line) noexcept {
    return Answer(scanner_.TokenPosition().line, line);
}
STDMETHODIMP JSONReader::get_TokenColumn(LONGLONG* column) noexcept {
    return Answer(scanner_.TokenPosition().column, column);
}
STDMETHODIMP JSONReader::get_FailureOffset(LONGLONG* offset) noexcept {
    return Answer(scanner_.FailurePosition().offset, offset);
}
STDMETHODIMP JSONReader::get_FailureLine(LONGLONG* line) noexcept {
    return Answer(scanner_.FailurePosition().line, line);
}
STDMETHODIMP JSONReader::get_FailureColumn(LONGLONG* column) noexcept {
    return Answer(scanner_.FailurePosition().column, column);
}
STDMETHODIMP JSONReader::get_Depth(LONGLONG* depth) noexcept {
    return Answer(scanner_.Depth(), depth);
}

}  // namespace mova
