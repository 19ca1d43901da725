// The memory of an XML parser. Only its own sources include this.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/internal/XMLReader.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "kvcore/FreeList.h"
#include "kvcore/Pages.h"

namespace xml {

/// What the parser holds at once: beside its own few hundred kilobytes, a tag, a comment, a CDATA section, an
/// instruction or a document type while it is read, and the names that there were.
inline constexpr std::size_t mostMemory = std::size_t{256} << 20;
/// What it takes in all, freed or not: every expansion of an entity takes 160 KB.
inline constexpr std::uint64_t mostTaken = std::uint64_t{10} << 30;
inline constexpr std::uint64_t mostTakenPerByte = 1024;

inline constexpr auto expandsTooFar = u"The entities of the document expand too far.";
inline constexpr auto tooLarge = u"A part of the document is too large.";

/// Who is told what the parser comes across beside the document's content.
struct ParserWatcher {
    /// Notes a fault at the place that the parser has come to, unless there is one, and leaves the parser.
    [[noreturn]] virtual void Fail(std::u16string_view reason) = 0;
    /// Notes that the source has failed at that place. @throw std::bad_alloc
    virtual void NoteBrokenOff() = 0;
    virtual std::uint64_t BytesRead() const noexcept = 0;

 protected:
    ~ParserWatcher() = default;
};

/// The readers that no parser uses, of which each document takes one, and each expansion of an entity another.
extern kv::FreeList freeReaders;

/// The parser's memory: bounded, and given back where the parser, left by an exception, forgets it. Small blocks are
/// cut from recycled pages, since the heap gives back to the system what a parser leaves, and a small document costs a
/// fraction of what fresh memory for its parser does.
class ParserMemory final : public xercesc::MemoryManager {
 public:
    explicit ParserMemory(ParserWatcher& watcher) noexcept : watcher_(watcher) {}
    ~ParserMemory() override {
        for (Block* block = first_.next; block != &first_;) GiveBack(std::exchange(block, block->next));
        while (pages_) kv::GivePage(std::exchange(pages_, pages_->next));
    }
    ParserMemory(const ParserMemory&) = delete;
    ParserMemory& operator=(const ParserMemory&) = delete;

    void* allocate(XMLSize_t size) override {
        taken_ += size;
        if (size >= large) Check(size);
        return IsSmall(size) ? TakeSmall(size) : TakeBlock(size);
    }
    void deallocate(void* memory) override {
        if (!memory) return;
        const std::size_t size = (static_cast<Size*>(memory) - 1)->bytes;
        if (IsSmall(size))
            small_[ListOf(size)] = new (memory) FreeSmall{small_[ListOf(size)]};
        else
            FreeBlock(reinterpret_cast<Block*>(static_cast<std::byte*>(memory) - sizeof(Block)));
    }
    xercesc::MemoryManager* getExceptionMemoryManager() override { return xercesc::XMLPlatformUtils::fgMemoryManager; }

    /// Fails where so much more would be too much.
    void Check(std::size_t size) {
        if (taken_ > mostTaken + mostTakenPerByte * watcher_.BytesRead()) watcher_.Fail(expandsTooFar);
        if (held_ > mostMemory || size > mostMemory - held_) watcher_.Fail(tooLarge);
    }

 private:
    /// Less than this is never refused, for destructors take some; that is made up for where the source is read.
    static constexpr std::size_t large = std::size_t{64} << 10;

    /// Stands before all that is handed out.
    struct alignas(std::max_align_t) Size {
        std::size_t bytes;
    };

    // What is small: in steps of 64 bytes, each with the list of those that are free.
    static constexpr std::size_t step = 64;
    static constexpr std::size_t smallLists = 64;
    struct FreeSmall {
        FreeSmall* next;
    };
    struct alignas(std::max_align_t) Page {
        Page* next;
    };

    static bool IsSmall(std::size_t size) noexcept {
        return kv::recyclesMemory && size <= step * smallLists - sizeof(Size);
    }
    static std::size_t ListOf(std::size_t size) noexcept { return (size + sizeof(Size) - 1) / step; }

    void* TakeSmall(std::size_t size) {
        const std::size_t list = ListOf(size);
        if (FreeSmall* const memory = small_[list]) {
            small_[list] = memory->next;
            return memory;
        }
        const std::size_t whole = (list + 1) * step;
        if (whole > left_) AddPage();
        auto* const begin = reinterpret_cast<std::byte*>(pages_) + (kv::pageSize - left_);
        left_ -= whole;
        return new (begin) Size{size} + 1;
    }
    void AddPage() {
        void* const memory = kv::TakePage();
        if (!memory) throw std::bad_alloc();
        pages_ = new (memory) Page{pages_};
        left_ = kv::pageSize - sizeof(Page);
        held_ += kv::pageSize;
    }

    // What is not.
    struct Block {
        Block* previous;
        Block* next;
        Size size;
    };

    void* TakeBlock(std::size_t size) {
        void* memory = IsReader(size) ? freeReaders.Pop() : nullptr;
        if (!memory) memory = std::malloc(sizeof(Block) + (IsReader(size) ? mostOfReader : size));
        if (!memory) throw std::bad_alloc();
        auto* const block = new (memory) Block{&first_, first_.next, {size}};
        first_.next->previous = block;
        first_.next = block;
        held_ += size;
        return block + 1;
    }
    void FreeBlock(Block* block) noexcept {
        block->previous->next = block->next;
        block->next->previous = block->previous;
        held_ -= block->size.bytes;
        GiveBack(block);
    }
    /// A reader, with what the parser's library puts before an object.
    static constexpr std::size_t mostOfReader = sizeof(xercesc::XMLReader) + sizeof(std::max_align_t);
    static bool IsReader(std::size_t size) noexcept {
        return kv::recyclesMemory && size >= sizeof(xercesc::XMLReader) && size <= mostOfReader;
    }
    static void GiveBack(Block* block) noexcept {
        constexpr std::uint32_t mostReaders = 8;
        if (!IsReader(block->size.bytes) || !freeReaders.Push(block, mostReaders)) std::free(block);
    }

    ParserWatcher& watcher_;
    std::array<FreeSmall*, smallLists> small_{};
    Page* pages_ = nullptr;
    std::size_t left_ = 0;  ///< of the first page
    Block first_{&first_, &first_, {0}};
    std::size_t held_ = 0;
    std::uint64_t taken_ = 0;
};

}  // namespace xml
