#pragma once

#include <movaSystem.h>

#include <memory>

#include "xml/ElementTree.h"

namespace mova {

/// The nodes that a reader stands on one after the other, as a tree of elements takes them in.
class ReaderNodes {
 public:
    virtual ~ReaderNodes() = default;
    /// Over one of this module's readers, whose texts are seen where they are, or of another maker.
    /// @throw std::bad_alloc
    static std::unique_ptr<ReaderNodes> Over(IXMLReader& reader);

    virtual xml::NodeSource& Nodes() noexcept = 0;
    /// The failure that ended the reading, if one did.
    HRESULT Status() const noexcept { return status_; }

 protected:
    explicit ReaderNodes(IXMLReader& reader) noexcept : reader_(reader) {}

    IXMLReader& Reader() const noexcept { return reader_; }
    /// Moves the reader. @return false where it stands on nothing then
    bool Move() noexcept;
    /// Keeps a failure.
    void Note(HRESULT status) noexcept {
        if (FAILED(status)) status_ = status;
    }

 private:
    IXMLReader& reader_;
    HRESULT status_ = S_OK;
};

}  // namespace mova
