#pragma once

#include <movaSystem.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "kvcore/BlockPool.h"
#include "kvcore/CreateInstance.h"
#include "kvcore/IdBits.h"
#include "streams/ForwardingStream.h"
#include "streams/NumberTable.h"
#include "streams/PointerMap.h"

namespace mova {

/// The objects that were saved to a stream, each under its number.
class SavedObjects {
 public:
    struct SavedAs {
        CLSID classId;
        ULONG number;
    };

    /// Nothing where the object was not saved.
    std::optional<SavedAs> Find(IUnknown* identity) const noexcept;
    /// @throw std::bad_alloc, nothing being changed
    void Add(kv::Ptr<IUnknown> identity, const SavedAs& saved);
    std::size_t Count() const noexcept { return count_; }
    /// Forgets those that were added when there were so many.
    void TakeBack(std::size_t count) noexcept;
    void Clear() noexcept;

 private:
    struct Entry {
        kv::Ptr<IUnknown> identity;  ///< held, so that no other object can come to its address
        SavedAs saved;
    };
    struct Position {
        ULONG number;
        std::uint32_t classPosition;
    };
    /// Filled to its capacity and never moved.
    using Piece = std::vector<kv::Ptr<IUnknown>>;

    std::uint32_t PositionOf(REFCLSID clsid);

    std::array<Entry, 2> few_;  ///< most streams hold one object; what there is more of is in the map
    PointerMap<Position> byIdentity_;
    std::vector<Piece> held_;
    std::size_t count_ = 0;
    std::vector<CLSID> classes_;
    std::map<kv::IdBits, std::uint32_t> positions_;  ///< of the classes
    std::uint32_t latestPosition_ = 0;
};

/// A stream that object graphs are saved to and loaded from; the layout of a reference is in docs/formats.md.
class ObjectStream final
    : public ForwardingStream<ObjectStream, ::ObjectStream,
                              Generations<IObjectStream2, IObjectStream, IStream, ISequentialStream>, IDocumentVersion,
                              kv::IWindowedStream> {
 public:
    using Component::Make;
    using ForwardingStream::ForwardingStream;

    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override;
    // IObjectStream
    STDMETHODIMP put_Stream(IStream* stream) noexcept override;
    STDMETHODIMP get_Stream(IStream** stream) noexcept override;
    STDMETHODIMP SaveObject(IUnknown* object) noexcept override;
    STDMETHODIMP LoadObject(REFIID iid, IUnknown* outer, void** object) noexcept override;
    STDMETHODIMP put_DebugSink(IObjectStreamDebug* sink) noexcept override;
    STDMETHODIMP get_DebugSink(IObjectStreamDebug** sink) noexcept override;
    STDMETHODIMP put_DocumentVersion(LONG version) noexcept override;
    STDMETHODIMP get_DocumentVersion(LONG* version) noexcept override;
    STDMETHODIMP FindSaved(IUnknown* object, ULONG* number) noexcept override;
    STDMETHODIMP FindLoaded(ULONG number, REFIID iid, void** object) noexcept override;
    // IObjectStream2
    STDMETHODIMP ForgetReferences() noexcept override;
    STDMETHODIMP put_NestingLimit(LONG limit) noexcept override;
    STDMETHODIMP get_NestingLimit(LONG* limit) noexcept override;
    STDMETHODIMP put_SizeLimit(LONGLONG limit) noexcept override;
    STDMETHODIMP get_SizeLimit(LONGLONG* limit) noexcept override;
    STDMETHODIMP AllowClass(REFCLSID clsid) noexcept override;
    STDMETHODIMP AllowAllClasses() noexcept override;
    // IWindowedStream; while the bytes read are counted, all goes through Read
    kv::ByteWindow* STDMETHODCALLTYPE Window(IUnknown** keeper) noexcept override;

 private:
    class Nesting;

    /// How a reference stands in the stream; only the class, all zero, where it is null.
    struct Reference {
        CLSID classId;
        ULONG number;
    };
    static_assert(sizeof(Reference) == 20);

    /// An object, and the number that the same outermost load has created before it.
    struct Loaded {
        kv::Ptr<IUnknown> object;
        ULONG previous = 0;
        explicit operator bool() const noexcept { return static_cast<bool>(object); }
    };

    /// What was saved before a save began.
    struct Before {
        std::size_t count = 0;
        ULONG nextNumber = 1;
    };

    HRESULT SaveRepeated(const SavedObjects::SavedAs& saved) noexcept;
    HRESULT SaveNull() noexcept;
    /// @param original what the object is saved in the place of; null for nothing
    HRESULT SaveNew(kv::Ptr<IUnknown> object, kv::Ptr<IUnknown> original);
    /// Records an object and writes it: by values or by bytes, one of which is null.
    HRESULT SaveBody(REFCLSID clsid, kv::Ptr<IUnknown> object, kv::Ptr<IUnknown> original, IPersistVariant* byValues,
                     IPersistStream* byBytes) noexcept;
    HRESULT LoadReference(IUnknown* outer, kv::Ptr<IUnknown>& object) noexcept;
    HRESULT LoadNew(REFCLSID clsid, ULONG number, IUnknown* outer, kv::Ptr<IUnknown>& object);
    /// After a failure nobody has the objects that were created: what they hold of each other is let go.
    void DropLoaded() noexcept;
    HRESULT RefuseClass(HRESULT status, REFCLSID clsid, std::u16string_view what) const;
    HRESULT WriteReference(REFCLSID clsid, ULONG number) noexcept;
    HRESULT WriteBytes(const void* source, std::size_t size) noexcept;
    HRESULT ReadReference(Reference& reference) noexcept;
    HRESULT ReadBytes(void* target, std::size_t size) noexcept;

    kv::Ptr<kv::IWindowedStream> windowed_;  ///< the inner stream, where it is one
    SavedObjects saved_;
    NumberTable<Loaded, kv::BlockAllocator<Loaded>> loaded_;
    std::unique_ptr<std::set<kv::IdBits>> allowed_;  ///< the classes that may be created; null for all
    kv::Creator creator_;
    kv::Ptr<IObjectStreamDebug> sink_;
    ULONG nextNumber_ = 1;
    Before before_;      ///< the outermost save
    ULONG created_ = 0;  ///< how many objects the outermost load has created
    ULONG latest_ = 0;   ///< the number of the latest of these
    LONG documentVersion_ = kv::currentDocumentVersion;
    LONG nestingLimit_ = 1000;
    LONG depth_ = 0;
    bool saving_ = false;
    bool loading_ = false;
    bool counts_ = false;  ///< the bytes that the outermost load reads
    LONGLONG sizeLimit_ = 0;
    LONGLONG sizeLeft_ = 0;
};

}  // namespace mova
