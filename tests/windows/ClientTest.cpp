// The command-line client as a process of its own.
#include <algorithm>

#include "tests/windows/StreamSupport.h"
#include "tests/windows/Support.h"

namespace mova::test {

TEST(Client, ReadsAndPrintsPropertySets) {
    const auto run =
        Mova(u"propset -",
             "\xEF\xBB\xBF"
             "Name=str:a\"b\\c\x01\xC3\xA4=:\r\n\r\nB=bool:true\nI2=i2:-32768\nI4=i4:7\nI8=i8:-9223372036854775808\n"
             "R4=r4:0.1\nR8=r8:1e300\nNaN=r8:nan\nInf=r8:-inf\nD=date:45000.75\nE=empty:\nN=null:\n=str:\n"
             "Gone=i4:1\n-gONE\n-never\nname=str:\xF0\x9F\x97\xBA\n");
    EXPECT_EQ(run.output,
              "Name\t8\t\"\xF0\x9F\x97\xBA\"\nB\t11\ttrue\nI2\t2\t-32768\nI4\t3\t7\nI8\t20\t-9223372036854775808\n"
              "R4\t4\t0.1\nR8\t5\t1e+300\nNaN\t5\tnan\nInf\t5\t-inf\nD\t7\t45000.75\nE\t0\t\nN\t1\t\n\t8\t\"\"\n");
    EXPECT_EQ(run.status, 0u);
    EXPECT_EQ(Mova(u"propset --copy -", "A=str:a\"b\\c\x01\xC3\xA4\x7F=:\n").output,
              "A\t8\t\"a\\\"b\\\\c\\u0001\xC3\xA4\x7F=:\"\n");
}

TEST(Client, OpensPathsOfTheHost) {
    // As ./mova tells it where it was called; without a drive, these are paths of the host.
    const std::string root = std::string(MOVA_SOURCES).substr(std::string(MOVA_SOURCES).find('/'));
    SetEnvironmentVariableW(L"MOVA_HOST_FOLDER", kv::Wide(kv::Utf16(root + "/docs").c_str()));
    for (const std::string& file :
         {std::string("../samples/connection.props"), std::string("./..//samples/./connection.props"),
          root + "/docs/../samples//connection.props"})
        EXPECT_EQ(Mova(u"propset " + kv::Utf16(file)).status, 0u) << file;
    EXPECT_EQ(Mova(u"propset ../../../../../../../../nowhere").status, 2u);
    SetEnvironmentVariableW(L"MOVA_HOST_FOLDER", nullptr);
}

TEST(Client, SavesAndLoadsPropertySets) {
    const std::u16string file = BinaryFolder() + u"set \u017Dofie.bin";
    const auto saved = Mova(u"propset - --save \"" + file + u"\"", "A=str:\xC3\xA4\nB=i4:7\n-A\nC=null:\n");
    EXPECT_EQ(saved.output, "B\t3\t7\nC\t1\t\n");
    const auto loaded = Mova(u"propset --load \"" + file + u"\" --copy");
    EXPECT_EQ(loaded.output, saved.output);
    EXPECT_EQ(loaded.status, 0u);
    EXPECT_TRUE(DeleteFileW(kv::Wide(file.c_str())));
    const auto printed = Mova(u"propset - --xml", "A=str:\xC3\xA4\nB=i4:7\nC=null:\n");
    EXPECT_EQ(
        printed.output,
        "<PropertySet xsi:type='mova:PropertySet' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
        " xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns:mova='urn:mova:schemas:10.0'>"
        "<Property key='A' xsi:type='xs:string'>\xC3\xA4</Property><Property key='B' xsi:type='xs:int'>7</Property>"
        "<Property key='C' xsi:nil='true'/></PropertySet>\n");
    EXPECT_EQ(Mova(u"propset --load -", printed.output).output, "A\t8\t\"\xC3\xA4\"\nB\t3\t7\nC\t1\t\n");
    EXPECT_EQ(Mova(u"propset - --xml --save \"" + file + u"\"", "B=i4:7\n").output, "B\t3\t7\n");
    EXPECT_EQ(Mova(u"propset --load \"" + file + u"\"").output, "B\t3\t7\n");
    EXPECT_TRUE(DeleteFileW(kv::Wide(file.c_str())));
    std::string duplicates = ReadSource("tests/golden/set-by-value-with-class.bin").substr(0, 16);
    duplicates += std::string("\1\0\0\0\1\0\2\0\0\0\1\0\0\0A\0\3\0\1\0\0\0\1\0\0\0a\0\3\0\2\0\0\0", 34);
    EXPECT_EQ(Mova(u"propset --load -", duplicates).output, "A\t3\t1\na\t3\t2\n");
    EXPECT_EQ(Mova(u"propset --load -", std::string(16, '\0')).output, "");
    const auto refused = Mova(u"propset - --save \"" + BinaryFolder() + u"nowhere\\set.bin\"", "A=i4:1\n");
    EXPECT_EQ(refused.status, 1u);
    EXPECT_NE(refused.output.find("mova: movaSystem.FileStream: Operation on file "), std::string::npos)
        << refused.output;
}

TEST(Client, TellsWrongUsageFromRefusal) {
    const struct {
        const char16_t* arguments;
        const char* input;
        const char* output;
        DWORD status;
    } rows[] = {{u"nonsense", "", "mova: there is no command nonsense; see mova help\n", 2},
                {u"propset", "", "mova: propset takes a FILE or -, or --load IN\n", 2},
                {u"propset - --load x", "", "mova: propset takes a FILE or -, or --load IN\n", 2},
                {u"propset - --save", "", "mova: propset takes one file after --save\n", 2},
                {u"propset --load -", "\x11Z",
                 "mova: movaSystem.ObjectStream: The stream is cut short or damaged. (0x80004005)\n", 1},
                {u"propset -", "A=i4:1\nB=i2:32768\n", "mova: -, line 2: not NAME=TYPE:VALUE or -NAME\n", 2},
                {u"propset nowhere.props", "", "mova: cannot read nowhere.props\n", 2},
                {u"registered Nonsense", "", "mova: there is no class Nonsense\n", 2},
                {u"run -", "# a comment\n\n  \npropset \"a \\\"b\\\\ c\"\nregistered\nclasses --other\n\"open\n",
                 "mova: cannot read a \"b\\ c\n# exit 2\nmova: registered takes the NAME of one class\n# exit 2\n"
                 "mova: classes takes --missing or nothing\n# exit 2\nmova: a quotation is not closed\n# exit 2\n",
                 2},
                {u"run -", "run -\n", "mova: run cannot be run from a script\n# exit 2\n", 2}};
    for (const auto& row : rows) {
        const auto run = Mova(row.arguments, row.input);
        EXPECT_EQ(run.output, row.output);
        EXPECT_EQ(run.status, row.status) << row.output;
    }
}

TEST(Client, PrintsAndComparesIdentifiers) {
    const auto made = Mova(u"uid").output;
    EXPECT_TRUE(made.size() == 41 && made.starts_with("{") && made.ends_with("}\t0\n")) << made;
    EXPECT_NE(Mova(u"uid").output, made);
    ExpectClient(
        u"uid",
        {{u"oldlib.UID:7", "{78FF7FA1-FB2F-11D1-94A2-080009EEBECB}\t7\n", 0},
         {u"--compare movaSystem.UID 78ff7fa1-fb2f-11d1-94a2-080009eebecb:0", "equal\n", 0},
         {u"--compare movaSystem.UID movaSystem.UID:1", "different\n", 0},
         {u"\"\"", "mova: movaSystem.UID: The text is no GUID, and no class is known by it. (0x80070057)\n", 1},
         {u"--compare movaSystem.UID :",
          "mova: movaSystem.UID: The subtype must be a whole number from 0 to 2,147,483,647. (0x80070057)\n", 1},
         {u"a b", "mova: uid takes one TEXT or nothing\n", 2},
         {u"--other", "mova: uid does not take --other\n", 2},
         {u"--compare a", "mova: uid --compare takes two texts\n", 2}});
}

TEST(Client, ShowsAndReadsNumbers) {
    ExpectClient(
        u"number",
        {{u"1234.5 -3 nan -inf", "|1234.5|\n|-3|\n|<Null>|\n|-inf|\n", 0},
         {u"--rounding significant --digits 3 --zero-pad --plus --suffix km 12", "|+12.0 km|\n", 0},
         {u"--rounding decimals --align right --width 9 --separator 1234.5 -1", "|  1,234.5|\n|       -1|\n", 0},
         {u"--parse \"1,234.5 km\"", "1234.5\n", 0},
         {u"--digits 2 --increment 1.5", "1.51\n", 0},
         {u"--parse x", "mova: movaSystem.NumericFormat: The text is not a number. (0x80070057)\n", 1},
         {u"--digits 16 1",
          "mova: movaSystem.NumericFormat: The rounding value must be a whole number from 0 to 15. (0x80070057)\n", 1},
         {u"", "mova: number takes VALUEs, or --parse TEXT, or --increment VALUE\n", 2},
         {u"--parse 1 1", "mova: number takes VALUEs, or --parse TEXT, or --increment VALUE\n", 2},
         {u"one", "mova: number takes numbers, not one\n", 2},
         {u"--digits x 1", "mova: number --digits takes a whole number of 32 bits\n", 2},
         {u"--align middle 1", "mova: number --align takes left or right\n", 2},
         {u"1 --width", "mova: number --width takes a value\n", 2},
         {u"--other 1", "mova: number does not take --other\n", 2}});
}

TEST(Client, PrintsTheObjectsOfAStream) {
    using namespace std::string_literals;
    const std::string graph = ReadSource("tests/golden/graph.bin");
    const std::string set = graph.substr(0, 16);
    const struct {
        std::string input;
        const char* end;
        DWORD status;
    } rows[] = {
        {graph, "000001DC      [1] = PropertySet #1, above\n000001F0  end\n", 0},
        {graph.substr(0, 0x1E),
         "00000000  PropertySet #1 v1, 6 properties\n"
         "0000001E  broken: cut short, 10 bytes are wanted and 0 are left\n"
         "mova: -: broken at 0000001E: cut short, 10 bytes are wanted and 0 are left (0x80004005)\n",
         1},
        {std::string("\xD0\x31\x37\x04\xCF\xA7\xD1\x11\x8B\xD1\x08\x00\x09\xEE\x4E\x41\x05\0\0\0", 20),
         "00000000  ObjectStream #5\n00000014  unknown: only the class can read its objects: "
         "{043731D0-A7CF-11D1-8BD1-080009EE4E41}\n",
         0},
    };
    for (const auto& row : rows) {
        const auto run = Mova(u"stream -", row.input);
        EXPECT_TRUE(run.output.ends_with(row.end)) << run.output;
        EXPECT_EQ(run.status, row.status);
    }
    std::string deepest;
    for (int i = 0; i < 1000; ++i) {  // each in an array in the one before
        const std::string number = {static_cast<char>(i & 0xFF), static_cast<char>(i >> 8), '\0', '\0'};
        deepest += set + number + "\1\0\1\0\0\0\0\0\0\0\x0C\x20\1\0\1\0\0\0\0\0\0\0\x0D\0"s;
    }
    const auto run = Mova(u"stream -", deepest + std::string(16, '\0'));
    EXPECT_TRUE(run.status == 0 && run.output.ends_with("(2000) [0] = unknown null\n0000ABF0  end\n"));
    EXPECT_EQ(Mova(u"stream").output, "mova: stream takes a FILE or -\n");
    EXPECT_EQ(Mova(u"stream --tree").output, "mova: stream does not take --tree\n");
}

TEST(Client, ListsClassesAndTheirRegistration) {
    const auto classes = Mova(u"classes");
    EXPECT_TRUE(
        classes.output.starts_with("CompressedFileStream\t{7710D462-3835-42BC-9D72-AC9ECF59BDBC}\tnew object\tok\n"))
        << classes.output;
    EXPECT_NE(classes.output.find("MessageLogger\t{A2E96EFD-D501-433B-941F-83447916B8F6}\tper-thread singleton\tok\n"),
              std::string::npos);
    const auto missing = Mova(u"classes --missing");
    const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
    EXPECT_EQ(lines(classes.output) + lines(missing.output), 111);
    const auto registered = Mova(u"registered PropertySetArray").output;
    EXPECT_TRUE(
        registered.starts_with("CLSID\\{C94BBD8A-EC33-4921-8EC3-6AD4B33232C3}\t\tPropertySetArray Class\n"
                               "CLSID\\{C94BBD8A-EC33-4921-8EC3-6AD4B33232C3}\\InprocServer32\t\t"))
        << registered;
    EXPECT_EQ(lines(registered), 11);
}

TEST(Client, UnregistersAndRegistersTheLibraryBesideIt) {
    const auto script =
        Mova(u"run -", "unregister\nregistered PropertySet\ndemo\nregister\nregistered TXOSignonHelper\nclasses\n");
    EXPECT_EQ(script.status, 1u);
    EXPECT_TRUE(script.output.starts_with("# exit 0\n# exit 0\nmovaSystem: a tour of the library\n")) << script.output;
    EXPECT_NE(script.output.find("mova: (0x800401F3)\n# exit 1\n# exit 0\n# exit 0\nCompressedFileStream\t"),
              std::string::npos)
        << script.output;
}

TEST(Client, GivesATourThatEndsWithNothingAlive) {
    const auto demo = Mova(u"demo");
    EXPECT_EQ(demo.status, 0u);
    for (const char* part : {"14 properties", "  Proxy\t8\t\"proxy.example:3128\"\n  Database", "0x80004005",
                             "No property is named \"Password\".", "movaSystem.PropertySet\n", "IPropertySet\n",
                             "300 events; the strongest, of magnitude ", "    \"reviewed\" : true\n",
                             "Unrecognized token type; state : inPropertyValue; buffer : :about",
                             "  place        line 9, column ", "the same object, 1 message\n",
                             "an object of its own, 0 messages\n", "DllCanUnloadNow: S_OK, nothing is left alive\n"})
        EXPECT_NE(demo.output.find(part), std::string::npos) << part << "\n" << demo.output;
}

TEST(Client, OfTheReadmeWorksAsItStands) {
    EXPECT_NE(ReadSource("README.md").find("```cpp\n" + ReadSource("samples/first-client.cpp") + "```\n"),
              std::string::npos);
    const auto run = RunProcess(BinaryFolder() + u"first-client.exe");
    EXPECT_EQ(run.output, "Port is 5151\r\n");
    EXPECT_EQ(run.status, 0u);
}

TEST(Client, InPlainCWorksAsItStands) {
    const auto run = RunProcess(BinaryFolder() + u"first-client-c.exe");
    EXPECT_EQ(run.output,
              "Square7 is 49\r\nremoved: 80004005 No property is named \"Square7\".\r\nits copy is equal\r\n");
    EXPECT_EQ(run.status, 0u);
}

TEST(Client, ChecksXmlDocuments) {
    const auto whole = Mova(u"xml check -", "<?xml version='1.0'?>\n<a><b><c/></b><b/></a>");
    EXPECT_EQ(whole.output, "elements\t4\ndepth\t3\n");
    EXPECT_EQ(whole.status, 0u);
    const std::u16string file = BinaryFolder() + u"b\u00E4d.xml";
    WriteFileBytes(file, "<a>");
    EXPECT_NE(Mova(u"xml check \"" + file + u"\"", "").output.find("\\nSource:" + kv::Utf8(file)), std::string::npos);
    EXPECT_TRUE(DeleteFileW(kv::Wide(file.c_str())));
    EXPECT_EQ(Mova(u"xml check \"" + file + u"\"", "").status, 2u);
    const auto broken = Mova(u"xml check -", "<a>\n <b></a>");
    EXPECT_EQ(
        broken.output,
        "elements\t2\ndepth\t2\nfault\t2\t7\nmova: movaSystem.XMLReader: Xml Parsing failed.\\nReason:expected end "
        "of tag 'b' (column 7)\\nLinepos:2\\nSource:stream. (0x80004005)\n");
    EXPECT_EQ(broken.status, 1u);
    EXPECT_TRUE(Mova(u"xml check -", "").output.starts_with("elements\t0\ndepth\t0\nfault\t1\t1\n"));
    for (const char16_t* const wrong : {u"xml", u"xml check", u"xml check - -", u"xml read -"})
        EXPECT_EQ(Mova(wrong, "<a/>").status, 2u) << kv::Utf8(wrong);
}

}  // namespace mova::test
