#include "tests/windows/Persistence.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>

#include "kvcore/SafeArray.h"
#include "kvcore/Stream.h"

namespace mova::test {
namespace {

class Dissolver {
 public:
    void Dissolve(IUnknown* object) {
        const auto identity = kv::Ptr<IUnknown>(object).As<IUnknown>();
        if (!identity || !seen_.insert(identity.Get()).second) return;
        held_.push_back(identity);
        if (const auto set = identity.As<IPropertySet2>()) {
            kv::Variant names, values;
            EXPECT_EQ(set->GetAllProperties(names.Put(), values.Put()), S_OK);
            EXPECT_EQ(set->RemoveAllProperties(), S_OK);
            Dissolve(values.Get());
        }
        if (const auto property = identity.As<IPropertySetProperty>()) {
            kv::Variant value;
            EXPECT_EQ(property->get_Value(value.Put()), S_OK);
            EXPECT_EQ(property->put_Value(kv::Variant().Get()), S_OK);
            Dissolve(value.Get());
        }
        DissolveArray<IPropertySetArray, IPropertySet>(identity);
        DissolveArray<IPropertySetPropertyArray, IPropertySetProperty>(identity);
    }

 private:
    void Dissolve(const VARIANT& value) {
        if (value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH) Dissolve(value.punkVal);
        const auto array = kv::ArrayView::Of(value);
        for (std::size_t i = 0; array && i < array->Count(); ++i) Dissolve(array->Element(i));
    }
    template <class Array, class Item>
    void DissolveArray(const kv::Ptr<IUnknown>& object) {
        const auto array = object.As<Array>();
        LONG count = 0;
        EXPECT_TRUE(!array || array->get_Count(&count) == S_OK);
        for (; count > 0; --count) {
            kv::Ptr<Item> element;
            EXPECT_EQ(array->get_Element(0, element.Put()), S_OK);
            EXPECT_EQ(array->Remove(0), S_OK);
            Dissolve(element.Get());
        }
    }

    std::set<IUnknown*> seen_;
    std::vector<kv::Ptr<IUnknown>> held_;  // so that no other object comes to an address that was seen
};

void Patch(Bytes& bytes, std::size_t offset, std::uint32_t number) {
    std::memcpy(bytes.data() + offset, &number, sizeof number);
}

}  // namespace

kv::Ptr<IStream> StreamOf(const Bytes& bytes) {
    const auto stream = New<IMemoryBlobBuffer>(u"MemoryBlobStream");
    EXPECT_EQ(stream->SetBuffer(bytes.data(), static_cast<ULONG>(bytes.size())), S_OK);
    return stream.As<IStream>();
}

Bytes BytesOf(const kv::Ptr<IStream>& stream) {
    BYTE* bytes = nullptr;
    ULONGLONG size = 0;
    EXPECT_EQ(stream.As<IMemoryBlobBuffer>()->GetBuffer(&bytes, &size), S_OK);
    return {bytes, bytes + size};
}

kv::Ptr<IObjectStream2> ObjectsOver(IStream* stream) {
    auto objects = New<IObjectStream2>(u"ObjectStream");
    EXPECT_EQ(objects->put_Stream(stream), S_OK);
    return objects;
}

Bytes Saved(IUnknown* object) {
    const auto stream = StreamOf({});
    EXPECT_EQ(ObjectsOver(stream.Get())->SaveObject(object), S_OK) << TakeErrorInfo();
    return BytesOf(stream);
}

Bytes SavedAlone(IUnknown* object) {
    const auto stream = StreamOf({});
    EXPECT_EQ(kv::Ptr<IUnknown>(object).As<IPersistStream>()->Save(stream.Get(), TRUE), S_OK);
    return BytesOf(stream);
}

kv::Ptr<IUnknown> Loaded(const Bytes& bytes) {
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(Loader().Load(bytes, object), S_OK) << TakeErrorInfo();
    return object;
}

HRESULT Loader::Load(const Bytes& bytes, kv::Ptr<IUnknown>& object) {
    const auto buffer = memory_.As<IMemoryBlobBuffer>();
    EXPECT_EQ(buffer->SetBuffer(bytes.data(), static_cast<ULONG>(bytes.size())), S_OK);
    EXPECT_EQ(objects_->ForgetReferences(), S_OK);
    return objects_->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid());
}

