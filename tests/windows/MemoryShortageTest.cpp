// Each operation with each of its calls for memory refused: what it answers, what it leaves, what it still holds. Those
// that automation can express are called so by AutomationWalkTest.cpp.
#include <algorithm>
#include <functional>

#include "kvcore/ErrorRecords.h"
#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/GuardedHeap.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/Samples.h"

namespace mova::test {
namespace {

/// Something that is done, and the objects that it concerns: the first keeps what it holds where it fails, all have
/// the same in them whenever it succeeds.
struct Trial {
    std::function<HRESULT()> act;
    std::vector<kv::Ptr<IUnknown>> objects;
    bool keeps = true;  ///< not where there are several steps, or what a failure leaves is said to differ

    std::string State() const {
        std::string state;
        for (const auto& object : objects) state += StateOf(object.Get());
        return state;
    }
    std::string Held() const { return keeps && !objects.empty() ? StateOf(objects[0].Get()) : ""; }
};

/// Fails the test unless each shortage of memory is answered with E_OUTOFMEMORY, or is got over, leaves the object
/// with what it held and fit to do the same again, with the same outcome, and nothing alive that was not before.
/// @param prepare makes the trial anew for each shortage
void SurvivesShortages(const std::string& name, const std::function<Trial()>& prepare, HRESULT expected = S_OK) {
    SCOPED_TRACE(name);
    std::string made;
    {
        const Trial unhampered = prepare();
        EXPECT_EQ(unhampered.act(), expected);
        made = unhampered.State();
    }
    bool felt = true;
    for (long granted = 0; felt && !testing::Test::HasFailure(); ++granted) {
        ASSERT_LT(granted, 5000) << "it never ends";
        SCOPED_TRACE(granted);
        SetErrorInfo(0, nullptr);
        const auto live = [] { return LiveBlocks() + LiveBlocksOfPlatform(); };
        const long before = live();
        {
            const Trial trial = prepare();
            const std::string held = trial.Held();
            HRESULT status = S_OK;
            {
                const MemoryShortage shortage(granted);
                try {
                    status = trial.act();
                } catch (const std::bad_alloc&) {  // the test's own text or array
                    status = E_OUTOFMEMORY;
                }
                felt = shortage.WasFelt();
            }
            if (status != expected) {
                EXPECT_TRUE(felt);
                EXPECT_EQ(status, E_OUTOFMEMORY);
                EXPECT_EQ(trial.Held(), held);
                EXPECT_EQ(trial.act(), expected);
            }
            EXPECT_EQ(trial.State(), made);
        }
        SetErrorInfo(0, nullptr);
        if constexpr (!kv::recyclesMemory) {
            EXPECT_EQ(live(), before);
        }
    }
}

HRESULT First(std::initializer_list<std::function<HRESULT()>> steps) {
    for (const auto& step : steps)
        if (const HRESULT status = step(); FAILED(status)) return status;
    return S_OK;
}

bool IsCommitted(const void* address) {
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQuery(address, &memory, sizeof memory);
    return memory.State == MEM_COMMIT;
}

}  // namespace

TEST(GuardedHeap, LetsNobodyTouchWhatLiesBehindABlockOrWasFreed) {
    GuardedHeap heap;
    for (const std::size_t size : {0u, 1u, 16u, 100u, 4080u, 4081u, 100'000u}) {
        auto* const block = static_cast<std::byte*>(heap.Take(size));
        ASSERT_TRUE(block);
        EXPECT_TRUE(heap.Owns(block));
        EXPECT_EQ(heap.SizeOf(block), size);
        std::fill(block, block + size, std::byte{1});
        EXPECT_TRUE(size == 0 || IsCommitted(block + size - 1));
        EXPECT_FALSE(IsCommitted(block + (size + 15) / 16 * 16)) << size;
        heap.Give(block);
        EXPECT_FALSE(IsCommitted(block)) << size;
    }
    heap.Restart();
}

TEST(GuardedHeap, HoldsThePlatformsTextsWhereMemoryIsGuarded) {
    BSTR text = SysAllocString(L"seven");
    ASSERT_TRUE(text);
    const BSTR former = text;
    EXPECT_TRUE(SysReAllocStringLen(&text, nullptr, 3000));
    EXPECT_EQ(std::u16string_view(kv::View(text)).substr(0, 5), u"seven");
    SysFreeString(text);
    if (GetEnvironmentVariableW(L"MOVA_GUARD_MEMORY", nullptr, 0) != 0) {
        EXPECT_FALSE(IsCommitted(former));
        EXPECT_FALSE(IsCommitted(text));
    }
}

TEST(Samples, HaveSomethingInThemThatReadingDoesNotChange) {
    Samples samples;
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        const std::string empty = StateOf(New<IUnknown>(entry->name).Get());
        const auto stateOf = [](const kv::Ptr<IUnknown>& sample) {
            const std::string state = StateOf(sample.Get());
            EXPECT_EQ(StateOf(sample.Get()), state);
            return state;
        };
        const std::string state = stateOf(samples.Of(entry->name));
        EXPECT_EQ(stateOf(samples.Of(entry->name)), state) << "no two are the same";
        const bool holdsNothing =
            std::u16string_view(u"ObjectCopy XmlNamespaceUtils JSONConverter").find(entry->name) !=
            std::u16string_view::npos;
        EXPECT_EQ(state == empty, holdsNothing);
    }
}

TEST(MemoryShortage, LeavesNoHalfMadeObject) {
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const auto factory = FactoryOf(*entry->classId);
        const std::string name = kv::Utf8(entry->name);
        const auto released = [=](HRESULT status) {
            if (entry->IsSingleton()) factory.As<ISingletonRelease>()->ReleaseInstance();
            return status;
        };
        SurvivesShortages(name, [=] {
            return Trial{[=] {
                             kv::Ptr<IUnknown> object;
                             return released(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()));
                         },
                         {}};
        });
        for (const IID& iid : {__uuidof(IDispatch), __uuidof(ISupportErrorInfo)}) {
            SurvivesShortages(name, [=] {
                kv::Ptr<IUnknown> object;
                EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
                return Trial{[=] {
                                 kv::Ptr<IUnknown> part;
                                 const HRESULT status = object->QueryInterface(iid, part.PutVoid());
                                 return released(status == E_NOINTERFACE ? S_OK : status);
                             },
                             {object}};
            });
        }
    }
}

