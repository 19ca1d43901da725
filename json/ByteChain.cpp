#include "json/ByteChain.h"

#include <cstring>
#include <new>

#include "kvcore/Pages.h"
#include "kvcore/Utf.h"

namespace json {

ByteChain::~ByteChain() {
    while (first_) kv::GivePage(std::exchange(first_, first_->next));
}

void ByteChain::BeginBlock() {
    Block* const following = last_ ? last_->next : first_;
    Block* block = following;  // one that was written before
    if (!block) {
        void* const page = kv::TakePage();
        if (!page) throw std::bad_alloc();
        block = new (page) Block{};
        (last_ ? last_->next : first_) = block;
    }
    before_ = Size();
    if (last_) last_->end = next_;
    last_ = block;
    next_ = block->Begin();
    end_ = reinterpret_cast<char*>(block) + kv::pageSize;
}

void ByteChain::CutBack(const Position& position) noexcept {
    last_ = position.block;
    next_ = position.next;
    before_ = position.before;
    end_ = last_ ? reinterpret_cast<char*>(last_) + kv::pageSize : nullptr;
}

std::size_t ByteChain::Size() const noexcept {
    return last_ ? before_ + static_cast<std::size_t>(next_ - last_->Begin()) : 0;
}

void ByteChain::CopyTo(char* out) const noexcept {
    ForEachBlock([&](std::string_view bytes) {
        std::memcpy(out, bytes.data(), bytes.size());
        out += bytes.size();
        return true;
    });
}

std::size_t ByteChain::Utf16Length() const noexcept {
    std::size_t length = 0;
    ForEachBlock([&](std::string_view bytes) {
        length += kv::Utf16Length(bytes);
        return true;
    });
    return length;
}

void ByteChain::CopyTo(char16_t* out) const noexcept {
    ForEachBlock([&](std::string_view bytes) {
        out = kv::PutUtf16(out, bytes);
        return true;
    });
}

}  // namespace json
