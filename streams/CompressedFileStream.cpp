#include "streams/CompressedFileStream.h"

namespace mova {

STDMETHODIMP CompressedFileStream::put_CompressionLevel(LONG level) noexcept {
    constexpr LONG greatestLevel = 9;
    if (level < 0 || level > greatestLevel)
        return Refuse<ICompressedFileStream>(E_INVALIDARG, u"The compression level must be from 0 to 9.");
    nextLevel_ = static_cast<int>(level);
    if (OpenContent()) OpenContent()->SetLevel(nextLevel_);
    return S_OK;
}

STDMETHODIMP CompressedFileStream::get_CompressionLevel(LONG* level) noexcept {
    if (!level) return Refuse(E_POINTER);
    *level = Level();
    return S_OK;
}

STDMETHODIMP CompressedFileStream::get_CompressedSize(LONGLONG* length) noexcept {
    if (!length) return Refuse(E_POINTER);
    *length = 0;
    return Run([&] {
        std::uint64_t size = 0;
        const FileOutcome outcome = OpenContent()->OpenFile().GetSize(size);
        *length = static_cast<LONGLONG>(size);
        return outcome;
    });
}

}  // namespace mova
