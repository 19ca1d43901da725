#include "json/JSONValues.h"

#include "containers/SystemNames.h"
#include "json/JSONArray.h"
#include "json/JSONObject.h"
#include "json/JSONReader.h"
#include "json/TreeSources.h"
#include "server/Refusal.h"

namespace mova {
namespace {

constexpr std::int8_t caseSensitiveFlag = 1;
constexpr std::int8_t replaceExistingFlag = 2;
constexpr char16_t byteOrderMark = 0xFEFF;

template <class Class>
kv::Ptr<IUnknown> NewComponent(JSONValues*& values) {
    auto* const made = new Class(nullptr);
    values = &made->Values();
    return kv::Ptr<IUnknown>::Attach(made->Own());
}

/// A new JSON object or array with those flags.
kv::Ptr<IUnknown> Make(bool isObject, std::int8_t flags, JSONValues*& values) {
    auto made = isObject ? NewComponent<JSONObject>(values) : NewComponent<JSONArray>(values);
    values->caseSensitive = (flags & caseSensitiveFlag) != 0;
    values->replaceExisting = (flags & replaceExistingFlag) != 0;
    return made;
}

/// Whether a text is nothing but white space or a byte-order mark... is told by the first token alone.
HRESULT RefuseText(HRESULT status, const char16_t* text) noexcept;

}  // namespace
}  // namespace mova
