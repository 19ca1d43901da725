// Each operation with each of its calls for memory refused: what it answers, what it leaves, what it still holds.
#include <algorithm>
#include <functional>

#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/GuardedHeap.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// An object, one thing that is done to it, and what a client can tell of it.
struct Trial {
    std::function<HRESULT()> act;
    std::function<std::string()> look = [] { return std::string(); };
};

/// Fails the test unless each shortage of memory is answered with E_OUTOFMEMORY, or is got over, leaves the object
/// with what it held and fit to do the same again, and nothing alive that was not before.
/// @param prepare makes the trial anew for each shortage
void SurvivesShortages(const char* name, const std::function<Trial()>& prepare, HRESULT expected = S_OK) {
    SCOPED_TRACE(name);
    {
        const Trial first = prepare();  // for what is made once and kept
        first.look();
        first.act();
    }
    for (long granted = 0;; ++granted) {
        ASSERT_LT(granted, 5000) << "it never ends";
        SCOPED_TRACE(granted);
        SetErrorInfo(0, nullptr);
        const auto live = [] { return LiveBlocks() + LiveBlocksOfPlatform(); };
        const long before = live();
        bool felt = false;
        {
            const Trial trial = prepare();
            const std::string held = trial.look();
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
                EXPECT_EQ(trial.look(), held);
                EXPECT_EQ(trial.act(), expected);
            }
        }
        SetErrorInfo(0, nullptr);
        if constexpr (!kv::recyclesMemory) {
            EXPECT_EQ(live(), before);
        }
        if (!felt) break;
        if (testing::Test::HasFailure()) return;
    }
}

/// The object as a document.
std::string Document(IUnknown* object) {
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    kv::BString text;
    EXPECT_EQ(serializer->SaveToString(object, Bstr(u"Object"), text.Put()), S_OK);
    return kv::Utf8(text.View());
}

/// A set with texts, numbers, arrays and an identifier, so many names, and twice one other set.
kv::Ptr<IPropertySet> SampleSet(int names = 12) {
    auto set = New<IPropertySet>(u"PropertySet");
    for (int i = 0; i < names; ++i)
        EXPECT_EQ(set->SetProperty(Bstr(u"Name" + kv::Utf16(std::to_string(i))), Value(i).Get()), S_OK);
    const auto inner = New<IPropertySet>(u"PropertySet");
    EXPECT_EQ(inner->SetProperty(Bstr(u"Text"), Value(u"a text of some length").Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"Inner"), Value(inner.Get()).Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"Again"), Value(inner.Get()).Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"Texts"), ArrayOf({u"one", u"two"}).Get()), S_OK);
    const auto identifier = New<IUID>(u"UID");
    EXPECT_EQ(identifier->put_Value(Value(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}").Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"Identifier"), Value(identifier.Get()).Get()), S_OK);
    return set;
}

/// A trial of an operation of a sample set.
std::function<Trial()> OfSet(std::function<HRESULT(IPropertySet2*)> act) {
    return [act = std::move(act)] {
        const auto set = SampleSet().As<IPropertySet2>();
        return Trial{[=] { return act(set.Get()); }, [=] { return Document(set.Get()); }};
    };
}

/// A trial of an operation of a new object whose state is of no interest.
template <class I>
std::function<Trial()> OfNew(std::u16string_view className, std::function<HRESULT(I*)> act) {
    return [=] {
        const auto object = New<I>(className);
        return Trial{[=] { return act(object.Get()); }};
    };
}

HRESULT First(std::initializer_list<std::function<HRESULT()>> steps) {
    for (const auto& step : steps)
        if (const HRESULT status = step(); FAILED(status)) return status;
    return S_OK;
}

constexpr std::u16string_view json =
    u"{\"type\":\"event\",\"place\":[12.5,-7.25,0],\"names\":{\"en\":\"Sea\",\"de\":\"Meer \u00fc\"},"
    u"\"a rather long name that no small buffer holds\":\"and a text as long as that, too, or longer\",\"none\":null}";
constexpr std::u16string_view document =
    u"<m:a xmlns:m='urn:m' b='c'><m:d m:e='f'>text &amp; more</m:d><!-- c --><![CDATA[x]]></m:a>";

}  // namespace

