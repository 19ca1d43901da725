// The refusals whose texts no other test holds: each is reached right after another failure, and told in full.
#include <algorithm>
#include <array>
#include <limits>
#include <regex>
#include <set>

#include "kvcore/SafeArray.h"
#include "kvcore/Stack.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr VARIANT none{};
constexpr VARIANT error{{{VT_ERROR, 0, 0, 0, {}}}};
constexpr VARIANT classId{{{VT_CLSID, 0, 0, 0, {}}}};

// Short, for the tables.
constexpr HRESULT F = E_FAIL, I = E_INVALIDARG, U = E_UNEXPECTED, N = E_NOINTERFACE;

struct Row {
    HRESULT status;
    std::string expected;
    std::function<HRESULT()> call;
};

void ExpectRefusals(const std::vector<Row>& rows) {
    const auto set = New<IPropertySet>(u"PropertySet");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(set->GetProperty(Bstr(u"x"), kv::Variant().Put()), E_FAIL) << "the failure before";
        EXPECT_EQ(row.call(), row.status);
        EXPECT_EQ(TakeErrorInfo(), row.expected);
    }
}

kv::Variant Doubles(std::initializer_list<double> numbers) {
    kv::ArrayBuilder array(VT_R8, numbers.size());
    std::copy(numbers.begin(), numbers.end(), array.Elements<double>());
    return array.Finish();
}

/// An object of another maker that has nothing to say but to one operation. @tparam Interface its only one
template <class Interface>
class Sparse {
 public:
    using Operation = HRESULT(STDMETHODCALLTYPE*)(void*, LONG*);
    Sparse(std::size_t slot, Operation operation) {
        operations_.fill([](void*, LONG*) { return S_OK; });
        operations_[0] = [](void*, LONG*) { return E_NOINTERFACE; };
        operations_[slot] = operation;
    }
    operator Interface*() noexcept { return reinterpret_cast<Interface*>(this); }

 private:
    Operation* table_ = operations_.data();  // where an interface has it
    std::array<Operation, 50> operations_;
};

/// An identifier that calls another object when it is written.
struct Identifier final : Local<IIdentifierExchange> {
    STDMETHODIMP GetIdentifier(GUID*, LONG*) noexcept override { return call(); }
    STDMETHODIMP SetIdentifier(const GUID*, LONG) noexcept override { return E_NOTIMPL; }
    std::function<HRESULT()> call;
};

/// An object of a client's own that does the same when it is written and when it is read.
struct Own final : Local<IXMLSerialize, IXMLVersionSupport> {
    using Act = HRESULT (*)(IXMLSerializeData*);
    explicit Own(Act turn, const char16_t* release = u"urn:mova:schemas:9.0") : act(turn), earliest(release) {}
    STDMETHODIMP Serialize(IXMLSerializeData* data) noexcept override { return act(data); }
    STDMETHODIMP Deserialize(IXMLSerializeData* data) noexcept override { return act(data); }
    STDMETHODIMP get_MinNamespaceSupported(BSTR* uri) noexcept override {
        return *uri = kv::BString(earliest).Detach(), S_OK;
    }
    operator IUnknown*() noexcept { return static_cast<IXMLSerialize*>(this); }

    Act act;
    std::u16string_view earliest;
};

HRESULT Save(IUnknown* object, const char16_t* release = u"urn:mova:schemas:10.0") {
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    EXPECT_EQ(serializer->put_ReleaseNamespaceURI(Bstr(release)), S_OK);
    return serializer->SaveToString(object, nullptr, kv::BString().Put());
}

/// A document that a reader refuses at a column of its first line.
Row Document(const std::string& document, const std::string& reason, int column) {
    const auto told = "Xml Parsing failed.\nReason:" + reason + " (column " + std::to_string(column) + ")\nLinepos:1";
    return {E_FAIL, Refusal<IXMLReader>("XMLTextReader", told + "\nSource:text."), [document] {
                const auto reader = New<IXMLTextReader>(u"XMLTextReader");
                HRESULT status = reader->put_Text(Bstr(kv::Utf16(document)));
                for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) status = reader->Read(&found);
                return status;
            }};
}

/// A stream whose end is as far as it can be.
struct Longest final : LocalStream {
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER* position) noexcept override {
        return position->QuadPart = INT64_MAX, S_OK;
    }
};

