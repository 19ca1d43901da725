// The component frame beside that of the platform's dictionary.
#include <movaSystem.h>

#include <algorithm>
#include <array>
#include <future>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "kvcore/BString.h"
#include "kvcore/ErrorRecords.h"

namespace bench {
namespace {

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

constexpr const wchar_t* ourModule = L"movaSystem.dll";
constexpr const char* dictionaryName = "Scripting.Dictionary";

struct Interface {
    std::string name;
    IID id;
};

/// A class of ours with what it offers, as the type library and its objects tell.
struct Class {
    std::string name;
    CLSID id;
    kv::Ptr<IClassFactory> factory;
    std::vector<Interface> interfaces;

    bool IsSingleton() const { return static_cast<bool>(factory.As<ISingletonRelease>()); }
};

template <class I>
Interface Named(const char* name) {
    return {name, __uuidof(I)};
}

/// What objects answer beside the interfaces that the type library lists for their class.
std::vector<Interface> UnlistedInterfaces() {
    return {Named<IUnknown>("IUnknown"),     Named<ISupportErrorInfo>("ISupportErrorInfo"),
            Named<IClassID>("IClassID"),     Named<IDispatch>("IDispatch"),
            Named<IErrorInfo>("IErrorInfo"), Named<IErrorRecords>("IErrorRecords"),
            Named<IPersist>("IPersist"),     Named<IPersistStream>("IPersistStream")};
}

// Names in a type library are ASCII.
std::string NameOf(ITypeInfo& type) {
    kv::BString name;
    Require(SUCCEEDED(type.GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr)),
            "A type has no name.");
    const std::u16string_view text = name.View();
    return {text.begin(), text.end()};
}

TYPEATTR AttributesOf(ITypeInfo& type) {
    TYPEATTR* attributes = nullptr;
    Require(SUCCEEDED(type.GetTypeAttr(&attributes)), "A type has no attributes.");
    const TYPEATTR copy = *attributes;
    type.ReleaseTypeAttr(attributes);
    return copy;
}

std::vector<Interface> ListedInterfaces(ITypeInfo& coclass, UINT count) {
    std::vector<Interface> listed;
    for (UINT i = 0; i < count; ++i) {
        HREFTYPE reference = 0;
        kv::Ptr<ITypeInfo> type;
        Require(SUCCEEDED(coclass.GetRefTypeOfImplType(i, &reference)) &&
                    SUCCEEDED(coclass.GetRefTypeInfo(reference, type.Put())),
                "The type library lacks an interface of a class.");
        listed.push_back({NameOf(*type.Get()), AttributesOf(*type.Get()).guid});
    }
    return listed;
}

bool Offers(const kv::Ptr<IUnknown>& object, REFIID id) {
    kv::Ptr<IUnknown> found;
    return SUCCEEDED(object->QueryInterface(id, found.PutVoid()));
}

/// A class that the type library lists, its objects held to what is listed and registered.
Class Examine(ITypeInfo& coclass, const TYPEATTR& attributes) {
    Class made{NameOf(coclass), attributes.guid, FactoryOf(attributes.guid), {}};
    const std::wstring progId = L"movaSystem." + std::wstring(made.name.begin(), made.name.end());
    Require(ClassOf(progId.c_str()) == made.id, made.name + " is registered under another identifier.");
    const auto object = Make<IUnknown>(made.factory);
    CLSID told{};
    const auto identity = object.As<IClassID>();
    Require(identity && SUCCEEDED(identity->GetClassID(&told)) && told == made.id, made.name + " tells another class.");
    made.interfaces = ListedInterfaces(coclass, attributes.cImplTypes);
    for (const Interface& listed : made.interfaces)
        Require(Offers(object, listed.id), made.name + " does not offer " + listed.name + ".");
    for (const Interface& unlisted : UnlistedInterfaces())
        if (Offers(object, unlisted.id)) made.interfaces.push_back(unlisted);
    return made;
}

/// Every class that can be created, in the order of the type library, which is that of the class table.
std::vector<Class> OurClasses() {
    kv::Ptr<ITypeLib> library;
    Require(SUCCEEDED(LoadRegTypeLib(LIBID_movaSystem, 1, 0, LOCALE_NEUTRAL, library.Put())),
            "The type library is not registered.");
    std::vector<Class> classes;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        kv::Ptr<ITypeInfo> type;
        Require(SUCCEEDED(library->GetTypeInfo(i, type.Put())), "The type library lacks a type.");
        const TYPEATTR attributes = AttributesOf(*type.Get());
        if (attributes.typekind == TKIND_COCLASS && (attributes.wTypeFlags & TYPEFLAG_FCANCREATE))
            classes.push_back(Examine(*type.Get(), attributes));
    }
    Require(!classes.empty(), "The type library lists no class.");
    return classes;
}

