#pragma once

#include <movaSystem.h>
#include "containers/ComponentArray.h"

namespace mova {

/// An array of property sets.
class PropertySetArray final
    : public ComponentArray<PropertySetArray, ::PropertySetArray, IPropertySetArray, IPropertySet> {
 public:
    using ComponentArray::ComponentArray;

    static constexpr std::u16string_view typeName = u"PropertySetArray";
};

/// An array of single properties.
class PropertySetPropertyArray final : public ComponentArray<PropertySetPropertyArray, ::PropertySetPropertyArray,
                                                             IPropertySetPropertyArray, IPropertySetProperty> {
 public:
    using ComponentArray::ComponentArray;

    static constexpr std::u16string_view typeName = u"PropertySetPropertyArray";
};

}  // namespace mova
