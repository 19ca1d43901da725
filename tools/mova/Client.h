// What the commands of the client share: their table, their failures, and how they read and print.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kvcore/Ptr.h"
#include "kvcore/Variant.h"

namespace mova::tool {

/// The command was called the wrong way, or its input is none: exit status 2.
struct WrongUsage {
    std::string message;
};

/// The library refused: exit status 1. Made while the thread's error information is still that of the failure, unless
/// it is given.
struct Refused {
    explicit Refused(HRESULT failure);
    /// By the client itself: what it refuses, and why.
    Refused(HRESULT failure, std::string what, std::string why)
        : status(failure), source(std::move(what)), description(std::move(why)) {}

    HRESULT status;
    std::string source, description;
    IID interfaceId{};
};

/// Goes on where an operation succeeded. @throw Refused
inline void Check(HRESULT status) {
    if (FAILED(status)) throw Refused(status);
}

/// Creates an object of the library by the ProgID that follows from its class's name. @throw Refused
kv::Ptr<IUnknown> CreateByName(std::u16string_view className);
template <class I>
kv::Ptr<I> CreateAs(std::u16string_view className) {
    const auto object = CreateByName(className);
    kv::Ptr<I> made;
    Check(object->QueryInterface(__uuidof(I), made.PutVoid()));
    return made;
}

/// A command's arguments after its name.
using Arguments = std::span<const std::string>;

struct Command {
    std::string_view name;
    std::string_view arguments;
    std::string_view help;
    int (*run)(Arguments arguments);  ///< answers the exit status
};
std::span<const Command> Commands();

int RunDemo(Arguments arguments);
int RunScript(Arguments arguments);
int RunClasses(Arguments arguments);
int RunClassify(Arguments arguments);
int RunRegister(Arguments arguments);
int RunUnregister(Arguments arguments);
int RunRegistered(Arguments arguments);
int RunPropset(Arguments arguments);
int RunUid(Arguments arguments);
int RunStream(Arguments arguments);
int RunJson(Arguments arguments);
int RunXml(Arguments arguments);
int RunNumber(Arguments arguments);
int RunTime(Arguments arguments);
int RunDuration(Arguments arguments);
int RunHelp(Arguments arguments);

/// Runs one command with its name first. Refusals are printed as one line to the stream.
/// @return the exit status: 0, 1 refused, 2 wrong usage
int RunCommand(Arguments words, FILE* refusals);

/// Says on standard error what was wrong with a call. @return the exit status
int TellWrongUsage(std::string_view message);

/// Prints text as UTF-8.
void Print(std::string_view text);
/// A file's name as the platform's file functions take it. Under ./mova it is a path of the host, with any characters
/// in it.
std::u16string PlatformPath(const std::string& file);
/// The whole content of a file, or of standard input for "-". @throw WrongUsage where it cannot be read
std::string ReadInput(const std::string& file);
/// The content of a sample that comes with the client. @throw WrongUsage where it is missing
std::string ReadSample(std::string_view name);

/// A status code as 0x and eight digits.
std::string StatusText(HRESULT status);
/// A number with the fewest digits that read back as the same one.
std::string NumberText(double number);
std::string NumberText(float number);
/// A property's value: texts quoted, nothing for the types that have no value.
std::string ValueText(const VARIANT& value);

/// The server's module where it is loaded, else null.
HMODULE ServerModule();
/// Whether the server says that it can be unloaded; true where it is not loaded.
bool ServerIsIdle();
/// In a debug build of the server, what of it is alive, a line a kind; else empty.
std::string AliveObjects();

}  // namespace mova::tool
