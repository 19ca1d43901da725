#pragma once

#include "xml/DocumentReader.h"

namespace mova {

/// Reads XML documents from streams and from texts; how is in PullParser.h.
class XMLTextReader final
    : public DocumentReader<XMLTextReader, ::XMLTextReader, Generations<IXMLTextReader, IXMLReader>> {
 public:
    using DocumentReader::DocumentReader;

    // IXMLTextReader
    STDMETHODIMP put_Text(BSTR text) noexcept override;
    STDMETHODIMP get_Text(BSTR* text) noexcept override;
};

}  // namespace mova
