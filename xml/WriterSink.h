#pragma once

#include <movaSystem.h>

#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "xml/TreeWriter.h"
#include "xml/XMLAttributes.h"
#include "xml/XMLNamespaces.h"

namespace mova {

/// A writer of any make.
class WriterSink final : public xml::ElementSink {
 public:
    /// @throw std::bad_alloc
    explicit WriterSink(IXMLWriter* writer);

    HRESULT Status() const noexcept { return status_; }

    bool StartElement(std::u16string_view name, std::u16string_view uri, std::span<const xml::Attribute> attributes,
                      std::span<const xml::Declaration> declarations, bool isEmpty) override;
    bool EndElement() override;
    bool Text(std::u16string_view text) override;
    bool Raw(std::u16string_view text) override;
    bool BeginLine(std::size_t tabs) override;
    std::optional<std::u16string_view> PrefixOf(std::u16string_view uri) override;

 private:
    bool Note(HRESULT status) noexcept;

    const kv::Ptr<IXMLWriter> writer_;
    const kv::Ptr<IXMLAttributes> attributes_;
    const kv::Ptr<IXMLNamespaces> namespaces_;
    kv::BString prefix_;
    HRESULT status_ = S_OK;
};

}  // namespace mova
