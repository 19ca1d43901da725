#include <algorithm>

#include "tools/mova/ClassRoster.h"
#include "tools/mova/Client.h"
#include "tools/mova/StreamTree.h"

namespace mova::tool {
namespace {

std::u16string_view RosterName(const kv::IdBits& classId) {
    const auto* row = std::find_if(std::begin(roster), std::end(roster),
                                   [&](const RosterRow& known) { return kv::BitsOf(known.classId) == classId; });
    return row == std::end(roster) ? std::u16string_view() : row->name;
}

}  // namespace

int RunStream(Arguments arguments) {
    if (arguments.size() != 1) throw WrongUsage{"stream takes a FILE or -"};
    const std::string& file = arguments[0];
    if (file.starts_with("--")) throw WrongUsage{"stream does not take " + file};
    const std::string bytes = ReadInput(file);
    const StreamTree tree = PrintStream(std::as_bytes(std::span(bytes)), &RosterName);
    Print(tree.lines);
    if (tree.end == StreamEnd::broken)
        throw Refused(E_FAIL, file, "broken at " + OffsetText(tree.offset) + ": " + tree.reason);
    return 0;
}

}  // namespace mova::tool
