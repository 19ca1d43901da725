// Tagged values in streams.
#pragma once

#include "kvcore/Stream.h"
#include "kvcore/Variant.h"

namespace kv {

/// What becomes of the objects among values.
enum class Objects { kept, dropped };

/// Writes a value with its type, read through where it is a reference.
/// @param objects dropped: null is written in the place of objects, those in arrays included.
/// @return false, with the writer failed: DISP_E_BADVARTYPE for a value that cannot be saved (records, references
///     inside an array, an array that is not what its type says, more than maxNesting levels), or as the stream failed
bool WriteValue(StreamWriter& out, const VARIANT& value, Objects objects);

/// Reads a value with its type. @param value is overwritten, and empty where that fails.
/// @param objects dropped: an object in the stream is a failure.
/// @return false, with the reader failed. @throw std::bad_alloc
bool ReadValue(StreamReader& in, VARIANT* value, Objects objects);

}  // namespace kv