TEST(MemoryShortage, LeavesWhatIsSavedAndLoaded) {
    Samples samples;
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const std::string name = kv::Utf8(entry->name);
        const auto sample = samples.Of(entry->name);
        if (!sample.As<IPersistStream>()) continue;
        const auto toStream = [&](const std::function<HRESULT(const kv::Ptr<IUnknown>&, IStream*)>& save) {
            SurvivesShortages(name + " is saved", [&] {
                const auto object = samples.Of(entry->name);
                const auto stream = StreamOf({});
                const auto act = [=] {
                    return First({[&] { return stream->SetSize(Size(0)); }, [&] { return SeekTo(stream.Get(), 0); },
                                  [&] { return save(object, stream.Get()); }});
                };
                return Trial{act, {object, stream.As<IUnknown>()}};
            });
        };
        toStream([](auto& object, auto* stream) { return object.template As<IPersistStream>()->Save(stream, TRUE); });
        const Bytes saved = SavedAlone(sample.Get());
        SurvivesShortages(name + " is loaded", [&] {
            const auto object = samples.Of(entry->name);
            const auto stream = StreamOf(saved);
            return Trial{[=] {
                             SeekTo(stream.Get(), 0);
                             return object.As<IPersistStream>()->Load(stream.Get());
                         },
                         {object},
                         LoadKeeps(entry->name)};
        });
        const auto objects = New<IObjectStream2>(u"ObjectStream");
        toStream([&](auto& object, auto* stream) {
            objects->ForgetReferences();
            objects->put_Stream(stream);
            return objects->SaveObject(object.Get());
        });
        const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
        if (!sample.As<IXMLSerialize>()) continue;
        toStream([&](auto& object, auto* stream) {
            return serializer->SaveToStream(object.Get(), Bstr(u"Object"), stream);
        });
        const std::string text = Document(sample.Get());
        /// What loads the one object that comes in the other.
        const auto comes = [&](const char* how, const Bytes& bytes, const auto& load) {
            SurvivesShortages(name + how, [&, load] {
                const auto found = New<IPropertySetProperty>(u"PropertySetProperty");
                const auto stream = StreamOf(bytes);
                const auto act = [=] {
                    kv::Ptr<IUnknown> object;
                    SeekTo(stream.Get(), 0);
                    return First({[&] { return load(stream.Get(), object.Put()); },
                                  [&] { return found->put_Value(Value(object.Get()).Get()); }});
                };
                return Trial{act, {found.As<IUnknown>()}};
            });
        };
        comes(" from XML", {text.begin(), text.end()},
              [=](IStream* stream, IUnknown** object) { return serializer->LoadFromStream(stream, object); });
        comes(" from objects", Saved(sample.Get()), [=](IStream* stream, IUnknown** object) {
            objects->ForgetReferences();
            objects->put_Stream(stream);
            return objects->LoadObject(__uuidof(IUnknown), nullptr, reinterpret_cast<void**>(object));
        });
        objects->put_Stream(nullptr);
    }
}

