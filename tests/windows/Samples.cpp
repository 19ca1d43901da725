#include "tests/windows/Samples.h"

#include <optional>

#include "kvcore/ErrorRecords.h"
#include "kvcore/SafeArray.h"
#include "server/ClassTable.h"
#include "tools/reference/TypeInfo.h"

namespace mova::test {
namespace {

using Statuses = std::initializer_list<HRESULT>;

/// Fills an object where it has an interface: each step must succeed.
template <class I, class Steps>
void Fill(const kv::Ptr<IUnknown>& object, const Steps& steps) {
    if (const auto part = object.As<I>()) steps(*part.Get());
}

void Succeed(Statuses statuses) {
    for (const HRESULT status : statuses) EXPECT_EQ(status, S_OK);
}

constexpr std::u16string_view json =
    u"{\"1\":\"event\",\"place\":[12,true,\"2020-01-31T09:30:00Z\",-7.25],\"names\":{\"en\":\"Sea\",\"de\":\"Meer "
    u"\u00fc\"},"
    u"\"a rather long name that no small buffer holds\":\"and a text as long as that, too, or longer\",\"none\":null}";
constexpr std::u16string_view document =
    u"<m:a xmlns:m='urn:m' b='c' d='e'><m:d m:e='f'>text &amp; more</m:d><!-- c --><![CDATA[x]]></m:a>";
constexpr std::string_view content = "bytes that are held, and some more";
constexpr std::u16string_view classIdentifier = u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}";

kv::Ptr<IStream> HeldStream() {
    return StreamOf({content.begin(), content.end()});
}

void FillContainers(const kv::Ptr<IUnknown>& object, Samples& samples) {
    Fill<IPropertySet>(object, [&](IPropertySet& set) {
        const auto inner = New<IPropertySet>(u"PropertySet");
        Succeed({inner->SetProperty(Bstr(u"Text"), Value(u"a text of some length").Get()),
                 set.SetProperty(Bstr(u"1"), ArrayOf({u"one", u"two"}).Get()),
                 set.SetProperty(Bstr(u"Half"), Value(0.5).Get()),
                 set.SetProperty(Bstr(u"Inner"), Value(inner.Get()).Get()),
                 set.SetProperty(Bstr(u"Again"), Value(inner.Get()).Get()),
                 set.SetProperty(Bstr(u"Identifier"), Value(samples.Of(u"UID").Get()).Get())});
        for (int i = 0; i < 6; ++i)
            Succeed({set.SetProperty(Bstr(u"Name" + kv::Utf16(std::to_string(i))), Value(i).Get())});
    });
    Fill<IPropertySetProperty>(object, [](auto& property) {
        Succeed({property.put_Key(Bstr(u"1")), property.put_Value(ArrayOf({u"one", u"two"}).Get())});
    });
    Fill<IPropertySetArray>(object, [&](auto& array) {
        for (int i = 0; i < 3; ++i) Succeed({array.Add(samples.Of<IPropertySet>(u"PropertySet").Get())});
    });
    Fill<IPropertySetPropertyArray>(object, [&](auto& array) {
        for (int i = 0; i < 3; ++i)
            Succeed({array.Add(samples.Of<IPropertySetProperty>(u"PropertySetProperty").Get())});
    });
    Fill<IStringArray>(object, [](auto& texts) { Succeed({texts.Split(Bstr(u"one,1,three"), Bstr(u","))}); });
    Fill<IUID>(object, [](auto& uid) { Succeed({uid.put_Value(Value(classIdentifier).Get()), uid.put_SubType(7)}); });
}

void FillStreams(const kv::Ptr<IUnknown>& object, Samples& samples) {
    Fill<IFileStream>(object, [](auto& file) {
        HRESULT status = STG_E_SHAREVIOLATION;  // where another sample has the file
        for (int i = 0; status == STG_E_SHAREVIOLATION; ++i)
            status = file.Open(Bstr(u"file" + kv::Utf16(std::to_string(i))), movaFileModeCreateAlways);
        Succeed({status});
    });
    Fill<ICombinedStream>(object, [](auto& whole) {
        Succeed({whole.Add(HeldStream().Get()), whole.Add(HeldStream().Get())});
    });
    Fill<IByteSwapStreamIO>(object, [](auto& numbers) { Succeed({numbers.put_Stream(HeldStream().Get())}); });
    Fill<IObjectStream>(object, [&](auto& objects) {
        Succeed({objects.put_Stream(HeldStream().Get()), objects.put_DocumentVersion(2)});
    });
    Fill<IXMLStream>(object, [](auto& stream) { Succeed({stream.LoadFromString(Bstr(document))}); });
    Fill<IStream>(object, [&](IStream& stream) {
        if (!object.As<IXMLStream>()) Succeed({Put(&stream, content), SeekTo(&stream, 4)});
    });
    Fill<IVariantStreamIO>(object, [](auto& values) {
        const auto stream = HeldStream();
        Succeed({values.put_Stream(stream.Get()), values.Write(ArrayOf({u"a", u"b"}).Get()),
                 values.Write(Value(2).Get()), SeekTo(stream.Get(), 0)});
    });
    Fill<IXMLPersistedObject>(object,
                              [&](auto& held) { Succeed({held.put_Object(samples.Of(u"PropertySet").Get())}); });
}

void FillDocuments(const kv::Ptr<IUnknown>& object, Samples& samples) {
    const std::string text = kv::Utf8(document);
    Fill<IXMLReader>(object, [&](IXMLReader& reader) {
        VARIANT_BOOL found = VARIANT_FALSE;
        const auto whole = object.As<IXMLTextReader>();
        Succeed({whole ? whole->put_Text(Bstr(document))
                       : reader.put_InputStream(StreamOf({text.begin(), text.end()}).Get()),
                 reader.Read(&found)});
    });
    Fill<IXMLAttributes>(object, [](auto& attributes) {
        Succeed({attributes.AddAttribute(Bstr(u"urn:n"), Bstr(u"a"), Bstr(u"v<")),
                 attributes.AddAttribute(nullptr, Bstr(u"one"), Bstr(u"value"))});
    });
    Fill<IXMLNamespaces>(object, [](auto& namespaces) {
        Succeed(
            {namespaces.AddNamespace(Bstr(u"n"), Bstr(u"urn:n")), namespaces.AddNamespace(Bstr(u"m"), Bstr(u"urn:m"))});
    });
    Fill<IXMLTypeMapper2>(object, [](auto& mapper) {
        Succeed({mapper.AddType(Bstr(u"Mine"), Bstr(u"urn:m"), Bstr(classIdentifier)),
                 mapper.AddType(Bstr(u"Other"), Bstr(u"1"), Bstr(u"{5A7BD8B8-1D46-4B47-8A3D-1F5B1D2C3E4F}"))});
    });
    Fill<IXMLFlags>(object, [](auto& flags) { Succeed({flags.put_SharedObjects(VARIANT_FALSE)}); });
    const auto putFlags = [&](auto& serializer) {
        Succeed({serializer.put_Flags(samples.Of<IXMLFlags>(u"XMLFlags").Get())});
    };
    Fill<IXMLSerializer>(object, putFlags);
    Fill<IXMLSerializerAlt>(object, putFlags);
    Fill<IXMLWriter>(object, [&](auto& writer) {
        Succeed({writer.put_OutputStream(HeldStream().Get()),
                 writer.StartElement(Bstr(u"e"), Bstr(u"urn:n"), samples.Of<IXMLAttributes>(u"XMLAttributes").Get(),
                                     samples.Of<IXMLNamespaces>(u"XMLNamespaces").Get(), VARIANT_FALSE)});
    });
    Fill<IJSONWriter>(object, [](auto& writer) {
        Succeed({writer.WriteToMemory(), writer.StartObject(nullptr), writer.WriteString(Bstr(u"n"), Bstr(u"\u20ac"))});
    });
    Fill<IJSONReader>(object, [](auto& reader) {
        Succeed(
            {reader.ReadFromString(Bstr(json)), reader.ReadNext(), reader.ReadNext(), reader.SaveBookmark(Bstr(u"1"))});
    });
    Fill<IJSONObject>(object, [](auto& container) { Succeed({container.FromJSONString(Bstr(json))}); });
    Fill<IJSONArray>(
        object, [](auto& array) { Succeed({array.FromJSONString(Bstr(u"[1,\"two\",[3.5],{\"four\":4},null]"))}); });
}

void FillOthers(const kv::Ptr<IUnknown>& object) {
    Fill<IClassInterval>(object, [](auto& interval) { Succeed({interval.put_IntervalSize(200)}); });
    Fill<IDeviationInterval>(object, [](auto& deviation) {
        Succeed({deviation.put_Mean(500), deviation.put_StandardDev(300)});
    });
    Fill<IClassify>(object, [](auto& classifier) {
        const kv::Variant values = Array(VT_R8, {{40, 0}});
        const kv::Variant frequencies = Array(VT_I4, {{40, 0}});
        for (int i = 0; i < 40; ++i) {
            static_cast<double*>(values.Get().parray->pvData)[i] = i * i;
            static_cast<LONG*>(frequencies.Get().parray->pvData)[i] = 1 + i % 3;
        }
        LONG classes = 5;
        Succeed({classifier.SetHistogramData(values.Get(), frequencies.Get()), classifier.Classify(&classes)});
    });
    Fill<IBaseStatistics>(object, [](auto& numbers) {
        Succeed({numbers.AddValue(2), numbers.AddWeightedValue(5.5, 3)});
    });
    Fill<INumericFormat>(object, [&](auto& format) {
        Succeed({format.put_UseSeparator(VARIANT_TRUE), format.put_RoundingValue(2),
                 object.As<INumericFormat2>()->put_Suffix(Bstr(u" km"))});
    });
    Fill<IMessageLogger>(object, [](auto& log) {
        for (const auto* text : {u"one", u"two"}) Succeed({log.Log(movaMessageError, Bstr(u"source"), Bstr(text))});
    });
    Fill<ITime>(object, [](auto& time) {
        LONG offset = 0;
        Succeed({time.SetFromXMLTimeString(Bstr(u"2026-11-22T10:11:12.5Z"), &offset)});
    });
    Fill<ITimeDuration>(object, [](auto& span) { Succeed({span.SetFromDurationString(Bstr(u"P3DT4H5M6.5S"))}); });
    Fill<IErrorRecords>(object, [&](auto& records) {
        ERRORINFO record{};
        record.hrError = E_FAIL;
        Succeed({records.AddErrorRecord(&record, 0, nullptr, nullptr, 0),
                 records.AddErrorRecord(&record, 0, nullptr, nullptr, 0),
                 object.As<IErrorCollection>()->Describe(Bstr(u"what"), Bstr(u"where"))});
    });
}

/// An operation by which an object tells of itself: it takes an index, or nothing.
struct Reading {
    std::string name;
    IID iid;
    ULONG_PTR slot;
    bool takesIndex;
    std::vector<VARTYPE> answers;  ///< VT_EMPTY for plain bytes
};

/// The kind of answer that goes where a parameter points, if it points.
std::optional<VARTYPE> AnswerOf(const ELEMDESC& parameter) {
    if (parameter.tdesc.vt != VT_PTR || (parameter.paramdesc.wParamFlags & PARAMFLAG_FIN) != 0) return {};
    const VARTYPE type = parameter.tdesc.lptdesc->vt;
    if (type == VT_PTR) return VT_UNKNOWN;
    return type == VT_BSTR || type == VT_VARIANT || type == VT_UNKNOWN || type == VT_DATE ? type : VARTYPE{VT_EMPTY};
}

std::optional<Reading> ReadingBy(ITypeInfo* info, REFIID iid, const FUNCDESC& function) {
    Reading reading{
        reference::TextsOf(info, function.memid).name, iid, static_cast<ULONG_PTR>(function.oVft), false, {}};
    for (SHORT i = 0; i < function.cParams; ++i) {
        const ELEMDESC& parameter = function.lprgelemdescParam[i];
        if (i == 0 && parameter.tdesc.vt == VT_I4) {
            reading.takesIndex = true;
        } else if (const auto answer = AnswerOf(parameter)) {
            reading.answers.push_back(*answer);
        } else {
            return {};
        }
    }
    // The size of a compressed file is that of what has been written of it so far.
    if (reading.name == "CompressedSize") return {};
    const bool tells = function.invkind == INVOKE_PROPERTYGET || reading.name.starts_with("Get") ||
                       reading.name.starts_with("Query") || (reading.name == "Read" && reading.takesIndex);
    return tells && !reading.answers.empty() ? std::optional(reading) : std::nullopt;
}

std::vector<Reading> FindReadings() {
    std::vector<Reading> readings;
    using namespace reference;
    for (const auto& info : TypesOf(LibraryOf(LibraryFile()).Get())) {
        const auto attributes = AttributesOf(info.Get());
        for (UINT i = 0; IsForAutomation(*attributes) && i < attributes->cFuncs; ++i)
            if (auto reading = ReadingBy(info.Get(), attributes->guid, *FunctionOf(info.Get(), i)))
                readings.push_back(*std::move(reading));
    }
    return readings;
}

/// What an operation answers; a moment is left out, for it is when things were done.
/// @return whether it succeeded
bool Answer(IUnknown* target, const Reading& reading, LONG index, std::string& state) {
    struct Place {
        VARIANT value;      // of VT_VARIANT
        LONGLONG bytes[4];  // of all else
    };
    std::vector<Place> places(reading.answers.size(), Place{});
    std::vector<VARIANT> arguments;
    if (reading.takesIndex) arguments.push_back(Raw(VT_I4, index));
    for (std::size_t i = 0; i < places.size(); ++i)
        arguments.push_back(Raw(VT_PTR, reading.answers[i] == VT_VARIANT ? static_cast<void*>(&places[i].value)
                                                                         : static_cast<void*>(places[i].bytes)));
    std::vector<VARTYPE> types;
    std::vector<VARIANTARG*> pointers;
    for (VARIANT& argument : arguments) {
        types.push_back(argument.vt);
        pointers.push_back(&argument);
    }
    VARIANT result{};
    EXPECT_EQ(DispCallFunc(target, reading.slot, CC_STDCALL, VT_ERROR, static_cast<UINT>(types.size()), types.data(),
                           pointers.data(), &result),
              S_OK);
    state += "\n" + reading.name + " " + std::to_string(result.scode);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const VARTYPE type = reading.answers[i];
        const auto value = kv::Variant::Attach(type == VT_VARIANT ? places[i].value : Raw(type, places[i].bytes[0]));
        if (type == VT_EMPTY) {
            for (const LONGLONG part : places[i].bytes) state += " " + std::to_string(part);
        } else if (type != VT_DATE) {
            state += " " + TextOf(value.Get());
        }
    }
    return SUCCEEDED(result.scode);
}

