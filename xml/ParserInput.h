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
        : InputSource(&memory), source_(source), encoding_(encoding), memory_(memory), watcher_(watcher) {}
    xercesc::BinInputStream* makeStream() const override {
        if (encoding_.empty()) FindEncoding();
        return new (&memory_) Stream(*this);
    }
    const XMLCh* getEncoding() const override { return encoding_.empty() ? nullptr : encoding_.c_str(); }
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
            const std::size_t begun = input_.begin_.copy(reinterpret_cast<char*>(target), size);
            input_.begin_.erase(0, begun);
            return begun + input_.Fill(std::as_writable_bytes(std::span(target, size).subspan(begun)));
        }
        const XMLCh* getContentType() const override { return nullptr; }

     private:
        const ParserInput& input_;
    };

    /// The encoding that a byte order mark tells, which is the document's whatever it declares.
    void FindEncoding() const {
        static constexpr struct {
            std::string_view mark;
            const char16_t* encoding;
        } marks[] = {{"\xEF\xBB\xBF", u"UTF-8"}, {"\xFE\xFF", u"UTF-16BE"}, {"\xFF\xFE", u"UTF-16LE"}};
        begin_.resize(longestMark);
        begin_.resize(Fill(std::as_writable_bytes(std::span(begin_))));
        if (begin_ == std::string_view("\xFF\xFE\0\0", longestMark)) return;  // of UTF-32
        for (const auto& row : marks)
            if (begin_.starts_with(row.mark)) encoding_ = row.encoding;
    }

    static constexpr std::size_t longestMark = 4;

    ByteSource& source_;
    mutable std::string begin_;  ///< what was read and the parser has not got
    mutable std::u16string encoding_;
    ParserMemory& memory_;
    ParserWatcher& watcher_;
    mutable std::uint64_t bytesRead_ = 0;
};

}  // namespace xml