/// A stream that asks another one when there is little stack left.
struct Deep final : LocalStream {
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        const bool isDeep = kv::StackLeft() < 32 * 1024;
        const HRESULT status = isDeep ? part.As<IStream>()->Seek(move, origin, position) : Seek(move, origin, position);
        return ++depth, status;
    }
    int depth = 0;
    kv::Ptr<ICombinedStream> part = New<ICombinedStream>(u"CombinedStream");
};

/// An object that is saved while it takes the stream away.
struct Disturbing final : Foreign {
    STDMETHODIMP Save(IStream*, BOOL) noexcept override { return stream->put_Stream(nullptr); }
    kv::Ptr<IObjectStream2> stream = ObjectsOver(StreamOf({}).Get());
};

}  // namespace

// clang-format off
TEST(Refusals, OfClassifiersAndStatistics) {
    const auto told = [](const char* name, auto text) { return Refusal<IClassify>(name, text); };
    const auto equals = [](auto text) { return Refusal<IClassify>("EqualInterval", text); };
    const auto statistics = [](auto text) { return Refusal<IBaseStatistics>("BaseStatistics", text); };
    const auto histogram = [](auto text) { return Refusal<IHistogramMaker>("BaseStatistics", text); };
    const auto one = Doubles({1}), half = Doubles({0.5}), two = Doubles({1, 1}), below = Doubles({-1, -1});
    const auto endless = Doubles({1, infinity}), much = Doubles({2147483647, 1}), locked = Doubles({1});
    const auto square = Array(VT_R8, {{1, 0}, {1, 0}}), many = Array(VT_UI1, {{1, 0}});
    const auto equal = New<IClassify>(u"EqualInterval"), quantile = New<IClassify>(u"Quantile");
    const auto defined = New<IClassify>(u"DefinedInterval"), natural = New<IClassify>(u"NaturalBreaks");
    const auto sums = New<IBaseStatistics>(u"BaseStatistics");
    const auto deviation = New<IDeviationInterval>(u"StandardDeviation");
    const auto wide = New<IDeviationInterval>(u"StandardDeviation");
    LONG nothing = 0, classes = 1;
    double variance = 0;
    const auto keep = [&](const auto& classifier, const kv::Variant& values, const kv::Variant& frequencies) {
        return classifier->SetHistogramData(values.Get(), frequencies.Get());
    };
    const auto make = [&](const kv::Variant& numbers, const kv::Variant& occurrences) {
        kv::Variant values, counts;
        return sums.As<IHistogramMaker>()->MakeHistogram(numbers.Get(), occurrences.Get(), values.Put(), counts.Put());
    };
    locked.Get().parray->cLocks = 65535;
    many.Get().parray->rgsabound[0].cElements = 0x80000000;  // what there is is counted before it is read
    EXPECT_EQ(keep(deviation.As<IClassify>(), one, one), S_OK);
    EXPECT_EQ(keep(defined, endless, two), S_OK);
    EXPECT_EQ(keep(quantile, two, below), S_OK);
    EXPECT_EQ(natural.As<IClassifyGEN>()->Classify(one.Get(), one.Get(), &classes), S_OK);  // which keeps nothing
    EXPECT_EQ(wide.As<IDeviationInterval2>()->put_LimitToThreeDeviations(VARIANT_FALSE), S_OK);
    ExpectRefusals({
        {I, equals("At least one class must be asked for."), [&] { return equal->Classify(&nothing); }},
        {I, told("NaturalBreaks", "From 1 to 256 classes can be asked for."), [&] { return natural->Classify(&nothing); }},
        {I, told("Quantile", "The frequencies leave a class without a value."),
         [&] { return quantile->Classify(&classes); }},
        {I, told("DefinedInterval", "Breaks so close to each other, or between such limits, would not come to an end."),
         [&] { return defined->Classify(&classes); }},
        {F, told("StandardDeviation", "The mean and the standard deviation of the data must be set first."),
         [&] { return deviation.As<IClassify>()->Classify(&classes); }},
        {F, told("NaturalBreaks", "There is no histogram."), [&] { return natural->Classify(&classes); }},
        {I, equals("The values must be an array of numbers."), [&] { return keep(equal, {}, one); }},
        {I, equals("The frequencies must be an array of whole numbers."), [&] { return keep(equal, one, {}); }},
        {I, equals("An array of numbers in one dimension is expected."), [&] { return keep(equal, square, one); }},
        {I, equals("An element of the array is no number."), [&] { return keep(equal, ArrayOf({u"x"}), one); }},
        {I, equals("A frequency is no whole number of 32 bits."), [&] { return keep(equal, one, half); }},
        {I, equals("There must be as many frequencies as values."), [&] { return keep(equal, one, many); }},
        {I, equals("There are more than 2,147,483,647 values."), [&] { return keep(equal, many, many); }},
        {I, Refusal<IClassInterval>("DefinedInterval", "The width of a class must be a finite number above 0."),
         [&] { return defined.As<IClassInterval>()->put_IntervalSize(0); }},
        {I, Refusal<IDeviationInterval>("StandardDeviation",
                                        "Within three deviations a class is 0.25 to 2 of them wide."),
         [&] { return deviation->put_DeviationInterval(3); }},
        {I, Refusal<IDeviationInterval>("StandardDeviation", "The width of a class must be above 0."),
         [&] { return wide->put_DeviationInterval(0); }},
        {I, statistics("A value is not finite."), [&] { return sums->AddValue(infinity); }},
        {I, statistics("A value, a weight or the total weight is not finite, or a weight is below 0."),
         [&] { return sums->AddWeightedValue(1, -1); }},
        {I, statistics("There must be as many weights as values."),
         [&] { return sums->AddWeightedValues(two.Get(), one.Get()); }},
        {F, statistics("There are too few values."), [&] { return sums->get_Variance(&variance); }},
        {F, statistics("The array cannot be locked."), [&] { return sums->AddValues(locked.Get()); }},
        {I, histogram("A value is not finite."), [&] { return make(endless, {}); }},
        {I, histogram("There must be as many occurrences as numbers."), [&] { return make(one, two); }},
        {I, histogram("The occurrences of a value leave 32 bits."), [&] { return make(two, much); }},
    });
    locked.Get().parray->cLocks = 0;
    many.Get().parray->rgsabound[0].cElements = 1;
}

