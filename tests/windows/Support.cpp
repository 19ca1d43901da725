#include "tests/windows/Support.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <mutex>
#include <regex>
#include <set>
#include <thread>

#include "kvcore/SafeArray.h"

namespace mova::test {
kv::Ptr<IClassFactory> FactoryOf(REFCLSID classId) {
    kv::Ptr<IClassFactory> factory;
    EXPECT_EQ(CoGetClassObject(classId, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory), factory.PutVoid()),
              S_OK);
    return factory;
}

kv::Variant Array(VARTYPE type, std::initializer_list<SAFEARRAYBOUND> bounds) {
    return kv::Variant::FromArray(
        SafeArrayCreate(type, static_cast<UINT>(bounds.size()), const_cast<SAFEARRAYBOUND*>(bounds.begin())), type);
}

kv::Variant ArrayOf(std::initializer_list<std::u16string_view> texts) {
    kv::ArrayBuilder array(VT_VARIANT, texts.size());
    auto* element = array.Elements<VARIANT>();
    for (const auto text : texts) *element++ = Value(text).Detach();
    return array.Finish();
}

kv::Variant ArrayOf(std::initializer_list<LONG> numbers) {
    kv::ArrayBuilder array(VT_VARIANT, numbers.size());
    auto* element = array.Elements<VARIANT>();
    for (const LONG number : numbers) *element++ = Value(number).Detach();
    return array.Finish();
}

kv::Variant Nested(int levels) {
    kv::Variant value = Value(1);
    for (int i = 0; i < levels; ++i) {
        kv::ArrayBuilder array(VT_VARIANT, 1);
        *array.Elements<VARIANT>() = value.Detach();
        value = array.Finish();
    }
    return value;
}

std::vector<kv::Variant> EveryValue() {
    std::vector<kv::Variant> values;
    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT,
                               VT_ERROR, VT_I8, VT_UI8, VT_CY, VT_BOOL}) {
        values.push_back(kv::Variant::Attach(Raw(type, type == VT_EMPTY || type == VT_NULL ? 0LL : -2LL)));
    }
    values.push_back(kv::Variant::Attach(Raw(VT_R4, 0.1f)));
    values.push_back(kv::Variant::Attach(Raw(VT_DATE, 45000.75)));
    VARIANT decimal{};
    VarDecFromR8(0.1, &decimal.decVal);
    decimal.vt = VT_DECIMAL;
    values.push_back(kv::Variant::Attach(decimal));
    values.push_back(Value(std::numeric_limits<double>::quiet_NaN()));
    values.push_back(Value(u""));
    values.push_back(Value(std::u16string_view(u"a\0b\xD800\u00C4", 5)));
    values.push_back(Value(static_cast<IUnknown*>(nullptr)));
    values.push_back(ArrayOf({u"x", u"y"}));
    values.push_back(Nested(3));
    for (const VARTYPE type : {VT_I2, VT_R8, VT_BSTR, VT_UNKNOWN, VT_DECIMAL, VT_VARIANT, VT_UI1, VT_I8}) {
        values.push_back(Array(type, {{3, -5}}));
        values.push_back(Array(type, {{2, 1}, {0, 0}, {4, -1}}));
        values.push_back(kv::Variant::FromArray(nullptr, type));
    }
    return values;
}

bool Equal(IPropertySet* left, IPropertySet* right) {
    return AnswerOf(left, &IPropertySet::IsEqual, right) == VARIANT_TRUE;
}

namespace {

std::mutex refusalsLock;
std::set<std::string> expectedRefusals, toldRefusals;

std::string Noted(std::string refusal, std::set<std::string>& refusals) {
    const std::lock_guard lock(refusalsLock);
    return *refusals.insert(std::move(refusal)).first;
}

}  // namespace

std::string TakeErrorInfo() {
    kv::Ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK) return {};
    kv::BString source, description;
    IID iid{};
    info->GetSource(source.Put());
    info->GetDescription(description.Put());
    info->GetGUID(&iid);
    return Noted(kv::Utf8(source.View()) + "|" + kv::Utf8(description.View()) + "|" + kv::Utf8(kv::GuidText(iid)),
                 toldRefusals);
}

