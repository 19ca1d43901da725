#include <thread>

#include "kvcore/SafeArray.h"
#include "kvcore/Stream.h"
#include "kvcore/VariantStream.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr CLSID foreignClass = {0x6CF5B6A2, 0x6D3E, 0x4F5C, {0x9A, 0x11, 0x5E, 0x0D, 0x3C, 0x77, 0x21, 0x40}};

kv::Ptr<IPropertySet2> NewSet() {
    return New<IPropertySet2>(u"PropertySet");
}

void Put(const kv::Ptr<IPropertySet2>& set, const char16_t* name, const kv::Variant& value) {
    EXPECT_EQ(set->SetProperty(Bstr(name), value.Get()), S_OK);
}
void Put(const kv::Ptr<IPropertySet2>& set, const char16_t* name, IUnknown* object) {
    Put(set, name, Value(object));
}

/// The object that a property holds, by its identity.
kv::Ptr<IUnknown> ObjectIn(IUnknown* set, const char16_t* name) {
    const auto value = AnswerOf(kv::Ptr<IUnknown>(set).As<IPropertySet2>(), &IPropertySet2::GetProperty, Bstr(name));
    EXPECT_TRUE(value.Get().vt == VT_UNKNOWN || value.Get().vt == VT_DISPATCH);
    return kv::Ptr<IUnknown>(value.Get().punkVal).As<IUnknown>();
}

/// Sets that share a child and refer to themselves, with the companions and an array of values.
kv::Ptr<IUnknown> Graph() {
    const auto root = NewSet();
    const auto child = NewSet();
    Put(child, u"name", Value(u"shared"));
    Put(child, u"parent", root.Get());
    Put(root, u"first", child.Get());
    Put(root, u"second", child.Get());
    Put(root, u"nothing", static_cast<IUnknown*>(nullptr));
    kv::ArrayBuilder values(VT_VARIANT, 3);
    values.Elements<VARIANT>()[0] = Value(7).Detach();
    values.Elements<VARIANT>()[1] = Value(root.Get()).Detach();
    values.Elements<VARIANT>()[2] = ArrayOf({u"a", u"b"}).Detach();
    Put(root, u"values", values.Finish());
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    EXPECT_EQ(property->put_Key(Bstr(u"K")), S_OK);
    EXPECT_EQ(property->put_Value(Value(child.Get()).Get()), S_OK);
    const auto properties = New<IPropertySetPropertyArray>(u"PropertySetPropertyArray");
    EXPECT_EQ(properties->Add(property.Get()), S_OK);
    EXPECT_EQ(properties->Add(property.Get()), S_OK);
    Put(root, u"properties", properties.Get());
    const auto sets = New<IPropertySetArray>(u"PropertySetArray");
    EXPECT_EQ(sets->Add(child.Get()), S_OK);
    EXPECT_EQ(sets->Add(root.Get()), S_OK);
    Put(root, u"sets", sets.Get());
    return root.As<IUnknown>();
}

kv::Ptr<IPropertySet2> SetOfEveryValue() {
    auto set = NewSet();
    const auto values = EveryValue();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const char16_t name[] = {u'v', static_cast<char16_t>(u'\u0100' + i), 0};
        Put(set, name, values[i]);
    }
    return set;
}

/// Takes the lines that an object stream traces.
class Sink final : public Local<IObjectStreamDebug> {
 public:
    STDMETHODIMP Trace(BSTR line) noexcept override {
        lines += kv::Utf8(kv::View(line));
        return E_FAIL;  // is ignored
    }

    std::string lines;
};

/// A chain of sets, each in the one before.
kv::Ptr<IPropertySet2> Chain(int length) {
    auto set = NewSet();
    const auto factory = FactoryOf(__uuidof(::PropertySet));
    const Bstr name(u"n");
    for (int i = 1; i < length; ++i) {
        kv::Ptr<IPropertySet2> outer;
        factory->CreateInstance(nullptr, __uuidof(IPropertySet2), outer.PutVoid());
        outer->SetProperty(name, Value(set.Get()).Get());
        set = std::move(outer);
    }
    return set;
}

}  // namespace