TEST(Refusals, OfSetsFormatsTimesAndTheLog) {
    constexpr auto unknownName = static_cast<HRESULT>(0x80043066);
    const auto set = New<IPropertySet>(u"PropertySet");
    const auto format = New<INumericFormat>(u"NumericFormat");
    const auto time = New<ITime>(u"Time");
    Sparse<ITime> first(3, [](void*, LONG* day) { return *day = INT_MIN, S_OK; });
    const auto log = New<IMessageLogger>(u"MessageLogger");
    struct Unsavable final : Foreign {
        STDMETHODIMP Save(IStream*, BOOL) noexcept override { return DISP_E_BADVARTYPE; }
    } unsavable;
    LONG nameless = 7;
    VARIANT_BOOL equal = VARIANT_FALSE;
    kv::Variant values;
    kv::Ptr<IUnknown> object;
    kv::Ptr<ITimeDuration> duration;
    movaMessageSeverity severity{};
    DATE date = 0;
    kv::BString source, text;
    EXPECT_EQ(set->SetProperty(Bstr(u"a"), Value(&unsavable).Get()), S_OK);
    const auto modeless = New<ITime2>(u"Time");
    EXPECT_EQ(modeless->put_CalendarMode(static_cast<movaCalendarMode>(nameless)), S_OK);
    EXPECT_EQ(format->put_RoundingOption(static_cast<movaRoundingOptionEnum>(nameless)), S_OK);
    ExpectRefusals({
        {I, Refusal<IPropertySet>("PropertySet", "There is no set to compare with."),
         [&] { return set->IsEqual(nullptr, &equal); }},
        {I, Refusal<IPropertySet>("PropertySet", "The names must be an array."),
         [&] { return set->GetProperties(none, values.Put()); }},
        {DISP_E_BADVARTYPE, Refusal<IPersistStream>("PropertySet", "A value is of a kind that cannot be saved."),
         [&] { return set.As<IPersistStream>()->Save(StreamOf({}).Get(), FALSE); }},
        {F, Refusal<IPropertySetImpl>("PropertySet", "The stream is cut short or damaged."),
         [&] { return set.As<IPropertySetImpl>()->LoadByValue(StreamOf({}).Get(), 15); }},
        {unknownName, Refusal<IXMLSerialize>("NumericFormat", "An option has no name, so it cannot be written."),
         [&] { return Save(format.Get()); }},
        {unknownName, Refusal<IXMLSerialize>("NumericFormat", "An option's name is not known."),
         [&] { return LoadXml(u"mova:NumericFormat", u"<RoundingOption>x</RoundingOption>", object); }},
        {I, Refusal<IXMLSerialize>("NumericFormat", "The rounding value must be a whole number from 0 to 15."),
         [&] { return LoadXml(u"mova:NumericFormat", u"<RoundingValue>16</RoundingValue>", object); }},
        {I, Refusal<IXMLSerialize>("NumericFormat", "The alignment width must not be negative."),
         [&] { return LoadXml(u"mova:NumericFormat", u"<AlignmentWidth>-1</AlignmentWidth>", object); }},
        {F, Refusal<ITime2>("Time", "The date has no day number in its calendar mode."),
         [&] { return modeless->get_DayOfWeek(&nameless); }},
        {I, Refusal<ITime>("Time", "A time of day must be 0 to 86,399,999,999,999 nanoseconds."),
         [&] { return time->SetNanosecondsSinceMidnight(-1); }},
        {F, Refusal<ITimeOffsetOperator>("Time", "The times are further apart than a duration is long."),
         [&] { return time.As<ITimeOffsetOperator>()->QueryDifference(first, duration.Put()); }},
        {I, Refusal<IMessageLogger>("MessageLogger", "The capacity must be from 1 to 1,000,000 messages."),
         [&] { return log->put_Capacity(0); }},
        {I, Refusal<IMessageLogger>("MessageLogger", "The index is outside the log."),
         [&] { return log->Read(0, &severity, &date, source.Put(), text.Put()); }},
    });
}

