// The tour: what the library does, on the sample data and through its public interfaces.
#include <thread>

#include "kvcore/Guid.h"
#include "kvcore/RegistryKey.h"
#include "kvcore/Stream.h"
#include "kvcore/Utf.h"
#include "tools/mova/Demo.h"
#include "tools/mova/PropertyFile.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

std::string CountText(IPropertySet& set) {
    LONG count = 0;
    Check(set.GetCount(&count));
    return std::to_string(count) + " properties";
}

void SetText(IPropertySet& set, std::u16string_view name, std::u16string_view value) {
    Check(set.SetProperty(Text(name).Get(), kv::Variant::FromText(Text(value)).Get()));
}

/// What an interface is called in the registry.
std::string InterfaceName(const IID& id) {
    const auto key = kv::RegistryKey::Open(HKEY_CLASSES_ROOT, u"Interface\\" + kv::GuidText(id));
    const std::u16string name = key ? key.DefaultText() : std::u16string();
    return name.empty() ? kv::Utf8(kv::GuidText(id)) : kv::Utf8(name);
}

void ShowPropertySet() {
    Heading("A property set, created by its ProgID and filled from samples/connection.props");
    const auto set = CreateAs<IPropertySet2>(u"PropertySet");
    LoadPropertyLines(*set.Get(), ReadSample("connection.props"), "connection.props");
    Print(CountText(*set.Get()) + " (name, VARTYPE, value):\n");
    PrintProperties(*set.Get(), "  ");

    Heading("The same after changes: two values set, one by another spelling of its name, and one removed");
    SetText(*set.Get(), u"PORT", u"6080");
    SetText(*set.Get(), u"Proxy", u"proxy.example:3128");
    Check(set->RemoveProperty(Text(u"Instance").Get()));
    Print(CountText(*set.Get()) + "; the last one has moved into the place of the one removed:\n");
    PrintProperties(*set.Get(), "  ");

    Heading("A refusal, from the thread's error information");
    try {
        kv::Variant value;
        Check(set->GetProperty(Text(u"Password").Get(), value.Put()));
    } catch (const Refused& refused) {
        PrintRefusal(refused);
    }
}

/// A property's object as another of its interfaces.
kv::Ptr<IPropertySet2> SetIn(IPropertySet& set, std::u16string_view name) {
    kv::Variant value;
    Check(set.GetProperty(Text(name).Get(), value.Put()));
    if (value.Get().vt != VT_UNKNOWN && value.Get().vt != VT_DISPATCH) return {};
    return kv::Ptr<IUnknown>(value.Get().punkVal).As<IPropertySet2>();
}

void SetObject(IPropertySet& set, std::u16string_view name, IUnknown* object) {
    VARIANT value{};
    value.vt = VT_UNKNOWN;
    value.punkVal = object;
    Check(set.SetProperty(Text(name).Get(), value));
}

/// Two layers that share a data source, in a map that they refer to.
kv::Ptr<IPropertySet2> MakeMap() {
    auto map = CreateAs<IPropertySet2>(u"PropertySet");
    const auto source = CreateAs<IPropertySet2>(u"PropertySet");
    SetText(*source.Get(), u"Server", u"gis-data.example");
    for (const std::u16string_view name : {u"Rivers", u"Roads"}) {
        const auto layer = CreateAs<IPropertySet2>(u"PropertySet");
        SetText(*layer.Get(), u"Name", name);
        SetObject(*layer.Get(), u"Source", source.Get());
        SetObject(*layer.Get(), u"Map", map.Get());
        SetObject(*map.Get(), name, layer.Get());
    }
    return map;
}

void DescribeMap(std::string_view what, IPropertySet2& map) {
    const auto rivers = SetIn(map, u"Rivers");
    const auto roads = SetIn(map, u"Roads");
    const auto same = [](const auto& left, const auto& right) { return left.Get() == right.Get() ? "yes" : "no"; };
    const auto self = kv::Ptr<IPropertySet2>(&map);
    Print("  " + std::string(what) + ": " + CountText(map) +
          "; both layers share one source: " + same(SetIn(*rivers.Get(), u"Source"), SetIn(*roads.Get(), u"Source")) +
          "; a layer's map is the map itself: " + same(SetIn(*roads.Get(), u"Map"), self) + "\n");
}

void ShowPersistence() {
    Heading("A graph of property sets: two layers that share a source, and refer to the map that they are in");
    const auto map = MakeMap();
    DescribeMap("made  ", *map.Get());
    const auto memory = MemoryOf({});
    Check(ObjectsOver(memory)->SaveObject(map.Get()));
    LONGLONG size = 0;
    Check(memory.As<IMemoryBlobStream>()->get_Size(&size));
    Print("  saved : " + std::to_string(size) + " bytes for 4 sets that are referred to 7 times\n");
    Check(kv::KvStreamSeek(memory.Get(), 0));
    const auto loaded = LoadObject(memory).As<IPropertySet2>();
    DescribeMap("loaded", *loaded.Get());
    const auto again = MemoryOf({});
    Check(ObjectsOver(again)->SaveObject(loaded.Get()));
    Print(std::string("  saved again, byte by byte the same: ") + (BytesOf(memory) == BytesOf(again) ? "yes" : "no") +
          "\n");
    for (const auto& circle : {map, loaded})
        Check(circle->RemoveAllProperties());  // else they hold each other for ever
}

LONG MessagesIn(IMessageLogger& log) {
    LONG count = 0;
    Check(log.get_Count(&count));
    return count;
}

void ShowSingletons() {
    Heading("A per-thread singleton: each thread has a log of its own");
    const auto log = CreateAs<IMessageLogger>(u"MessageLogger");
    const auto again = CreateAs<IMessageLogger>(u"MessageLogger");
    Check(log->Log(movaMessageWarning, Text(u"demo").Get(), Text(u"from the first thread").Get()));
    Print(std::string("  asked for twice on this thread: ") +
          (log.Get() == again.Get() ? "the same object" : "two objects") + ", " +
          std::to_string(MessagesIn(*again.Get())) + " message\n");
    std::string report;
    std::thread([&] {
        CoInitialize(nullptr);
        try {
            const auto other = CreateAs<IMessageLogger>(u"MessageLogger");
            report = std::string("  asked for on another thread: ") +
                     (other.Get() == log.Get() ? "the same object" : "an object of its own") + ", " +
                     std::to_string(MessagesIn(*other.Get())) + " messages\n";
        } catch (const Refused& refused) {
            report = "  refused on another thread: " + StatusText(refused.status) + "\n";
        }
        ServerIsIdle();  // asking is how a thread lets go of its singletons before it ends
        CoUninitialize();
    }).join();
    Print(report);
}

}  // namespace

void PrintRefusal(const Refused& refused) {
    Print("  status       " + StatusText(refused.status) + "\n  description  " + refused.description +
          "\n  source       " + refused.source + "\n  interface    " + InterfaceName(refused.interfaceId) + "\n");
}

int RunDemo(Arguments arguments) {
    if (!arguments.empty()) throw WrongUsage{"demo takes no arguments"};
    Print("movaSystem: a tour of the library\n");
    ShowPropertySet();
    ShowPersistence();
    ShowDocument();
    ShowTimes();
    ShowClasses();
    ShowSingletons();
    Heading("The end");
    const bool idle = ServerIsIdle();
    Print(std::string("  DllCanUnloadNow: ") +
          (idle ? "S_OK, nothing is left alive" : "S_FALSE, objects are left alive") + "\n");
    return idle ? 0 : 1;
}

}  // namespace mova::tool
