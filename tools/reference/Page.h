#pragma once

#include <iosfwd>

#include "tools/reference/TypeReader.h"

namespace mova::reference {

/// Writes the reference manual, one page of HTML in UTF-8 that stands alone.
void WritePage(std::ostream& page, const Library& library);

}  // namespace mova::reference
