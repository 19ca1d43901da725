#pragma once

#include <movaSystem.h>

#include <map>
#include <string>
#include <vector>

#include "json/ChunkedText.h"
#include "json/HoldsScanner.h"
#include "json/SoughtNames.h"
#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "server/Component.h"

namespace mova {

/// Walks through JSON text token by token; what the text means is the scanner's business.
class JSONReader final
    : public Component<JSONReader, ::JSONReader,
                       Generations<IJSONReaderPosition, IJSONReader4, IJSONReader3, IJSONReader2, IJSONReader>,
                       IHoldsScanner>,
      private json::ByteSource {
 public:
    using Component::Component;

    // IJSONReader
    STDMETHODIMP ReadFromStream(IStream* stream) noexcept override;
    STDMETHODIMP ReadFromString(BSTR text) noexcept override;
    STDMETHODIMP GetStream(IStream** stream) noexcept override;
    STDMETHODIMP ReadNext() noexcept override;
    STDMETHODIMP GetTokenType(LONG* tokenType) noexcept override;
    STDMETHODIMP IsStartOfObject(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsEndOfObject(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsStartOfArray(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsEndOfArray(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsString(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsNumber(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsBoolean(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP IsNull(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP ReadValue(VARIANT* value) noexcept override;
    STDMETHODIMP ReadPropertyName(BSTR* name) noexcept override;
    STDMETHODIMP ReadString(BSTR* text) noexcept override;
    STDMETHODIMP ReadInteger(LONG* number) noexcept override;
    STDMETHODIMP ReadDouble(double* number) noexcept override;
    STDMETHODIMP ReadBoolean(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP ReadDate(DATE* date) noexcept override;
    STDMETHODIMP FindProperty(BSTR names, VARIANT_BOOL* found) noexcept override;
    STDMETHODIMP FindPropertyIndex(IStringArray* names, LONG* index) noexcept override;
    STDMETHODIMP SkipObject() noexcept override;
    STDMETHODIMP SkipArray() noexcept override;
    STDMETHODIMP ParseText(BSTR text, IUnknown** object) noexcept override;
    STDMETHODIMP SaveBookmark(BSTR name) noexcept override;
    STDMETHODIMP RestoreBookmark(BSTR name) noexcept override;
    STDMETHODIMP RemoveBookmark(BSTR name) noexcept override;
    STDMETHODIMP ClearBookmarks() noexcept override;
    // IJSONReader2
    STDMETHODIMP ReadValueEx(VARIANT* value, LONG* decimals) noexcept override;
    STDMETHODIMP ReadInt64(LONGLONG* number) noexcept override;
    STDMETHODIMP ReadUInt64(ULONGLONG* number) noexcept override;
    STDMETHODIMP IsPropertyName(VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP HasDecimalPoint(VARIANT_BOOL* answer) noexcept override;
    // IJSONReader3
    STDMETHODIMP GetPropertyName(VARIANT_BOOL advance, BSTR* name) noexcept override;
    STDMETHODIMP GetString(VARIANT_BOOL advance, BSTR* text) noexcept override;
    STDMETHODIMP GetInteger(VARIANT_BOOL advance, LONG* number) noexcept override;
    STDMETHODIMP GetDouble(VARIANT_BOOL advance, double* number) noexcept override;
    STDMETHODIMP GetBoolean(VARIANT_BOOL advance, VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP GetDate(VARIANT_BOOL advance, DATE* date) noexcept override;
    STDMETHODIMP GetInt64(VARIANT_BOOL advance, LONGLONG* number) noexcept override;
    STDMETHODIMP GetUInt64(VARIANT_BOOL advance, ULONGLONG* number) noexcept override;
    STDMETHODIMP SkipToEndOfObject(VARIANT_BOOL advance) noexcept override;
    STDMETHODIMP SkipToEndOfArray(VARIANT_BOOL advance) noexcept override;
    // IJSONReader4
    STDMETHODIMP SetReadContainersAsText(VARIANT_BOOL asText) noexcept override;
    // IJSONReaderPosition
    STDMETHODIMP get_TokenOffset(LONGLONG* offset) noexcept override;
    STDMETHODIMP get_TokenLine(LONGLONG* line) noexcept override;
    STDMETHODIMP get_TokenColumn(LONGLONG* column) noexcept override;
    STDMETHODIMP get_FailureOffset(LONGLONG* offset) noexcept override;
    STDMETHODIMP get_FailureLine(LONGLONG* line) noexcept override;
    STDMETHODIMP get_FailureColumn(LONGLONG* column) noexcept override;
    STDMETHODIMP get_Depth(LONGLONG* depth) noexcept override;
    // IHoldsScanner
    json::Scanner& STDMETHODCALLTYPE TheScanner() noexcept override { return scanner_; }
    HRESULT STDMETHODCALLTYPE ReportFailure() noexcept override;
    HRESULT STDMETHODCALLTYPE Step() noexcept override { return ReadNext(); }

 private:
    class NamesFound;

    // json::ByteSource: the stream
    std::int32_t Read(std::byte* target, std::size_t size, std::size_t& read) noexcept override;

    /// Asks the stream something.
    template <class Call>
    HRESULT CallOut(Call call) noexcept;
    /// Refuses to be opened while the stream is asked.
    HRESULT RefuseCalledOut() const noexcept;
    void Close() noexcept;
    /// What an operation answers that has moved on.
    HRESULT StatusOf(json::Outcome outcome) noexcept;
    /// Reads on where it is wanted.
    HRESULT GoOn(bool advance);
    HRESULT Skip(json::State end, bool advance) noexcept;
    HRESULT Find(NamesFound& names);
    /// Refuses with a message that names the state and quotes the text.
    HRESULT RefuseHere(HRESULT status, std::u16string_view fault) const;
    /// A string's text without its escapes, else the token as it stands; it is good until the next call.
    std::u16string_view Plain(std::u16string_view text, bool hasEscapes);
    std::u16string_view PlainToken();
    /// Hands a text out and reads on. @param text null for the empty one
    HRESULT HandOut(kv::BString text, bool advance, BSTR* target);
    HRESULT ReadNumber(VARIANT* value, LONG& decimals);
    template <class Object>
    HRESULT ReadContainer(REFCLSID objectClass, VARIANT* value);
    template <class Convert, class Value>
    HRESULT ConvertString(Convert convert, Value& value);

    json::Scanner scanner_;
    json::ChunkedText chunks_;
    kv::Ptr<IStream> stream_;
    std::map<std::u16string, json::Scanner::Bookmark, std::less<>> bookmarks_;
    std::vector<char16_t> scratch_;
    SoughtNames sought_;
    bool containersAsText_ = false;
    bool callsOut_ = false;  ///< whether the stream is being asked, which may call back
};

}  // namespace mova
