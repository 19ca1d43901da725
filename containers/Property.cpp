#include "containers/Property.h"

#include <cstring>
#include <new>
#include <span>

#include "containers/NameFold.h"
#include "containers/SystemNames.h"
#include "kvcore/BlockPool.h"

namespace mova {
namespace {

constexpr std::size_t longestOwnText = 64;  // bytes

/// What stands in front of a BSTR.
using TextLength = std::uint32_t;

/// Where a property's own text begins: behind the name, at an address that is a multiple of its length's size.
constexpr std::size_t OwnTextOffset(std::size_t nameLength) noexcept {
    const std::size_t nameEnd = sizeof(Property) + nameLength * sizeof(char16_t);
    return (nameEnd + sizeof(TextLength) - 1) / sizeof(TextLength) * sizeof(TextLength) + sizeof(TextLength);
}

constexpr std::size_t SizeFor(std::size_t nameLength, std::size_t textRoom) noexcept {
    return textRoom == 0 ? sizeof(Property) + nameLength * sizeof(char16_t)
                         : OwnTextOffset(nameLength) + textRoom + sizeof(char16_t);
}

/// The bytes of a text, of which there may be an odd number; none for a value that is no text.
std::span<const std::byte> TextOf(const VARIANT& value) noexcept {
    const VARIANT* held = kv::Referred(value);
    if (!held || held->vt != VT_BSTR) return {};
    return {reinterpret_cast<const std::byte*>(held->bstrVal), SysStringByteLen(held->bstrVal)};
}

}  // namespace

void Property::Deleter::operator()(Property* property) const noexcept {
    const std::size_t size = SizeFor(property->nameLength_, property->textRoom_);
    property->~Property();
    kv::GiveBlock(property, size);
}

Property::Owner Property::Make(std::u16string_view name, const VARIANT& value) {
    const std::size_t length = TextOf(value).size();
    const std::size_t textRoom = length <= longestOwnText ? length : 0;
    void* memory = kv::TakeBlock(SizeFor(name.size(), textRoom));
    if (!memory) throw std::bad_alloc();
    return Owner(new (memory) Property(name, textRoom));
}

Property::Property(std::u16string_view name, std::size_t textRoom) noexcept
    : link{.hash = HashName(name)},
      nameLength_(static_cast<std::uint32_t>(name.size())),
      textRoom_(static_cast<std::uint16_t>(textRoom)),
      ascii_(IsAsciiName(name)) {
    if (!name.empty()) std::memcpy(static_cast<void*>(this + 1), name.data(), name.size() * sizeof(char16_t));
}

Property::~Property() {
    if (HoldsOwnText()) (void)value_.Detach();
}

bool Property::IsNamed(std::u16string_view name) const noexcept {
    return SameName(Name(), ascii_, name);
}

HRESULT Property::Assign(const VARIANT& value) noexcept {
    if (KeepText(value)) return S_OK;
    if (!HoldsOwnText()) return value_.Assign(value);
    kv::Variant copy;
    const HRESULT status = copy.Assign(value);
    if (SUCCEEDED(status)) Take(std::move(copy));
    return status;
}

void Property::Take(kv::Variant value) noexcept {
    if (KeepText(value.Get())) return;
    if (HoldsOwnText()) (void)value_.Detach();
    value_ = std::move(value);
}

bool Property::KeepText(const VARIANT& value) noexcept {
    const std::span<const std::byte> text = TextOf(value);
    if (text.empty() || text.size() > textRoom_) return false;
    auto* const own = reinterpret_cast<std::byte*>(OwnText());
    const auto length = static_cast<TextLength>(text.size());
    constexpr char16_t end = u'\0';
    std::memmove(own, text.data(), length);
    std::memcpy(own - sizeof length, &length, sizeof length);
    std::memcpy(own + length, &end, sizeof end);
    if (HoldsOwnText()) return true;
    VARIANT held{};
    held.vt = VT_BSTR;
    held.bstrVal = OwnText();
    value_ = kv::Variant::Attach(held);
    return true;
}

BSTR Property::OwnText() const noexcept {
    auto* const block = const_cast<std::byte*>(reinterpret_cast<const std::byte*>(this));
    return reinterpret_cast<BSTR>(block + OwnTextOffset(nameLength_));
}

}  // namespace mova
