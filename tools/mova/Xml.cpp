#include <movaSystem.h>

#include <algorithm>

#include "kvcore/BString.h"
#include "tools/mova/Client.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

void PrintLine(const char* name, LONG number) {
    Print(std::string(name) + "\t" + std::to_string(number) + "\n");
}

/// The document's bytes: a file is read piece by piece.
kv::Ptr<IStream> DocumentIn(const std::string& file) {
    if (file == "-") return MemoryOf(ReadInput(file));
    const auto stream = CreateAs<IFileStream>(u"BufferedFileStream");
    if (FAILED(stream->Open(kv::BString(PlatformPath(file)).Get(), movaFileModeRead)))
        throw WrongUsage{"cannot read " + file};
    return stream.As<IStream>();
}

/// Reads a document to its end, and counts.
int CheckDocument(Arguments arguments) {
    if (arguments.size() != 1) throw WrongUsage{"xml check takes a FILE"};
    const auto reader = CreateAs<IXMLReader>(u"XMLReader");
    Check(reader->put_InputStream(DocumentIn(arguments[0]).Get()));
    LONG elements = 0;
    LONG deepest = 0;
    const auto printCounts = [&] {
        PrintLine("elements", elements);
        PrintLine("depth", deepest);
    };
    for (;;) {
        VARIANT_BOOL found = VARIANT_FALSE;
        if (HRESULT status = reader->Read(&found); FAILED(status)) {
            LONG line = 0;
            LONG column = 0;
            Check(reader->get_LineNumber(&line));
            Check(reader->get_ColumnNumber(&column));
            printCounts();
            Print("fault\t" + std::to_string(line) + "\t" + std::to_string(column) + "\n");
            throw Refused(status);  // with the text that is still on the thread
        }
        if (!found) break;
        movaXMLNodeType type = movaXMLNone;
        Check(reader->get_NodeType(&type));
        if (type != movaXMLStartElement) continue;
        LONG depth = 0;
        Check(reader->get_Depth(&depth));
        ++elements;
        deepest = std::max(deepest, depth + 1);
    }
    printCounts();
    return 0;
}

}  // namespace

int RunXml(Arguments arguments) {
    if (arguments.empty()) throw WrongUsage{"xml takes check"};
    if (arguments[0] == "check") return CheckDocument(arguments.subspan(1));
    throw WrongUsage{"xml does not know " + arguments[0]};
}

}  // namespace mova::tool
