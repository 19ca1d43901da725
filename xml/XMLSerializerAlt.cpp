#include "xml/XMLSerializerAlt.h"

#include <string>

#include "kvcore/Stream.h"
#include "kvcore/Utf.h"
#include "streams/BufferedFileStream.h"
#include "xml/DocumentSink.h"
#include "xml/XMLReader.h"
#include "xml/XMLTextReader.h"

namespace mova {
namespace {

constexpr std::string_view declaration = R"(<?xml version="1.0" encoding="utf-8" ?>)";

/// The bytes of a document in memory.
struct Memory final : xml::ByteSink {
    void Write(std::string_view piece) noexcept override try { bytes.append(piece); } catch (...) {
        isFull = true;
    }

    std::string bytes;
    bool isFull = false;
};

/// The bytes of a document on their way to a stream, many at a time.
class ToStream final : public xml::ByteSink {
 public:
    explicit ToStream(IStream* stream) : stream_(stream) { buffer_.reserve(bufferSize); }

    void Write(std::string_view piece) noexcept override {
        if (buffer_.size() + piece.size() > bufferSize) Flush();
        if (piece.size() > bufferSize) {
            Put(piece);
        } else {
            buffer_.append(piece);
        }
    }
    HRESULT Finish() noexcept {
        Flush();
        return status_;
    }

 private:
    static constexpr std::size_t bufferSize = 64 * 1024;

    void Flush() noexcept {
        Put(buffer_);
        buffer_.clear();
    }
    void Put(std::string_view bytes) noexcept {
        if (SUCCEEDED(status_)) status_ = kv::KvStreamWrite(stream_.Get(), bytes.data(), bytes.size(), nullptr);
    }

    const kv::Ptr<IStream> stream_;
    std::string buffer_;
    HRESULT status_ = S_OK;
};

HRESULT WriteDocument(xml::ElementTree& tree, const xml::TreeForm& form, IStream* stream) {
    ToStream bytes(stream);
    xml::DocumentSink out(bytes);
    bytes.Write(declaration);
    if (form.isFormatted) bytes.Write("\r\n");
    xml::WriteTree(tree, form, out);
    return bytes.Finish();
}

}  // namespace

template <class Write>
HRESULT XMLSerializerAlt::Save(IUnknown* object, BSTR name, Write write) {
    if (!object) return Refuse<IXMLSerializerAlt>(E_INVALIDARG, u"There is no object to write.");
    return WriteElement(
        kv::View(name), {},
        [&](GraphWriter& graph, GraphWriter::Index element) { return graph.FillObject(element, object); }, write);
}

STDMETHODIMP XMLSerializerAlt::SaveToStream(IUnknown* object, BSTR name, IStream* stream) noexcept try {
    if (!stream) return Refuse(E_POINTER);
    return Save(object, name,
                [&](xml::ElementTree& tree, const xml::TreeForm& form) { return WriteDocument(tree, form, stream); });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializerAlt::SaveToString(IUnknown* object, BSTR name, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    return Save(object, name, [&](xml::ElementTree& tree, const xml::TreeForm& form) {
        Memory memory;
        xml::DocumentSink out(memory);
        xml::WriteTree(tree, form, out);
        if (memory.isFull) throw std::bad_alloc();
        *text = kv::BString(kv::Utf16(memory.bytes)).Detach();
        return S_OK;
    });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializerAlt::SaveToFile(IUnknown* object, BSTR name, BSTR fileName) noexcept try {
    return Save(object, name, [&](xml::ElementTree& tree, const xml::TreeForm& form) {
        const auto file = kv::Ptr<IFileStream>::Attach(new BufferedFileStream(nullptr));
        if (HRESULT status = file->Open(fileName, movaFileModeCreateAlways); FAILED(status)) return status;
        if (HRESULT status = WriteDocument(tree, form, file.As<IStream>().Get()); FAILED(status)) return status;
        return file->Close();
    });
} catch (...) {
    return CaughtStatus();
}

/// Reads a document whose end tag is the last of its tags.
HRESULT XMLSerializerAlt::Load(IXMLReader& reader, IUnknown** object) {
    return ReadElement(reader, [&](GraphReader& graph) {
        VARIANT_BOOL found = VARIANT_TRUE;
        for (HRESULT status = S_OK; found;)
            if (status = reader.Read(&found); FAILED(status)) return status;
        kv::Ptr<IUnknown> read;
        const HRESULT status = graph.ReadObject(0, read);
        if (SUCCEEDED(status)) *object = read.Detach();
        return status;
    });
}

STDMETHODIMP XMLSerializerAlt::LoadFromStream(IStream* stream, IUnknown** object) noexcept try {
    if (object) *object = nullptr;
    if (!stream || !object) return Refuse(E_POINTER);
    const auto reader = kv::Ptr<IXMLReader>::Attach(new XMLReader(nullptr));
    if (HRESULT status = reader->put_InputStream(stream); FAILED(status)) return status;
    return Load(*reader.Get(), object);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializerAlt::LoadFromString(BSTR text, IUnknown** object) noexcept try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    const auto reader = kv::Ptr<IXMLTextReader>::Attach(new XMLTextReader(nullptr));
    if (HRESULT status = reader->put_Text(text); FAILED(status)) return status;
    return Load(*reader.Get(), object);
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLSerializerAlt::LoadFromFile(BSTR fileName, IUnknown** object) noexcept try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    const auto file = kv::Ptr<IFileStream>::Attach(new BufferedFileStream(nullptr));
    if (HRESULT status = file->Open(fileName, movaFileModeRead); FAILED(status)) return status;
    return LoadFromStream(file.As<IStream>().Get(), object);
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
