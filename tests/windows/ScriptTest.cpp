// Script clients, run by the platform's own script host.
#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "server/ClassTable.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {

TEST(Scripts, UseEveryClassAndPrintWhatTheySay) {
    std::map<std::string, std::string> sources;  // by the language's extension
    for (const auto& file : std::filesystem::directory_iterator(MOVA_SOURCES "/samples/scripts")) {
        const std::u16string script = absolute(file.path()).make_preferred().u16string();
        SCOPED_TRACE(kv::Utf8(script));
        const std::string source = ReadFileBytes(script);
        const std::string comment = script.ends_with(u".js") ? "// " : "' ";
        std::istringstream lines(source.substr(std::min(source.size(), source.find("Prints:\n") + 8)));
        std::string expected;
        for (std::string line; std::getline(lines, line);) expected += line.substr(comment.size()) + "\n";
        auto run = RunProcess(u"cscript.exe /nologo \"" + script + u"\"");
        std::erase(run.output, '\r');
        EXPECT_EQ(run.output, expected);
        EXPECT_NE(expected, "");
        EXPECT_EQ(run.status, 0u);
        sources[comment] += source;
    }
    EXPECT_EQ(sources.size(), 2u);
    for (const auto& [comment, source] : sources)
        for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
            const std::string name = kv::Utf8(entry->name) + "\"";
            EXPECT_TRUE(source.find("\"movaSystem." + name) != source.npos || source.find("\"" + name) != source.npos)
                << "no sample with " << comment << "as its comments has " << name;
        }
}

}  // namespace mova::test
