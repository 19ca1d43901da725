// Many threads at once, each in an apartment of its own.
#include <atomic>
#include <mutex>
#include <set>
#include <span>
#include <sstream>
#include <thread>

#include "server/ClassTable.h"
#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr int threadCount = 16;
constexpr int rounds = 2;
using CanUnload = HRESULT STDAPICALLTYPE();

/// What a class does: operations that fill a new object, and some whose last one's answer is then known. They are
/// written much as in scripts: ';' stands between them, '|' before one of what the one before has answered, '=' behind
/// a property that is set. "@Class" is a new object, "#1,2" an array, "*" an empty text, "$" a new file, "&2" the 2 by
/// reference, for an operation that answers in it.
struct Row {
    std::string name, fill, ask, answer;
};

/// A row for every class, in the order of the class table.
std::vector<Row> ReadRows() {
    std::vector<Row> rows;
    std::istringstream file(ReadSource("tests/golden/operations.tsv"));
    for (Row row; std::getline(file, row.name, '\t') && std::getline(file, row.fill, '\t') &&
                  std::getline(file, row.ask, '\t') && std::getline(file, row.answer);) {
        EXPECT_EQ(row.name, kv::Utf8(classTable[rows.size()].name));
        rows.push_back(row);
    }
    EXPECT_TRUE(classTable[rows.size()].IsEnd());
    return rows;
}

std::vector<std::string> Split(std::string_view text, char delimiter) {
    std::vector<std::string> pieces;
    for (std::size_t end = 0; end != text.npos; text.remove_prefix(std::min(text.size(), end + 1)))
        pieces.emplace_back(text.substr(0, end = text.find(delimiter)));
    return pieces;
}

std::string TextOf(const VARIANT& value) {
    std::string texts;
    if (value.vt == (VT_ARRAY | VT_R8)) {
        const auto* numbers = static_cast<const double*>(value.parray->pvData);
        for (const double number : std::span(numbers, value.parray->rgsabound[0].cElements))
            texts += (texts.empty() ? "" : " ") + TextOf(Value(number).Get());
        return texts;
    }
    kv::Variant text;
    EXPECT_EQ(kv::ChangeType(value, VT_BSTR, LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, text), S_OK) << value.vt;
    return kv::Utf8(kv::View(text.Get().bstrVal));
}

/// A thread's way to call objects, its own or others', as scripts do.
class Caller {
 public:
    explicit Caller(std::u16string files) : files_(std::move(files)) {}

    /// Does operations, and checks what the last of them answers.
    void Ask(const kv::Ptr<IDispatch>& object, const Row& row) const {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(TextOf(Do(object, row.ask).Get()), row.answer);
    }
    /// A new object of a class, filled.
    kv::Ptr<IDispatch> Filled(const Row& row) const {
        SCOPED_TRACE(row.name);
        const auto object = New<IDispatch>(kv::Utf16(row.name));
        Do(object, row.fill);
        return object;
    }

 private:
    kv::Variant Do(const kv::Ptr<IDispatch>& object, const std::string& operations) const {
        kv::Variant answer;
        for (const auto& operation : Split(operations, ';')) {
            auto target = object;
            for (const auto& call : Split(operation, '|')) {
                answer = Invoke(target, Split(call, ' '));
                if (answer.Get().vt == VT_DISPATCH) target = kv::Ptr<IDispatch>(answer.Get().pdispVal);
            }
        }
        return answer;
    }

