// Single values of a stream as they are shown. Each function appends to a text. @throw std::bad_alloc
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "kvcore/IdBits.h"
#include "kvcore/ValueFormat.h"

namespace mova::tool {

std::string_view NameOf(kv::ValueType type) noexcept;

using FixedBytes = std::array<std::byte, 16>;  ///< room for the largest value of fixed size

/// A value of a type that has always the same size.
void AppendFixed(std::string& out, kv::ValueType type, const FixedBytes& bytes);
/// At least eight digits.
void AppendHex(std::string& out, std::uint64_t number);
/// A text in quotation marks, and where it is long its beginning and its length.
void AppendText(std::string& out, std::span<const std::byte> bytes);
void AppendGuid(std::string& out, const kv::IdBits& id);
/// The bounds of an array, the first dimension first.
void AppendBounds(std::string& out, std::span<const kv::ArrayBound> bounds);

}  // namespace mova::tool