TEST(ObjectStream, KeepsWhoIsWho) {
    const auto graph = Graph();
    const Bytes bytes = Saved(graph.Get());
    ExpectGolden(bytes, "graph.bin");
    for (const auto& loaded : {Loaded(bytes), Loaded(ReadGolden("graph.bin"))}) {
        ASSERT_TRUE(loaded);
        const auto child = ObjectIn(loaded.Get(), u"first");
        EXPECT_NE(loaded.Get(), graph.Get());
        EXPECT_EQ(child.Get(), ObjectIn(loaded.Get(), u"second").Get());
        EXPECT_EQ(ObjectIn(child.Get(), u"parent").Get(), loaded.Get());
        EXPECT_EQ(Names(loaded.As<IPropertySet>().Get()), "first second nothing values properties sets");
        EXPECT_FALSE(ObjectIn(loaded.Get(), u"nothing"));
        const auto sets = ObjectIn(loaded.Get(), u"sets").As<IPropertySetArray>();
        EXPECT_EQ(AnswerOf(sets, &IPropertySetArray::get_Element, 1).As<IUnknown>().Get(), loaded.Get());
        EXPECT_EQ(Saved(loaded.Get()), bytes);
        Dissolve(loaded);
    }
    kv::Ptr<IUnknown> copy;
    EXPECT_EQ(New<IObjectCopy>(u"ObjectCopy")->Copy(graph.Get(), copy.Put()), S_OK);
    EXPECT_EQ(Saved(copy.Get()), bytes);
    Dissolve(copy);
    Dissolve(graph);
}

