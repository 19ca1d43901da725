#pragma once

#include <movaSystem.h>
#include "server/Component.h"

namespace mova {

/// Copies any object that can be saved.
class ObjectCopy final : public Component<ObjectCopy, ::ObjectCopy, IObjectCopy> {
 public:
    using Component::Component;

    // IObjectCopy
    STDMETHODIMP Copy(IUnknown* object, IUnknown** copy) noexcept override;
};

}  // namespace mova
