#include "kvcore/BString.h"
#include "tools/mova/PropertyFile.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

struct Options {
    std::string file;    ///< of lines; empty where a saved set is loaded instead
    std::string loaded;  ///< what --load names
    std::string saved;   ///< what --save names
    bool copies = false;
};

Options ReadOptions(Arguments arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const bool isSave = *argument == "--save";
        if (*argument == "--copy") {
            options.copies = true;
        } else if (isSave || *argument == "--load") {
            std::string& named = isSave ? options.saved : options.loaded;
            if (argument + 1 == arguments.end() || !named.empty())
                throw WrongUsage{"propset takes one file after " + *argument};
            named = *++argument;
        } else if (options.file.empty() && (*argument == "-" || !argument->starts_with("--"))) {
            options.file = *argument;
        } else {
            throw WrongUsage{"propset does not take " + *argument};
        }
    }
    if (options.file.empty() == options.loaded.empty()) throw WrongUsage{"propset takes a FILE or -, or --load IN"};
    return options;
}

}  // namespace

int RunPropset(Arguments arguments) {
    const Options options = ReadOptions(arguments);
    kv::Ptr<IPropertySet2> set;
    if (options.loaded.empty()) {
        set = CreateAs<IPropertySet2>(u"PropertySet");
        LoadPropertyLines(*set.Get(), ReadInput(options.file), options.file);
    } else {
        const auto loaded = LoadObject(MemoryOf(ReadInput(options.loaded)));
        if (!loaded) return 0;  // a null object was saved
        Check(loaded->QueryInterface(__uuidof(IPropertySet2), set.PutVoid()));
    }
    if (!options.saved.empty()) {
        const auto file = CreateAs<IFileStream>(u"FileStream");
        Check(file->Open(kv::BString(PlatformPath(options.saved)).Get(), movaFileModeCreateAlways));
        Check(ObjectsOver(file.As<IStream>())->SaveObject(set.Get()));
        Check(file->Close());
    }
    if (options.copies) {
        kv::Ptr<IUnknown> copy;
        Check(set.As<IClone>()->Clone(copy.Put()));
        set = copy.As<IPropertySet2>();
    }
    PrintProperties(*set.Get());
    return 0;
}

}  // namespace mova::tool