TEST(ObjectStream, WritesRepeatsAndNullsAsReferences) {
    const auto stream = StreamOf({});
    const auto objects = ObjectsOver(stream.Get());
    const auto set = NewSet();
    ULONG number = 7;
    EXPECT_EQ(objects->FindSaved(set.Get(), &number), S_FALSE);
    EXPECT_EQ(number, 0u);
    for (const std::size_t size : {std::size_t{26}, std::size_t{46}}) {
        EXPECT_EQ(objects->SaveObject(set.Get()), S_OK);
        EXPECT_EQ(BytesOf(stream).size(), size);
    }
    EXPECT_EQ(objects->SaveObject(nullptr), S_OK);
    EXPECT_EQ(objects->SaveObject(New<IUnknown>(u"ObjectCopy").Get()), S_OK) << "without persistence it is null";
    EXPECT_EQ(BytesOf(stream).size(), 78u);
    EXPECT_EQ(AnswerOf(objects, &IObjectStream2::FindSaved, set.Get()), 1u);
    EXPECT_EQ(ObjectsOver(stream.Get())->SaveObject(set.Get()), S_OK);
    EXPECT_EQ(BytesOf(stream).size(), 104u) << "another object stream counts for itself";

    EXPECT_EQ(kv::KvStreamSeek(stream.Get(), 0), S_OK);
    kv::Ptr<IUnknown> loaded[2];
    for (auto& object : loaded) EXPECT_EQ(objects->LoadObject(__uuidof(IPropertySet), nullptr, object.PutVoid()), S_OK);
    EXPECT_TRUE(loaded[0]);
    EXPECT_EQ(loaded[0].Get(), loaded[1].Get());
    kv::Ptr<IUnknown> found;
    EXPECT_EQ(objects->FindLoaded(1, __uuidof(IPropertySet), found.PutVoid()), S_OK);
    EXPECT_EQ(found.Get(), loaded[0].Get());
    EXPECT_EQ(objects->FindLoaded(2, __uuidof(IPropertySet), found.PutVoid()), S_FALSE);
    for (int i = 0; i < 2; ++i) {
        void* object = &object;
        EXPECT_EQ(objects->LoadObject(__uuidof(IUnknown), nullptr, &object), S_FALSE);
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_EQ(objects->LoadObject(__uuidof(IUnknown), nullptr, found.PutVoid()), S_OK);
    EXPECT_EQ(found.Get(), loaded[0].As<IUnknown>().Get()) << "number 1 of the other stream is known";
    EXPECT_EQ(objects->ForgetReferences(), S_OK);
    EXPECT_EQ(objects->FindLoaded(1, __uuidof(IPropertySet), found.PutVoid()), S_FALSE);
}

TEST(ObjectStream, RefusesWhatItCannotDo) {
    const auto objects = New<IObjectStream2>(u"ObjectStream");
    const auto set = NewSet();
    std::uint8_t buffer[4]{};
    ULONG count = 7;
    kv::Ptr<IUnknown> loaded;
    constexpr auto noStream = "The object stream has no stream of bytes under it.";
    EXPECT_EQ(objects->Read(buffer, 4, &count), E_FAIL);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(objects->Write(buffer, 4, &count), E_FAIL);
    EXPECT_EQ(objects->Commit(0), E_FAIL);
    EXPECT_EQ(objects->Stat(nullptr, 0), E_POINTER);
    EXPECT_EQ(Refused(objects->SaveObject(set.Get()), E_FAIL), Refusal<IObjectStream>("ObjectStream", noStream));
    EXPECT_EQ(Refused(objects->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()), E_FAIL),
              Refusal<IObjectStream>("ObjectStream", noStream));
    EXPECT_EQ(objects->LoadObject(__uuidof(IUnknown), nullptr, nullptr), E_POINTER);
    EXPECT_EQ(objects->get_Stream(nullptr), E_POINTER);
    EXPECT_EQ(objects->put_Stream(objects.Get()), E_INVALIDARG) << "it would go round for ever";

    const auto stream = StreamOf({1, 2});
    EXPECT_EQ(objects->put_Stream(stream.Get()), S_OK);
    EXPECT_EQ(objects->put_Stream(stream.Get()), S_OK);
    EXPECT_EQ(AnswerOf(objects, &IObjectStream2::get_Stream).Get(), stream.Get());
    EXPECT_EQ(objects->Read(nullptr, 4, &count), E_POINTER);
    EXPECT_EQ(objects->Write(nullptr, 4, &count), E_POINTER);
    EXPECT_EQ(objects->Read(buffer, 4, nullptr), S_OK) << "as every stream, it takes a null count";
    EXPECT_EQ(buffer[1], 2);
    EXPECT_EQ(objects->put_Stream(nullptr), S_OK);
    EXPECT_FALSE(AnswerOf(objects, &IObjectStream2::get_Stream));

    for (const LONG limit : {0L, -1L, 100'001L}) EXPECT_EQ(objects->put_NestingLimit(limit), E_INVALIDARG);
    EXPECT_EQ(AnswerOf(objects, &IObjectStream2::get_NestingLimit), 1000);
    EXPECT_EQ(objects->put_SizeLimit(-1), E_INVALIDARG);
    EXPECT_EQ(AnswerOf(objects, &IObjectStream2::get_SizeLimit), 0);
    EXPECT_EQ(objects->put_DocumentVersion(-1), E_INVALIDARG);
    EXPECT_EQ(kv::KvStreamGetDocumentVersion(objects.Get()), 100);
    EXPECT_EQ(objects.As<IDocumentVersion>()->put_DocumentVersion(83), S_OK);
    EXPECT_EQ(kv::KvStreamGetDocumentVersion(objects.Get()), 83);
    EXPECT_EQ(kv::KvStreamGetDocumentVersion(stream.Get()), 100) << "a plain stream carries none";
}

TEST(ObjectStream, TracesWhatItSavesAndLoads) {
    Sink sink;
    const auto stream = StreamOf({});
    const auto objects = ObjectsOver(stream.Get());
    EXPECT_EQ(objects->put_DebugSink(&sink), S_OK);
    const auto set = NewSet();
    EXPECT_EQ(objects->SaveObject(set.Get()), S_OK);
    EXPECT_EQ(objects->SaveObject(set.Get()), S_OK);
    EXPECT_EQ(objects->SaveObject(nullptr), S_OK);
    const std::string path = kv::Utf8(LibraryFile());
    const std::string name = "movaSystem.PropertySet.1" + std::string(36, ' ');
    const std::string line = "{588E5A11-D09B-11D1-AA7C-00C04FA33A15} \t--  " + name + "  \t--  " + path + "\n";
    const std::string nothing = "nullCLSID \t--  " + std::string(60, ' ') + "  \t--  \n";
    EXPECT_EQ(sink.lines, line + "\tReference 1\n" + nothing);
    sink.lines.clear();
    EXPECT_EQ(kv::KvStreamSeek(stream.Get(), 0), S_OK);
    kv::Ptr<IUnknown> loaded;
    for (int i = 0; i < 3; ++i) objects->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid());
    EXPECT_EQ(sink.lines, "1\t- " + line + "\tReference 1\n" + "0\t- " + nothing);
}

TEST(ObjectStream, BoundsHowDeepAndHowMuch) {
    constexpr auto tooDeep = "The objects nest too deeply.";
    const auto good = Chain(1000);
    const Bytes bytes = Saved(good.Get());
    EXPECT_TRUE(Loaded(bytes));
    const auto deep = Chain(100'000);
    for (const LONG limit : {1000L, 100'000L}) {  // the stack ends before the second
        const auto objects = ObjectsOver(StreamOf({}).Get());
        EXPECT_EQ(objects->put_NestingLimit(limit), S_OK);
        EXPECT_EQ(objects->SaveObject(deep.Get()), E_FAIL) << limit;
        EXPECT_EQ(TakeErrorInfo(), Refusal<IObjectStream>("ObjectStream", tooDeep));
    }
    kv::Ptr<IUnknown> copy;
    EXPECT_EQ(New<IObjectCopy>(u"ObjectCopy")->Copy(deep.Get(), copy.Put()), E_FAIL);
    EXPECT_FALSE(copy);

    Bytes chain;  // what a chain of 100,000 would be
    const Bytes link = Saved(Chain(2).Get());
    constexpr std::size_t linkSize = 20 + 2 + 4 + 4 + 2 + 2;  // reference, version, count, name, type
    for (std::uint32_t i = 1; i <= 100'000; ++i) {
        chain.insert(chain.end(), link.begin(), link.begin() + linkSize);
        std::memcpy(chain.data() + chain.size() - linkSize + 16, &i, sizeof i);
    }
    kv::Ptr<IUnknown> loaded;
    EXPECT_EQ(Refused(Loader().Load(chain, loaded), E_FAIL), Refusal<IObjectStream>("ObjectStream", tooDeep));

    const auto limited = ObjectsOver(StreamOf(bytes).Get());
    EXPECT_EQ(limited->put_NestingLimit(999), S_OK);
    EXPECT_EQ(limited->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()), E_FAIL);
    for (const bool fits : {true, false}) {
        const auto measured = ObjectsOver(StreamOf(bytes).Get());
        EXPECT_EQ(measured->put_SizeLimit(std::ssize(bytes) - (fits ? 0 : 1)), S_OK);
        EXPECT_EQ(measured->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()), fits ? S_OK : E_FAIL);
        const std::string told = TakeErrorInfo();
        EXPECT_TRUE(fits || told == Refusal<IObjectStream2>("ObjectStream", "The objects exceed the size limit."));
    }
}

TEST(ObjectStream, BoundsArraysAndObjectsTogether) {
    auto set = NewSet();
    for (int i = 0; i < 16; ++i) {
        kv::Variant value = Value(set.Get());
        for (int level = 0; level < kv::maxNesting - 1; ++level) {
            kv::ArrayBuilder array(VT_VARIANT, 1);
            *array.Elements<VARIANT>() = value.Detach();
            value = array.Finish();
        }
        set = NewSet();
        Put(set, u"n", value);
    }
    Trickle trickle({}, 1 << 20);
    const auto objects = ObjectsOver(&trickle);
    const HRESULT saved = objects->SaveObject(set.Get());
    EXPECT_TRUE(saved == S_OK || saved == E_FAIL) << "where the stack ends";
    kv::Ptr<IUnknown> loaded;
    const HRESULT status =
        ObjectsOver(StreamOf(trickle.bytes).Get())->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid());
    EXPECT_TRUE(status == S_OK || status == E_FAIL);
}

