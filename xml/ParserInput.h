// What the XML parser is given to work with: bounded memory, and the document's bytes. Only its own sources include
// this.
#pragma once

#include <cstdlib>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "xml/PullParser.h"

namespace xml {

/// What the parser holds at once: beside its own few hundred kilobytes, a tag, a comment, a CDATA section, an
/// instruction or a document type while it is read, and the names that there were.
inline constexpr std::size_t mostMemory = std::size_t{256} << 20;
/// What it takes in all, freed or not: every expansion of an entity takes 160 KB.
inline constexpr std::uint64_t mostTaken = std::uint64_t{10} << 30;
inline constexpr std::uint64_t mostTakenPerByte = 1024;

inline constexpr auto expandsTooFar = u"The entities of the document expand too far.";
inline constexpr auto tooLarge = u"A part of the document is too large.";

/// Leaves the parser; the fault is known.
struct StopParsing {};

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

/// The parser's memory: bounded, and given back where the parser, left by an exception, forgets it.
class ParserMemory final : public xercesc::MemoryManager {
 public:
    explicit ParserMemory(ParserWatcher& watcher) noexcept : watcher_(watcher) {}
    ~ParserMemory() override {
        for (Block* block = first_.next; block != &first_;) std::free(std::exchange(block, block->next));
    }
    ParserMemory(const ParserMemory&) = delete;
    ParserMemory& operator=(const ParserMemory&) = delete;

    void* allocate(XMLSize_t size) override {
        taken_ += size;
        if (size >= large) Check(size);
        void* const memory = std::malloc(sizeof(Block) + size);
        if (!memory) throw std::bad_alloc();
        auto* const block = new (memory) Block{&first_, first_.next, size};
        first_.next->previous = block;
        first_.next = block;
        held_ += size;
        return block + 1;
    }
    void deallocate(void* memory) override {
        if (memory) Free(static_cast<Block*>(memory) - 1);
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

    struct alignas(std::max_align_t) Block {
        Block* previous;
        Block* next;
        std::size_t size;
    };

    void Free(Block* block) noexcept {
        block->previous->next = block->next;
        block->next->previous = block->previous;
        held_ -= block->size;
        std::free(block);
    }

    ParserWatcher& watcher_;
    Block first_{&first_, &first_, 0};
    std::size_t held_ = 0;
    std::uint64_t taken_ = 0;
};

/// The document's bytes, as the parser asks for them.
class ParserInput final : public xercesc::InputSource {
 public:
    ParserInput(ByteSource& source, std::u16string_view encoding, ParserMemory& memory, ParserWatcher& watcher)
        : InputSource(&memory), source_(source), memory_(memory), watcher_(watcher) {
        if (!encoding.empty()) setEncoding(std::u16string(encoding).c_str());
    }
    xercesc::BinInputStream* makeStream() const override { return new (&memory_) Stream(*this); }
    std::uint64_t BytesRead() const noexcept { return bytesRead_; }

 private:
    std::size_t Fill(std::span<std::byte> target) const try {
        std::size_t filled = 0;
        while (filled < target.size()) {
            const std::size_t came = source_.Read(target.subspan(filled));
            if (came == 0) break;
            filled += came;
            bytesRead_ += came;
        }
        return filled;
    } catch (...) {
        watcher_.NoteBrokenOff();
        throw;
    }

    class Stream final : public xercesc::BinInputStream {
     public:
        explicit Stream(const ParserInput& input) noexcept : input_(input) {}
        XMLFilePos curPos() const override { return input_.bytesRead_; }
        /// Fills the buffer, for the parser recognizes an encoding by the first bytes that it gets together.
        XMLSize_t readBytes(XMLByte* target, XMLSize_t size) override {
            input_.memory_.Check(0);
            return input_.Fill(std::as_writable_bytes(std::span(target, size)));
        }
        const XMLCh* getContentType() const override { return nullptr; }

     private:
        const ParserInput& input_;
    };

    ByteSource& source_;
    ParserMemory& memory_;
    ParserWatcher& watcher_;
    mutable std::uint64_t bytesRead_ = 0;
};

}  // namespace xml