TEST(Refusals, OfJSONObjects) {
    const auto told = [](auto text) { return Refusal<IJSONConverter>("JSONConverter", text); };
    const auto converter = New<IJSONConverter>(u"JSONConverter");
    const auto array = New<IJSONObjectEx>(u"JSONObject"), typeless = New<IJSONObjectEx>(u"JSONObject");
    LocalStream other;
    kv::Ptr<IUnknown> object, twice;
    kv::BString text;
    kv::Variant made;
    const auto write = [&](const VARIANT& value) { return converter->ToJSONString(value, nullptr, text.Put()); };
    EXPECT_EQ(LoadXml(u"mova:PropertySet", u"<Property key='b'/><Property key='b'/>", twice), S_OK);
    EXPECT_EQ(array->FromJSONString(Bstr(u"{'type':'array','valueType':'number','values':[]}")), S_OK);
    EXPECT_EQ(typeless->AddLong(Bstr(u"type"), 1), S_OK);
    ExpectRefusals({
        {I, told("The value is neither a property set, an array nor an identifier."), [&] { return write(none); }},
        {I, told("The value is of a type that JSON has no form for."), [&] { return write(error); }},
        {I, told("The value is an object that has no form in JSON."), [&] { return write(Value(&other).Get()); }},
        {F, told("The value of \"b\" is there twice, which a JSON object cannot hold."),
         [&] { return write(Value(twice.Get()).Get()); }},
        {I, told("The value is neither a scalar nor JSON."),
         [&] { return converter->ValueFromJSON(ArrayOf({1}).Get(), nullptr, made.Put()); }},
        {I, told("The value is neither a scalar nor JSON."),
         [&] { return converter->ValueFromJSON(Value(&other).Get(), nullptr, made.Put()); }},
        {I, Refusal<IJSONTranslator>("JSONConverter", "The JSON object stands for an array, which is no object."),
         [&] { return array->Translate(nullptr, object.Put()); }},
        {I, Refusal<IJSONObject>("JSONObject", "The object has no text under \"type\"."),
         [&] { return typeless->Translate(nullptr, object.Put()); }},
        {F, Refusal<IJSONObject>("JSONObject", "The object has a member of that name, which cannot be replaced."),
         [&] { return typeless->AddLong(Bstr(u"type"), 2); }},
    });
}