TEST(ObjectStream, LetsGoOfWhatIsOfTheWrongKind) {
    const auto set = NewSet();
    Put(set, u"self", set.Get());
    const Bytes bytes = Saved(set.Get());
    kv::Ptr<IPropertySetProperty> property;
    EXPECT_EQ(
        ObjectsOver(StreamOf(bytes).Get())->LoadObject(__uuidof(IPropertySetProperty), nullptr, property.PutVoid()),
        E_NOINTERFACE);
    Dissolve(set.As<IUnknown>());
}

TEST(ObjectStream, CreatesOnlyClassesThatAreAllowed) {
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    EXPECT_EQ(property->put_Value(Value(NewSet().Get()).Get()), S_OK);
    const Bytes bytes = Saved(property.Get());
    const auto load = [&](std::initializer_list<const CLSID*> allowed, bool all) {
        const auto objects = ObjectsOver(StreamOf(bytes).Get());
        for (const CLSID* classId : allowed) EXPECT_EQ(objects->AllowClass(*classId), S_OK);
        if (all) objects->AllowAllClasses();
        kv::Ptr<IUnknown> object;
        return objects->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid());
    };
    EXPECT_EQ(load({&__uuidof(::PropertySetProperty), &__uuidof(::PropertySet)}, false), S_OK);
    EXPECT_EQ(Refused(load({&__uuidof(::PropertySetProperty)}, false), E_ACCESSDENIED),
              Refusal<IObjectStream>("ObjectStream",
                                     "The class {588E5A11-D09B-11D1-AA7C-00C04FA33A15} may not be "
                                     "created from this stream."));
    EXPECT_EQ(load({&__uuidof(::PropertySetProperty)}, true), S_OK);
    EXPECT_EQ(load({&foreignClass}, false), E_ACCESSDENIED);
}

