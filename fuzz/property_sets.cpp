// The record of a property set writes back to the same bytes, and its tree ends as the reading of the record does.
#include "fuzz/Readers.h"
#include "tools/mova/StreamTree.h"

namespace {

/// Before the record, as in a stream of objects: the class identifier, and the number 1.
constexpr std::array<std::uint8_t, 20> reference = {0x11, 0x5A, 0x8E, 0x58, 0x9B, 0xD0, 0xD1, 0x11, 0xAA, 0x7C,
                                                    0x00, 0xC0, 0x4F, 0xA3, 0x3A, 0x15, 1,    0,    0,    0};

/// Reads a record as a property set does.
template <class Reader>
bool ReadRecord(Reader& in, fuzz::Echo& echo) {
    std::uint16_t version = 0;
    std::int32_t count = 0;
    in >> version;
    if (in.Failed() || version > 1) return false;
    in >> count;
    if (in.Failed()) return false;
    echo.out << version << count;
    fuzz::Units name;
    for (; count > 0; --count) {
        if (!kv::ReadText(in, name)) return false;
        kv::WriteText(echo.out, name.View());
        fuzz::EchoValue value(echo, true);
        if (!kv::ReadValue(in, value, 500)) return false;
    }
    return true;
}

}  // namespace

// The first byte says how many bytes come at a time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const fuzz::Bytes bytes = fuzz::BytesOf(data + 1, size - 1);
    fuzz::WholeReader whole(bytes);
    fuzz::PieceReader pieces(bytes, data[0] % 64 + 1u);
    fuzz::Echo ofWhole(bytes), ofPieces(bytes);
    const bool isRead = ReadRecord(whole, ofWhole);
    fuzz::CheckEcho(ofWhole, bytes, isRead ? whole.Consumed() : 0);
    fuzz::Require(ReadRecord(pieces, ofPieces) == isRead, "both readers agree");
    fuzz::CheckEcho(ofPieces, bytes, isRead ? pieces.Consumed() : 0);
    if (ofWhole.sawObjects) return 0;  // their records follow, which the tree reads

    const auto prefix = std::as_bytes(std::span(reference));
    std::vector<std::byte> stream(prefix.begin(), prefix.end());
    const std::size_t length = isRead ? whole.Consumed() : bytes.size();
    stream.insert(stream.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    const auto tree = mova::tool::PrintStream(stream);
    fuzz::Require((tree.end == mova::tool::StreamEnd::whole) == isRead, "the tree ends as the record does");
    fuzz::Require(tree.offset <= stream.size() && (!isRead || tree.offset == stream.size()), "where the stream does");
    return 0;
}
