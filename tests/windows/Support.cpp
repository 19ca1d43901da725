#include "tests/windows/Support.h"

#include <fstream>
#include <thread>

#include "kvcore/SafeArray.h"

namespace mova::test {

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

VARIANT ReferenceTo(VARIANT& value) {
    VARIANT reference{};
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &value;
    return reference;
}

std::string TakeErrorInfo() {
    kv::Ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK) return {};
    kv::BString source;
    kv::BString description;
    IID iid{};
    info->GetSource(source.Put());
    info->GetDescription(description.Put());
    info->GetGUID(&iid);
    return kv::Utf8(source.View()) + "|" + kv::Utf8(description.View()) + "|" + kv::Utf8(kv::GuidText(iid));
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

}  // namespace mova::test
