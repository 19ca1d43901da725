#include "kvcore/BString.h"
#include "kvcore/Utf.h"
#include "tools/mova/PropertyFile.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

struct Options {
    std::string file;    ///< of lines; empty where a saved set is loaded instead
    std::string loaded;  ///< what --load names
    std::string saved;   ///< what --save names
    bool copies = false;
    bool isXml = false;  ///< what is printed or saved is an XML document
};

Options ReadOptions(Arguments arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const bool isSave = *argument == "--save";
        if (*argument == "--copy") {
            options.copies = true;
        } else if (*argument == "--xml") {
            options.isXml = true;
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

/// Whether a saved set is an XML document: that of an object stream begins with an identifier of its class.
bool IsXml(std::string_view content) {
    return content.starts_with("\xEF\xBB\xBF") || content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF") ||
           content.substr(0, content.find_first_not_of(" \t\r\n") + 1).ends_with('<');
}

kv::Ptr<IUnknown> LoadSaved(const std::string& content) {
    const auto memory = MemoryOf(content);
    if (!IsXml(content)) return LoadObject(memory);
    kv::Ptr<IUnknown> loaded;
    Check(CreateAs<IXMLSerializerAlt>(u"XMLSerializerAlt")->LoadFromStream(memory.Get(), loaded.Put()));
    return loaded;
}

void Save(const kv::Ptr<IPropertySet2>& set, const Options& options) {
    const kv::BString path(PlatformPath(options.saved));
    if (options.isXml) {
        Check(CreateAs<IXMLSerializerAlt>(u"XMLSerializerAlt")->SaveToFile(set.Get(), nullptr, path.Get()));
        return;
    }
    const auto file = CreateAs<IFileStream>(u"FileStream");
    Check(file->Open(path.Get(), movaFileModeCreateAlways));
    Check(ObjectsOver(file.As<IStream>())->SaveObject(set.Get()));
    Check(file->Close());
}

void PrintXml(const kv::Ptr<IPropertySet2>& set) {
    const auto serializer = CreateAs<IXMLSerializerAlt>(u"XMLSerializerAlt");
    kv::BString document;
    Check(serializer->SaveToString(set.Get(), nullptr, document.Put()));
    Print(kv::Utf8(document.View()) + "\n");
}

}  // namespace

int RunPropset(Arguments arguments) {
    const Options options = ReadOptions(arguments);
    kv::Ptr<IPropertySet2> set;
    if (options.loaded.empty()) {
        set = CreateAs<IPropertySet2>(u"PropertySet");
        LoadPropertyLines(*set.Get(), ReadInput(options.file), options.file);
    } else {
        const auto loaded = LoadSaved(ReadInput(options.loaded));
        if (!loaded) return 0;  // a null object was saved
        Check(loaded->QueryInterface(__uuidof(IPropertySet2), set.PutVoid()));
    }
    if (!options.saved.empty()) Save(set, options);
    if (options.copies) {
        kv::Ptr<IUnknown> copy;
        Check(set.As<IClone>()->Clone(copy.Put()));
        set = copy.As<IPropertySet2>();
    }
    if (options.isXml && options.saved.empty()) {
        PrintXml(set);
    } else {
        PrintProperties(*set.Get());
    }
    return 0;
}

}  // namespace mova::tool