/// The bytes of a stream and where it stands; it stands there afterwards.
std::string BytesIn(IStream* stream) {
    const ULONGLONG position = PositionOf(stream);
    if (position == UINT64_MAX) return "no position";
    std::string bytes = std::to_string(position) + " of " + ContentOf(stream);
    EXPECT_EQ(SeekTo(stream, static_cast<LONGLONG>(position)), S_OK);
    return bytes;
}

}  // namespace

std::string TextOf(const VARIANT& value) {
    if (value.vt == VT_BSTR) return kv::Utf8(kv::View(value.bstrVal));
    if (value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH) return value.punkVal ? "object" : "none";
    if (const auto array = kv::ArrayView::Of(value)) {
        std::string text = std::to_string(array->Count()) + ":";
        for (std::size_t i = 0; i < array->Count(); ++i) text += TextOf(array->Element(i)) + ",";
        return text;
    }
    return std::to_string(value.vt) + ":" + std::to_string(value.llVal);
}

kv::Ptr<IUnknown> Samples::Of(std::u16string_view className) {
    const ClassEntry* entry = classTable;
    while (!entry->IsEnd() && entry->name != className) ++entry;
    const auto factory = FactoryOf(*entry->classId);
    if (entry->IsSingleton()) Succeed({factory.As<ISingletonRelease>()->ReleaseInstance()});
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
    FillContainers(object, *this);
    FillStreams(object, *this);
    FillDocuments(object, *this);
    FillOthers(object);
    return object;
}

