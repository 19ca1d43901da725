#include "xml/XMLPersistedObject.h"

#include "kvcore/ValueFormat.h"
#include "xml/XMLSerializerAlt.h"
#include "xml/XMLTextReader.h"

namespace mova {
namespace {

constexpr std::uint16_t recordVersion = 1;

kv::Ptr<IXMLSerializerAlt> NewSerializer() {
    return kv::Ptr<IXMLSerializerAlt>::Attach(XMLSerializerAlt::Make());
}

}  // namespace

void XMLPersistedObject::Take(std::u16string document) noexcept {
    document_ = std::move(document);
    SetDirty();
}

STDMETHODIMP XMLPersistedObject::put_XML(BSTR document) noexcept try {
    std::u16string copy(kv::View(document));
    if (!copy.empty()) {
        const auto reader = kv::Ptr<IXMLTextReader>::Attach(new XMLTextReader(nullptr));
        HRESULT status = reader->put_Text(document);
        for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) status = reader->Read(&found);
        if (FAILED(status)) return status;
    }
    Take(std::move(copy));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLPersistedObject::get_XML(BSTR* document) noexcept try {
    if (!document) return Refuse(E_POINTER);
    *document = nullptr;
    if (!document_.empty()) *document = kv::BString(document_).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLPersistedObject::put_Object(IUnknown* object) noexcept try {
    kv::BString document;
    if (object) {
        if (HRESULT status = NewSerializer()->SaveToString(object, nullptr, document.Put()); FAILED(status))
            return status;
    }
    Take(std::u16string(document.View()));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLPersistedObject::get_Object(IUnknown** object) noexcept try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    if (document_.empty()) return S_FALSE;
    return NewSerializer()->LoadFromString(kv::BString(document_).Get(), object);
} catch (...) {
    return CaughtStatus();
}

void XMLPersistedObject::WriteFields(kv::StreamWriter& out) const noexcept {
    out << recordVersion;
    kv::WriteText(out, document_);
}

HRESULT XMLPersistedObject::ReadFields(kv::StreamReader& in) {
    std::uint16_t version = 0;
    if (in.Read(version) && version > recordVersion) return RefuseNewer();
    std::u16string document;
    if (!kv::ReadText(in, document)) return in.Status();
    document_ = std::move(document);
    return S_OK;
}

}  // namespace mova
