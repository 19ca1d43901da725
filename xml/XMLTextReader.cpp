#include "xml/XMLTextReader.h"

namespace mova {

STDMETHODIMP XMLTextReader::put_Text(BSTR text) noexcept try {
    if (IsBusy()) return RefuseBusy();
    Open(std::make_unique<OpenDocument>(kv::View(text)));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTextReader::get_Text(BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (IsBusy()) return RefuseBusy();
    if (!Document() || !Document()->Text()) return S_OK;
    *text = kv::BString(Document()->Text()->View()).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
