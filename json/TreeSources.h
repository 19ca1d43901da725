// Where documents are loaded from: a reader of this module, without a call for each token, or anybody's.
#pragma once

#include <movaJSON.h>
#include <movaJSONReader.h>

#include <vector>

#include "json/HoldsScanner.h"
#include "json/TreeLoader.h"
#include "json/ValueConversion.h"

namespace mova {

/// The scanner of a reader of this module.
class ScannerSource {
 public:
    ScannerSource(IHoldsScanner& holder, IJSONReader4& reader) noexcept
        : holder_(holder), reader_(reader), scanner_(holder.TheScanner()) {}

    json::Token Current() const noexcept { return scanner_.token(); }
    bool Advance() {
        if (scanner_.Next() != json::Outcome::Failed) return true;
        status_ = holder_.ReportFailure();
        return false;
    }
    bool TakeName(json::TreeBuilder& builder) {
        const auto between = scanner_.Between();
        if (scanner_.state() != json::State::InPropertyName || between.empty()) {
            kv::BString name;
            status_ = reader_.ReadPropertyName(name.Put());  // it knows what is wrong
            return false;
        }
        builder.SetName(Unescaped(between));
        return Advance();
    }
    bool TakeScalar(json::TreeBuilder& builder, json::Value& value) {
        switch (scanner_.token()) {
            case json::Token::String:
                value = builder.CopyText(Unescaped(scanner_.Between()));
                break;
            case json::Token::Number:
                value = Number();
                break;
            case json::Token::Boolean:
                value = json::Value::Of(scanner_.Int64() != 0);
                break;
            default:
                break;  // null is the empty value
        }
        return Advance();
    }

    /// What it failed with.
    HRESULT Status() const noexcept { return status_; }

 private:
    /// The text between the quotes; it is overwritten by the next one.
    std::u16string_view Unescaped(std::u16string_view between) {
        if (!scanner_.HasEscapes()) return between;
        if (unescaped_.size() < between.size()) unescaped_.resize(between.size() * 2);
        return {unescaped_.data(), json::Unescape(between, unescaped_.data())};
    }
    json::Value Number() const noexcept;

    IHoldsScanner& holder_;
    IJSONReader4& reader_;
    json::Scanner& scanner_;
    std::vector<char16_t> unescaped_;
    HRESULT status_ = S_OK;
};

/// Any reader, through its operations.
class ReaderSource {
 public:
    explicit ReaderSource(IJSONReader4& reader) noexcept : reader_(reader) {}

    json::Token Current() noexcept;
    bool Advance() noexcept { return Went(reader_.ReadNext()); }
    bool TakeName(json::TreeBuilder& builder);
    bool TakeScalar(json::TreeBuilder& builder, json::Value& value);

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
