#include <cstdio>

#include "tools/mova/Client.h"
#include "tools/mova/PropertyLines.h"
#include "tools/mova/Words.h"

namespace mova::tool {
namespace {

int RunLine(std::string_view line) {
    const auto words = SplitWords(line);
    if (!words) return TellWrongUsage("a quotation is not closed");
    if (words->front() == "run") return TellWrongUsage("run cannot be run from a script");
    return RunCommand(*words, stdout);
}

}  // namespace

int RunScript(Arguments arguments) {
    if (arguments.size() != 1) throw WrongUsage{"run takes one FILE or -"};
    const std::string script = ReadInput(arguments[0]);
    int lastFailure = 0;
    for (const std::string_view line : SplitLines(script)) {
        if (line.find_first_not_of(" \t") == std::string::npos || line.starts_with('#')) continue;
        const int status = RunLine(line);
        if (status != 0) lastFailure = status;
        Print("# exit " + std::to_string(status) + "\n");
        std::fflush(stdout);
    }
    return lastFailure;
}

}  // namespace mova::tool
