#include <movaSystem.h>

#include <algorithm>

#include "tools/mova/Client.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

void PrintLine(const char* name, LONG number) {
    Print(std::string(name) + "\t" + std::to_string(number) + "\n");
}

/// Reads a document to its end, and counts.
int CheckDocument(Arguments arguments) {
    if (arguments.size() != 1) throw WrongUsage{"xml check takes a FILE"};
    const auto reader = CreateAs<IXMLReader>(u"XMLReader");
    Check(reader->put_InputStream(MemoryOf(ReadInput(arguments[0])).Get()));
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
