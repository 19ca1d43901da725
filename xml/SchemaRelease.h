// The releases of the library's own XML schema, and the namespaces that documents have to do with.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace xml {

/// The releases of the schema that the library's own types are in, from the oldest on.
enum class SchemaRelease : std::uint8_t { V9_0, V9_1, V9_2, V9_3, V10_0 };
/// What is written unless another one is asked for.
inline constexpr SchemaRelease newestRelease = SchemaRelease::V10_0;

/// A release, its name, and the namespace of what belongs to it.
struct ReleaseRow {
    SchemaRelease release;
    std::u16string_view name, uri;
};
inline constexpr std::array<ReleaseRow, 5> schemaReleases = {{
    {SchemaRelease::V9_0, u"9.0", u"urn:mova:schemas:9.0"},
    {SchemaRelease::V9_1, u"9.1", u"urn:mova:schemas:9.1"},
    {SchemaRelease::V9_2, u"9.2", u"urn:mova:schemas:9.2"},
    {SchemaRelease::V9_3, u"9.3", u"urn:mova:schemas:9.3"},
    {SchemaRelease::V10_0, u"10.0", u"urn:mova:schemas:10.0"},
}};

/// The release that a namespace belongs to; nothing for any that is not the very text of one in the table.
std::optional<SchemaRelease> ReleaseOf(std::u16string_view uri) noexcept;
/// The release of a name such as "9.3".
std::optional<SchemaRelease> ReleaseNamed(std::u16string_view name) noexcept;

constexpr std::u16string_view NamespaceOf(SchemaRelease release) noexcept {
    return schemaReleases[static_cast<std::size_t>(release)].uri;
}
constexpr std::u16string_view NameOf(SchemaRelease release) noexcept {
    return schemaReleases[static_cast<std::size_t>(release)].name;
}

// Namespaces that the standards give.
inline constexpr std::u16string_view xmlUri = u"http://www.w3.org/XML/1998/namespace";  ///< of the prefix xml
inline constexpr std::u16string_view xmlnsUri = u"http://www.w3.org/2000/xmlns/";       ///< of the prefix xmlns
inline constexpr std::u16string_view schemaUri = u"http://www.w3.org/2001/XMLSchema";   ///< of XML Schema's types
inline constexpr std::u16string_view instanceUri = u"http://www.w3.org/2001/XMLSchema-instance";  ///< type, nil

}  // namespace xml
