// Reading an XML document by the parser itself, without our reader over it.
#pragma once

#include <cstdint>
#include <string_view>

namespace bench {

/// What a reading of a document has looked at.
struct XmlTotals {
    std::uint64_t elements = 0, names = 0, values = 0, texts = 0;  ///< but for elements, in UTF-16 units

    /// One number that tells them apart.
    std::uint64_t Sum() const noexcept { return elements * 1'000'003 + names * 1'009 + values * 31 + texts; }
};

/// Keeps Xerces initialized, which each reading does otherwise.
class SaxLibrary {
 public:
    SaxLibrary();
    ~SaxLibrary();
    SaxLibrary(const SaxLibrary&) = delete;
    SaxLibrary& operator=(const SaxLibrary&) = delete;
};

/// Reads a document with Xerces' SAX2 reader, set as our reader sets it.
XmlTotals ReadBySax(std::string_view document);

}  // namespace bench
