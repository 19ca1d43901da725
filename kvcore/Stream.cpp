#include "kvcore/Stream.h"

#include <limits>
#include <new>

#include <movaSystem.h>
#include "kvcore/CreateInstance.h"

namespace kv {
namespace {

/// As much as one call of a stream can take.
ULONG Piece(std::size_t size) noexcept {
    return static_cast<ULONG>(std::min<std::size_t>(size, std::numeric_limits<LONG>::max()));
}

}  // namespace

HRESULT KvStreamRead(IStream* stream, void* target, std::size_t size, std::size_t* read) noexcept {
    std::size_t done = 0;
    HRESULT status = S_OK;
    while (done < size) {
        ULONG came = 0;
        status = stream->Read(static_cast<std::byte*>(target) + done, Piece(size - done), &came);
        if (FAILED(status)) break;
        if (came == 0 || came > size - done) break;
        done += came;
    }
    if (read) *read = done;
    return FAILED(status) ? status : S_OK;
}

HRESULT KvStreamWrite(IStream* stream, const void* source, std::size_t size, std::size_t* written) noexcept {
    std::size_t done = 0;
    HRESULT status = S_OK;
    while (done < size) {
        ULONG went = 0;
        status = stream->Write(static_cast<const std::byte*>(source) + done, Piece(size - done), &went);
        if (SUCCEEDED(status) && (went == 0 || went > size - done)) status = STG_E_MEDIUMFULL;
        if (FAILED(status)) break;
        done += went;
    }
    if (written) *written = done;
    return FAILED(status) ? status : S_OK;
}

HRESULT KvStreamSeek(IStream* stream, std::uint64_t position) noexcept {
    LARGE_INTEGER to;
    to.QuadPart = static_cast<LONGLONG>(position);
    return stream->Seek(to, STREAM_SEEK_SET, nullptr);
}

std::int32_t KvStreamGetDocumentVersion(IStream* stream) noexcept {
    const auto document = Ptr<IStream>(stream).As<IDocumentVersion>();
    LONG version = currentDocumentVersion;
    return document && SUCCEEDED(document->get_DocumentVersion(&version)) ? version : currentDocumentVersion;
}

std::int16_t KvStreamGetProSaveVersion(IStream* stream, const SaveVersions& versions) noexcept {
    const std::int32_t document = KvStreamGetDocumentVersion(stream);
    if (document >= currentDocumentVersion) return versions.newer;
    std::size_t generation = earlierDocumentVersions.size() - 1;
    while (generation > 0 && document < earlierDocumentVersions[generation]) --generation;
    return versions.earlier[generation];
}

detail::StreamUser::StreamUser(IStream* stream) noexcept : stream_(stream) {
    Ptr<IWindowedStream> windowed;
    if (SUCCEEDED(stream->QueryInterface(__uuidof(IWindowedStream), windowed.PutVoid())))
        window_ = windowed->Window(windowKeeper_.Put());
}

detail::StreamUser::~StreamUser() {
    if (objects_) objects_->Release();
}

IObjectStream* detail::StreamUser::Objects(HRESULT& status) noexcept {
    if (objects_) return objects_;
    Ptr<IObjectStream> objects = Ptr<IStream>(stream_).As<IObjectStream>();
    if (!objects) {
        status = KvCreateInstance(__uuidof(::ObjectStream), objects);
        if (SUCCEEDED(status)) status = objects->put_Stream(stream_);
        if (FAILED(status)) return nullptr;
    }
    return objects_ = objects.Detach();
}

bool StreamReader::LoadObject(REFIID iid, void** object) noexcept {
    *object = nullptr;
    if (Failed()) return false;
    HRESULT status = E_FAIL;
    IObjectStream* objects = user_.Objects(status);
    if (objects) status = objects->LoadObject(iid, nullptr, object);
    return SUCCEEDED(status) || FailWith(status);
}

bool StreamReader::ReadBeyond(void* target, std::size_t size) noexcept {
    std::size_t read = 0;
    const HRESULT status = KvStreamRead(Stream(), target, size, &read);
    if (FAILED(status)) return FailWith(status);
    return read == size || Fail();
}

bool StreamReader::HoldsBeyond(std::uint64_t size) noexcept {
    STATSTG stat{};
    ULARGE_INTEGER position{};
    if (FAILED(Stream()->Stat(&stat, STATFLAG_NONAME)) ||
        FAILED(Stream()->Seek(LARGE_INTEGER{}, STREAM_SEEK_CUR, &position)))
        return false;
    return position.QuadPart <= stat.cbSize.QuadPart && size <= stat.cbSize.QuadPart - position.QuadPart;
}

bool StreamWriter::SaveObject(IUnknown* object) noexcept {
    const Ptr<IUnknown> held(user_.Window() ? nullptr : object);  // the stream that is written to may let go of it
    if (FAILED(Finish())) return false;
    HRESULT status = E_FAIL;
    IObjectStream* objects = user_.Objects(status);
    if (objects) status = objects->SaveObject(object);
    return SUCCEEDED(status) || FailWith(status);
}

HRESULT StreamWriter::Finish() noexcept {
    if (!Failed()) Flush();
    return Failed() ? status_ : S_OK;
}

bool StreamWriter::WriteBeyond(const void* source, std::size_t size) noexcept try {
    if (user_.Window()) return WriteThrough(source, size);
    const std::size_t before = HeldSize();
    const std::size_t room = std::max(before + size, 2 * before);
    auto larger = std::make_unique_for_overwrite<std::byte[]>(room);
    std::memcpy(larger.get(), Held(), before);
    larger_ = std::move(larger);
    own_ = {larger_.get() + before, larger_.get() + before, larger_.get() + room};
    return Write(source, size);
} catch (const std::bad_alloc&) {
    return FailWith(E_OUTOFMEMORY);
}

bool StreamWriter::WriteThrough(const void* source, std::size_t size) noexcept {
    const HRESULT status = KvStreamWrite(Stream(), source, size, nullptr);
    return SUCCEEDED(status) || FailWith(status);
}

bool StreamWriter::Flush() noexcept {
    const std::size_t size = HeldSize();
    own_.position = own_.readEnd = Held();
    return size == 0 || WriteThrough(Held(), size);
}

}  // namespace kv
