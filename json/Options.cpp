#include "json/Options.h"

#include <algorithm>

#include "kvcore/Status.h"
#include "kvcore/Variant.h"

namespace mova {
namespace {

/// @return whether it is there
bool ReadOption(IPropertySet* options, const char16_t* name, kv::Variant& value) {
    return options && kv::Succeeded(options->GetProperty(kv::BString(name).Get(), value.Put()));
}

}  // namespace

bool FlagOption(IPropertySet* options, const char16_t* name) {
    kv::Variant value;
    kv::Variant flag;
    return ReadOption(options, name, value) &&
           kv::Succeeded(kv::ChangeType(value.Get(), VT_BOOL, LOCALE_USER_DEFAULT, 0, flag)) &&
           flag.Get().boolVal != VARIANT_FALSE;
}

LONG NaturalOption(IPropertySet* options, const char16_t* name) {
    static constexpr VARTYPE integers[] = {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT};
    kv::Variant value;
    kv::Variant number;
    if (!ReadOption(options, name, value) ||
        std::find(std::begin(integers), std::end(integers), value.Get().vt) == std::end(integers) ||
        !kv::Succeeded(kv::ChangeType(value.Get(), VT_I4, LOCALE_USER_DEFAULT, 0, number)))
        return -1;
    return std::max<LONG>(number.Get().lVal, -1);
}

}  // namespace mova