std::string Refusal(std::string_view className, std::string_view description, REFIID iid) {
    return Noted(
        "movaSystem." + std::string(className) + "|" + std::string(description) + "|" + kv::Utf8(kv::GuidText(iid)),
        expectedRefusals);
}

std::vector<std::string> HeldRefusals() {
    std::vector<std::string> held;
    std::set_intersection(expectedRefusals.begin(), expectedRefusals.end(), toldRefusals.begin(), toldRefusals.end(),
                          std::back_inserter(held));
    return held;
}

std::string Names(IPropertySet* set) {
    const auto byPosition = kv::Ptr<IPropertySet>(set).As<IPropertySet2>();
    std::string names;
    for (LONG i = 0;; ++i) {
        kv::BString name;
        kv::Variant value;
        if (FAILED(byPosition->GetPropertyAt(i, name.Put(), value.Put()))) break;
        names += (i ? " " : "") + kv::Utf8(name.View());
    }
    SetErrorInfo(0, nullptr);
    return names;
}

std::u16string BinaryFolder() {
    std::u16string path(4096, u'\0');
    path.resize(GetModuleFileNameW(nullptr, kv::Wide(path.data()), static_cast<DWORD>(path.size())));
    return path.substr(0, path.rfind(u'\\') + 1);
}

std::string ReadSource(const std::string& path) {
    std::ifstream file(MOVA_SOURCES "/" + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, std::string> ProductSources() {
    const std::regex between("\"\\s*\\n\\s*u?\"");
    std::map<std::string, std::string> sources;
    for (const std::string folder :
         {"classify", "containers", "formats", "idl", "json", "kvcore", "server", "services", "streams", "time", "xml"})
        for (const auto& entry : std::filesystem::directory_iterator(MOVA_SOURCES "/" + folder)) {
            const std::string path = folder + "/" + entry.path().filename().string();
            sources[path] = std::regex_replace(ReadSource(path), between, "");
        }
    return sources;
}

ProcessResult RunProcess(std::u16string commandLine, std::string_view input) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE inputEnd, inputSource, outputEnd, outputSink;
    CreatePipe(&inputEnd, &inputSource, &inheritable, 0);
    CreatePipe(&outputEnd, &outputSink, &inheritable, 0);
    SetHandleInformation(inputSource, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(outputEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inputEnd;
    startup.hStdOutput = outputSink;
    startup.hStdError = outputSink;
    PROCESS_INFORMATION process{};
    const BOOL started = CreateProcessW(nullptr, kv::Wide(commandLine.data()), nullptr, nullptr, TRUE, CREATE_NO_WINDOW,
                                        nullptr, nullptr, &startup, &process);
    EXPECT_TRUE(started) << kv::Utf8(commandLine);
    CloseHandle(inputEnd);
    CloseHandle(outputSink);
    std::thread writer([&] {
        DWORD written = 0;
        WriteFile(inputSource, input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
        CloseHandle(inputSource);
    });
    ProcessResult result{};
    char chunk[4096];
    for (DWORD count = 0; ReadFile(outputEnd, chunk, sizeof chunk, &count, nullptr) && count;)
        result.output.append(chunk, count);
    writer.join();
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &result.status);
    for (HANDLE handle : {outputEnd, process.hProcess, process.hThread}) CloseHandle(handle);
    return result;
}

ProcessResult Mova(const std::u16string& arguments, std::string_view input) {
    return RunProcess(u"\"" + BinaryFolder() + u"mova.exe\" " + arguments, input);
}

void ExpectClient(const std::u16string& command, std::initializer_list<ClientCall> calls) {
    std::string script, expected;
    for (const ClientCall& call : calls) {
        script += kv::Utf8(command + u" " + call.arguments) + "\n";
        expected += call.output + "# exit " + std::to_string(call.status) + "\n";
    }
    EXPECT_EQ(Mova(u"run -", script).output, expected);
}

}  // namespace mova::test
