#include "streams/ObjectCopy.h"

#include "streams/MemoryBlobStream.h"
#include "streams/ObjectStream.h"
#include "streams/PersistentComponent.h"

namespace mova {

HRESULT CopyBySaving(IUnknown* object, IUnknown** copy) noexcept try {
    *copy = nullptr;
    const auto memory = kv::Ptr<MemoryBlobStream>::Attach(MemoryBlobStream::Make());
    const auto stream = kv::Ptr<ObjectStream>::Attach(ObjectStream::Make());
    stream->put_Stream(memory.Get());
    if (HRESULT status = memory->Resize(0); FAILED(status)) return status;  // opens its window before the first write
    if (HRESULT status = stream->SaveObject(object); FAILED(status)) return status;
    memory->MoveTo(0);
    return stream->LoadObject(__uuidof(IUnknown), nullptr, reinterpret_cast<void**>(copy));
} catch (...) {
    return CaughtStatus();
}

HRESULT MeasureSaved(IPersistStream& object, ULARGE_INTEGER& size) noexcept try {
    const auto memory = kv::Ptr<MemoryBlobStream>::Attach(MemoryBlobStream::Make());
    if (HRESULT status = object.Save(memory.Get(), FALSE); FAILED(status)) return status;
    return memory->GetSize(size.QuadPart);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP ObjectCopy::Copy(IUnknown* object, IUnknown** copy) noexcept {
    return copy ? CopyBySaving(object, copy) : Refuse(E_POINTER);
}

}  // namespace mova
