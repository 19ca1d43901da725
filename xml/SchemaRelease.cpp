#include "xml/SchemaRelease.h"

#include <algorithm>

namespace xml {
namespace {

constexpr std::u16string_view family = u"urn:mova:schemas:";

constexpr bool IsInOrder() noexcept {
    for (std::size_t i = 0; i < schemaReleases.size(); ++i) {
        const ReleaseRow& row = schemaReleases[i];
        if (static_cast<std::size_t>(row.release) != i || !row.uri.starts_with(family) ||
            row.uri.substr(family.size()) != row.name)
            return false;
    }
    return schemaReleases.back().release == newestRelease;
}
static_assert(IsInOrder(), "a row for every release, in the order of the releases, named as its namespace ends");

}  // namespace

std::optional<SchemaRelease> ReleaseOf(std::u16string_view uri) noexcept {
    // Most namespaces that are asked for are of other makers, and their first letters say so.
    if (!uri.starts_with(family)) return {};
    return ReleaseNamed(uri.substr(family.size()));
}

std::optional<SchemaRelease> ReleaseNamed(std::u16string_view name) noexcept {
    const auto found = std::find_if(schemaReleases.begin(), schemaReleases.end(),
                                    [&](const ReleaseRow& row) { return row.name == name; });
    if (found == schemaReleases.end()) return {};
    return found->release;
}

}  // namespace xml
