#include "streams/ObjectStream.h"

#include <algorithm>

#include "kvcore/Guid.h"
#include "kvcore/Stack.h"
#include "server/HoldsObjects.h"
#include "streams/ObjectTrace.h"
#include "streams/PersistentComponent.h"
#include "streams/VariantStreamIO.h"

namespace mova {
namespace {

constexpr auto noStream = u"The object stream has no stream of bytes under it.";
constexpr auto tooDeep = u"The objects nest too deeply.";
constexpr LONG largestNestingLimit = 100'000;

/// The class that an object persisting by values names through its identifier; CLSID_NULL where it names none.
/// @return E_OUTOFMEMORY where that is why
HRESULT NameClass(IPersistVariant& object, CLSID& clsid) noexcept {
    kv::Ptr<IUnknown> identifier;
    HRESULT status = object.get_ID(identifier.Put());
    const auto exchange = SUCCEEDED(status) ? identifier.As<IIdentifierExchange>() : kv::Ptr<IIdentifierExchange>();
    if (exchange) status = exchange->GetIdentifier(&clsid, nullptr);
    if (FAILED(status)) clsid = CLSID_NULL;
    return status == E_OUTOFMEMORY ? status : S_OK;
}

}  // namespace

std::optional<SavedObjects::SavedAs> SavedObjects::Find(IUnknown* identity) const noexcept {
    for (const Entry& entry : few_)
        if (entry.identity.Get() == identity) return entry.saved;
    const Position* found = byIdentity_.Find(identity);
    if (!found) return {};
    return SavedAs{classes_[found->classPosition], found->number};
}

void SavedObjects::Add(kv::Ptr<IUnknown> identity, const SavedAs& saved) {
    if (count_ < few_.size()) {
        few_[count_++] = {std::move(identity), saved};
        return;
    }
    constexpr std::size_t pieceSize = 512;
    const std::uint32_t classPosition = PositionOf(saved.classId);
    if (held_.empty() || held_.back().size() == held_.back().capacity()) {
        Piece piece;
        piece.reserve(held_.empty() ? pieceSize / 16 : pieceSize);
        held_.push_back(std::move(piece));
    }
    byIdentity_.Add(identity.Get(), {saved.number, classPosition});
    held_.back().push_back(std::move(identity));
    ++count_;
}

void SavedObjects::TakeBack(std::size_t count) noexcept {
    while (count_ > count) {
        kv::Ptr<IUnknown> latest;  // whoever ends with its last reference may come back
        if (--count_ < few_.size()) {
            latest = std::exchange(few_[count_], {}).identity;
            continue;
        }
        while (held_.back().empty()) held_.pop_back();
        latest = std::move(held_.back().back());
        held_.back().pop_back();
        byIdentity_.Remove(latest.Get());
    }
}

void SavedObjects::Clear() noexcept {
    byIdentity_.Clear();
    classes_.clear();
    positions_.clear();
    count_ = 0;
    const auto few = std::exchange(few_, {});  // whoever ends with its last reference may come back
    std::vector<Piece> held;
    held_.swap(held);
}

std::uint32_t SavedObjects::PositionOf(REFCLSID clsid) {
    if (latestPosition_ < classes_.size() && classes_[latestPosition_] == clsid) return latestPosition_;
    const auto known = positions_.find(kv::BitsOf(clsid));
    if (known != positions_.end()) return latestPosition_ = known->second;
    classes_.push_back(clsid);
    const auto position = static_cast<std::uint32_t>(classes_.size()) - 1;
    positions_.emplace(kv::BitsOf(clsid), position);
    return latestPosition_ = position;
}

/// One object inside another, for the length of saving or loading it.
class ObjectStream::Nesting {
 public:
    explicit Nesting(ObjectStream& stream) noexcept : stream_(stream) { ++stream_.depth_; }
    ~Nesting() { --stream_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

    bool IsTooDeep() const noexcept {
        constexpr std::size_t enoughStack = 192 * 1024;
        return stream_.depth_ > stream_.nestingLimit_ || (stream_.depth_ > 1 && kv::StackLeft() < enoughStack);
    }

 private:
    ObjectStream& stream_;
};

STDMETHODIMP ObjectStream::Read(void* target, ULONG size, ULONG* read) noexcept {
    if (!counts_) return ForwardingStream::Read(target, size, read);
    if (read) *read = 0;
    if (size != 0 && sizeLeft_ == 0) return Refuse<IObjectStream2>(E_FAIL, u"The objects exceed the size limit.");
    ULONG came = 0;
    const auto most = static_cast<ULONG>(std::min<LONGLONG>(size, sizeLeft_));
    const HRESULT status = ForwardingStream::Read(target, most, &came);
    sizeLeft_ -= came;
    if (read) *read = came;
    return status;
}

STDMETHODIMP ObjectStream::put_Stream(IStream* stream) noexcept {
    if (stream == Inner().Get()) return S_OK;
    if (depth_ != 0 || loading_)
        return Refuse<IObjectStream>(E_UNEXPECTED, u"An object is just being saved to the stream or loaded from it.");
    if (HRESULT status = SetInner(stream); FAILED(status)) return status;
    // Not through another stream over a stream: of these any number can be laid over each other.
    windowed_ = IsOverAnother() ? kv::Ptr<kv::IWindowedStream>() : Inner().As<kv::IWindowedStream>();
    return S_OK;
}

STDMETHODIMP ObjectStream::get_Stream(IStream** stream) noexcept {
    return HandOutInner(stream);
}

STDMETHODIMP ObjectStream::SaveObject(IUnknown* object) noexcept try {
    if (!Inner()) return Refuse<IObjectStream>(E_FAIL, noStream);
    if (!object) return SaveNull();
    // A pointer that equals the identity of an object which is held is that object, and it need not be asked.
    if (const auto saved = saved_.Find(object)) return SaveRepeated(*saved);
    kv::Ptr<IObjectSubstitution> substitution;
    kv::Ptr<IUnknown> identity;
    kv::Ptr<IUnknown> original;
    object->QueryInterface(__uuidof(IObjectSubstitution), substitution.PutVoid());
    if (HRESULT status = object->QueryInterface(__uuidof(IUnknown), identity.PutVoid()); FAILED(status)) return status;
    if (!identity) return Refuse(E_NOINTERFACE);
    if (substitution && !saved_.Find(identity.Get())) {
        kv::Ptr<IUnknown> substitute;
        const HRESULT status = substitution->GetSubstitute(substitute.Put());
        if (FAILED(status)) return status;
        if (status == S_OK && substitute) original = std::exchange(identity, substitute.As<IUnknown>());
        if (!identity) return Refuse(E_NOINTERFACE);
    }
    if (const auto saved = saved_.Find(identity.Get())) return SaveRepeated(*saved);
    return SaveNew(std::move(identity), std::move(original));
} catch (...) {
    return CaughtStatus();
}

HRESULT ObjectStream::SaveRepeated(const SavedObjects::SavedAs& saved) noexcept {
    const HRESULT status = WriteReference(saved.classId, saved.number);
    if (SUCCEEDED(status) && sink_) TraceReference(sink_.Get(), saved.number);
    return status;
}

HRESULT ObjectStream::SaveNull() noexcept {
    const HRESULT status = WriteBytes(&CLSID_NULL, sizeof(CLSID));
    if (SUCCEEDED(status) && sink_) TraceSaved(sink_.Get(), CLSID_NULL);
    return status;
}

HRESULT ObjectStream::SaveNew(kv::Ptr<IUnknown> object, kv::Ptr<IUnknown> original) {
    const auto byValues = object.As<IPersistVariant>();
    const auto byBytes = byValues ? kv::Ptr<IPersistStream>() : object.As<IPersistStream>();
    CLSID clsid{};
    if (!byValues && !byBytes) return SaveNull();
    const HRESULT named = byValues ? NameClass(*byValues.Get(), clsid) : byBytes->GetClassID(&clsid);
    if (FAILED(named)) return named;
    if (clsid == CLSID_NULL) return Refuse<IObjectStream>(E_INVALIDARG, u"An object does not name its class.");
    // Whoever was asked may have saved it meanwhile.
    if (const auto saved = saved_.Find(object.Get())) return SaveRepeated(*saved);
    const Nesting nesting(*this);
    if (nesting.IsTooDeep()) return Refuse<IObjectStream>(E_FAIL, tooDeep);
    const bool outermost = !std::exchange(saving_, true);
    if (outermost) before_ = {saved_.Count(), nextNumber_};
    const HRESULT status = SaveBody(clsid, std::move(object), std::move(original), byValues.Get(), byBytes.Get());
    if (!outermost) return status;
    if (FAILED(status)) {  // what was not written completely must not be referred to
        saved_.TakeBack(before_.count);
        nextNumber_ = before_.nextNumber;
    }
    saving_ = false;
    return status;
}

HRESULT ObjectStream::SaveBody(REFCLSID clsid, kv::Ptr<IUnknown> object, kv::Ptr<IUnknown> original,
                               IPersistVariant* byValues, IPersistStream* byBytes) noexcept try {
    const ULONG number = nextNumber_;
    saved_.Add(std::move(object), {clsid, number});
    ++nextNumber_;
    if (original && !saved_.Find(original.Get())) saved_.Add(std::move(original), {clsid, number});
    if (HRESULT status = WriteReference(clsid, number); FAILED(status)) return status;
    if (sink_) TraceSaved(sink_.Get(), clsid);
    const HRESULT status = byBytes ? byBytes->Save(this, FALSE)  // only the stream's keeper knows if it is the document
                                   : byValues->Save(VariantStream(this).Get());
    return FAILED(status) ? status : S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP ObjectStream::LoadObject(REFIID iid, IUnknown* outer, void** object) noexcept try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    if (kv::IsNull(&iid)) return Refuse(E_INVALIDARG);
    if (outer && iid != __uuidof(IUnknown)) return Refuse(CLASS_E_NOAGGREGATION);
    if (!Inner()) return Refuse<IObjectStream>(E_FAIL, noStream);
    const bool outermost = !loading_;
    if (outermost) {
        loading_ = true;
        created_ = 0;
        counts_ = sizeLimit_ != 0;
        sizeLeft_ = sizeLimit_;
    }
    kv::Ptr<IUnknown> loaded;
    HRESULT status = LoadReference(outer, loaded);
    if (status == S_OK) status = loaded->QueryInterface(iid, object);
    if (outermost) {
        if (FAILED(status)) DropLoaded();
        loading_ = counts_ = false;
    }
    return status;
} catch (...) {
    return CaughtStatus();
}

HRESULT ObjectStream::LoadReference(IUnknown* outer, kv::Ptr<IUnknown>& object) noexcept try {
    Reference reference{};
    if (HRESULT status = ReadReference(reference); FAILED(status)) return status;
    const auto& [clsid, number] = reference;
    if (clsid == CLSID_NULL) {
        if (sink_) TraceLoaded(sink_.Get(), 0, clsid);
        return S_FALSE;
    }
    if (const Loaded* known = loaded_.Find(number)) {
        object = known->object;
        if (sink_) TraceReference(sink_.Get(), number);
        return S_OK;
    }
    return LoadNew(clsid, number, outer, object);
} catch (...) {
    return CaughtStatus();
}

HRESULT ObjectStream::LoadNew(REFCLSID clsid, ULONG number, IUnknown* outer, kv::Ptr<IUnknown>& object) {
    const Nesting nesting(*this);
    if (nesting.IsTooDeep()) return Refuse<IObjectStream>(E_FAIL, tooDeep);
    if (allowed_ && !allowed_->contains(kv::BitsOf(clsid)))
        return RefuseClass(E_ACCESSDENIED, clsid, u" may not be created from this stream.");
    if (HRESULT status = creator_.Create(clsid, outer, __uuidof(IUnknown), object.PutVoid()); FAILED(status))
        return RefuseClass(status, clsid, u" cannot be created.");
    if (!object) return RefuseClass(E_FAIL, clsid, u" cannot be created.");
    loaded_.Add(number, {outer ? kv::Ptr<IUnknown>(outer) : object, latest_});
    latest_ = number;
    ++created_;
    if (sink_) TraceLoaded(sink_.Get(), number, clsid);
    if (const auto byValues = object.As<IPersistVariant>()) {
        const HRESULT status = byValues->Load(VariantStream(this).Get());
        return FAILED(status) ? status : S_OK;
    }
    if (const auto byBytes = object.As<IPersistStream>()) {
        const HRESULT status = byBytes->Load(this);
        return FAILED(status) ? status : S_OK;
    }
    return RefuseClass(E_FAIL, clsid, u" has no persistence.");
}

void ObjectStream::DropLoaded() noexcept {
    for (; created_ != 0; --created_) {  // which grows again where what is let go of calls back
        const Loaded* const loaded = loaded_.Find(latest_);
        if (!loaded) return;
        const auto object = loaded->object;
        latest_ = loaded->previous;
        if (const auto holder = object.As<IHoldsObjects>()) holder->DropObjects();
    }
}

HRESULT ObjectStream::RefuseClass(HRESULT status, REFCLSID clsid, std::u16string_view what) const {
    return Refuse<IObjectStream>(status, (u"The class " + kv::GuidText(clsid)).append(what).c_str());
}

HRESULT ObjectStream::WriteReference(REFCLSID clsid, ULONG number) noexcept {
    const Reference reference{clsid, number};
    return WriteBytes(&reference, sizeof reference);
}

HRESULT ObjectStream::WriteBytes(const void* source, std::size_t size) noexcept {
    kv::ByteWindow* const window = Window(nullptr);
    if (window && size <= window->Room()) {
        window->Put(source, size);
        return S_OK;
    }
    return kv::KvStreamWrite(this, source, size, nullptr);
}

HRESULT ObjectStream::ReadReference(Reference& reference) noexcept {
    kv::ByteWindow* const window = Window(nullptr);
    if (window && window->Readable() >= sizeof reference) {
        std::memcpy(&reference, window->position, sizeof reference);
        window->position += reference.classId == CLSID_NULL ? sizeof reference.classId : sizeof reference;
        return S_OK;
    }
    const HRESULT status = ReadBytes(&reference.classId, sizeof reference.classId);
    if (FAILED(status) || reference.classId == CLSID_NULL) return status;
    return ReadBytes(&reference.number, sizeof reference.number);
}

HRESULT ObjectStream::ReadBytes(void* target, std::size_t size) noexcept {
    std::size_t read = 0;
    if (HRESULT status = kv::KvStreamRead(this, target, size, &read); FAILED(status)) return status;
    return read == size ? S_OK : Refuse<IObjectStream>(E_FAIL, damagedStream);
}

kv::ByteWindow* STDMETHODCALLTYPE ObjectStream::Window(IUnknown** keeper) noexcept {
    if (windowed_ && !counts_) return windowed_->Window(keeper);
    if (keeper) *keeper = nullptr;
    return nullptr;
}

STDMETHODIMP ObjectStream::put_DebugSink(IObjectStreamDebug* sink) noexcept {
    sink_ = kv::Ptr<IObjectStreamDebug>(sink);
    return S_OK;
}

STDMETHODIMP ObjectStream::get_DebugSink(IObjectStreamDebug** sink) noexcept {
    if (!sink) return Refuse(E_POINTER);
    *sink = kv::Ptr<IObjectStreamDebug>(sink_).Detach();
    return S_OK;
}

STDMETHODIMP ObjectStream::put_DocumentVersion(LONG version) noexcept {
    if (version < 0) return Refuse<IDocumentVersion>(E_INVALIDARG, u"A document version is not negative.");
    documentVersion_ = version;
    return S_OK;
}

STDMETHODIMP ObjectStream::get_DocumentVersion(LONG* version) noexcept {
    if (!version) return Refuse(E_POINTER);
    *version = documentVersion_;
    return S_OK;
}

STDMETHODIMP ObjectStream::FindSaved(IUnknown* object, ULONG* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = 0;
    const auto identity = kv::Ptr<IUnknown>(object).As<IUnknown>();
    if (!identity) return Refuse(E_INVALIDARG);
    const auto saved = saved_.Find(identity.Get());
    if (!saved) return S_FALSE;
    *number = saved->number;
    return S_OK;
}

STDMETHODIMP ObjectStream::FindLoaded(ULONG number, REFIID iid, void** object) noexcept {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    if (kv::IsNull(&iid)) return Refuse(E_INVALIDARG);
    const Loaded* loaded = loaded_.Find(number);
    return loaded ? kv::Ptr<IUnknown>(loaded->object)->QueryInterface(iid, object) : S_FALSE;
}

STDMETHODIMP ObjectStream::ForgetReferences() noexcept {
    saved_.Clear();
    loaded_.Clear();
    nextNumber_ = 1;
    before_ = {};
    return S_OK;
}

STDMETHODIMP ObjectStream::put_NestingLimit(LONG limit) noexcept {
    if (limit < 1 || limit > largestNestingLimit)
        return Refuse<IObjectStream2>(E_INVALIDARG, u"The nesting limit must be 1 to 100,000.");
    nestingLimit_ = limit;
    return S_OK;
}

STDMETHODIMP ObjectStream::get_NestingLimit(LONG* limit) noexcept {
    if (!limit) return Refuse(E_POINTER);
    *limit = nestingLimit_;
    return S_OK;
}

STDMETHODIMP ObjectStream::put_SizeLimit(LONGLONG limit) noexcept {
    if (limit < 0) return Refuse<IObjectStream2>(E_INVALIDARG, u"The size limit must not be negative.");
    sizeLimit_ = limit;
    return S_OK;
}

STDMETHODIMP ObjectStream::get_SizeLimit(LONGLONG* limit) noexcept {
    if (!limit) return Refuse(E_POINTER);
    *limit = sizeLimit_;
    return S_OK;
}

STDMETHODIMP ObjectStream::AllowClass(REFCLSID clsid) noexcept try {
    if (kv::IsNull(&clsid)) return Refuse(E_INVALIDARG);
    const kv::IdBits bits = kv::BitsOf(clsid);
    if (allowed_) {
        allowed_->insert(bits);
    } else {
        allowed_ = std::make_unique<std::set<kv::IdBits>>(std::set{bits});
    }
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP ObjectStream::AllowAllClasses() noexcept {
    allowed_.reset();
    return S_OK;
}

}  // namespace mova
