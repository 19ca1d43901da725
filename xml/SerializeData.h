#pragma once

#include <movaSystem.h>

#include <vector>

#include "kvcore/Ptr.h"
#include "server/Component.h"
#include "xml/ElementTree.h"
#include "xml/SeesElements.h"

namespace mova {

class GraphReader;
class GraphWriter;
struct SerializeDataClass;

}  // namespace mova

__CRT_UUID_DECL(mova::SerializeDataClass, 0x81365711, 0xDB31, 0x48CF, 0xB1, 0x80, 0x80, 0xA0, 0x6E, 0x09, 0xE1, 0x81)

namespace mova {

/// What objects write themselves into and read themselves from: the face of a GraphWriter or GraphReader, for as long
/// as a turn lasts. No client creates one.
class SerializeData final : public Component<SerializeData, SerializeDataClass, IXMLSerializeData, ISeesElements> {
 public:
    using Component::Component;
    using Index = xml::ElementTree::Index;

    static constexpr const char16_t* reportedName = u"SerializeData";

    static kv::Ptr<SerializeData> New() { return kv::Ptr<SerializeData>::Attach(Make()); }

    /// An object's turn to write into its element or to read from it.
    class Turn {
     public:
        Turn(SerializeData& data, GraphWriter& writer, Index element) noexcept;
        Turn(SerializeData& data, GraphReader& reader, Index element);
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

     private:
        SerializeData& data_;
        GraphWriter* const writer_;  // those of the turn around this one
        GraphReader* const reader_;
        const Index element_;
        const std::size_t firstChild_;
    };

    /// Refuses with a text that says why. @return the status
    HRESULT Explain(HRESULT status, const char16_t* text) const noexcept {
        return Refuse<IXMLSerializeData>(status, text);
    }
    /// The same with a text of the library's string table.
    HRESULT Explain(HRESULT status, UINT messageId) const noexcept {
        return ReportError(*this, status, messageId, nullptr, __uuidof(IXMLSerializeData));
    }

    /// What clients know is the serializer.
    void ErrorSource(HRESULT status, UINT messageId, const char16_t* text,
                     std::span<char16_t, 128> source) const noexcept override;

    // IXMLSerializeData
    STDMETHODIMP put_TypeName(BSTR typeName) noexcept override;
    STDMETHODIMP get_TypeName(BSTR* typeName) noexcept override;
    STDMETHODIMP put_TypeNamespaceURI(BSTR namespaceURI) noexcept override;
    STDMETHODIMP get_TypeNamespaceURI(BSTR* namespaceURI) noexcept override;
    STDMETHODIMP get_ReleaseNamespaceURI(BSTR* namespaceURI) noexcept override;
    STDMETHODIMP get_ForSOAP(VARIANT_BOOL* isForSOAP) noexcept override;
    STDMETHODIMP AddBoolean(BSTR name, VARIANT_BOOL flag) noexcept override;
    STDMETHODIMP AddLong(BSTR name, LONG number) noexcept override;
    STDMETHODIMP AddInt64(BSTR name, LONGLONG number) noexcept override;
    STDMETHODIMP AddDouble(BSTR name, DOUBLE number) noexcept override;
    STDMETHODIMP AddDate(BSTR name, DATE date) noexcept override;
    STDMETHODIMP AddString(BSTR name, BSTR text) noexcept override;
    STDMETHODIMP AddBytes(BSTR name, VARIANT bytes) noexcept override;
    STDMETHODIMP AddObject(BSTR name, IUnknown* object) noexcept override;
    STDMETHODIMP AddVariant(BSTR name, VARIANT element) noexcept override;
    STDMETHODIMP AddKeyedVariant(BSTR name, BSTR key, VARIANT element) noexcept override;
    STDMETHODIMP get_Count(LONG* elementCount) noexcept override;
    STDMETHODIMP GetName(LONG index, BSTR* name) noexcept override;
    STDMETHODIMP GetKey(LONG index, BSTR* key) noexcept override;
    STDMETHODIMP Find(BSTR name, LONG* index) noexcept override;
    STDMETHODIMP GetBoolean(LONG index, VARIANT_BOOL* flag) noexcept override;
    STDMETHODIMP GetLong(LONG index, LONG* number) noexcept override;
    STDMETHODIMP GetInt64(LONG index, LONGLONG* number) noexcept override;
    STDMETHODIMP GetDouble(LONG index, DOUBLE* number) noexcept override;
    STDMETHODIMP GetDate(LONG index, DATE* date) noexcept override;
    STDMETHODIMP GetString(LONG index, BSTR* text) noexcept override;
    STDMETHODIMP GetBytes(LONG index, VARIANT* bytes) noexcept override;
    STDMETHODIMP GetObjectAt(LONG index, IUnknown** object) noexcept override;
    STDMETHODIMP GetVariant(LONG index, VARIANT* element) noexcept override;
    // ISeesElements
    std::u16string_view STDMETHODCALLTYPE NameOf(LONG index) noexcept override;
    std::u16string_view STDMETHODCALLTYPE KeyOf(LONG index) noexcept override;

 private:
    xml::ElementTree* Tree() noexcept;
    const xml::ElementTree::Element& ElementAt(LONG index) noexcept;
    template <class Fill>
    HRESULT Add(BSTR name, Fill fill) noexcept;
    /// Hands out what stands in the tree of whoever writes or reads. @param text std::u16string_view(ElementTree&)
    template <class Text>
    HRESULT HandOutText(BSTR* target, Text text) noexcept;
    template <class Handle>
    HRESULT At(LONG index, Handle handle) noexcept;
    template <class Value, class Read>
    HRESULT HandOut(LONG index, Value* value, Read read) noexcept;

    GraphWriter* writer_ = nullptr;
    GraphReader* reader_ = nullptr;
    Index element_ = xml::ElementTree::none;  ///< whose turn it is
    std::vector<Index> children_;             ///< the elements of those that read, of the one whose turn it is last
    std::size_t firstChild_ = 0;
};

}  // namespace mova