TEST(Refusals, OfJSONReadersAndWriters) {
    const auto readers = [](auto text) { return Refusal<IJSONReader>("JSONReader", text); };
    const auto writers = [](auto text) { return Refusal<IJSONWriter>("JSONWriter", text); };
    const auto open = [](const char16_t* text) {
        auto reader = New<IJSONReaderPosition>(u"JSONReader");
        EXPECT_EQ(reader->ReadFromString(Bstr(text)), S_OK);
        return reader;
    };
    const auto reads = [&](const char16_t* text, const char* message) -> Row {
        return {U, readers(message), [=] {
                    const auto reader = open(text);
                    HRESULT status = S_OK;
                    while (status == S_OK) status = reader->ReadNext();
                    return status;
                }};
    };
    const auto letter = open(u"['x']"), shorter = open(u"[123]");
    const auto writer = New<IJSONWriter4>(u"JSONWriter"), object = New<IJSONWriter4>(u"JSONWriter");
    LONG number = 0;
    HRESULT answer = S_OK;
    Identifier resetting, starting, telling, silent;
    resetting.call = [&] { return answer = writer->Reset(), S_OK; };
    starting.call = [&] { return writer->StartArray(nullptr); };
    telling.call = [&] { return object->StartObject(nullptr); };
    silent.call = [] { return E_FAIL; };
    const auto converter = New<IJSONConverter>(u"JSONConverter");
    kv::Variant made;
    for (const auto& reader : {letter, shorter}) EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(shorter->SaveBookmark(nullptr), S_OK);
    EXPECT_EQ(shorter->ReadFromString(Bstr(u"[]")), S_OK);
    EXPECT_EQ(writer->WriteToMemory(), S_OK);
    EXPECT_EQ(object->WriteToMemory(), S_OK);
    EXPECT_EQ(object->StartObject(nullptr), S_OK);
    ExpectRefusals({
        reads(u"['a", "Unexpected end of file while looking for closing single or double quote; state : inArrayValue; "
                      "buffer : ['"),
        reads(u"[1x]", "invalid double value; state : inArrayValue; buffer : [1x"),
        reads(u"{'a' 'b'", "Unexpected single or double quote; state : inPropertyName; buffer : ' '"),
        reads(u"[,1]", "Unexpected ','; state : startOfArray; buffer : [,1"),
        reads(u"[:", "Unexpected ':'; state : startOfArray; buffer : ["),
        reads(u"{}[", "Unexpected '['; state : endOfObject; buffer : }"),
        reads(u"{{", "Unexpected '{'; state : startOfObject; buffer : {"),
        reads(u"[}", "Unexpected '}'; state : startOfArray; buffer : ["),
        reads(u"{]", "Unexpected ']'; state : startOfObject; buffer : {"),
        {I, Refusal<IJSONReader3>("JSONReader", "The string does not hold such a value."),
         [&] { return letter->GetInteger(VARIANT_FALSE, &number); }},
        {I, readers("The text does not have the position that was saved."),
         [&] { return shorter->RestoreBookmark(nullptr); }},
        {U, writers("A member must have a name."), [&] { return object->StartObject(nullptr); }},
        {U, writers("Only inside an object can there be a name."), [&] { return writer->StartArray(Bstr(u"a")); }},
        {U, writers("The innermost of what is open is no object."), [&] { return writer->EndObject(); }},
        {U, writers("The innermost of what is open is no array."), [&] { return writer->EndArray(); }},
        {I, Refusal<IJSONWriter4>("JSONWriter", "A value of this type has no text."),
         [&] { return writer->WriteValueText(nullptr, error); }},
        {I, Refusal<IJSONWriter4>("JSONWriter", "The date is outside the years 100 to 9999."),
         [&] { return writer->WriteValueText(nullptr, Raw(VT_DATE, 1e9)); }},
        {U, writers("The writer is in the middle of a value."),
         [&] { return writer->StartArray(nullptr), writer->WriteVariantElement(Value(&resetting).Get()), answer; }},
        {U, writers("The object did not end what it began."),
         [&] { return writer->WriteVariantElement(Value(&starting).Get()); }},
        {U, writers("A member must have a name."), [&] { return writer->WriteVariantElement(Value(&telling).Get()); }},
        {F, "", [&] { return writer->WriteVariantElement(Value(&silent).Get()); }},
        {U, writers("A member must have a name."),
         [&] { return converter->ValueToJSON(Value(&telling).Get(), made.Put()); }},
        {F, "", [&] { return converter->ValueToJSON(Value(&silent).Get(), made.Put()); }},
    });
}

