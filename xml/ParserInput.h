// The document's bytes, as the XML parser takes them. Only its own sources include this.
#pragma once

#include <span>
#include <string>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "xml/ParserMemory.h"
#include "xml/PullParser.h"

namespace xml {

/// Leaves the parser; the fault is known.
struct StopParsing {};

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
