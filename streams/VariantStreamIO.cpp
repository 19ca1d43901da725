#include "streams/VariantStreamIO.h"

#include "kvcore/VariantStream.h"
#include "streams/PersistentComponent.h"

namespace mova {
namespace {

constexpr auto noStream = u"There is no stream of bytes under the stream of values.";

}  // namespace

STDMETHODIMP VariantStreamIO::Write(VARIANT value) noexcept try {
    if (!stream_) return Refuse<IVariantStream>(E_FAIL, noStream);
    const kv::Ptr<IStream> stream = stream_;  // an object that is saved may put another one
    kv::StreamWriter out(stream.Get());
    kv::WriteValue(out, value, kv::Objects::kept);
    const HRESULT status = out.Finish();
    if (status == DISP_E_BADVARTYPE) return Refuse<IVariantStream>(status, unsavableValue);
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP VariantStreamIO::Read(VARIANT* value) noexcept try {
    if (!value) return Refuse(E_POINTER);
    VariantInit(value);
    if (!stream_) return Refuse<IVariantStream>(E_FAIL, noStream);
    const kv::Ptr<IStream> stream = stream_;
    kv::StreamReader in(stream.Get());
    kv::Variant read;
    if (kv::ReadValue(in, read.Put(), kv::Objects::kept)) *value = read.Detach();
    if (in.Failed() && !in.PassesOn())
        return Refuse<IVariantStream>(in.Status(), u"The stream ends here, or no value stands here.");
    return in.Status();
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP VariantStreamIO::put_Stream(IStream* stream) noexcept {
    stream_ = kv::Ptr<IStream>(stream);
    return S_OK;
}

STDMETHODIMP VariantStreamIO::get_Stream(IStream** stream) noexcept {
    if (!stream) return Refuse(E_POINTER);
    *stream = kv::Ptr<IStream>(stream_).Detach();
    return S_OK;
}

}  // namespace mova