Run LookUps(GetClassObject entry, const CLSID& id, std::uint64_t times) {
    return Repeat(times, [=] {
        kv::Ptr<IClassFactory> factory;
        return entry(id, __uuidof(IClassFactory), factory.PutVoid()) == S_OK;
    });
}

void CompareLookUp(const Session& session, const std::vector<Class>& classes, const CLSID& dictionary) {
    constexpr std::uint64_t times = 20'000;
    const auto ours = EntryPoint<GetClassObject>(ourModule, "DllGetClassObject");
    const auto theirs = EntryPoint<GetClassObject>(L"scrrun.dll", "DllGetClassObject");
    const struct {
        const char* place;
        const Class& found;
    } rows[] = {{"first", classes.front()}, {"middle", classes[classes.size() / 2]}, {"last", classes.back()}};
    for (const auto& row : rows)
        session.Compare("frame DllGetClassObject + Release, " + std::string(row.place) + " class (ns)",
                        static_cast<double>(times),
                        {{row.found.name, LookUps(ours, row.found.id, times)},
                         {dictionaryName, LookUps(theirs, dictionary, times), 1.0}});
}

Run Creations(const kv::Ptr<IClassFactory>& factory, std::uint64_t times) {
    return Repeat(times, [=] {
        kv::Ptr<IUnknown> object;
        return factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()) == S_OK;
    });
}

/// Creates so many objects, then releases them.
Run BulkCreations(const kv::Ptr<IClassFactory>& factory, std::size_t count) {
    return [=, objects = std::vector<kv::Ptr<IUnknown>>(count)]() mutable {
        std::uint64_t right = 0;
        for (auto& object : objects)
            right += factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()) == S_OK ? 1 : 0;
        for (auto& object : objects) object = kv::Ptr<IUnknown>();
        return right;
    };
}

void CompareCreation(const Session& session, const std::vector<Class>& classes,
                     const kv::Ptr<IClassFactory>& dictionary) {
    constexpr std::uint64_t times = 1'000;
    constexpr double goal = 2.5;
    for (const Class& each : classes) {
        if (each.IsSingleton()) continue;
        session.Compare(
            "frame create + release " + each.name + " (ns)", static_cast<double>(times),
            {{each.name, Creations(each.factory, times)}, {dictionaryName, Creations(dictionary, times), goal}});
        session.Compare("frame create + release " + each.name + ", 1000 at once (ns)", static_cast<double>(times),
                        {{each.name, BulkCreations(each.factory, times)},
                         {dictionaryName, BulkCreations(dictionary, times), goal}});
    }
}

Run Queries(const kv::Ptr<IUnknown>& object, const IID& id, HRESULT expected, std::uint64_t times) {
    return Repeat(times, [=] {
        kv::Ptr<IUnknown> found;
        return object->QueryInterface(id, found.PutVoid()) == expected;
    });
}

