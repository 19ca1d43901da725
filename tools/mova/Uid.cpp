#include <movaSystem.h>

#include "kvcore/Utf.h"
#include "tools/mova/Client.h"

namespace mova::tool {
namespace {

kv::Ptr<IUID> UidOf(const std::string& text) {
    const auto value = kv::Variant::FromText(kv::BString(kv::Utf16(text)));
    auto uid = CreateAs<IUID>(u"UID");
    Check(uid->put_Value(value.Get()));
    return uid;
}

int Compare(const std::string& left, const std::string& right) {
    const auto first = UidOf(left);
    const auto second = UidOf(right);
    VARIANT_BOOL equal = VARIANT_FALSE;
    Check(first->Compare(second.Get(), &equal));
    Print(equal ? "equal\n" : "different\n");
    return 0;
}

}  // namespace

int RunUid(Arguments arguments) {
    if (!arguments.empty() && arguments[0] == "--compare") {
        if (arguments.size() != 3) throw WrongUsage{"uid --compare takes two texts"};
        return Compare(arguments[1], arguments[2]);
    }
    if (arguments.size() > 1) throw WrongUsage{"uid takes one TEXT or nothing"};
    if (!arguments.empty() && arguments[0].starts_with("--")) throw WrongUsage{"uid does not take " + arguments[0]};
    kv::Ptr<IUID> uid;
    if (arguments.empty()) {
        uid = CreateAs<IUID>(u"UID");
        Check(uid->Generate());
    } else {
        uid = UidOf(arguments[0]);
    }
    kv::Variant value;
    LONG subtype = 0;
    Check(uid->get_Value(value.Put()));
    Check(uid->get_SubType(&subtype));
    Print(kv::Utf8(kv::View(value.Get().bstrVal)) + "\t" + std::to_string(subtype) + "\n");
    return 0;
}

}  // namespace mova::tool