HRESULT LoadXml(std::u16string_view type, std::u16string_view content, kv::Ptr<IUnknown>& object) {
    const std::u16string document = u"<a xsi:type='" + std::u16string(type) +
                                    u"' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:own='urn:own'"
                                    u" xmlns:mova='urn:mova:schemas:10.0'>" +
                                    std::u16string(content) + u"</a>";
    return New<IXMLSerializerAlt>(u"XMLSerializerAlt")->LoadFromString(Bstr(document), object.Put());
}

HRESULT LoadInto(IUnknown* object, std::u16string_view content) {
    constexpr CLSID ownId{0x8D4E1E1B, 0x0A4B, 0x4F0B, {0x9E, 0x77, 0x5B, 0x1B, 0x0C, 0x5D, 0x52, 0x32}};
    const Served served(ownId, [&] { return kv::Ptr<IUnknown>(object).Detach(); });
    const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
    EXPECT_EQ(mapper->AddType(Bstr(u"Own"), Bstr(u"urn:own"), Bstr(kv::GuidText(ownId))), S_OK);
    kv::Ptr<IUnknown> loaded;
    const HRESULT status = LoadXml(u"own:Own", content, loaded);
    EXPECT_EQ(mapper->RemoveType(Bstr(u"Own"), Bstr(u"urn:own")), S_OK);
    return status;
}

void ExpectGolden(const Bytes& bytes, const std::string& name) {
    if (bytes == ReadGolden(name)) return;
    const std::string found = std::string(MOVA_BINARY_FOLDER) + "/" + name;
    std::ofstream(found, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    ADD_FAILURE() << "not the bytes of tests/golden/" << name << "; these are in " << found;
}

Bytes ReadGolden(const std::string& name) {
    const std::string content = ReadSource("tests/golden/" + name);
    return {content.begin(), content.end()};
}

void Dissolve(const kv::Ptr<IUnknown>& object) {
    Dissolver().Dissolve(object.Get());
}

void ForEveryDamage(const Bytes& good, const std::function<void(const Bytes& damaged)>& check) {
    for (std::size_t size = 0; size < good.size(); ++size) {
        SCOPED_TRACE("cut to " + std::to_string(size));
        check(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
    }
    Bytes damaged = good;
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        SCOPED_TRACE("bit " + std::to_string(bit) + " turned");
        const auto mask = static_cast<std::uint8_t>(1 << (bit % 8));
        damaged[bit / 8] ^= mask;
        check(damaged);
        damaged[bit / 8] ^= mask;
    }
    for (const std::uint32_t number : {0U, 0xFFFFFFFFU, 0x7FFFFFFFU, 0x80000000U}) {
        for (std::size_t offset = 0; offset + sizeof number <= good.size(); ++offset) {
            SCOPED_TRACE(std::to_string(number) + " at " + std::to_string(offset));
            damaged = good;
            Patch(damaged, offset, number);
            check(damaged);
        }
    }
}

bool Trickle::Fails(ULONG& size) noexcept {
    ++calls;
    size = isAtEnd_ ? 0 : std::min(size, atOnce_);
    const bool isNow = callsLeft >= 0 && callsLeft-- == 0;
    if (isNow && isCut) {
        isAtEnd_ = true;
        size /= 2;
    }
    return isNow && !isCut;
}

STDMETHODIMP Trickle::Read(void* target, ULONG size, ULONG* read) noexcept {
    ULONG given = size;
    if (Fails(given)) return STG_E_MEDIUMFULL;
    const auto came = std::min(static_cast<std::size_t>(given), bytes.size() - position);
    std::memcpy(target, bytes.data() + position, came);
    position += came;
    if (read) *read = static_cast<ULONG>(came);
    return came == size ? S_OK : S_FALSE;
}

STDMETHODIMP Trickle::Write(const void* source, ULONG size, ULONG* written) noexcept {
    if (Fails(size)) return STG_E_MEDIUMFULL;
    if (const auto once = std::exchange(visit, {})) once();
    const auto* from = static_cast<const std::uint8_t*>(source);
    bytes.insert(bytes.end(), from, from + size);
    if (written) *written = size;
    return S_OK;
}

}  // namespace mova::test