TEST(GuardedHeap, LetsNobodyTouchWhatLiesBehindABlockOrWasFreed) {
    GuardedHeap heap;
    for (const std::size_t size : {0u, 1u, 16u, 100u, 4080u, 4081u, 100'000u}) {
        auto* const block = static_cast<std::byte*>(heap.Take(size));
        ASSERT_TRUE(block);
        EXPECT_TRUE(heap.Owns(block));
        EXPECT_EQ(heap.SizeOf(block), size);
        std::fill(block, block + size, std::byte{1});
        const auto isCommitted = [](const void* address) {
            MEMORY_BASIC_INFORMATION memory{};
            VirtualQuery(address, &memory, sizeof memory);
            return memory.State == MEM_COMMIT;
        };
        EXPECT_TRUE(size == 0 || isCommitted(block + size - 1));
        EXPECT_FALSE(isCommitted(block + (size + 15) / 16 * 16)) << size;
        heap.Give(block);
        EXPECT_FALSE(isCommitted(block)) << size;
    }
    heap.Restart();
}

TEST(MemoryShortage, LeavesNoHalfMadeObject) {
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const auto factory = FactoryOf(*entry->classId);
        const std::string name = kv::Utf8(entry->name);
        const auto released = [=](HRESULT status) {
            if (entry->IsSingleton()) factory.As<ISingletonRelease>()->ReleaseInstance();
            return status;
        };
        SurvivesShortages(name.c_str(), [=] {
            return Trial{[=] {
                kv::Ptr<IUnknown> object;
                return released(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()));
            }};
        });
        for (const IID& iid : {__uuidof(IDispatch), __uuidof(ISupportErrorInfo), __uuidof(IClone)}) {
            SurvivesShortages(name.c_str(), [=] {
                kv::Ptr<IUnknown> object;
                EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
                return Trial{[=] {
                    kv::Ptr<IUnknown> part;
                    const HRESULT status = object->QueryInterface(iid, part.PutVoid());
                    if (status == E_NOINTERFACE) return S_OK;
                    const auto clone = SUCCEEDED(status) ? part.As<IClone>() : kv::Ptr<IClone>();
                    return released(clone && iid == __uuidof(IClone) ? clone->Clone(kv::Ptr<IUnknown>().Put())
                                                                     : status);
                }};
            });
        }
    }
}

TEST(MemoryShortage, LeavesPropertySetsAsTheyWere) {
    SurvivesShortages("a new name",
                      OfSet([](auto* set) { return set->SetProperty(Bstr(u"New"), Value(u"text").Get()); }));
    SurvivesShortages("a name that is there", OfSet([](auto* set) {
                          return set->SetProperty(Bstr(u"NAME3"), ArrayOf({u"x", u"y"}).Get());
                      }));
    SurvivesShortages("several", OfSet([](auto* set) {
                          return set->SetProperties(ArrayOf({u"Name1", u"New", u"Newer"}).Get(),
                                                    ArrayOf({u"value", u"values", u"more"}).Get());
                      }));
    SurvivesShortages("an array is read",
                      OfSet([](auto* set) { return set->GetProperty(Bstr(u"Texts"), kv::Variant().Put()); }));
    SurvivesShortages("all are read", OfSet([](auto* set) {
                          kv::Variant names, values;
                          return set->GetAllProperties(names.Put(), values.Put());
                      }));
    SurvivesShortages("some are read", OfSet([](auto* set) {
                          return set->GetProperties(ArrayOf({u"Inner", u"Texts", u"Name2"}).Get(), kv::Variant().Put());
                      }));
    SurvivesShortages("one by its place", OfSet([](auto* set) {
                          kv::BString name;
                          return set->GetPropertyAt(3, name.Put(), kv::Variant().Put());
                      }));
    SurvivesShortages("clone", OfSet([](auto* set) {
                          return kv::Ptr<IPropertySet>(set).template As<IClone>()->Clone(kv::Ptr<IUnknown>().Put());
                      }));
    SurvivesShortages("copy", OfSet([copier = New<IObjectCopy>(u"ObjectCopy")](auto* set) {
                          return copier->Copy(set, kv::Ptr<IUnknown>().Put());
                      }));
    SurvivesShortages("a refusal with a text",
                      OfSet([](auto* set) { return set->GetProperty(Bstr(u"Missing"), kv::Variant().Put()); }), E_FAIL);
    SurvivesShortages("ten new names, one after the other", [] {
        const auto set = New<IPropertySet>(u"PropertySet");
        return Trial{[=] {
            HRESULT status = S_OK;
            for (char16_t i = 0; i < 10 && SUCCEEDED(status); ++i)
                status = set->SetProperty(Bstr(u"N" + std::u16string(1, static_cast<char16_t>(u'a' + i))),
                                          Value(u"t").Get());
            return status;
        }};
    });
}

