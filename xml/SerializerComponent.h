#pragma once

#include <movaSystem.h>

#include <utility>

#include "kvcore/CreateInstance.h"
#include "server/Component.h"
#include "xml/GraphReader.h"
#include "xml/GraphWriter.h"
#include "xml/HoldsFlags.h"
#include "xml/MapsTypes.h"
#include "xml/TreeWriter.h"
#include "xml/XmlNames.h"

namespace mova {

/// What serializers have in common: their settings, and how they write and read.
template <class Self, class Coclass, class Serializer>
class SerializerComponent : public Component<Self, Coclass, Serializer> {
    using Base = Component<Self, Coclass, Serializer>;

 public:
    using Base::Base;

    STDMETHODIMP put_ReleaseNamespaceURI(BSTR namespaceURI) noexcept override {
        const auto release = xml::ReleaseOf(kv::View(namespaceURI));
        if (!release)
            return this->template Refuse<Serializer>(E_INVALIDARG,
                                                     u"The namespace is that of no release of the schema.");
        release_ = *release;
        return S_OK;
    }
    STDMETHODIMP get_ReleaseNamespaceURI(BSTR* namespaceURI) noexcept override try {
        if (!namespaceURI) return Base::Refuse(E_POINTER);
        *namespaceURI = nullptr;
        *namespaceURI = kv::BString(xml::NamespaceOf(release_)).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP put_Flags(IXMLFlags* flags) noexcept override {
        const auto former = std::exchange(flags_, kv::Ptr<IXMLFlags>(flags));
        return S_OK;
    }
    STDMETHODIMP get_Flags(IXMLFlags** flags) noexcept override {
        if (!flags) return Base::Refuse(E_POINTER);
        *flags = kv::Ptr<IXMLFlags>(flags_).Detach();
        return S_OK;
    }

 protected:
    /// Makes an element of what is filled into it, and then writes it.
    /// @param name empty for that of the object's type
    /// @param fill HRESULT(GraphWriter&, Index element)
    /// @param write HRESULT(ElementTree&, const TreeForm&); nothing was written before it is called
    template <class Fill, class Write>
    HRESULT WriteElement(std::u16string_view name, std::u16string_view uri, Fill fill, Write write) {
        if (!name.empty() && !xml::IsName(name)) return RefuseName();
        SerializeFlags said;
        if (HRESULT status = Ask(said); FAILED(status)) return status;
        kv::Ptr<IMapsTypes> mapper;
        if (HRESULT status = FindMapper(mapper); FAILED(status)) return status;
        GraphWriter graph(mapper->Types(), {release_, said.forSoap, said.sharedObjects});
        const HRESULT status = graph.Add(name, [&](GraphWriter::Index element) { return fill(graph, element); });
        if (FAILED(status)) return status;
        if (name.empty()) graph.Tree()[0].name = graph.Tree()[0].typeName;
        return write(graph.Tree(), xml::TreeForm{uri, xml::NamespaceOf(release_), said.formatted});
    }

    HRESULT RefuseName() const noexcept {
        return this->template Refuse<Serializer>(E_INVALIDARG,
                                                 u"An element must have a name as XML has them, without a prefix.");
    }

    /// Reads the next element of a reader. @param read HRESULT(GraphReader&), of the element 0; may throw
    template <class Read>
    HRESULT ReadElement(IXMLReader& reader, Read read) {
        SerializeFlags said;
        if (HRESULT status = Ask(said); FAILED(status)) return status;
        kv::Ptr<IMapsTypes> mapper;
        if (HRESULT status = FindMapper(mapper); FAILED(status)) return status;
        GraphReader graph(mapper->Types(), {said.unknownAsNull});
        const kv::Ptr<IXMLReader> held(&reader);
        HRESULT status = graph.TakeIn(reader);
        if (FAILED(status)) return status;
        try {
            status = read(graph);
        } catch (...) {
            status = CaughtStatus();
        }
        if (FAILED(status)) graph.Drop();
        return status;
    }

 private:
    HRESULT Ask(SerializeFlags& said) const noexcept {
        const auto flags = flags_;
        if (!flags) return S_OK;
        if (const auto own = flags.template As<IHoldsFlags>()) {
            said = own->Flags();
            return S_OK;
        }
        HRESULT status = S_OK;
        const auto ask = [&](auto get, bool& answer) {
            VARIANT_BOOL flag = VARIANT_FALSE;
            if (SUCCEEDED(status)) status = (flags.Get()->*get)(&flag);
            answer = flag != VARIANT_FALSE;
        };
        ask(&IXMLFlags::get_ForSOAP, said.forSoap);
        ask(&IXMLFlags::get_SharedObjects, said.sharedObjects);
        ask(&IXMLFlags::get_UnknownAsNull, said.unknownAsNull);
        ask(&IXMLFlags::get_Formatted, said.formatted);
        return status;
    }
    /// The thread's type mapper, which has its map of types.
    HRESULT FindMapper(kv::Ptr<IMapsTypes>& mapper) const noexcept {
        return kv::KvCreateInstance(__uuidof(::XMLTypeMapper), mapper);
    }

    xml::SchemaRelease release_ = xml::newestRelease;
    kv::Ptr<IXMLFlags> flags_;
};

}  // namespace mova