TEST(Refusals, OfXMLSerializers) {
    const auto told = [](auto text) { return Refusal<IXMLSerializeData>("XMLSerializer", text); };
    const auto serializer = New<IXMLSerializer>(u"XMLSerializer");
    const auto time = New<ITime>(u"Time");
    Sparse<IXMLReader> reader(6, [](void*, LONG* type) { return *type = movaXMLStartElement, S_OK; });
    LocalStream other;
    kv::Ptr<IUnknown> object;
    Own writesNumber([](auto* data) { return data->AddLong(Bstr(u"a"), 1); });
    Own writesPrefix([](auto* data) { return data->AddLong(Bstr(u"p:a"), 1); });
    Own writesDate([](auto* data) { return data->AddDate(Bstr(u"a"), 1e9); });
    Own writesBytes([](auto* data) { return data->AddBytes(Bstr(u"a"), none); });
    Own writesClass([](auto* data) { return data->AddVariant(Bstr(u"a"), classId); });
    Own namesType([](auto* data) { return data->put_TypeName(Bstr(u"p:a")); });
    Own readsName([](auto* data) { return data->GetName(0, kv::BString().Put()); });
    Own readsKey([](auto* data) { return data->GetKey(0, kv::BString().Put()); });
    Own readsNumber([](auto* data) { LONG number; return data->GetLong(0, &number); });
    Own readsObjects([](auto* data) {
        EXPECT_EQ(data->GetObjectAt(0, kv::Ptr<IUnknown>().Put()), E_INVALIDARG);
        return data->GetObjectAt(1, kv::Ptr<IUnknown>().Put());
    });
    Own readsArray([](auto* data) {
        LONG count = 0;
        EXPECT_EQ(data->get_Count(&count), S_OK);
        return count == 0 ? S_OK : data->GetVariant(0, kv::Variant().Put());
    });
    Own unknown([](auto*) { return S_OK; }, u"urn:own");
    ExpectRefusals({
        {I, Refusal<IXMLSerializerAlt>("XMLSerializerAlt", "There is no object to write."), [&] { return Save({}); }},
        {I, Refusal<IXMLSerializer>("XMLSerializer", "The namespace is that of no release of the schema."),
         [&] { return serializer->put_ReleaseNamespaceURI(Bstr(u"urn:own")); }},
        {I, Refusal<IXMLSerializer>("XMLSerializer", "An element must have a name as XML has them, without a prefix."),
         [&] { return serializer->WriteObject(New<IXMLWriter>(u"XMLWriter").Get(), Bstr(u"p:a"), nullptr, nullptr); }},
        {I, told("An element must have a name as XML has them, without a prefix."), [&] { return Save(writesPrefix); }},
        {I, told("The date is outside the years 100 to 9999."), [&] { return Save(writesDate); }},
        {I, told("The value is not an array of bytes."), [&] { return Save(writesBytes); }},
        {U, told("No object is being written."), [&] { return LoadInto(writesNumber); }},
        {U, told("No object is being read."), [&] { return Save(readsName); }},
        {I, told("The name of a type must be one as XML has them, without a prefix."), [&] { return Save(namesType); }},
        {I, told("The key of the element is not base64 of UTF-16 text."),
         [&] { return LoadInto(readsKey, u"<b encodedKey='?'/>"); }},
        {I, told("The index is outside the elements."), [&] { return LoadInto(readsName); }},
        {I, told("The text of an element is no value of this type."),
         [&] { return LoadInto(readsNumber, u"<b>x</b>"); }},
        {I, told("A reference names an object that could not be read."), [&] {
             return LoadInto(readsObjects, u"<b id='x' xsi:type='mova:UID'><SubType>-1</SubType></b><c href='#x'/>");
         }},
        {F, told("An object of the document cannot be read from XML."), [&] { return LoadInto(&other); }},
        {N, told("An object in an array is not one for automation."),
         [&] { return LoadInto(readsArray, u"<b xsi:type='mova:ArrayOfDispatch'><Item xsi:type='own:Own'/></b>"); }},
        {F, told("The document ends within an element."),
         [&] { return serializer->ReadObject(reader, object.Put()); }},
        {I, told("An object names no release of the schema that knows its type."), [&] { return Save(unknown); }},
        {I, told("The release of the schema that is written does not know an object's type."),
         [&] { return Save(time.Get(), u"urn:mova:schemas:9.2"); }},
        {I, told("A value is of a kind that cannot be written as XML."), [&] { return Save(writesClass); }},
    });
}