TEST(MemoryShortage, LeavesStreamsUsable) {
    const auto set = SampleSet();
    const Bytes saved = Saved(set.Get());
    SurvivesShortages("saving", [&] {
        const auto stream = ObjectsOver(StreamOf({}).Get());
        return Trial{[=] { return stream->SaveObject(set.Get()); }};
    });
    SurvivesShortages("loading", [&] {
        const auto memory = StreamOf(saved);
        const auto stream = ObjectsOver(memory.Get());
        return Trial{[=] {
            SeekTo(memory.Get(), 0);
            stream->ForgetReferences();
            kv::Ptr<IUnknown> object;
            return stream->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid());
        }};
    });
    const std::string much(200'000, 'm');
    SurvivesShortages("writing to memory", [&] {
        const auto stream = MemoryStream("held");
        return Trial{[=, &much] { return SeekTo(stream.Get(), 4), stream->Write(much.data(), 200'000, nullptr); },
                     [=] { return ContentOf(stream.Get()); }};
    });
    SurvivesShortages("a clone", [] {
        const auto stream = MemoryStream("held");
        return Trial{[=] { return stream->Clone(kv::Ptr<IStream>().Put()); }};
    });
    SurvivesShortages("values", [] {
        const auto stream = MemoryStream({});
        const auto values = New<IVariantStreamIO>(u"VariantStreamIO");
        EXPECT_EQ(values->put_Stream(stream.Get()), S_OK);
        return Trial{[=] {
            kv::Variant value;
            return First({[&] { return SeekTo(stream.Get(), 0); },
                          [&] {
                              return values->Write(ArrayOf({u"a", u"b"}).Get());
                          },
                          [&] { return SeekTo(stream.Get(), 0); }, [&] { return values->Read(value.Put()); }});
        }};
    });
    const TemporaryFolder folder;
    int number = 0;
    for (const auto* className :
         {u"FileStream", u"UnbufferedFileStream", u"BufferedFileStream", u"CompressedFileStream"}) {
        SurvivesShortages(kv::Utf8(className).c_str(), [&, className] {
            const auto stream = New<IFileStream>(className);
            return Trial{[&, stream] {
                const auto path = folder / (u"file" + kv::Utf16(std::to_string(++number)));
                return First({[&] { return stream->Open(Bstr(path), movaFileModeCreateNew); },
                              [&] { return stream.template As<IStream>()->Write("some bytes", 10, nullptr); },
                              [&] { return stream->Close(); }});
            }};
        });
    }
    SurvivesShortages("parts", [] {
        const auto whole = New<ICombinedStream>(u"CombinedStream");
        const auto part = MemoryStream("part");
        return Trial{[=] { return whole->Add(part.Get()); }, [=] { return ContentOf(whole.As<IStream>().Get()); }};
    });
}

TEST(MemoryShortage, LeavesXmlUsable) {
    const auto set = SampleSet();
    const std::u16string saved = kv::Utf16(Document(set.Get()));
    SurvivesShortages("an object to text", OfNew<IXMLSerializerAlt>(u"XMLSerializerAlt", [&](auto* serializer) {
                          return serializer->SaveToString(set.Get(), Bstr(u"Object"), kv::BString().Put());
                      }));
    SurvivesShortages("an object from text", OfNew<IXMLSerializerAlt>(u"XMLSerializerAlt", [&](auto* serializer) {
                          return serializer->LoadFromString(Bstr(saved), kv::Ptr<IUnknown>().Put());
                      }));
    SurvivesShortages(
        "a document is read", OfNew<IXMLTextReader>(u"XMLTextReader", [](auto* reader) {
            HRESULT status = reader->put_Text(Bstr(document));
            for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) {
                kv::Ptr<IXMLAttributes> attributes;
                kv::BString value;
                status = First({[&] { return reader->Read(&found); }, [&] { return reader->get_Value(value.Put()); },
                                [&] { return reader->get_Attributes(attributes.Put()); }});
            }
            return status;
        }));
    const auto stream = New<IStream>(u"MemoryBlobStream");
    const auto attributes = New<IXMLAttributes>(u"XMLAttributes");
    const auto namespaces = New<IXMLNamespaces>(u"XMLNamespaces");
    SurvivesShortages(
        "a document is written", OfNew<IXMLWriter>(u"XMLWriter", [&](auto* writer) {
            attributes->RemoveAll();
            namespaces->RemoveAll();
            return First({[&] { return writer->put_OutputStream(stream.Get()); },
                          [&] { return attributes->AddAttribute(Bstr(u"urn:n"), Bstr(u"a"), Bstr(u"v<")); },
                          [&] { return namespaces->AddNamespace(Bstr(u"n"), Bstr(u"urn:n")); },
                          [&] {
                              return writer->StartElement(Bstr(u"e"), Bstr(u"urn:n"), attributes.Get(),
                                                          namespaces.Get(), VARIANT_FALSE);
                          },
                          [&] { return writer->WriteText(Bstr(u"text")); }, [&] { return writer->EndElement(); }});
        }));
    SurvivesShortages("types", [] {
        const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
        return Trial{[=] {
                         kv::BString text;
                         return First({[&] {
                                           return mapper->AddType(Bstr(u"Mine"), Bstr(u"urn:m"),
                                                                  Bstr(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}"));
                                       },
                                       [&] { return mapper->FindClass(Bstr(u"Mine"), Bstr(u"urn:m"), text.Put()); },
                                       [&] { return mapper->RemoveType(Bstr(u"Mine"), Bstr(u"urn:m")); }});
                     },
                     [=] {
                         LONG count = 0;
                         mapper->RemoveType(Bstr(u"Mine"), Bstr(u"urn:m"));
                         EXPECT_EQ(mapper->get_TypeCount(&count), S_OK);
                         return std::to_string(count);
                     }};
    });
    SurvivesShortages("a persisted object", OfNew<IXMLPersistedObject>(u"XMLPersistedObject", [&](auto* object) {
                          return First({[&] { return object->put_XML(Bstr(saved)); },
                                        [&] { return object->get_Object(kv::Ptr<IUnknown>().Put()); }});
                      }));
}

TEST(MemoryShortage, LeavesJsonUsable) {
    const auto text = [](const auto& container) {
        kv::BString written;
        EXPECT_EQ(container->ToJSONString(nullptr, written.Put()), S_OK);
        return kv::Utf8(written.View());
    };
    const auto ofObject = [&](auto act) {
        return [=] {
            const auto object = New<IJSONObjectEx>(u"JSONObject");
            EXPECT_EQ(object->FromJSONString(Bstr(json)), S_OK);
            return Trial{[=] { return act(object.Get()); }, [=] { return text(object); }};
        };
    };
    SurvivesShortages(
        "a text is read", OfNew<IJSONObject>(u"JSONObject", [](auto* object) {
            return First({[&] { return object->RemoveAll(); }, [&] { return object->FromJSONString(Bstr(json)); }});
        }));
    SurvivesShortages("a text is written",
                      ofObject([](auto* object) { return object->ToJSONString(nullptr, kv::BString().Put()); }));
    SurvivesShortages("a member is added", ofObject([](auto* object) {
                          kv::Ptr<IUnknown> removed;
                          object->RemoveMember(Bstr(u"new"));
                          return object->AddString(Bstr(u"new"), Bstr(u"text \u20ac"));
                      }));
    SurvivesShortages("an object within", ofObject([](auto* object) {
                          kv::Ptr<IJSONObject> inner;
                          VARIANT_BOOL found = VARIANT_FALSE;
                          return object->GetJSONObject(Bstr(u"names"), inner.Put(), &found);
                      }));
    SurvivesShortages("tokens", OfNew<IJSONReader>(u"JSONReader", [](auto* reader) {
                          HRESULT status = reader->ReadFromString(Bstr(json));
                          for (int i = 0; i < 8 && SUCCEEDED(status); ++i) {
                              kv::Variant value;
                              status = reader->ReadNext();
                              if (SUCCEEDED(status)) reader->ReadValue(value.Put());
                          }
                          return status;
                      }));
    SurvivesShortages(
        "a writer", OfNew<IJSONWriter4>(u"JSONWriter", [](auto* writer) {
            kv::BString written;
            return First({[&] { return writer->Reset(); }, [&] { return writer->WriteToMemory(); },
                          [&] { return writer->StartObject(nullptr); },
                          [&] { return writer->WriteString(Bstr(u"n"), Bstr(u"\u20ac\"")); },
                          [&] { return writer->WriteDouble(Bstr(u"d"), 0.1); }, [&] { return writer->EndObject(); },
                          [&] { return writer->GetText(written.Put()); }});
        }));
    const auto set = New<IPropertySet>(u"PropertySet");
    EXPECT_EQ(set->SetProperties(ArrayOf({u"A", u"B"}).Get(), ArrayOf({u"one", u"two"}).Get()), S_OK);
    SurvivesShortages(
        "conversions", OfNew<IJSONConverter>(u"JSONConverter", [&](auto* converter) {
            kv::BString written;
            return First({[&] { return converter->ToJSONString(Value(set.Get()).Get(), nullptr, written.Put()); },
                          [&] { return converter->FromJSONString(written.Get(), nullptr, kv::Variant().Put()); }});
        }));
}

TEST(MemoryShortage, LeavesTheOtherClassesUsable) {
    SurvivesShortages("identifiers", [] {
        const auto identifier = New<IUID>(u"UID");
        return Trial{[=] {
            return First(
                {[&] { return identifier->put_Value(Value(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}:7").Get()); },
                 [&] { return identifier->get_Value(kv::Variant().Put()); }});
        }};
    });
    SurvivesShortages("texts", [] {
        const auto texts = New<IStringArray>(u"StrArray");
        EXPECT_EQ(texts->Split(Bstr(u"one,two"), Bstr(u",")), S_OK);
        return Trial{[=] {
            kv::BString joined;
            return First({[&] { return texts->Split(Bstr(u"a;b;c;d;e;f;g;h;i;j"), Bstr(u";")); },
                          [&] { return texts->Insert(1, Bstr(u"more")); },
                          [&] { return texts->Join(Bstr(u"+"), joined.Put()); },
                          [&] { return texts->get_Values(kv::Variant().Put()); }});
        }};
    });
    SurvivesShortages("a text that is added", [] {
        const auto texts = New<IStringArray>(u"StrArray");
        EXPECT_EQ(texts->Split(Bstr(u"one,two"), Bstr(u",")), S_OK);
        return Trial{[=] { return texts->Add(Bstr(u"three")); },
                     [=] {
                         kv::BString joined;
                         EXPECT_EQ(texts->Join(Bstr(u"+"), joined.Put()), S_OK);
                         return kv::Utf8(joined.View());
                     }};
    });
    SurvivesShortages("messages", [] {
        const auto log = New<IMessageLogger>(u"MessageLogger");
        return Trial{[=] { return log->Clear(), log->Log(movaMessageError, Bstr(u"source"), Bstr(u"text")); }};
    });
    SurvivesShortages("numbers", OfNew<INumericFormat>(u"NumericFormat", [](auto* format) {
                          const auto text = kv::Ptr<INumericFormat>(format).template As<INumberFormat>();
                          kv::BString written;
                          double value = 0;
                          return First({[&] { return format->put_UseSeparator(VARIANT_TRUE); },
                                        [&] { return text->ValueToString(-1234567.875, written.Put()); },
                                        [&] { return text->StringToValue(written.Get(), &value); }});
                      }));
    const auto other = New<ITime>(u"Time");
    SurvivesShortages(
        "times", OfNew<ITime>(u"Time", [&](auto* time) {
            const auto local = kv::Ptr<ITime>(time).template As<ITime2>();
            const auto offsets = kv::Ptr<ITime>(time).template As<ITimeOffsetOperator>();
            kv::Ptr<ITimeDuration> difference;
            kv::BString text, xml, picture;
            LONG offset = 0;
            return First({[&] { return time->SetFromXMLTimeString(Bstr(u"2026-11-22T10:11:12.5Z"), &offset); },
                          [&] { return other->SetFromXMLTimeString(Bstr(u"2020-01-01T00:00:00Z"), &offset); },
                          [&] { return time->QueryTimeString(static_cast<movaTimeFormat>(0), text.Put()); },
                          [&] { return time->QueryXMLTimeString(nullptr, xml.Put()); },
                          [&] { return local->QueryLocaleTimeString(0x407, Bstr(u"d. MMMM yyyy"), picture.Put()); },
                          [&] { return local->SetFromLocaleTimeString(0x407, Bstr(u"d. MMMM yyyy"), picture.Get()); },
                          [&] { return offsets->QueryDifference(other.Get(), difference.Put()); },
                          [&] { return difference->QueryDurationString(xml.Put()); }});
        }));
    const kv::Variant values = Array(VT_R8, {{40, 0}});
    const kv::Variant frequencies = Array(VT_I4, {{40, 0}});
    for (int i = 0; i < 40; ++i) {
        static_cast<double*>(values.Get().parray->pvData)[i] = i * i;
        static_cast<LONG*>(frequencies.Get().parray->pvData)[i] = 1 + i % 3;
    }
    for (const auto* className : {u"Quantile", u"DefinedInterval", u"StandardDeviation", u"GeometricalInterval",
                                  u"NaturalBreaks", u"EqualInterval"}) {
        SurvivesShortages(
            kv::Utf8(className).c_str(), OfNew<IClassify>(className, [&](auto* classifier) {
                if (const auto steps = kv::Ptr<IClassify>(classifier).template As<IClassInterval>())
                    steps->put_IntervalSize(200);
                if (const auto steps = kv::Ptr<IClassify>(classifier).template As<IDeviationInterval>()) {
                    steps->put_Mean(500);
                    steps->put_StandardDev(300);
                }
                LONG classes = 5;
                return First({[&] { return classifier->SetHistogramData(values.Get(), frequencies.Get()); },
                              [&] { return classifier->Classify(&classes); },
                              [&] { return classifier->get_ClassBreaks(kv::Variant().Put()); }});
            }));
    }
}

}  // namespace mova::test
