// The JSON texts that the benchmarks read and write: the same on every host and in every run.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

struct JsonText {
    std::string name;
    std::string utf8;
    bool isObject;  ///< else an array
};

/// A GeoJSON collection: polygons of six to forty points of seven decimals, and eight properties each.
/// @param bytes about how long it is.
JsonText MakeFeatures(std::size_t bytes);

/// An array of records of texts with escapes, and characters beyond ASCII, in every fourth record as escapes too.
JsonText MakeRecords(std::size_t bytes);

/// One array of pairs of numbers with all their digits.
JsonText MakeCoordinates(std::size_t bytes);

}  // namespace bench
