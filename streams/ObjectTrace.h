// The lines that an object stream traces.
#pragma once

#include <string>

#include <movaStreams.h>

namespace mova {

/// Each takes a line to a sink; what cannot be traced for lack of memory is left out.
void TraceSaved(IObjectStreamDebug* sink, REFCLSID classId) noexcept;
void TraceReference(IObjectStreamDebug* sink, ULONG number) noexcept;
void TraceLoaded(IObjectStreamDebug* sink, ULONG number, REFCLSID classId) noexcept;

}  // namespace mova
