#include "xml/XMLSerializer.h"

#include "xml/WriterSink.h"

namespace mova {

template <class Fill>
HRESULT XMLSerializer::Write(IXMLWriter* writer, BSTR name, BSTR namespaceURI, Fill fill) noexcept try {
    if (!writer) return Refuse(E_POINTER);
    if (kv::View(name).empty()) return RefuseName();
    WriterSink out(writer);
    return WriteElement(kv::View(name), kv::View(namespaceURI), fill,
                        [&](xml::ElementTree& tree, const xml::TreeForm& form) {
                            xml::WriteTree(tree, form, out);
                            return out.Status();
                        });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializer::WriteObject(IXMLWriter* writer, BSTR name, BSTR namespaceURI, IUnknown* object) noexcept {
    return Write(writer, name, namespaceURI,
                 [&](GraphWriter& graph, GraphWriter::Index element) { return graph.FillObject(element, object); });
}

STDMETHODIMP XMLSerializer::WriteVariant(IXMLWriter* writer, BSTR name, BSTR namespaceURI, VARIANT value) noexcept {
    return Write(writer, name, namespaceURI,
                 [&](GraphWriter& graph, GraphWriter::Index element) { return graph.FillValue(element, value); });
}

STDMETHODIMP XMLSerializer::ReadObject(IXMLReader* reader, IUnknown** object) noexcept try {
    if (object) *object = nullptr;
    if (!reader || !object) return Refuse(E_POINTER);
    return ReadElement(*reader, [&](GraphReader& graph) {
        kv::Ptr<IUnknown> read;
        const HRESULT status = graph.ReadObject(0, read);
        if (SUCCEEDED(status)) *object = read.Detach();
        return status;
    });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializer::ReadVariant(IXMLReader* reader, VARIANT* value) noexcept try {
    if (value) VariantInit(value);
    if (!reader || !value) return Refuse(E_POINTER);
    return ReadElement(*reader, [&](GraphReader& graph) {
        kv::Variant read;
        const HRESULT status = graph.ReadValue(0, read);
        if (SUCCEEDED(status)) *value = read.Detach();
        return status;
    });
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