TEST(Refusals, OfXMLReadersAndWriters) {
    const std::string entity = "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><a";
    std::string references;
    for (int i = 0; i < 5'000; ++i) references += "&e;";
    const auto writer = New<IXMLWriter>(u"XMLWriter");
    HRESULT answer = S_OK;
    Trickle stream;
    stream.visit = [&] { answer = writer->WriteTab(); };
    EXPECT_EQ(writer->put_OutputStream(&stream), S_OK);
    ExpectRefusals({
        Document("<?a:b?><a/>", "The name 'a:b' of a processing instruction has a colon.", 8),
        Document("<a:/>", "The name 'a:' is not a name with a prefix.", 6),
        Document("<a b:='1'/>", "The name 'b:' is not a name with a prefix.", 12),
        Document("<a xmlns:xml='u'/>",
                 "The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.", 19),
        Document("<a xmlns:p=''/>", "The prefix 'p' is declared for no namespace.", 16),
        Document("<p:a/>", "The prefix 'p' is not declared.", 7),
        Document("<a xmlns:p='u' xmlns:q='u' p:b='' q:b=''/>", "The attribute 'b' comes twice in one namespace.", 43),
        // At the columns where the parser has read so much:
        Document(entity + ">" + references + "</a>", "The entities of the document expand too far.", 100411),
        Document(entity + " b='" + references + "'/>", "A part of the document is too large.", 102052),
        {U, Refusal<IXMLWriter>("XMLWriter", "The writer is being called by what it writes to or reads from."),
         [&] { return writer->WriteTab(), answer; }},
    });
}

TEST(Refusals, OfStreams) {
    const auto told = [](auto text) { return Refusal<IObjectStream>("ObjectStream", text); };
    const auto told2 = [](auto text) { return Refusal<IObjectStream2>("ObjectStream", text); };
    const auto combined = [](auto text) { return Refusal<ICombinedStream>("CombinedStream", text); };
    const CLSID logger = __uuidof(::MessageLogger);
    Bytes unloadable(sizeof logger + sizeof(ULONG), 1);
    std::copy_n(reinterpret_cast<const std::uint8_t*>(&logger), sizeof logger, unloadable.begin());
    const auto objects = ObjectsOver(StreamOf(unloadable).Get()), cut = ObjectsOver(StreamOf({1}).Get());
    const auto unknown = ObjectsOver(StreamOf(Bytes(sizeof logger + sizeof(ULONG), 1)).Get());
    const auto blob = New<IMemoryBlobStream>(u"MemoryBlobStream");
    const auto whole = New<ICombinedStream>(u"CombinedStream");
    kv::Ptr<IUnknown> object;
    kv::Ptr<IStream> part;
    Disturbing disturbing;
    Longest longest;
    Deep deep;
    EXPECT_EQ(whole->Add(&longest), S_OK);
    EXPECT_EQ(deep.part->Add(&longest), S_OK);
    ExpectRefusals({
        {U, told("An object is just being saved to the stream or loaded from it."),
         [&] { return disturbing.stream->SaveObject(&disturbing); }},
        {F, told("The class " + kv::Utf8(kv::GuidText(logger)) + " has no persistence."),
         [&] { return objects->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid()); }},
        {REGDB_E_CLASSNOTREG, told("The class {01010101-0101-0101-0101-010101010101} cannot be created."),
         [&] { return unknown->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid()); }},
        {F, told("The stream is cut short or damaged."),
         [&] { return cut->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid()); }},
        {I, Refusal<IDocumentVersion>("ObjectStream", "A document version is not negative."),
         [&] { return objects.As<IDocumentVersion>()->put_DocumentVersion(-1); }},
        {I, told2("The nesting limit must be 1 to 100,000."), [&] { return objects->put_NestingLimit(0); }},
        {I, told2("The size limit must not be negative."), [&] { return objects->put_SizeLimit(-1); }},
        {I, Refusal<IMemoryBlobStream>("MemoryBlobStream", "The bytes must be an array of VT_UI1 in one dimension."),
         [&] { return blob->put_Bytes(error); }},
        {I, combined("The index is outside the list of parts."), [&] { return whole->get_Stream(1, part.Put()); }},
        {I, combined("The combined stream would be too long."), [&] { return whole->Add(&longest); }},
        {F, combined("Too many streams are parts of each other."), [&] { return whole->Add(&deep); }},
    });
}
// clang-format on