TEST(MemoryShortage, LeavesWhatPersistsByValues) {
    struct ByValues final : ForeignWith<IPersistVariant> {
        STDMETHODIMP get_ID(IUnknown** identifier) noexcept override {
            const HRESULT status =
                uids->CreateInstance(nullptr, __uuidof(IUnknown), reinterpret_cast<void**>(identifier));
            return FAILED(status) ? status : kv::Ptr<IUnknown>(*identifier).As<IUID>()->put_Value(id.Get());
        }
        STDMETHODIMP Save(IVariantStream* values) noexcept override { return values->Write(text.Get()); }
        STDMETHODIMP Load(IVariantStream* values) noexcept override { return values->Read(text.Put()); }
        using Foreign::Load;
        using Foreign::Save;
        kv::Ptr<IClassFactory> uids;
        kv::Variant id;
        kv::Variant text;
    };
    constexpr CLSID ownId{0x3B8D6E52, 0x1C47, 0x4A0B, {0x9E, 0x15, 0x60, 0x7D, 0x2F, 0x84, 0xC3, 0xA9}};
    const auto own = kv::Ptr<ByValues>::Attach(new ByValues);
    own->uids = FactoryOf(CLSID_UID);
    own->id = Value(kv::GuidText(ownId));
    own->text = Value(u"by values");
    IPersistStream* const object = own.Get();
    kv::Ptr<ByValues> made;
    const Served served(ownId, [&] {
        made = kv::Ptr<ByValues>::Attach(new ByValues);
        return kv::Ptr<IPersistStream>(made.Get()).Detach();
    });
    SurvivesShortages("saved", [=] {
        const auto stream = StreamOf({});
        const auto objects = ObjectsOver(stream.Get());
        const auto act = [=] {
            return First({[&] { return objects->ForgetReferences(); }, [&] { return stream->SetSize(Size(0)); },
                          [&] { return SeekTo(stream.Get(), 0); }, [&] { return objects->SaveObject(object); }});
        };
        return Trial{act, {stream.As<IUnknown>()}, false};
    });
    const Bytes bytes = Saved(object);
    SurvivesShortages("loaded", [&] {
        const auto stream = StreamOf(bytes);
        const auto objects = ObjectsOver(stream.Get());
        const auto found = New<IPropertySetProperty>(u"PropertySetProperty");
        const auto act = [=, &made] {
            kv::Ptr<IUnknown> loaded;
            return First({[&] { return objects->ForgetReferences(); }, [&] { return SeekTo(stream.Get(), 0); },
                          [&] { return objects->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()); },
                          [&] { return found->put_Value(std::exchange(made, {})->text.Get()); }});
        };
        return Trial{act, {found.As<IUnknown>()}};
    });
}