    kv::Variant Invoke(const kv::Ptr<IDispatch>& target, std::vector<std::string> words) const {
        const bool isPut = words[0].ends_with('=');
        if (isPut) words[0].pop_back();
        std::u16string name = kv::Utf16(words[0]);
        wchar_t* names[] = {kv::Wide(name.data())};
        DISPID id = 0, put = DISPID_PROPERTYPUT;
        EXPECT_EQ(target->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK) << words[0];
        std::vector<kv::Variant> held;
        std::vector<VARIANT> arguments;
        LONG number = 2;
        for (std::size_t i = words.size() - 1; i > 0; --i) {
            held.push_back(Argument(words[i]));
            arguments.push_back(words[i] == "&2" ? Raw(VT_I4 | VT_BYREF, &number) : held.back().Get());
        }
        DISPPARAMS parameters{arguments.data(), isPut ? &put : nullptr, static_cast<UINT>(arguments.size()), isPut};
        kv::Variant answer;
        const WORD flags = isPut ? DISPATCH_PROPERTYPUT : DISPATCH_METHOD | DISPATCH_PROPERTYGET;
        EXPECT_EQ(target->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, answer.Put(), nullptr, nullptr),
                  S_OK)
            << words[0];
        return answer;
    }

    kv::Variant Argument(const std::string& word) const {
        if (word[0] == '@') return Value(New<IUnknown>(kv::Utf16(word.substr(1))).Get());
        if (word[0] == '$') return Value(files_ + kv::Utf16("." + std::to_string(++fileCount_)));
        if (word[0] != '#') return Value(word == "*" ? std::u16string() : kv::Utf16(word));
        const auto numbers = Split(word.substr(1), ',');
        auto array = Array(VT_UI1, {{static_cast<ULONG>(numbers.size()), 0}});
        auto* element = static_cast<char*>(array.Get().parray->pvData);
        for (const auto& number : numbers) *element++ = static_cast<char>(number[0] - '0');
        return array;
    }

    std::u16string files_;
    mutable int fileCount_ = 0;
};

/// Runs on so many threads at once, each in an apartment of its own, and asks to unload at its end.
void InApartments(int count, const std::function<void(int number, const Caller& caller)>& run) {
    const TemporaryFolder folder;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            EXPECT_EQ(CoInitialize(nullptr), S_OK);
            run(number, Caller(folder / kv::Utf16(std::to_string(number))));
            SetErrorInfo(0, nullptr);
            Export<CanUnload>("DllCanUnloadNow")();
            CoUninitialize();
        });
    for (auto& thread : threads) thread.join();
}