namespace {

template <class Use>
void ForEach(const std::string& text, const char* pattern, Use use) {
    const std::regex compiled(pattern);
    for (std::sregex_iterator match(text.begin(), text.end(), compiled), end; match != end; ++match) use(*match);
}

/// Holds what the sources refuse with against what the tests of a whole run have expected and were told.
class EveryRefusal final : public testing::Environment {
    void TearDown() override {
        if (testing::GTEST_FLAG(filter) != "*") return;
        held_ = HeldRefusals();
        sources_ = ProductSources();
        std::map<std::string, std::map<std::string, std::string>> constants;  // by source; "" for all headers
        for (auto& [path, source] : sources_) {
            source = std::regex_replace(source, std::regex(R"(\\")"), "'");
            ForEach(source, R"re((\w+)(\[\])? =\s+u"([^"]+\.)")re", [&](const auto& found) {
                constants[path][found[1]] = found[3];
                if (path.ends_with(".h")) constants[""][found[1]] = found[3];
            });
        }
        for (const auto& [path, source] : sources_) {
            const bool isScanners = path == "json/ScannerMessages.cpp";
            ForEach(
                source, isScanners ? R"re(u"([A-Za-z]+ [^"]*))re" : R"re(\bu"([A-Z ][^"]* [^"]*\.)")re",
                [&](const auto& found) {
                    Expect(isScanners ? "|" + found.str(1) + "; state : %s" + IdsOf("IJSONReader")[0] : found.str(1));
                });
            ForEach(source, R"(Refuse<(\w+)>\(|(return |->)Explain\()", [&](const auto& found) {
                const auto ids = IdsOf(found[1].matched ? found.str(1) : "IXMLSerializeData");
                const auto begin = static_cast<std::size_t>(found.position() + found.length());
                ForEach(source.substr(begin, source.find(';', begin) - begin), R"re(u"([^"]+\.)"|\w+)re",
                        [&](const auto& each) {
                            std::string text = each[1];
                            for (const auto& place : {path, std::string()})
                                text = text.empty() ? constants[place][each.str()] : text;
                            for (const auto& id : ids)
                                if (!text.empty()) Expect("|" + text + "|" + id);
                        });
            });
        }
        ForEach(ReadSource("server/Strings.rc"), R"("(Operation on file [^"]*))",
                [&](const auto& found) { Expect(found[1]); });
        EXPECT_GT(checked_, 350);
    }

    /// The identifiers of an interface, or of those that a parameter of a template stands for.
    std::vector<std::string> IdsOf(const std::string& name) {
        if (name == "Array") return {IdsOf("IPropertySetArray")[0], IdsOf("IPropertySetPropertyArray")[0]};
        if (name == "Serializer") return {IdsOf("IXMLSerializer")[0], IdsOf("IXMLSerializerAlt")[0]};
        if (name == "Interface" || name == "Main") return {};  // whose texts are not named where they are refused with
        if (name == "IStream") return {kv::Utf8(kv::GuidText(IID_IStream))};
        if (name == "IPersistStream") return {kv::Utf8(kv::GuidText(IID_IPersistStream))};
        for (const auto& [path, source] : sources_)
            if (const auto at = source.find("interface " + name + " : "); at != std::string::npos)
                return {"{" + source.substr(source.rfind("uuid(", at) + 5, 36) + "}"};
        ADD_FAILURE() << "no interface " << name;
        return {""};
    }

    /// @param text with any text in place of "%s"
    void Expect(const std::string& text) {
        static const std::set<std::string> unreached{
            "XML Parser initialization failed.",   // the parser's library would have to fail to start
            "The source of the document failed.",  // a client is given the source's own failure
            "The document ends too early.",        // the parser has always named a reason of its own
        };
        const auto gap = text.find("%s");
        const auto isTold = [&](std::string refusal) {
            std::replace(refusal.begin(), refusal.end(), '"', '\'');
            const auto at = refusal.find(text.substr(0, gap));
            return at != std::string::npos &&
                   (gap == std::string::npos || refusal.find(text.substr(gap + 2), at + gap) != std::string::npos);
        };
        EXPECT_TRUE(unreached.contains(text) || std::any_of(held_.begin(), held_.end(), isTold))
            << "no test is told: " << text;
        ++checked_;
    }

    std::map<std::string, std::string> sources_;
    std::vector<std::string> held_;
    int checked_ = 0;
};

const auto* const everyRefusal = testing::AddGlobalTestEnvironment(new EveryRefusal);

}  // namespace

}  // namespace mova::test
