#include "bench/SaxReading.h"

#include <memory>
#include <string>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace bench {
namespace {

using xercesc::XMLUni;

class Handler final : public xercesc::DefaultHandler {
 public:
    void startElement(const XMLCh*, const XMLCh* localName, const XMLCh*,
                      const xercesc::Attributes& attributes) override {
        ++totals.elements;
        totals.names += std::char_traits<char16_t>::length(localName);
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
            totals.values += std::char_traits<char16_t>::length(attributes.getValue(i));
    }
    void characters(const XMLCh*, const XMLSize_t length) override { totals.texts += length; }

    XmlTotals totals;
};

}  // namespace

SaxLibrary::SaxLibrary() {
    xercesc::XMLPlatformUtils::Initialize();
}

SaxLibrary::~SaxLibrary() {
    xercesc::XMLPlatformUtils::Terminate();
}

XmlTotals ReadBySax(std::string_view document) {
    const SaxLibrary library;
    Handler handler;
    const std::unique_ptr<xercesc::SAX2XMLReader> reader(xercesc::XMLReaderFactory::createXMLReader());
    reader->setProperty(XMLUni::fgXercesScannerName, const_cast<XMLCh*>(XMLUni::fgDGXMLScanner));
    reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
    reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
    reader->setFeature(XMLUni::fgXercesSchema, false);
    reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    reader->setContentHandler(&handler);
    reader->setErrorHandler(&handler);
    reader->parse(
        xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(document.data()), document.size(), u"document"));
    return handler.totals;
}

}  // namespace bench