TEST(MemoryShortage, LeavesStreamsUsable) {
    Samples samples;
    const std::string much(200'000, 'm');
    const auto target = StreamOf({});
    const struct {
        const char* name;
        std::function<HRESULT(IStream*)> act;
        bool keeps = true;  ///< not where a part can have been done
    } operations[] = {
        {"written", [&](IStream* stream) { return Put(stream, "some bytes"); }},
        {"written much", [&](IStream* stream) { return Put(stream, much); }, false},
        {"read", [](IStream* stream) { return stream->Read(std::array<char, 9>().data(), 9, nullptr); }},
        {"moved", [](IStream* stream) { return SeekTo(stream, 9); }},
        {"made larger", [](IStream* stream) { return stream->SetSize(Size(100'000)); }},
        {"copied", [&](IStream* stream) { return stream->CopyTo(target.Get(), Size(20), nullptr, nullptr); }},
        {"cloned", [](IStream* stream) { return stream->Clone(kv::Ptr<IStream>().Put()); }},
        {"asked",
         [](IStream* stream) {
             STATSTG stat{};
             const HRESULT status = stream->Stat(&stat, STATFLAG_DEFAULT);
             CoTaskMemFree(stat.pwcsName);
             return status;
         }},
        {"committed", [](IStream* stream) { return stream->Commit(STGC_DEFAULT); }},
    };
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        if (!samples.Of<IStream>(entry->name)) continue;
        for (const auto& operation : operations) {
            const auto prepare = [&] {
                const auto stream = samples.Of<IStream>(entry->name);
                EXPECT_EQ(SeekTo(stream.Get(), 4), S_OK);
                return Trial{[=, &operation] { return SeekTo(stream.Get(), 4), operation.act(stream.Get()); },
                             {stream.As<IUnknown>()},
                             operation.keeps};
            };
            SurvivesShortages(kv::Utf8(entry->name) + " is " + operation.name, prepare, prepare().act());
        }
    }
}

TEST(MemoryShortage, LeavesTheOtherClassesUsable) {
    const auto set = New<IPropertySet>(u"PropertySet");
    SurvivesShortages("ten new names, one after the other", [] {
        const auto growing = New<IPropertySet>(u"PropertySet");
        const auto act = [=] {
            HRESULT status = S_OK;
            for (char16_t name = u'a'; name < u'k' && SUCCEEDED(status); ++name)
                status = growing->SetProperty(Bstr(std::u16string(2, name)), Value(u"t").Get());
            return status;
        };
        return Trial{act, {growing.As<IUnknown>()}, false};
    });
    SurvivesShortages("nodes", [] {
        const auto reader = New<IXMLTextReader>(u"XMLTextReader");
        const auto act = [=] {
            HRESULT status = reader->put_Text(
                Bstr(u"<m:a xmlns:m='urn:m'><m:d m:e='f'>a &amp; b</m:d><!-- c --><![CDATA[x]]></m:a>"));
            for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) {
                kv::Ptr<IXMLAttributes> attributes;
                kv::BString value;
                status = First({[&] { return reader->Read(&found); }, [&] { return reader->get_Value(value.Put()); },
                                [&] { return reader->get_Attributes(attributes.Put()); }});
            }
            return status;
        };
        return Trial{act, {reader.As<IUnknown>()}, false};
    });
    EXPECT_EQ(set->SetProperties(ArrayOf({u"A", u"B"}).Get(), ArrayOf({u"one", u"two"}).Get()), S_OK);
    SurvivesShortages("conversions", [&] {
        const auto converter = New<IJSONConverter>(u"JSONConverter");
        const auto act = [=, &set] {
            kv::BString written;
            return First({[&] { return converter->ToJSONString(Value(set.Get()).Get(), nullptr, written.Put()); },
                          [&] { return converter->FromJSONString(written.Get(), nullptr, kv::Variant().Put()); }});
        };
        return Trial{act, {converter.As<IUnknown>()}};
    });
    const Bytes saved = Saved(set.Get());
    SurvivesShortages("the first class that is allowed", [&] {
        const auto stream = StreamOf(saved);
        const auto objects = ObjectsOver(stream.Get());
        const auto act = [=] {
            const HRESULT status = objects->AllowClass(CLSID_UID);
            kv::Ptr<IUnknown> loaded;
            if (FAILED(status)) {
                EXPECT_EQ(objects->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()), S_OK);
            }
            SeekTo(stream.Get(), 0);
            return status;
        };
        return Trial{act, {objects.As<IUnknown>()}};
    });
    SurvivesShortages("records of errors", [] {
        const auto records = New<IErrorRecords>(u"MOVAExtendedErrorInfo");
        const auto act = [=] {
            ERRORINFO record{E_FAIL, 0, CLSID_PropertySet, __uuidof(IClone), 9};
            VARIANT arguments[2] = {Raw(VT_I4, LONG{3}), Raw(VT_BSTR)};
            DISPPARAMS parameters{arguments, nullptr, 2, 0};
            return records->AddErrorRecord(&record, 0, &parameters, nullptr, 0);
        };
        return Trial{act, {records.As<IUnknown>()}};
    });
}

}  // namespace mova::test
