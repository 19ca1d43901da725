#include "kvcore/String.h"

#include <new>

#include "kvcore/ValueFormat.h"

namespace kv {

HRESULT String::Write(IStream* stream) const noexcept {
    StreamWriter out(stream);
    WriteText(out, *this);
    return out.Finish();
}

HRESULT String::Read(IStream* stream) noexcept try {
    StreamReader in(stream);
    std::u16string text;
    if (ReadText(in, text)) swap(text);
    return in.Status();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace kv