TEST(ObjectStream, LoadsInsideAnAggregatingObject) {
    class Outer final : public Foreign {
        void* Find(REFIID iid) noexcept override { return iid == __uuidof(IUnknown) ? Foreign::Find(iid) : nullptr; }
    };
    const auto outer = kv::Ptr<Outer>::Attach(new Outer);
    const auto objects = ObjectsOver(StreamOf(Saved(NewSet().Get())).Get());
    kv::Ptr<IUnknown> inner;
    ASSERT_EQ(objects->LoadObject(__uuidof(IUnknown), outer.Get(), inner.PutVoid()), S_OK);
    EXPECT_EQ(inner.As<IPropertySet>().As<IUnknown>().Get(), static_cast<IUnknown*>(outer.Get()));
    kv::Ptr<IUnknown> found;
    void* part = nullptr;
    EXPECT_EQ(objects->LoadObject(__uuidof(IPropertySet), outer.Get(), &part), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(objects->FindLoaded(1, __uuidof(IUnknown), found.PutVoid()), S_OK);
    EXPECT_EQ(found.Get(), static_cast<IUnknown*>(outer.Get())) << "later references are to the whole";
}

TEST(ObjectStream, SavesWhatAnObjectHandsOverInItsPlace) {
    struct Proxy final : ForeignWith<IObjectSubstitution> {
        STDMETHODIMP GetSubstitute(IUnknown** object) noexcept override {
            *object = status == S_OK ? NewSet().Detach() : nullptr;
            return status;
        }
        STDMETHODIMP Save(IStream* stream, BOOL) noexcept override {
            const std::uint8_t empty[6] = {1};
            return stream->Write(empty, sizeof empty, nullptr);
        }
        HRESULT status = S_OK;
    };
    for (const HRESULT status : {S_OK, S_FALSE}) {
        const auto proxy = kv::Ptr<Proxy>::Attach(new Proxy);
        proxy->status = status;
        const auto stream = StreamOf({});
        const auto objects = ObjectsOver(stream.Get());
        const auto* asObject = static_cast<IPersistStream*>(proxy.Get());
        for (int i = 0; i < 2; ++i) EXPECT_EQ(objects->SaveObject(const_cast<IPersistStream*>(asObject)), S_OK);
        EXPECT_EQ(BytesOf(stream).size(), 46u) << "a set once, though each asking makes another one";
    }
    const auto failing = kv::Ptr<Proxy>::Attach(new Proxy);
    failing->status = E_ABORT;
    const auto stream = StreamOf({});
    EXPECT_EQ(ObjectsOver(stream.Get())->SaveObject(static_cast<IPersistStream*>(failing.Get())), E_ABORT);
    EXPECT_TRUE(BytesOf(stream).empty());
}

TEST(ObjectStream, TakesObjectsThatPersistByValues) {
    struct Identifier final : ForeignWith<IIdentifierExchange> {
        STDMETHODIMP SetIdentifier(const GUID*, LONG) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP GetIdentifier(GUID* identifier, LONG*) noexcept override {
            *identifier = foreignClass;
            return S_OK;
        }
    };
    struct ByValues final : ForeignWith<IPersistVariant> {
        STDMETHODIMP get_ID(IUnknown** identifier) noexcept override {
            *identifier = named ? static_cast<IPersistStream*>(new (std::nothrow) Identifier) : nullptr;
            return named ? S_OK : E_FAIL;
        }
        STDMETHODIMP Save(IVariantStream* stream) noexcept override {
            kept = kv::Ptr<IVariantStream>(stream);
            stream->Write(text.Get());
            return stream->Write(Value(static_cast<IPersistStream*>(this)).Get());
        }
        STDMETHODIMP Load(IVariantStream* stream) noexcept override {
            kv::Variant self;
            if (HRESULT status = stream->Read(text.Put()); FAILED(status)) return status;
            if (HRESULT status = stream->Read(self.Put()); FAILED(status)) return status;
            refersToItself = self.Get().vt == VT_UNKNOWN && self.Get().punkVal == static_cast<IPersistStream*>(this);
            return S_OK;
        }
        using Foreign::Load;
        using Foreign::Save;
        bool named = true;
        bool refersToItself = false;
        kv::Variant text;
        kv::Ptr<IVariantStream> kept;
    };
    ByValues* created = nullptr;
    const Served served(foreignClass, [&] { return static_cast<IPersistStream*>(created = new ByValues); });
    const auto object = kv::Ptr<ByValues>::Attach(new ByValues);
    object->text = Value(u"by values");
    const Bytes bytes = Saved(static_cast<IPersistStream*>(object.Get()));
    EXPECT_EQ(object->kept->Write(kv::Variant().Get()), E_FAIL) << "the stream of values ends with the call";
    object->kept = {};
    ExpectGolden(bytes, "by-values.bin");
    const auto loaded = Loaded(ReadGolden("by-values.bin"));
    ASSERT_TRUE(loaded && created);
    EXPECT_EQ(kv::View(created->text.Get().bstrVal), u"by values");
    EXPECT_TRUE(created->refersToItself);

    object->named = false;
    const auto stream = StreamOf({});
    EXPECT_EQ(Refused(ObjectsOver(stream.Get())->SaveObject(static_cast<IPersistStream*>(object.Get())), E_INVALIDARG),
              Refusal<IObjectStream>("ObjectStream", "An object does not name its class."));
    EXPECT_TRUE(BytesOf(stream).empty());
}

TEST(ObjectStream, CreatesForeignClassesThroughOneFactory) {
    struct Plain final : Foreign {
        STDMETHODIMP GetClassID(CLSID* classId) noexcept override {
            *classId = foreignClass;
            return S_OK;
        }
        STDMETHODIMP Save(IStream*, BOOL) noexcept override { return S_OK; }
        STDMETHODIMP Load(IStream*) noexcept override { return S_FALSE; }
    };
    Served served(foreignClass, [] { return static_cast<IUnknown*>(new Plain); });
    const auto stream = StreamOf({});
    const auto objects = ObjectsOver(stream.Get());
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(objects->SaveObject(kv::Ptr<Plain>::Attach(new Plain).Get()), S_OK);
    EXPECT_EQ(kv::KvStreamSeek(stream.Get(), 0), S_OK);
    for (int i = 0; i < 1000; ++i) {
        kv::Ptr<IUnknown> object;
        ASSERT_EQ(objects->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid()), S_OK);
    }
    EXPECT_EQ(served.created, 1000) << "one for each, though an address is met again";
}

