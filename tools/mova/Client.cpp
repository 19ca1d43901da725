#include "tools/mova/Client.h"

#include <movaSystem.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "kvcore/Guid.h"
#include "kvcore/Utf.h"
#include "tools/mova/NumberText.h"

namespace mova::tool {
namespace {

constexpr Command commands[] = {
    {"help", "", "prints this page", &RunHelp},
    {"run", "FILE|-",
     "runs one command a line; words are split at blanks, \"...\" groups a word, # begins a comment line.\n"
     "After each command it prints \"# exit N\". Its exit status is that of the last command that failed.",
     &RunScript},
    {"demo", "", "a tour of the library on the sample data", &RunDemo},
    {"classes", "[--missing]",
     "lists the classes that can be created: NAME, {CLSID}, kind, and ok or the status code of creating one.\n"
     "--missing lists the classes of the full table that are not served yet.",
     &RunClasses},
    {"register", "", "registers the library that lies beside the client", &RunRegister},
    {"unregister", "", "removes what registration wrote", &RunUnregister},
    {"registered", "NAME", "prints the registry entries of a class: KEY, VALUE-NAME, DATA, sorted", &RunRegistered},
    {"propset", "[--copy] [--xml] [--save OUT] FILE|- | [--copy] [--xml] [--save OUT] --load IN",
     "reads NAME=TYPE:VALUE lines into a property set and prints NAME, VARTYPE, VALUE in the set's order.\n"
     "TYPE is empty, null, bool, i2, i4, i8, r4, r8, date (an OLE date) or str; a line -NAME removes.\n"
     "--save OUT saves the set through an object stream into a file; --load IN takes a saved set instead of lines.\n"
     "--xml saves the set as an XML document instead, or, without --save, prints it; --load takes that, too.\n"
     "--copy prints the clone instead of the set.",
     &RunPropset},
    {"uid", "[TEXT] | --compare A B",
     "prints {GUID} and subtype of an identifier: a new one, or that of a GUID or ProgID, with :SUBTYPE behind it or "
     "not.\n"
     "--compare prints equal or different.",
     &RunUid},
    {"stream", "FILE|-",
     "prints the objects of a stream as a tree, a line an object and a field, with the OFFSET of each in front.\n"
     "Its last line is \"end\", \"unknown: ...\" at an object that only its class can read, or \"broken: ...\".\n"
     "Its exit status is 1 where the stream is broken.",
     &RunStream},
    {"json",
     "tokens FILE|- | tokens --text TEXT | format [--formatted] [--indent N] [--max-decimals N] FILE|- | get FILE|- "
     "PATH",
     "tokens walks through JSON text, one token a line; a number with its text and as double, int64 and uint64.\n"
     "format reads a document and prints it: on lines of their own with --formatted, N blanks a level, and with N\n"
     "decimals at most.\n"
     "get prints the value at a path of member names and array indices, joined by /.",
     &RunJson},
    {"classify",
     "--method natural-breaks|equal-interval|quantile|standard-deviation|defined-interval|geometrical-interval\n"
     "    --classes K [--min X] [--max X] [--mean X] [--stddev X] [--interval X] [--unlimited] [--on-break]\n"
     "    [--plot OUT.svg] FILE|-",
     "reads VALUE or VALUE,FREQUENCY lines, divides the values into K classes and prints classes, their number and "
     "the\n"
     "status code, then breaks and the limits: the lower one of the first class, the upper one of each.\n"
     "--min and --max are the limits for equal-interval; they count when both are given.\n"
     "--interval is the width of a class for defined-interval, in standard deviations for standard-deviation; --mean "
     "and\n"
     "--stddev are the data's own if not given, --unlimited lays breaks beyond three deviations, then --on-break with "
     "the\n"
     "mean on a break. --plot draws the histogram with the classes.",
     &RunClassify},
    {"xml", "check FILE|-",
     "reads a document and prints how many elements it has and how deep they nest, and the line and column of its "
     "fault,\nwhere it has one. Its exit status is 1 where the document has a fault.",
     &RunXml},
    {"number",
     "[--rounding decimals|significant] [--digits N] [--align left|right] [--width N] [--separator] [--zero-pad] "
     "[--plus]\n    [--suffix S] VALUE... | ... --parse TEXT | ... --increment VALUE",
     "prints the text of each VALUE as a numeric format with these settings has it, one a line between | and |, in the "
     "user's\nregional settings. VALUE may be nan, inf or -inf.\n"
     "--parse prints the number that a text stands for, --increment that which is one displayed unit higher.",
     &RunNumber},
    {"time",
     "[--julian] [--code N] [--add-days N] [--add-nanoseconds N] [--day|--ole|--xml|--offset] TEXT|--from-day N|"
     "--from-ole X",
     "reads an ISO 8601 text, or takes the date of a Julian day number or an OLE date, adds to it, and prints it in "
     "the\n"
     "layout of a format code, 20 unless it is given: --day its Julian day number instead, --ole its OLE date, --xml "
     "its\nform in XML, --offset the offset from UTC in minutes that the text named.\n"
     "--julian counts by the Julian calendar.",
     &RunTime},
    {"duration", "[--negative] D H M S NS | --ticks N",
     "prints a duration as ISO 8601 text and in ticks of 100 nanoseconds.", &RunDuration},
};

/// The text with line breaks and other control characters escaped, so that it stays one line.
std::string OneLine(std::u16string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::u16string line;
    for (const char16_t c : text) {
        if (c == u'\n') {
            line += u"\\n";
        } else if (c == u'\r') {
            line += u"\\r";
        } else if (c == u'\t') {
            line += u"\\t";
        } else if (c < 0x20 || (c >= 0x7F && c < 0xA0)) {
            line.append(u"\\u00").append(
                {static_cast<char16_t>(digits[c >> 4]), static_cast<char16_t>(digits[c & 0xF])});
        } else {
            line += c;
        }
    }
    return kv::Utf8(line);
}

std::string RefusalLine(const Refused& refused) {
    std::string line = "mova: ";
    if (!refused.source.empty() || !refused.description.empty())
        line += OneLine(kv::Utf16(refused.source)) + ": " + OneLine(kv::Utf16(refused.description)) + " ";
    return line + "(" + StatusText(refused.status) + ")\n";
}

std::string Page(const Command& command) {
    std::string page = "mova " + std::string(command.name);
    if (!command.arguments.empty()) page.append(" ").append(command.arguments);
    std::string help = "\n    ";
    for (const char c : command.help) help.append(c == '\n' ? "\n    " : std::string(1, c));
    return page + help + "\n";
}

template <class Number>
std::string TextOf(Number number) {
    std::string text;
    AppendNumber(text, number);
    return text;
}

/// A path of the host without empty parts, "." and "..", and with backslashes between its parts.
std::u16string PlainPath(std::u16string_view path) {
    std::vector<std::u16string_view> parts;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'/'), path.size());
        const std::u16string_view part = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (part == u"..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != u".") {
            parts.push_back(part);
        }
    }
    std::u16string plain;
    for (const std::u16string_view part : parts) plain.append(u"\\").append(part);
    return plain;
}