/// Times the last contestant, a peer, beside all the others and prints the line of the slowest of these.
void CompareSlowest(const Session& session, const std::string& job, double operations,
                    const std::vector<Contestant>& contestants) {
    const std::vector<double> medians = session.Time(contestants, operations);
    const auto slowest = std::max_element(medians.begin(), medians.end() - 1);
    session.Print(job + ", slowest interface (ns)", *slowest, contestants.back().name, medians.back(),
                  contestants.back().goal);
}

void CompareQueries(const Session& session, const std::vector<Class>& classes,
                    const kv::Ptr<IClassFactory>& dictionaryFactory) {
    constexpr std::uint64_t times = 20'000;
    const auto dictionary = Make<IUnknown>(dictionaryFactory);
    for (const Class& each : classes) {
        const auto object = Make<IUnknown>(each.factory);
        std::vector<Contestant> contestants;
        for (const Interface& offered : each.interfaces)
            contestants.emplace_back(offered.name, Queries(object, offered.id, S_OK, times));
        contestants.emplace_back(dictionaryName, Queries(dictionary, __uuidof(IDispatch), S_OK, times), 1.0);
        CompareSlowest(session, "frame QueryInterface + Release " + each.name, static_cast<double>(times), contestants);
    }
    std::vector<Contestant> contestants;
    contestants.reserve(classes.size() + 1);
    for (const Class& each : classes)
        contestants.emplace_back(each.name,
                                 Queries(Make<IUnknown>(each.factory), __uuidof(ITypeLib), E_NOINTERFACE, times));
    contestants.emplace_back(dictionaryName, Queries(dictionary, __uuidof(ITypeLib), E_NOINTERFACE, times), 1.0);
    CompareSlowest(session, "frame QueryInterface of an unknown interface", static_cast<double>(times), contestants);
}

/// What error information says; reading takes it off the thread.
struct ErrorTexts {
    kv::BString description, source;
    GUID interfaceId{};
};

ErrorTexts TakeErrorTexts() {
    ErrorTexts texts;
    kv::Ptr<IErrorInfo> info;
    Require(GetErrorInfo(0, info.Put()) == S_OK, "A refusal leaves no error information.");
    info->GetDescription(texts.description.Put());
    info->GetSource(texts.source.Put());
    info->GetGUID(&texts.interfaceId);
    return texts;
}

/// What no refusal that gives a reason can do without.
bool LeaveErrorInfo(const ErrorTexts& texts) {
    kv::Ptr<ICreateErrorInfo> made;
    if (FAILED(CreateErrorInfo(made.Put()))) return false;
    made->SetGUID(texts.interfaceId);
    made->SetDescription(texts.description.Get());
    made->SetSource(texts.source.Get());
    return SetErrorInfo(0, made.As<IErrorInfo>().Get()) == S_OK;
}

void CompareRefusal(const Session& session, const kv::Ptr<IClassFactory>& factory) {
    constexpr std::uint64_t times = 2'000;
    const auto set = Make<IPropertySet>(factory);
    const kv::BString name(u"Connection.Server");
    const auto refused = [&set, &name] {
        VARIANT value;
        return set->GetProperty(name.Get(), &value) == E_FAIL && value.vt == VT_EMPTY;
    };
    Require(refused(), "A missing property is not refused.");
    const ErrorTexts texts = TakeErrorTexts();
    Require(!texts.description.View().empty() && texts.source.View() == u"movaSystem.PropertySet" &&
                texts.interfaceId == __uuidof(IPropertySet),
            "A refusal says too little.");
    session.Compare("frame refused call with its reason (ns)", static_cast<double>(times),
                    {{"GetProperty", Repeat(times, refused)},
                     {"bare error calls", Repeat(times, [&texts] { return LeaveErrorInfo(texts); }), 1 / 1.3}});
    Require(LeaveErrorInfo(texts) && TakeErrorTexts().description.View() == texts.description.View(),
            "The bare error calls say something else.");
}

Run FullCreation(const CLSID& id) {
    return [=]() -> std::uint64_t {
        kv::Ptr<IUnknown> object;
        return kv::Create(id, object) == S_OK ? 1 : 0;
    };
}

