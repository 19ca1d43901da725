// A text that was read writes back to the same bytes, and a length that lies takes no memory.
#include "fuzz/Readers.h"

namespace {

/// Reads texts to the first that fails, though not many. @return the bytes of those that were read
template <class Reader>
std::size_t CheckTexts(Reader& in, fuzz::Bytes bytes) {
    constexpr std::size_t slack = 2 * kv::ByteReader::pieceSize;
    fuzz::GrowingWriter out(bytes.size());
    fuzz::Units text;
    for (int left = 64; left != 0 && kv::ReadText(in, text); --left) kv::WriteText(out, text.View());
    fuzz::Require(text.capacity() * sizeof(char16_t) <= 2 * bytes.size() + slack, "memory for what is there");
    const auto& written = out.Written();
    fuzz::Require(written.size() <= in.Consumed() && fuzz::SameBytes(written, bytes.first(written.size())),
                  "what was read writes back");
    return written.size();
}

}  // namespace

// The first byte says how many bytes come at a time, and whether the rest comes often enough to exceed what is taken
// unasked.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::size_t pieceLength = data[0] % 64 + 1u;
    const fuzz::Bytes once = fuzz::BytesOf(data + 1, size - 1);
    std::vector<std::byte> often;
    if (data[0] == 0xFF && size < 300) {
        constexpr int times = 256;
        pieceLength *= 60;
        for (int i = 0; i < times; ++i) often.insert(often.end(), once.begin(), once.end());
    }
    const fuzz::Bytes bytes = often.empty() ? once : fuzz::Bytes(often);
    fuzz::WholeReader whole(bytes);
    fuzz::PieceReader pieces(bytes, pieceLength);
    fuzz::Require(CheckTexts(whole, bytes) == CheckTexts(pieces, bytes), "both readers agree");
    return 0;
}