TEST(ObjectStream, SurvivesEveryDamage) {
    const auto graph = Graph();
    const Bytes graphBytes = Saved(graph.Get());
    Dissolve(graph);
    Loader loader;
    for (const Bytes& good : {graphBytes, Saved(SetOfEveryValue().Get())}) {
        ForEveryDamage(good, [&](const Bytes& damaged) {
            kv::Ptr<IUnknown> loaded;
            const HRESULT status = loader.Load(damaged, loaded);
            EXPECT_EQ(static_cast<bool>(loaded), status == S_OK);
            EXPECT_TRUE(damaged.size() == good.size() || status == E_FAIL);
            Dissolve(loaded);
        });
    }
}

TEST(ObjectStream, SurvivesObjectsThatChangeWhatIsBeingSaved) {
    struct Visitor final : Foreign {
        STDMETHODIMP GetClassID(CLSID* classId) noexcept override {
            if (const auto ask = std::exchange(asked, {})) ask();
            return Foreign::GetClassID(classId);
        }
        STDMETHODIMP Save(IStream* stream, BOOL) noexcept override {
            visit();
            const std::uint8_t empty[6] = {1};
            return stream->Write(empty, sizeof empty, nullptr);
        }
        std::function<void()> visit = [] {};
        std::function<void()> asked;
    };
    const auto set = NewSet();
    const auto stream = StreamOf({});
    const auto objects = ObjectsOver(stream.Get());
    const struct {
        const char* what;
        std::function<void()> visit;
        HRESULT status;
    } rows[] = {
        {"empties the set", [&] { set->RemoveAllProperties(); }, E_FAIL},
        {"replaces the value", [&] { Put(set, u"visitors", Value(1)); }, S_OK},
        {"forgets what was saved", [&] { objects->ForgetReferences(); }, S_OK},
        {"saves itself again", [&] { objects->SaveObject(set.Get()); }, S_OK},
        {"moves the stream", [&] { kv::KvStreamSeek(stream.Get(), 0); }, S_OK},
        {"shares the stream's bytes", [&] { CloneOf(stream); }, S_OK},
        {"empties the stream", [&] { stream->SetSize({}); }, S_OK},
        {"takes the stream away", [&] { EXPECT_EQ(objects->put_Stream(nullptr), E_UNEXPECTED); }, S_OK},
    };
    for (const auto& row : rows) {
        const auto visitor = kv::Ptr<Visitor>::Attach(new Visitor);
        visitor->visit = row.visit;
        kv::Variant visitors = Array(VT_UNKNOWN, {{20, 0}});
        auto* elements = static_cast<IUnknown**>(visitors.Get().parray->pvData);
        for (int i = 0; i < 20; ++i)
            elements[i] = i == 3 ? kv::Ptr<IUnknown>(visitor.Get()).Detach() : NewSet().Detach();
        Put(set, u"visitors", visitors);
        Put(set, u"last", Value(u"one"));
        EXPECT_EQ(objects->ForgetReferences(), S_OK);
        EXPECT_EQ(objects->SaveObject(set.Get()), row.status) << row.what;
        EXPECT_EQ(set->RemoveAllProperties(), S_OK);
        visitor->visit = {};
    }
    const auto hasty = kv::Ptr<Visitor>::Attach(new Visitor);
    hasty->asked = [&] { EXPECT_EQ(objects->SaveObject(hasty.Get()), S_OK); };
    EXPECT_EQ(objects->put_Stream(StreamOf({}).Get()), S_OK);
    EXPECT_EQ(objects->SaveObject(hasty.Get()), S_OK);
    STATSTG stat{};
    EXPECT_EQ(objects->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 46u) << "its body stands there once";
}

