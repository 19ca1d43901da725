#include "xml/XMLStream.h"

#include "xml/DocumentText.h"

namespace mova {

STDMETHODIMP XMLStream::LoadFromString(BSTR text) noexcept try {
    const std::string bytes = xml::BytesOfDocument(kv::View(text));
    return content_.Replace(std::as_bytes(std::span(bytes))) ? S_OK : Refuse(E_OUTOFMEMORY);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLStream::SaveToString(BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    const auto found = xml::TextOfDocument(content_.Bytes());
    if (!found) return Refuse<IXMLStream>(E_FAIL, u"The bytes are not text in UTF-8, nor in UTF-16 behind its mark.");
    auto copy = kv::BString::OfLength(found->size());
    std::copy(found->begin(), found->end(), copy.Units());
    *text = copy.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