/// Lets calls from other apartments in until an event comes.
void ServeCallsUntil(HANDLE event) {
    while (MsgWaitForMultipleObjectsEx(1, &event, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_OBJECT_0) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
}

/// An event that stays once it has come.
struct Event {
    ~Event() { CloseHandle(handle); }
    HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

/// A copy of the library, served in place of it to threads that activate it: nobody else holds it loaded.
class LibraryCopy {
 public:
    LibraryCopy() {
        std::string manifest = ReadFileBytes(BinaryFolder() + u"movaSystem.X.manifest");
        manifest.replace(manifest.find("movaSystem.dll"), 14, "threadsCopy.dll");
        WriteFileBytes(folder_ / u"copy.manifest", manifest);
        const std::u16string library = LibraryFile(), source = folder_ / u"copy.manifest";
        EXPECT_TRUE(CopyFileW(kv::Wide(library.c_str()), kv::Wide(file_.c_str()), FALSE));
        ACTCTXW request{};
        request.cbSize = sizeof request;
        request.lpSource = kv::Wide(source.c_str());
        context_ = CreateActCtxW(&request);
        EXPECT_NE(context_, INVALID_HANDLE_VALUE);
    }
    ~LibraryCopy() {
        ReleaseActCtx(context_);
        EXPECT_FALSE(IsLoaded());
        EXPECT_TRUE(DeleteFileW(kv::Wide(file_.c_str())));
    }
    /// For as long as the run lasts, on the calling thread.
    template <class Run>
    void Serve(const Run& run) const {
        ULONG_PTR cookie = 0;
        EXPECT_TRUE(ActivateActCtx(context_, &cookie));
        run();
        EXPECT_TRUE(DeactivateActCtx(0, cookie));
    }
    static bool IsLoaded() { return GetModuleHandleW(L"threadsCopy.dll") != nullptr; }

 private:
    TemporaryFolder folder_;
    std::u16string file_ = folder_ / u"threadsCopy.dll";
    HANDLE context_;
};

}  // namespace

TEST(Threads, UseEveryClassAndWhatOthersMade) {
    /// What a thread is handed by another.
    struct Place {
        std::vector<kv::Ptr<IStream>> marshaled;
        std::vector<std::pair<const Row*, Bytes>> saved;
        Event hasArrived;
    } ring[rounds][threadCount];
    const auto rows = ReadRows();
    const auto canUnload = Export<CanUnload>("DllCanUnloadNow");
    Event allAreDone;
    std::atomic missing = threadCount;
    std::mutex mutex;
    std::set<std::pair<int, IUnknown*>> singletons;
    InApartments(threadCount, [&](int number, const Caller& caller) {
        std::vector<kv::Ptr<IDispatch>> own;
        for (int round = 0; round < rounds; ++round) {
            Place& next = ring[round][(number + 1) % threadCount];
            Place& here = ring[round][number];
            for (const Row& row : rows) {
                const auto& object = own.emplace_back(caller.Filled(row));
                caller.Ask(object, row);
                if (object.As<IClone>()) caller.Ask(CloneOf(object), row);
                if (object.As<IPersistStream>()) next.saved.emplace_back(&row, Saved(object.Get()));
                EXPECT_EQ(CoMarshalInterThreadInterfaceInStream(__uuidof(IDispatch), object.Get(),
                                                                next.marshaled.emplace_back().Put()),
                          S_OK);
                if (!classTable[&row - rows.data()].IsSingleton()) continue;
                EXPECT_EQ(New<IUnknown>(kv::Utf16(row.name)).Get(), object.As<IUnknown>().Get());
                const std::lock_guard lock(mutex);
                EXPECT_TRUE(singletons.emplace(round, object.As<IUnknown>().Get()).second) << "another thread has it";
            }
            EXPECT_EQ(canUnload(), S_FALSE) << "objects are held; the thread's singletons are new ones from now on";
            SetEvent(next.hasArrived.handle);
            ServeCallsUntil(here.hasArrived.handle);
            for (std::size_t i = 0; i < rows.size(); ++i) {
                kv::Ptr<IDispatch> proxy;
                EXPECT_EQ(
                    CoGetInterfaceAndReleaseStream(here.marshaled[i].Detach(), __uuidof(IDispatch), proxy.PutVoid()),
                    S_OK);
                caller.Ask(proxy, rows[i]);
                if (proxy.As<IClone>()) caller.Ask(CloneOf(proxy), rows[i]);
            }
            for (const auto& [row, bytes] : here.saved) {
                const auto loaded = Loaded(bytes);
                EXPECT_EQ(Saved(loaded.Get()), bytes) << row->name;
                caller.Ask(loaded.As<IDispatch>(), *row);
            }
        }
        if (--missing == 0) SetEvent(allAreDone.handle);
        ServeCallsUntil(allAreDone.handle);
    });
    EXPECT_EQ(singletons.size(), 2u * rounds * threadCount);
    EXPECT_EQ(canUnload(), S_OK);
}

TEST(Threads, UnloadTheLibraryWhileOthersCreate) {
    const LibraryCopy copy;
    const auto rows = ReadRows();
    InApartments(threadCount, [&](int number, const Caller& caller) {
        copy.Serve([&] {
            for (std::size_t i = 0; i < 2 * rows.size(); ++i) {
                const Row& row = rows[(i + static_cast<std::size_t>(number)) % rows.size()];
                {
                    const auto object = caller.Filled(row);
                    CoFreeUnusedLibraries();
                    EXPECT_TRUE(copy.IsLoaded());
                    caller.Ask(object, row);
                }
                CoFreeUnusedLibraries();
            }
        });
    });
    EXPECT_FALSE(copy.IsLoaded());
    InApartments(1, [&](int, const Caller&) {
        copy.Serve([&] {
            auto object = New<IUnknown>(u"PropertySet");
            CoFreeUnusedLibraries();
            EXPECT_TRUE(copy.IsLoaded()) << "it is in use";
            object = {};
            CoFreeUnusedLibraries();
            EXPECT_FALSE(copy.IsLoaded()) << "nothing of it is in use";
        });
    });
}

}  // namespace mova::test
