// A value that was read writes back to the same bytes from either kind of reader, and a count that lies takes no
// memory.
#include "fuzz/Readers.h"

namespace {

constexpr int arrayBudget = 500;

/// Reads values to the end or to the first that fails. @return the bytes of those that were read
template <class Reader>
std::size_t ReadValues(Reader& in, fuzz::Bytes bytes) {
    fuzz::Echo echo(bytes);
    std::size_t read = 0;
    while (read < bytes.size()) {
        fuzz::EchoValue value(echo, true);
        const bool isRead = kv::ReadValue(in, value, arrayBudget);
        fuzz::Require(isRead != in.Failed(), "a failure that sticks");
        if (!isRead) break;
        read = in.Consumed();
    }
    fuzz::CheckEcho(echo, bytes, read);
    return read;
}

}  // namespace

// The first byte says how many bytes come at a time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const fuzz::Bytes bytes = fuzz::BytesOf(data + 1, size - 1);
    fuzz::WholeReader whole(bytes);
    fuzz::PieceReader pieces(bytes, data[0] % 64 + 1u);
    fuzz::Require(ReadValues(whole, bytes) == ReadValues(pieces, bytes), "both readers agree");
    fuzz::Require(whole.Failed() == pieces.Failed(), "both readers fail or neither does");
    return 0;
}
