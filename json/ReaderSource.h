#pragma once

#include <movaJSONReader.h>

#include "json/TreeLoader.h"

namespace mova {

/// Loads a document from any reader, through its operations.
class ReaderSource {
 public:
    explicit ReaderSource(IJSONReader4& reader) noexcept : reader_(reader) {}

    json::Token Current() noexcept;
    bool Advance() noexcept { return Went(reader_.ReadNext()); }
    bool Enter(json::TreeBuilder&) noexcept { return Advance(); }
    bool TakeName(json::TreeBuilder& builder);
    bool TakeScalar(json::TreeBuilder& builder, json::Value& value);

    bool Start(bool& isEmpty) noexcept {
        const bool went = Advance();
        isEmpty = went && status_ == S_FALSE;
        return went;
    }
    /// What it failed with.
    HRESULT Status() const noexcept { return status_; }

 private:
    bool Went(HRESULT status) noexcept {
        status_ = status;
        return SUCCEEDED(status);
    }

    IJSONReader4& reader_;
    HRESULT status_ = S_OK;
};

}  // namespace mova
