// The XML document that the benchmarks write: the same on every host and in every run.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// An element item with three attributes and a text, all as UTF-8.
struct XmlItem {
    std::string id, name, code, text;
};

/// Items of about a hundred bytes. Every tenth text has characters that are escaped, and every tenth some beyond ASCII.
std::vector<XmlItem> MakeXmlItems(std::size_t count);

/// Them in an element root, as the writer has them.
std::string XmlDocumentOf(const std::vector<XmlItem>& items);

}  // namespace bench