TEST(ObjectStream, CountsNothingAsSavedThatFailed) {
    const auto objects = ObjectsOver(StreamOf({}).Get());
    EXPECT_EQ(objects->SaveObject(NewSet().Get()), S_OK);
    for (const char16_t last : {u'a', u'z'}) {
        const auto set = NewSet();
        for (char16_t name[] = u"a"; name[0] <= last; ++name[0]) Put(set, name, NewSet().Get());
        Put(set, u"unsavable", kv::Ptr<Foreign>::Attach(new Foreign).Get());
        ULONG number = 0;
        for (const HRESULT status : {E_NOTIMPL, S_OK}) {
            EXPECT_EQ(objects->SaveObject(set.Get()), status);
            EXPECT_EQ(objects->FindSaved(set.Get(), &number), status == S_OK ? S_OK : S_FALSE);
            EXPECT_EQ(objects->FindSaved(ObjectIn(set.Get(), u"a").Get(), &number), status == S_OK ? S_OK : S_FALSE);
            EXPECT_EQ(set->RemoveProperty(Bstr(u"unsavable")), status == S_OK ? S_FALSE : S_OK);
        }
        EXPECT_EQ(number, last == u'a' ? 3u : 5u) << "as if nothing had failed";
    }
}

TEST(ObjectStream, PassesOnWhatItsStreamAnswers) {
    const auto set = SetOfEveryValue();
    const Bytes bytes = Saved(set.Get());
    Trickle whole;
    EXPECT_EQ(ObjectsOver(&whole)->SaveObject(set.Get()), S_OK);
    EXPECT_EQ(whole.bytes, bytes) << "a stream that takes three bytes at a time, and no window";
    {
        Trickle back(bytes);
        kv::Ptr<IUnknown> loaded;
        EXPECT_EQ(ObjectsOver(&back)->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()), S_OK);
        EXPECT_EQ(Saved(loaded.Get()), bytes);
    }
    Trickle counted({}, 1 << 20);
    EXPECT_EQ(ObjectsOver(&counted)->SaveObject(set.Get()), S_OK);
    EXPECT_LT(counted.calls, 20) << "fields go together";
    for (int n = 0; n < 1000000; n += 1 + n / 16) {
        Trickle failing({}, 7);
        failing.callsLeft = n;
        const HRESULT saved = ObjectsOver(&failing)->SaveObject(set.Get());
        Trickle cut(bytes, 7);
        cut.callsLeft = n;
        kv::Ptr<IUnknown> loaded;
        const HRESULT status = ObjectsOver(&cut)->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid());
        if (saved == S_OK && status == S_OK) return;
        EXPECT_TRUE(saved == S_OK || saved == STG_E_MEDIUMFULL) << n;
        EXPECT_TRUE(status == S_OK || status == STG_E_MEDIUMFULL) << n;
    }
    FAIL() << "it never came to its end";
}

TEST(ObjectCopy, AnswersNullForWhatCannotBeCopied) {
    const auto copier = New<IObjectCopy>(u"ObjectCopy");
    IUnknown* copy = copier.Get();
    EXPECT_EQ(copier->Copy(nullptr, &copy), S_FALSE);
    EXPECT_EQ(copy, nullptr);
    copy = copier.Get();
    EXPECT_EQ(copier->Copy(copier.Get(), &copy), S_FALSE);
    EXPECT_EQ(copy, nullptr);
}

