// Object streams as the commands use them.
#pragma once

#include <movaSystem.h>

#include "tools/mova/Client.h"

namespace mova::tool {

/// A stream in memory with these bytes, at their start. @throw Refused
kv::Ptr<IStream> MemoryOf(std::string_view bytes);
/// All bytes of a stream in memory, which keeps them. @throw Refused
std::string_view BytesOf(const kv::Ptr<IStream>& memory);
/// An object stream over a stream. @throw Refused
kv::Ptr<IObjectStream> ObjectsOver(const kv::Ptr<IStream>& stream);
/// The first object of a saved graph; null where it is null. @throw Refused
kv::Ptr<IUnknown> LoadObject(const kv::Ptr<IStream>& stream);

}  // namespace mova::tool
