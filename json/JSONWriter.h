#pragma once

#include <movaSystem.h>
#include "json/Emitter.h"
#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "server/Component.h"

namespace mova {

/// Writes JSON to a stream or to memory; what may stand where is in Emitter.h.
class JSONWriter final
    : public Component<JSONWriter, ::JSONWriter, Generations<IJSONWriter4, IJSONWriter3, IJSONWriter2, IJSONWriter>,
                       IJSONWriterImpl, ICPPJSONWriterOptions> {
 public:
    using Component::Component;
    using Component::Make;

    // IJSONWriter
    STDMETHODIMP WriteToStream(IStream* stream) noexcept override;
    STDMETHODIMP WriteToMemory() noexcept override;
    STDMETHODIMP GetMemoryBuffer(VARIANT* bytes) noexcept override;
    STDMETHODIMP GetStream(IStream** stream) noexcept override;
    STDMETHODIMP SetFormatted(VARIANT_BOOL formatted) noexcept override;
    STDMETHODIMP SetIndentLevel(LONG blanks) noexcept override;
    STDMETHODIMP StartObject(BSTR name) noexcept override;
    STDMETHODIMP EndObject() noexcept override;
    STDMETHODIMP StartArray(BSTR name) noexcept override;
    STDMETHODIMP EndArray() noexcept override;
    STDMETHODIMP WriteVariant(BSTR name, VARIANT value) noexcept override;
    STDMETHODIMP WriteString(BSTR name, BSTR text) noexcept override;
    STDMETHODIMP WriteBoolean(BSTR name, VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP WriteByte(BSTR name, BYTE number) noexcept override;
    STDMETHODIMP WriteShort(BSTR name, SHORT number) noexcept override;
    STDMETHODIMP WriteLong(BSTR name, LONG number) noexcept override;
    STDMETHODIMP WriteFloat(BSTR name, FLOAT number) noexcept override;
    STDMETHODIMP WriteDouble(BSTR name, DOUBLE number) noexcept override;
    STDMETHODIMP WriteDate(BSTR name, DATE date) noexcept override;
    STDMETHODIMP WriteDateText(BSTR name, DATE date) noexcept override;
    STDMETHODIMP WriteNull(BSTR name) noexcept override;
    STDMETHODIMP WriteVariantElement(VARIANT value) noexcept override;
    STDMETHODIMP WriteStringElement(BSTR text) noexcept override;
    STDMETHODIMP WriteBooleanElement(VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP WriteByteElement(BYTE number) noexcept override;
    STDMETHODIMP WriteShortElement(SHORT number) noexcept override;
    STDMETHODIMP WriteLongElement(LONG number) noexcept override;
    STDMETHODIMP WriteFloatElement(FLOAT number) noexcept override;
    STDMETHODIMP WriteDoubleElement(DOUBLE number) noexcept override;
    STDMETHODIMP WriteDateElement(DATE date) noexcept override;
    STDMETHODIMP WriteDateTextElement(DATE date) noexcept override;
    STDMETHODIMP WriteNullElement() noexcept override;
    STDMETHODIMP Reset() noexcept override;
    // IJSONWriter2
    STDMETHODIMP WriteRaw(BSTR name, BSTR text) noexcept override;
    STDMETHODIMP WriteRawElement(BSTR text) noexcept override;
    // IJSONWriter3
    STDMETHODIMP WriteDoubleElementWithDecimals(DOUBLE number, LONG decimals) noexcept override;
    STDMETHODIMP WriteDoubleWithDecimals(BSTR name, DOUBLE number, LONG decimals) noexcept override;
    // IJSONWriter4
    STDMETHODIMP WriteInt64(BSTR name, LONGLONG number) noexcept override;
    STDMETHODIMP WriteInt64Element(LONGLONG number) noexcept override;
    STDMETHODIMP WriteUInt64(BSTR name, ULONGLONG number) noexcept override;
    STDMETHODIMP WriteUInt64Element(ULONGLONG number) noexcept override;
    STDMETHODIMP GetText(BSTR* text) noexcept override;
    STDMETHODIMP WriteValueText(BSTR name, VARIANT value) noexcept override;
    // IJSONWriterImpl
    STDMETHODIMP get_State(movaJSONWriterState* state) noexcept override;
    STDMETHODIMP get_Depth(LONG* depth) noexcept override;
    // ICPPJSONWriterOptions
    STDMETHODIMP put_MaximumDecimals(SHORT decimals) noexcept override;
    STDMETHODIMP get_MaximumDecimals(SHORT* decimals) noexcept override;
    STDMETHODIMP put_MaximumDecimalsActive(VARIANT_BOOL active) noexcept override;
    STDMETHODIMP get_MaximumDecimalsActive(VARIANT_BOOL* active) noexcept override;

 private:
    /// Where the bytes go; Busy while they are on the way, when the writer takes no more.
    enum class Output : std::uint8_t { None, Busy, Memory, Stream };
    class Attempt;
    class Group;

    bool HasOutput() const noexcept { return output_ > Output::Busy; }
    /// Writes a token with what comes before it. @param put void(json::Emitter&), which writes a value
    template <class Put>
    HRESULT Member(BSTR name, Put put) noexcept;
    template <class Put>
    HRESULT Element(Put put) noexcept;
    template <class Put>
    HRESULT Start(BSTR name, Put put) noexcept;
    HRESULT End(json::Refusal (json::Emitter::*end)(), const char16_t* reason) noexcept;
    HRESULT BeginMember(BSTR name);
    HRESULT BeginElement();

    /// Writes a member, or an element where it has no name: of any value, read through.
    HRESULT PutAny(BSTR name, bool isMember, const VARIANT& value, int budget);
    HRESULT PutObject(BSTR name, bool isMember, IUnknown* object);
    HRESULT PutArray(const VARIANT& value, int budget);
    HRESULT WriteAny(BSTR name, bool isMember, const VARIANT& value) noexcept;

    /// Brings what was written to the stream, where the output is one.
    HRESULT Finish() noexcept;
    HRESULT RefuseOutput() const noexcept;

    json::Emitter emitter_;
    kv::Ptr<IStream> stream_;
    Output output_ = Output::None;
    int groups_ = 0;  ///< values that are being written of several tokens
    bool limitsDecimals_ = false;
    SHORT maximumDecimals_ = 0;
};

/// What was written, as one text. @throw std::bad_alloc
kv::BString TextOf(const json::ByteChain& bytes);

}  // namespace mova