TEST(VariantStreamIO, KeepsEveryValue) {
    const auto stream = StreamOf({});
    const auto io = New<IVariantStreamIO>(u"VariantStreamIO");
    constexpr auto noStream = "There is no stream of bytes under the stream of values.";
    EXPECT_EQ(Refused(io->Write(kv::Variant().Get()), E_FAIL), Refusal<IVariantStream>("VariantStreamIO", noStream));
    EXPECT_EQ(io->put_Stream(stream.Get()), S_OK);
    const auto values = EveryValue();
    for (const auto& value : values) EXPECT_EQ(io->Write(value.Get()), S_OK) << value.Get().vt;
    ExpectGolden(BytesOf(stream), "values.bin");
    auto nested = Nested(kv::maxNesting);
    EXPECT_EQ(io->Write(nested.Get()), S_OK);
    VARIANT number = Value(7).Detach();
    EXPECT_EQ(io->Write(ReferenceTo(number)), S_OK);
    const auto child = NewSet();
    for (int i = 0; i < 2; ++i) EXPECT_EQ(io->Write(Value(child.Get()).Get()), S_OK);

    for (const Bytes& bytes : {BytesOf(stream), ReadGolden("values.bin")}) {
        EXPECT_EQ(io->put_Stream(StreamOf(bytes).Get()), S_OK);
        for (std::size_t i = 0; i < values.size(); ++i) {
            kv::Variant read;
            ASSERT_EQ(io->Read(read.Put()), S_OK) << i;
            EXPECT_TRUE(kv::SameValue(read.Get(), values[i].Get())) << i << ", type " << values[i].Get().vt;
        }
    }
    VARIANT atEnd = number;
    EXPECT_EQ(io->Read(&atEnd), E_FAIL);
    EXPECT_EQ(atEnd.vt, VT_EMPTY);
    EXPECT_EQ(TakeErrorInfo(),
              Refusal<IVariantStream>("VariantStreamIO", "The stream ends here, or no value stands here."));

    kv::ArrayBuilder odd(VT_VARIANT, 1);
    *odd.Elements<VARIANT>() = ReferenceTo(number);
    const kv::Variant references = odd.Finish();
    nested = Nested(kv::maxNesting + 1);
    for (const VARIANT& value : {references.Get(), Raw(VT_BYREF | VT_I4), Raw(0x777), nested.Get()}) {
        EXPECT_EQ(Refused(io->Write(value), DISP_E_BADVARTYPE),
                  Refusal<IVariantStream>("VariantStreamIO", "A value is of a kind that cannot be saved."));
    }
}

TEST(VariantStreamIO, BelievesNoLength) {
    const struct {
        const char* what;
        Bytes bytes;
    } rows[] = {
        {"a text of 4 GiB", {8, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1}},
        {"a text of 2 GiB", {8, 0, 0xFF, 0xFF, 0xFF, 0x7F, 1}},
        {"an array of 4 G bytes", {17, 0x20, 1, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 1}},
        {"an array of 2 G values", {12, 0x20, 1, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 1}},
        {"an array of 2 G texts", {8, 0x20, 1, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 1}},
        {"more elements than can be counted",
         {3, 0x20, 2, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}},
        {"65,535 dimensions", {3, 0x20, 0xFF, 0xFF, 1, 0, 0, 0}},
        {"an array of nulls", {1, 0x20, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0}},
        {"a bare VARIANT", {12, 0, 3, 0, 1, 0, 0, 0}},
        {"a reference", {3, 0x40, 1, 0, 0, 0}},
        {"a decimal of scale 29", {14, 0, 0, 0, 29, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}},
    };
    const auto io = New<IVariantStreamIO>(u"VariantStreamIO");
    for (const auto& row : rows) {
        Trickle trickle(row.bytes, 1 << 20);
        for (IStream* stream : {StreamOf(row.bytes).Detach(), static_cast<IStream*>(&trickle)}) {
            EXPECT_EQ(io->put_Stream(stream), S_OK);
            kv::Variant read;
            EXPECT_EQ(io->Read(read.Put()), E_FAIL) << row.what;
            EXPECT_EQ(read.Get().vt, VT_EMPTY) << row.what;
            if (stream != &trickle) stream->Release();
        }
    }
    // What cannot be confirmed beforehand is read all the same where it comes.
    for (const VARTYPE type : {VT_I4, VT_BSTR, VT_VARIANT}) {
        SAFEARRAYBOUND bounds[] = {{100, 1}, {300, -7}};
        const auto large = kv::Variant::FromArray(SafeArrayCreate(type, 2, bounds), type);
        Trickle trickle({}, 1 << 20);
        EXPECT_EQ(io->put_Stream(&trickle), S_OK);
        EXPECT_EQ(io->Write(large.Get()), S_OK);
        EXPECT_EQ(io->Write(Value(std::u16string(100'000, u'x')).Get()), S_OK);
        EXPECT_TRUE(kv::SameValue(AnswerOf(io, &IVariantStreamIO::Read).Get(), large.Get()));
        EXPECT_EQ(kv::View(AnswerOf(io, &IVariantStreamIO::Read).Get().bstrVal).size(), 100'000u);
    }
    EXPECT_EQ(io->put_Stream(nullptr), S_OK);
}

}  // namespace mova::test
