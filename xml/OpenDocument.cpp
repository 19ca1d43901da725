#include "xml/OpenDocument.h"

#include <algorithm>
#include <cstring>

#include "kvcore/Stream.h"
#include "server/NamedMessage.h"
#include "xml/ReadsNodes.h"

namespace mova {
namespace {

std::u16string Digits(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

}  // namespace

/// Where the document's bytes come from.
class OpenDocument::Source : public xml::ByteSource {
 public:
    HRESULT failure = S_OK;  ///< of the stream, or of the memory

    virtual IStream* Stream() const noexcept { return nullptr; }
    virtual const kv::BString* Text() const noexcept { return nullptr; }
    virtual bool IsCallingOut() const noexcept { return false; }
    virtual std::u16string Name() = 0;
};

class OpenDocument::StreamSource final : public Source {
 public:
    explicit StreamSource(IStream* stream) noexcept : stream_(stream) {}

    std::size_t Read(std::span<std::byte> target) override {
        const CallingOut calling(*this);
        std::size_t read = 0;
        if (HRESULT status = kv::KvStreamRead(stream_.Get(), target.data(), target.size(), &read); FAILED(status))
            throw StreamFailure{failure = status};
        return read;
    }
    IStream* Stream() const noexcept override { return stream_.Get(); }
    bool IsCallingOut() const noexcept override { return isCallingOut_; }
    /// The name that the stream gives itself, if it does.
    std::u16string Name() override {
        const CallingOut calling(*this);
        STATSTG stat{};
        if (FAILED(stream_->Stat(&stat, STATFLAG_DEFAULT)) || !stat.pwcsName) return u"stream";
        const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> name(stat.pwcsName, &CoTaskMemFree);
        return kv::Narrow16(name.get());
    }

 private:
    class CallingOut {
     public:
        explicit CallingOut(StreamSource& source) noexcept : source_(source) { source_.isCallingOut_ = true; }
        ~CallingOut() { source_.isCallingOut_ = false; }
        CallingOut(const CallingOut&) = delete;
        CallingOut& operator=(const CallingOut&) = delete;

     private:
        StreamSource& source_;
    };

    const kv::Ptr<IStream> stream_;
    bool isCallingOut_ = false;
};

class OpenDocument::TextSource final : public Source {
 public:
    explicit TextSource(std::u16string_view text) : text_(text) {}

    std::size_t Read(std::span<std::byte> target) override {
        const auto rest = std::as_bytes(std::span(text_.View())).subspan(read_);
        const std::size_t size = std::min(rest.size(), target.size());
        std::memcpy(target.data(), rest.data(), size);
        read_ += size;
        return size;
    }
    const kv::BString* Text() const noexcept override { return &text_; }
    std::u16string Name() override { return u"text"; }

 private:
    const kv::BString text_;
    std::size_t read_ = 0;
};

OpenDocument::OpenDocument(std::unique_ptr<Source> source, std::u16string_view encoding)
    : source_(std::move(source)), parser_(*source_, encoding) {}

OpenDocument::OpenDocument(IStream* stream) : OpenDocument(std::make_unique<StreamSource>(stream), {}) {}

OpenDocument::OpenDocument(std::u16string_view text) : OpenDocument(std::make_unique<TextSource>(text), u"UTF-16LE") {}

OpenDocument::~OpenDocument() = default;

bool OpenDocument::IsCallingOut() const noexcept {
    return source_->IsCallingOut();
}

IStream* OpenDocument::Stream() const noexcept {
    return source_->Stream();
}

const kv::BString* OpenDocument::Text() const noexcept {
    return source_->Text();
}

HRESULT OpenDocument::Read() noexcept try {
    if (FAILED(source_->failure)) return source_->failure;
    if (parser_.Next()) return S_OK;
    return parser_.Fault() ? E_FAIL : S_FALSE;
} catch (const StreamFailure& failure) {
    return failure.status;
} catch (...) {
    return source_->failure = E_OUTOFMEMORY;
}

std::u16string OpenDocument::Reason() {
    constexpr UINT parsingFailed = 2200;
    const xml::ParseFault* const fault = parser_.Fault();
    if (!fault || FAILED(source_->failure)) return {};
    std::u16string text = TableMessage(parsingFailed);  // filled from its end, so that no filling is taken for a gap
    text = Filled(text, u"%3", source_->Name());
    text = Filled(text, u"%2!d!", Digits(fault->line));
    return Filled(text, u"%1", fault->reason + u" (column " + Digits(fault->column) + u")");
}

}  // namespace mova