/// What is left to read; nothing where reading fails before the end.
std::optional<std::string> ReadAll(HANDLE source) {
    std::string content;
    std::array<char, 65536> chunk;
    DWORD count = 0;
    for (;;) {
        if (!ReadFile(source, chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr)) break;
        if (count == 0) return content;
        content.append(chunk.data(), count);
    }
    if (GetLastError() != ERROR_BROKEN_PIPE && GetLastError() != ERROR_HANDLE_EOF) return {};
    return content;
}

std::optional<std::string> ReadFileAt(const std::u16string& path) {
    HANDLE source = CreateFileW(kv::Wide(path.c_str()), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (source == INVALID_HANDLE_VALUE) return {};
    auto content = ReadAll(source);
    CloseHandle(source);
    return content;
}

}  // namespace

Refused::Refused(HRESULT failure) : status(failure) {
    kv::Ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK) return;
    kv::BString text;
    if (SUCCEEDED(info->GetSource(text.Put()))) source = kv::Utf8(text.View());
    if (SUCCEEDED(info->GetDescription(text.Put()))) description = kv::Utf8(text.View());
    info->GetGUID(&interfaceId);
}

kv::Ptr<IUnknown> CreateByName(std::u16string_view className) {
    SetErrorInfo(0, nullptr);  // the runtime's own failures set none, and must not be explained by an older one
    CLSID classId;
    Check(CLSIDFromProgID(kv::Wide((u"movaSystem." + std::u16string(className)).c_str()), &classId));
    kv::Ptr<IUnknown> object;
    Check(kv::Create(classId, object));
    return object;
}

