// The scanner beneath the XML parser. Only its own sources include this.
#pragma once

#include <xercesc/framework/XMLBuffer.hpp>
#include <xercesc/internal/DGXMLScanner.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/validators/DTD/DocTypeHandler.hpp>
#include <xercesc/validators/common/GrammarResolver.hpp>

#include "xml/ParserInput.h"

namespace xml {

/// A place in the document.
struct Place {
    std::uint64_t line = 0, column = 0;
};

/// Xerces' scanner for documents with a document type or none. Names are left as they are written: its own namespaces
/// take a time that grows with the depth of the elements. Text is gathered here, so that it can come in pieces.
class TextScanner final : public xercesc::DGXMLScanner {
 public:
    TextScanner(xercesc::GrammarResolver& grammars, ParserMemory& memory)
        : DGXMLScanner(nullptr, &grammars, &memory), text_(initialText, &memory) {
        setURIStringPool(grammars.getStringPool());
        setDoNamespaces(false);
        setValidationScheme(Val_Never);
        setLoadExternalDTD(false);
        setDisableDefaultEntityResolution(true);
        setSecurityManager(&security_);
    }

    /// The text since it was cleared, in part perhaps.
    std::u16string_view Text() const noexcept { return {text_.getRawBuffer(), text_.getLen()}; }
    void ClearText() noexcept { text_.reset(); }
    Place Here() const noexcept { return {fReaderMgr.getLineNumber(), fReaderMgr.getColumnNumber()}; }
    const Place& TextEnd() const noexcept { return textEnd_; }

 private:
    static constexpr std::size_t initialText = 1023;

    /// Makes what is protected in the base class, and private in the class between, callable by its virtual function.
    struct Protected : XMLScanner {
        using XMLScanner::scanEntityRef;
    };

    void scanCharData(xercesc::XMLBuffer&) override;
    /// Takes a reference; what it stands for follows in the source, or is added to the text.
    void TakeReference();
    [[noreturn]] void RefuseCharacter(char16_t character);

    xercesc::SecurityManager security_;
    xercesc::XMLBuffer text_;
    Place textEnd_;
    unsigned brackets_ = 0;  ///< how many "]" the text ends with, of which two count
};

/// Sees to it that the document type leaves no reference unknown: one that only an external part could have declared
/// would be dropped silently.
class DocumentType final : public xercesc::DocTypeHandler {
 public:
    explicit DocumentType(TextScanner& scanner) noexcept : scanner_(scanner) {}

    void doctypeDecl(const xercesc::DTDElementDecl&, const XMLCh*, const XMLCh*, bool, bool) override {
        scanner_.setHasNoDTD(true);
    }
    void endIntSubset() override { scanner_.setHasNoDTD(true); }

    void attDef(const xercesc::DTDElementDecl&, const xercesc::DTDAttDef&, bool) override {}
    void doctypeComment(const XMLCh*) override {}
    void doctypePI(const XMLCh*, const XMLCh*) override {}
    void doctypeWhitespace(const XMLCh*, XMLSize_t) override {}
    void elementDecl(const xercesc::DTDElementDecl&, bool) override {}
    void endAttList(const xercesc::DTDElementDecl&) override {}
    void endExtSubset() override {}
    void entityDecl(const xercesc::DTDEntityDecl&, bool, bool) override {}
    void resetDocType() override {}
    void notationDecl(const xercesc::XMLNotationDecl&, bool) override {}
    void startAttList(const xercesc::DTDElementDecl&) override {}
    void startIntSubset() override {}
    void startExtSubset() override {}
    void TextDecl(const XMLCh*, const XMLCh*) override {}

 private:
    TextScanner& scanner_;
};

}  // namespace xml
