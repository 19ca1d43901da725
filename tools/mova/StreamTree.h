// The objects of a stream as a tree of lines, to see what a stream holds and where a broken one breaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "kvcore/IdBits.h"

namespace mova::tool {

enum class StreamEnd : std::uint8_t {
    whole,    ///< every byte was read
    unknown,  ///< at an object of a class whose record only the class itself can read
    broken,
};

struct StreamTree {
    std::string lines;  ///< each with the offset of what it shows; the last one says how the stream ended
    StreamEnd end = StreamEnd::whole;
    std::size_t offset = 0;  ///< where it ended
    std::string reason;      ///< why it ended there; empty for all of a stream
};

/// An offset in a stream, as it stands before a line. @throw std::bad_alloc
std::string OffsetText(std::size_t offset);

/// Names the classes whose records are not known here; answers an empty text where it knows none either.
using ClassNamer = std::u16string_view (*)(const kv::IdBits& classId);

/// Prints the objects that stand one after the other in a stream, all of them to its end or as far as they can be read:
///
///     00000000  PropertySet #1 v1, 3 properties
///     0000001A    "Name" = str "x"
///     00000030    "Sizes" = i4[1000] {1, 2, 3, 4, 5, 6, 7, 8, ... 992 more}
///     00000FF8    "Parent" = unknown PropertySet #1, above
///     0000102A  end
///
/// Long texts and arrays are cut in the display, though every object shows; the text is a small multiple of the stream.
/// @param nameClass may be null. @throw std::bad_alloc
StreamTree PrintStream(std::span<const std::byte> bytes, ClassNamer nameClass = nullptr);

}  // namespace mova::tool