std::span<const Command> Commands() {
    return commands;
}

int RunHelp(Arguments) {
    Print("mova: the command-line client of movaSystem\n\n");
    for (const Command& command : commands) Print(Page(command));
    Print("\nExit status: 0 success, 1 the library refused, 2 wrong usage.\n");
    return 0;
}

int RunCommand(Arguments words, FILE* refusals) try {
    const std::string name = words.empty() || words[0] == "--help" ? "help" : words[0];
    const auto* command = std::find_if(std::begin(commands), std::end(commands),
                                       [&](const Command& known) { return known.name == name; });
    if (command == std::end(commands)) throw WrongUsage{"there is no command " + name + "; see mova help"};
    const Arguments arguments = words.empty() ? words : words.subspan(1);
    if (std::find(arguments.begin(), arguments.end(), "--help") != arguments.end()) {
        Print(Page(*command));
        return 0;
    }
    SetErrorInfo(0, nullptr);
    return command->run(arguments);
} catch (const Refused& refused) {
    std::fflush(stdout);
    std::fputs(RefusalLine(refused).c_str(), refusals);
    return 1;
} catch (const WrongUsage& wrong) {
    return TellWrongUsage(wrong.message);
}

int TellWrongUsage(std::string_view message) {
    std::fflush(stdout);
    std::fputs(("mova: " + std::string(message) + "\n").c_str(), stderr);
    std::fflush(stderr);
    return 2;
}

std::u16string PlatformPath(const std::string& file) {
    std::array<wchar_t, 4096> folder;
    const DWORD length = GetEnvironmentVariableW(L"MOVA_HOST_FOLDER", folder.data(), static_cast<DWORD>(folder.size()));
    std::u16string path = kv::Utf16(file);
    if (length == 0 || length >= folder.size()) return path;
    if (!path.starts_with(u'/')) path = std::u16string(kv::Narrow16(folder.data()), length) + u'/' + path;
    // Wine opens a path of the host, with any characters in it, under a prefix of its own.
    return u"\\\\?\\unix" + PlainPath(path);
}

void Print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string ReadInput(const std::string& file) {
    const auto content = file == "-" ? ReadAll(GetStdHandle(STD_INPUT_HANDLE)) : ReadFileAt(PlatformPath(file));
    if (!content) throw WrongUsage{"cannot read " + file};
    return *content;
}

std::string ReadSample(std::string_view name) {
    std::array<wchar_t, 4096> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    const std::u16string_view client(kv::Narrow16(path.data()), length);
    const std::u16string folder(client.substr(0, client.rfind(u'\\')));
    const auto content = ReadFileAt(folder + u"\\samples\\" + kv::Utf16(name));
    if (!content) throw WrongUsage{"cannot read the sample " + std::string(name)};
    return *content;
}

std::string StatusText(HRESULT status) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "0x%08lX", static_cast<unsigned long>(status));
    return text.data();
}

std::string NumberText(double number) {
    return TextOf(number);
}
std::string NumberText(float number) {
    return TextOf(number);
}

std::string ValueText(const VARIANT& value) {
    switch (value.vt) {
        case VT_BOOL:
            return value.boolVal ? "true" : "false";
        case VT_I2:
            return std::to_string(value.iVal);
        case VT_I4:
            return std::to_string(value.lVal);
        case VT_I8:
            return std::to_string(value.llVal);
        case VT_R4:
            return NumberText(value.fltVal);
        case VT_R8:
        case VT_DATE:
            return NumberText(value.dblVal);
        case VT_BSTR: {
            std::string quoted;
            kv::AppendQuoted(quoted, kv::View(value.bstrVal));
            return quoted;
        }
        default:
            return {};
    }
}

HMODULE ServerModule() {
    return GetModuleHandleW(L"movaSystem.dll");
}

bool ServerIsIdle() {
    const HMODULE module = ServerModule();
    if (!module) return true;
    const auto canUnload = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
    return canUnload && canUnload() == S_OK;
}

std::string AliveObjects() {
    kv::Ptr<IObjectCensus> census;
    kv::BString report;
    if (FAILED(CoGetClassObject(CLSID_PropertySet, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IObjectCensus),
                                census.PutVoid())) ||
        FAILED(census->GetReport(report.Put())))
        return {};
    return kv::Utf8(report.View());
}

}  // namespace mova::tool