kv::Ptr<IUnknown> Samples::For(REFIID iid) {
    const auto [place, isNew] = classes_.try_emplace(kv::GuidText(iid));
    auto& className = place->second;
    if (iid == __uuidof(IStream)) className = u"MemoryBlobStream";
    if (iid == __uuidof(IUnknown)) className = u"PropertySet";
    kv::Ptr<IUnknown> part;
    for (const ClassEntry* entry = classTable; isNew && className.empty() && !entry->IsEnd(); ++entry)
        if (SUCCEEDED(New<IUnknown>(entry->name)->QueryInterface(iid, part.PutVoid()))) className = entry->name;
    if (!className.empty()) Of(className)->QueryInterface(iid, part.PutVoid());
    return part;
}

std::string StateOf(IUnknown* object) {
    static const std::vector<Reading> readings = FindReadings();
    constexpr LONG most = 8;
    std::string state;
    for (const Reading& reading : readings) {
        kv::Ptr<IUnknown> target;
        if (FAILED(object->QueryInterface(reading.iid, target.PutVoid()))) continue;
        for (LONG index = 0; Answer(target.Get(), reading, index, state) && reading.takesIndex && index < most;)
            ++index;
    }
    const kv::Ptr<IUnknown> whole(object);
    if (const auto persisted = whole.As<IPersistStream>()) {
        const auto stream = StreamOf({});
        state += "\nsaved " + std::to_string(persisted->Save(stream.Get(), FALSE)) + " " + BytesIn(stream.Get());
    }
    if (const auto stream = whole.As<IStream>()) state += "\nstream " + BytesIn(stream.Get());
    const auto write = [&](const auto& container) {
        kv::BString text;
        if (container) Succeed({container->ToJSONString(nullptr, text.Put())});
        state += kv::Utf8(text.View());
    };
    write(whole.As<IJSONObject>());
    write(whole.As<IJSONArray>());
    SetErrorInfo(0, nullptr);
    return state;
}

bool LoadKeeps(std::u16string_view className) {
    return className != u"PropertySet" && className != u"NumericFormat" && className != u"Time";
}

std::string Document(IUnknown* object) {
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    kv::BString text;
    EXPECT_EQ(serializer->SaveToString(object, Bstr(u"Object"), text.Put()), S_OK);
    return kv::Utf8(text.View());
}

}  // namespace mova::test
