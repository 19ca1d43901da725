#pragma once

#include "xml/DocumentReader.h"

namespace mova {

/// Reads XML documents from streams; how is in PullParser.h.
class XMLReader final : public DocumentReader<XMLReader, ::XMLReader, IXMLReader> {
 public:
    using DocumentReader::DocumentReader;
};

}  // namespace mova
