#pragma once

#include <objidl.h>

#include <memory>
#include <string>

#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "xml/PullParser.h"

namespace mova {

/// A document that is being read, with what it is read from.
class OpenDocument {
 public:
    /// @param stream read from where it stands. @throw std::bad_alloc
    explicit OpenDocument(IStream* stream);
    /// @param text copied, and read whatever encoding it declares. @throw std::bad_alloc
    explicit OpenDocument(std::u16string_view text);
    ~OpenDocument();
    OpenDocument(const OpenDocument&) = delete;
    OpenDocument& operator=(const OpenDocument&) = delete;

    xml::PullParser& Parser() noexcept { return parser_; }
    /// Whether the stream is being called just now.
    bool IsCallingOut() const noexcept;
    IStream* Stream() const noexcept;
    /// The text; null where there is a stream.
    const kv::BString* Text() const noexcept;

    /// Moves to the next node. @return S_OK, S_FALSE behind the last one; the failure of the stream, E_OUTOFMEMORY, or
    /// E_FAIL for a fault of the document, again and again
    HRESULT Read() noexcept;
    /// Why Read answers E_FAIL; empty where it does not. @throw std::bad_alloc
    std::u16string Reason();

 private:
    class Source;
    class StreamSource;
    class TextSource;

    explicit OpenDocument(std::unique_ptr<Source> source, std::u16string_view encoding);

    std::unique_ptr<Source> source_;
    xml::PullParser parser_;
};

}  // namespace mova
