// Script clients, run by the platform's own script host.
#include "tests/windows/Support.h"

namespace mova::test {

TEST(Scripts, UseTheClassesAndReadRefusals) {
    const struct {
        const char16_t* script;
        const char* output;
    } rows[] = {
        {u"propertyset.vbs",
         "3 gis2.example 5151\r\nServer=gis2.example\r\nPort=5151\r\nUser=sa\r\nFalse sa\r\n1 Key 2.5\r\n"
         "80004005 movaSystem.PropertySet: No property is named \"Server\".\r\n"
         "80070057 movaSystem.PropertySet: Names and values must be two arrays.\r\n"},
        {u"propertyset.js",
         "2 gis.example true\r\n1 0\r\n80004005 No property is named \"Port\".\r\n"
         "80070057 The capacity must be from 1 to 1,000,000 messages.\r\n"},
        {u"uid.vbs",
         "True 0\r\n{78FF7FA1-FB2F-11D1-94A2-080009EEBECB} 3 False\r\nTrue\r\nFalse\r\n"
         "80070057 movaSystem.UID: The text is no GUID, and no class is known by it.\r\n"},
        {u"uid.js",
         "{00112233-4455-6677-8899-AABBCCDDEEFF} 9 true\r\n"
         "80070057 The value is neither a text nor an identifier object. 9\r\n"},
        {u"json.vbs",
         "2 True False\r\nKyoto\r\n{\"place\":{\"name\":\"Kyoto\",\"depth\":10},\"magnitude\":5.1}\r\n"
         "{\"type\":\"PropertySet\",\"propertySetItems\":{\"Server\":\"gis.example\"}}\r\n[1,\"two\"]\r\n"
         "8000FFFF movaSystem.JSONReader: Unexpected end of file; state : inPropertyNameDelimiter; buffer : \r\n"},
        {u"json.js",
         "true true\r\n6\r\ntrue 12.5\r\n"
         "8000ffff Unexpected single or double quote; state : inPropertyValue; buffer : 5 \"felt\":[\r\n"},
        {u"numbers.js",
         "1,234,567.50 km\r\n-0.13\r\n2024/02/29 00:00:00.0 4\r\nP1DT0H0M0S\r\n4 12\r\n"
         "80070057 There is no such date or time of day.\r\n"},
        {u"statistics.vbs",
         "99.5 1 30 12.4375\r\nNatural Breaks (Jenks) True\r\n"
         "80070057 movaSystem.NaturalBreaks: There must be as many frequencies as values.\r\n"},
        {u"xml.vbs",
         "<event id='a&lt;b'>5 &amp; more</event>\r\n1 event  a<b\r\n3  5 & more \r\n2 event  \r\ngis.example True\r\n"
         "80004005 movaSystem.XMLTextReader: Xml Parsing failed.\nReason:expected end of tag 'b' (column "
         "9)\nLinepos:1\n"
         "Source:text.\r\n"},
        {u"streams.js",
         "true true\r\n10 4\r\nfalse\r\n80030050 File already exist.\r\n66051\r\n1\r\n"
         "80030006 File not opened.\r\n"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(kv::Utf8(row.script));
        const auto run =
            RunProcess(u"cscript.exe /nologo \"" + BinaryFolder() + u"samples\\scripts\\" + row.script + u"\"");
        EXPECT_EQ(run.output, row.output) << kv::Utf8(row.script);
        EXPECT_EQ(run.status, 0u);
    }
}

}  // namespace mova::test
