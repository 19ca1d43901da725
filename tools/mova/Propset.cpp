#include "tools/mova/PropertyFile.h"

namespace mova::tool {

int RunPropset(Arguments arguments) {
    std::string file;
    bool copies = false;
    for (const std::string& argument : arguments) {
        if (argument == "--copy") {
            copies = true;
        } else if (file.empty() && (argument == "-" || !argument.starts_with("--"))) {
            file = argument;
        } else {
            throw WrongUsage{"propset does not take " + argument};
        }
    }
    if (file.empty()) throw WrongUsage{"propset takes a FILE or -"};
    auto set = CreateAs<IPropertySet2>(u"PropertySet");
    LoadPropertyLines(*set.Get(), ReadInput(file), file);
    if (copies) {
        kv::Ptr<IUnknown> copy;
        Check(set.As<IClone>()->Clone(copy.Put()));
        set = copy.As<IPropertySet2>();
    }
    PrintProperties(*set.Get());
    return 0;
}

}  // namespace mova::tool
