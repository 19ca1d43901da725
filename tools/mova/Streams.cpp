#include "tools/mova/Streams.h"

#include "kvcore/Stream.h"

namespace mova::tool {

kv::Ptr<IStream> MemoryOf(std::string_view bytes) {
    auto memory = CreateAs<IStream>(u"MemoryBlobStream");
    Check(kv::KvStreamWrite(memory.Get(), bytes.data(), bytes.size(), nullptr));
    Check(kv::KvStreamSeek(memory.Get(), 0));
    return memory;
}

std::string_view BytesOf(const kv::Ptr<IStream>& memory) {
    BYTE* bytes = nullptr;
    ULONGLONG size = 0;
    Check(memory.As<IMemoryBlobBuffer>()->GetBuffer(&bytes, &size));
    return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

kv::Ptr<IObjectStream> ObjectsOver(const kv::Ptr<IStream>& stream) {
    auto objects = CreateAs<IObjectStream>(u"ObjectStream");
    Check(objects->put_Stream(stream.Get()));
    return objects;
}

kv::Ptr<IUnknown> LoadObject(const kv::Ptr<IStream>& stream) {
    kv::Ptr<IUnknown> object;
    Check(ObjectsOver(stream)->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid()));
    return object;
}

}  // namespace mova::tool