void CompareFullCreation(const Session& session, const CLSID& dictionary) {
    // One object by turn: most of it is another process's work, whose pace changes within tens of milliseconds.
    session.Compare(
        "frame CoCreateInstance + Release (ns)", 1,
        {{"PropertySet", FullCreation(CLSID_PropertySet)}, {dictionaryName, FullCreation(dictionary), 1 / 1.05}});
}

/// One thread's work in an apartment of its own: objects of a plain class and of a thread's singleton class are
/// created, used and released, over and over. @return how many operations went as they should
std::uint64_t UseObjects(std::uint64_t operations) {
    constexpr std::uint64_t operationsPerTurn = 8;
    const Apartment apartment;
    std::uint64_t right = 0;
    {
        const auto sets = FactoryOf(CLSID_PropertySet);
        const auto loggers = FactoryOf(CLSID_MessageLogger);
        const kv::BString name(u"Connection.Server");
        VARIANT value{};
        value.vt = VT_I4;
        value.lVal = 7;
        const auto count = [&right](bool went) { right += went ? 1 : 0; };
        for (std::uint64_t turn = 0; turn < operations / operationsPerTurn; ++turn) {
            kv::Ptr<IPropertySet> set;
            count(sets->CreateInstance(nullptr, __uuidof(IPropertySet), set.PutVoid()) == S_OK);
            if (!set) break;
            count(set->SetProperty(name.Get(), value) == S_OK);
            VARIANT found;
            count(set->GetProperty(name.Get(), &found) == S_OK && found.vt == VT_I4 && found.lVal == value.lVal);
            count(set.Detach()->Release() == 0);
            kv::Ptr<IMessageLogger> logger;
            count(loggers->CreateInstance(nullptr, __uuidof(IMessageLogger), logger.PutVoid()) == S_OK);
            if (!logger) break;
            LONG messages = -1;
            count(logger->put_Capacity(static_cast<LONG>(turn % 100 + 1)) == S_OK);
            count(logger->get_Count(&messages) == S_OK && messages == 0);
            count(logger.Detach()->Release() == 1);  // the thread's factory keeps it
        }
    }
    EntryPoint<CanUnloadNow>(ourModule, "DllCanUnloadNow")();  // lets go of the thread's singletons
    return right;
}

constexpr std::uint64_t threadedOperations = 10'000'000;

/// Shares the operations out among so many threads. @return how many went as they should
std::uint64_t UseObjectsIn(std::uint64_t threads) {
    std::vector<std::future<std::uint64_t>> shares;
    for (std::uint64_t i = 0; i < threads; ++i)
        shares.push_back(std::async(std::launch::async, &UseObjects, threadedOperations / threads));
    std::uint64_t right = 0;
    for (auto& share : shares) right += share.get();
    return right;
}

void CompareThreads(const Session& session) {
    Require(UseObjectsIn(1) == threadedOperations, "An operation of a thread failed.");
    session.Compare("frame create, use, release in 8 threads, per operation (ns)",
                    static_cast<double>(threadedOperations),
                    {{"8 threads", [] { return UseObjectsIn(8); }}, {"1 thread", [] { return UseObjectsIn(1); }}});
    Require(EntryPoint<CanUnloadNow>(ourModule, "DllCanUnloadNow")() == S_OK,
            "The module counts objects that were all released.");
}

}  // namespace

void RunFrame(const Session& session) {
    const CLSID dictionary = ClassOf(dictionaryProgId);
    {
        const auto dictionaryFactory = FactoryOf(dictionary);
        const std::vector<Class> classes = OurClasses();
        CompareLookUp(session, classes, dictionary);
        CompareCreation(session, classes, dictionaryFactory);
        CompareQueries(session, classes, dictionaryFactory);
        CompareRefusal(session, FactoryOf(CLSID_PropertySet));
        CompareFullCreation(session, dictionary);
        SetErrorInfo(0, nullptr);
    }
    CompareThreads(session);
}

}  // namespace bench
