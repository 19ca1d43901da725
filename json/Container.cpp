#include "json/Container.h"

#include <algorithm>
#include <new>
#include <utility>

#include "kvcore/BlockPool.h"

namespace json {

void Container::Append(const Value& value) {
    ReserveOneMore();
    Put(value);
}

void Container::Append(std::u16string_view name, std::uint32_t hash, const Value& value) {
    if (name.size() > UINT32_MAX) throw std::bad_alloc();
    ReserveOneMore();
    void* const memory = kv::TakeBlock(Name::Size(name.size()));
    if (!memory) throw std::bad_alloc();
    entries_->Names()[entries_->count] = NameRef(Name::Write(memory, name, hash), true);
    if (index_.IsBuilt()) {
        if (index_.HasRoom(Count())) {
            index_.Put(hash, Count());
        } else {
            index_.Forget();
        }
    }
    Put(value);
}

void Container::Replace(std::uint32_t i, const Value& value) {
    BeginChange();
    const Value former = At(i);
    entries_->Payloads()[i] = value.payload;
    entries_->Tags(named_)[i] = value.tag;
    Free(former);
}

void Container::Remove(std::uint32_t i) {
    BeginChange();
    const Value removed = At(i);
    const auto moveUp = [&](auto* parts) { std::copy(parts + i + 1, parts + entries_->count, parts + i); };
    if (named_) {
        const NameRef name = entries_->Names()[i];
        if (index_.IsBuilt()) index_.Remove(name.Get()->hash, i);
        moveUp(entries_->Names());
        FreeName(name);
    }
    moveUp(entries_->Payloads());
    moveUp(entries_->Tags(named_));
    --entries_->count;
    Free(removed);
}

void Container::Clear() noexcept {
    index_.Forget();
    Entries* const entries = std::exchange(entries_, nullptr);
    const bool ownedBlock = std::exchange(ownsBlock_, false);
    const kv::ArenaPtr arena = std::exchange(arena_, kv::ArenaPtr());
    if (!entries) return;
    const Tag* const tags = entries->Tags(named_);
    for (std::uint32_t i = 0; i < entries->count; ++i) {
        if (tags[i].kind >= Kind::AsciiText) Free(entries->At(i, named_));
        if (named_) FreeName(entries->Names()[i]);
    }
    if (ownedBlock) FreeBlock(entries);
}

void Container::Adopt(kv::ArenaPtr arena, Entries* entries) noexcept {
    Clear();
    arena_ = std::move(arena);
    entries_ = entries;
}

bool Container::BuildIndex() const noexcept try {
    if (!index_.IsBuilt()) index_.Build(Count(), [this](std::uint32_t i) { return entries_->Names()[i].Get()->hash; });
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void Container::ReserveOneMore() {
    const std::uint32_t count = Count();
    if (entries_ && count < entries_->capacity) return;
    MoveTo(std::max<std::size_t>(4, std::size_t{count} + count / 2));
}

void Container::BeginChange() {
    if (!ownsBlock_ && arena_ && arena_->IsPinned()) MoveTo(Count());
}

void Container::MoveTo(std::size_t capacity) {
    const std::uint32_t count = Count();
    if (capacity >= none) throw std::bad_alloc();
    void* const memory = kv::TakeBlock(Entries::Size(capacity, named_));
    if (!memory) throw std::bad_alloc();
    auto* const larger = ::new (memory) Entries{count, static_cast<std::uint32_t>(capacity)};
    if (entries_) {
        std::copy_n(entries_->Payloads(), count, larger->Payloads());
        std::copy_n(entries_->Tags(named_), count, larger->Tags(named_));
        if (named_) std::copy_n(entries_->Names(), count, larger->Names());
        if (ownsBlock_) FreeBlock(entries_);
    }
    entries_ = larger;
    ownsBlock_ = true;
}

void Container::Put(const Value& value) noexcept {
    entries_->Payloads()[entries_->count] = value.payload;
    entries_->Tags(named_)[entries_->count] = value.tag;
    ++entries_->count;
}

void Container::Free(const Value& value) const noexcept {
    if (value.tag.kind == Kind::Held || value.tag.kind == Kind::Other) {
        dispose_(value);
    } else {
        FreeText(value);
    }
}

void Container::FreeName(NameRef name) const noexcept {
    if (name.IsOwn()) kv::GiveBlock(const_cast<Name*>(name.Get()), Name::Size(name.Get()->length));
}

void Container::FreeBlock(Entries* entries) const noexcept {
    kv::GiveBlock(entries, Entries::Size(entries->capacity, named_));
}

}  // namespace json
