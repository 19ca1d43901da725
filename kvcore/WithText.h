#pragma once

#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "kvcore/BlockPool.h"

namespace kv {

/// A record and a text in one block of memory, so that reading both is one trip to it.
template <class Record>
class WithText : public Record {
 public:
    struct Deleter {
        void operator()(WithText* block) const noexcept {
            const std::size_t size = SizeFor(block->length_);
            block->~WithText();
            GiveBlock(block, size);
        }
    };
    using Owner = std::unique_ptr<WithText, Deleter>;

    /// @param arguments what the record is made from. @throw std::bad_alloc where there is no memory.
    template <class... Arguments>
    static Owner Make(std::u16string_view text, Arguments&&... arguments) {
        void* memory = TakeBlock(SizeFor(text.size()));
        if (!memory) throw std::bad_alloc();
        Owner made(new (memory) WithText(text.size(), std::forward<Arguments>(arguments)...));
        if (!text.empty()) std::memcpy(static_cast<void*>(made.get() + 1), text.data(), text.size() * sizeof(char16_t));
        return made;
    }

    std::u16string_view Text() const noexcept { return {reinterpret_cast<const char16_t*>(this + 1), length_}; }

 private:
    template <class... Arguments>
    explicit WithText(std::size_t length, Arguments&&... arguments)
        : Record(std::forward<Arguments>(arguments)...), length_(static_cast<std::uint32_t>(length)) {}
    ~WithText() = default;

    static constexpr std::size_t SizeFor(std::size_t length) noexcept {
        return sizeof(WithText) + length * sizeof(char16_t);
    }

    std::uint32_t length_;
};

}  // namespace kv
