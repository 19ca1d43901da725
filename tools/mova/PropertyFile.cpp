#include "tools/mova/PropertyFile.h"

#include "kvcore/Utf.h"
#include "tools/mova/PropertyLines.h"

namespace mova::tool {
namespace {

kv::Variant ToVariant(const PropertyLine& line) {
    VARIANT value{};
    switch (line.type) {
        case PropertyType::empty:
            break;
        case PropertyType::null:
            value.vt = VT_NULL;
            break;
        case PropertyType::boolean:
            value.vt = VT_BOOL;
            value.boolVal = std::get<bool>(line.value) ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case PropertyType::i2:
            value.vt = VT_I2;
            value.iVal = static_cast<SHORT>(std::get<std::int64_t>(line.value));
            break;
        case PropertyType::i4:
            value.vt = VT_I4;
            value.lVal = static_cast<LONG>(std::get<std::int64_t>(line.value));
            break;
        case PropertyType::i8:
            value.vt = VT_I8;
            value.llVal = std::get<std::int64_t>(line.value);
            break;
        case PropertyType::r4:
            value.vt = VT_R4;
            value.fltVal = static_cast<float>(std::get<double>(line.value));
            break;
        case PropertyType::r8:
            value.vt = VT_R8;
            value.dblVal = std::get<double>(line.value);
            break;
        case PropertyType::date:
            value.vt = VT_DATE;
            value.date = std::get<double>(line.value);
            break;
        case PropertyType::string:
            return kv::Variant::FromText(kv::BString(kv::Utf16(std::get<std::string_view>(line.value))));
    }
    return kv::Variant::Attach(value);
}

}  // namespace

void LoadPropertyLines(IPropertySet& set, std::string_view text, const std::string& file) {
    std::size_t number = 0;
    for (const std::string_view line : SplitLines(text)) {
        ++number;
        if (line.empty()) continue;
        const auto property = ParsePropertyLine(line);
        if (!property) throw WrongUsage{file + ", line " + std::to_string(number) + ": not NAME=TYPE:VALUE or -NAME"};
        const kv::BString name(kv::Utf16(property->name));
        Check(property->removes ? set.RemoveProperty(name.Get())
                                : set.SetProperty(name.Get(), ToVariant(*property).Get()));
    }
}

void PrintProperties(IPropertySet2& set, std::string_view indent) {
    LONG count = 0;
    Check(set.GetCount(&count));
    for (LONG i = 0; i < count; ++i) {
        kv::BString name;
        kv::Variant value;
        Check(set.GetPropertyAt(i, name.Put(), value.Put()));
        Print(std::string(indent) + kv::Utf8(name.View()) + "\t" + std::to_string(value.Get().vt) + "\t" +
              ValueText(value.Get()) + "\n");
    }
}

}  // namespace mova::tool
