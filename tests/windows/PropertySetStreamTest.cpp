#include "kvcore/Stream.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr auto damaged = "The stream is cut short or damaged.";

kv::Ptr<IPropertySet2> NewSet(std::initializer_list<std::u16string_view> names = {}) {
    auto set = New<IPropertySet2>(u"PropertySet");
    LONG value = 0;
    for (const auto name : names) EXPECT_EQ(set->SetProperty(Bstr(name), Value(++value).Get()), S_OK);
    return set;
}

HRESULT Load(const kv::Ptr<IPropertySet2>& set, const Bytes& bytes) {
    return set.As<IPersistStream>()->Load(StreamOf(bytes).Get());
}

kv::Variant Read(const kv::Ptr<IPropertySet2>& set, const char16_t* name) {
    return AnswerOf(set, &IPropertySet2::GetProperty, Bstr(name));
}

const Bytes duplicates = {1, 0, 2, 0, 0, 0, 1, 0, 0, 0, 'A', 0, 3, 0, 1, 0, 0, 0, 1, 0, 0, 0, 'a', 0, 3, 0, 2, 0, 0, 0};

}  // namespace

TEST(PropertySetStream, ReadsWhatStandsThere) {
    const struct {
        const char* what;
        Bytes bytes;
        HRESULT status;
        const char* names;  ///< afterwards, of a set that held A and B
        const char* told;
    } rows[] = {
        {"nothing", {}, E_FAIL, "A B", damaged},
        {"half a version", {1}, E_FAIL, "A B", damaged},
        {"version 2", {2, 0, 0, 0, 0, 0}, E_FAIL, "A B", "The stream was written by a newer version."},
        {"version 0", {0, 0, 0, 0, 0, 0}, S_OK, "", nullptr},
        {"no count", {1, 0, 1, 0}, E_FAIL, "", damaged},
        {"count 0", {1, 0, 0, 0, 0, 0}, S_OK, "", nullptr},
        {"count -1", {1, 0, 0xFF, 0xFF, 0xFF, 0xFF}, S_OK, "", nullptr},
        {"count 2^31-1", {1, 0, 0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL, "", damaged},
        {"duplicates", duplicates, S_OK, "A a", nullptr},
        {"one property of two", Bytes(duplicates.begin(), duplicates.begin() + 20), E_FAIL, "A", damaged},
    };
    for (const auto& row : rows) {
        const auto set = NewSet({u"A", u"B"});
        EXPECT_EQ(Load(set, row.bytes), row.status) << row.what;
        EXPECT_EQ(TakeErrorInfo(), row.told ? Refusal<IPersistStream>("PropertySet", row.told) : "") << row.what;
        EXPECT_EQ(Names(set.Get()), row.names) << row.what;
    }
    const auto set = NewSet();
    EXPECT_EQ(Load(set, duplicates), S_OK);
    EXPECT_EQ(Read(set, u"A").Get().lVal, 2) << "reading sees the last";
    EXPECT_EQ(set->SetProperty(Bstr(u"A"), Value(9).Get()), S_OK);
    kv::BString name;
    EXPECT_EQ(AnswerOf(set, &IPropertySet2::GetPropertyAt, 0, name.Put()).Get().lVal, 9) << "writing changes the first";
}

TEST(PropertySetStream, IsDirtyUntilSavedOrLoaded) {
    const auto set = NewSet();
    const auto persist = set.As<IPersistStream>();
    const auto stream = StreamOf({});
    EXPECT_EQ(persist->IsDirty(), S_FALSE);
    const std::function<HRESULT()> changes[] = {
        [&] { return set->SetProperty(Bstr(u"A"), Value(1).Get()); },
        [&] { return set->SetProperty(Bstr(u"A"), Value(2).Get()); },
        [&] { return set->SetProperties(ArrayOf({u"B"}).Get(), ArrayOf({1}).Get()); },
        [&] { return set->RemoveProperty(Bstr(u"A")); },
        [&] { return set->RemoveAllProperties(); },
    };
    for (const auto& change : changes) {
        EXPECT_EQ(change(), S_OK);
        EXPECT_EQ(persist->IsDirty(), S_OK);
        EXPECT_EQ(persist->Save(stream.Get(), FALSE), S_OK);
        EXPECT_EQ(persist->IsDirty(), S_OK);
        EXPECT_EQ(persist->Save(stream.Get(), TRUE), S_OK);
        EXPECT_EQ(persist->IsDirty(), S_FALSE);
    }
    EXPECT_EQ(set->RemoveProperty(Bstr(u"A")), S_FALSE);
    EXPECT_EQ(persist->IsDirty(), S_FALSE) << "nothing was changed";
    EXPECT_EQ(set->SetProperty(Bstr(u"A"), Value(1).Get()), S_OK);
    EXPECT_EQ(AnswerOf(persist, &IPersistStream::GetSizeMax).QuadPart, 18u);
    EXPECT_EQ(ObjectsOver(stream.Get())->SaveObject(set.Get()), S_OK);
    EXPECT_EQ(persist->IsDirty(), S_OK) << "a copy is no document";
    EXPECT_EQ(Load(set, duplicates), S_OK);
    EXPECT_EQ(persist->IsDirty(), S_FALSE);
    EXPECT_EQ(Load(set, {2, 0}), E_FAIL);
    EXPECT_EQ(persist->IsDirty(), S_FALSE) << "refused as it was";
    EXPECT_EQ(Load(set, {1, 0, 1}), E_FAIL);
    EXPECT_EQ(persist->IsDirty(), S_OK) << "emptied";
}

TEST(PropertySetStream, SavesToAStreamThatChangesWhatIsSaved) {
    const auto set = NewSet();
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    for (const bool isSet : {true, false}) {
        const std::u16string longText(1000, u'x');
        EXPECT_EQ(set->SetProperty(Bstr(longText), Value(longText).Get()), S_OK);
        EXPECT_EQ(set->SetProperty(Bstr(u"bytes"), Array(VT_UI1, {{1000, 0}}).Get()), S_OK);
        EXPECT_EQ(property->put_Key(Bstr(longText)), S_OK);
        EXPECT_EQ(property->put_Value(Value(longText).Get()), S_OK);
        const auto persist = isSet ? set.As<IPersistStream>() : property.As<IPersistStream>();
        Trickle stream;
        Trickle undisturbed;
        stream.visit = [&] {
            set->RemoveAllProperties();
            property->put_Key(nullptr);
            property->put_Value(kv::Variant().Get());
        };
        EXPECT_EQ(persist->Save(&undisturbed, FALSE), S_OK);
        EXPECT_EQ(persist->Save(&stream, FALSE), S_OK);
        EXPECT_TRUE(stream.bytes == undisturbed.bytes);
    }
}

TEST(PropertySetStream, KeepsObjectsInAPlainStream) {
    const auto set = NewSet();
    const auto child = NewSet({u"C"});
    for (const auto* name : {u"first", u"second"})
        EXPECT_EQ(set->SetProperty(Bstr(name), Value(child.Get()).Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"self"), Value(set.Get()).Get()), S_OK);
    Trickle stream;
    EXPECT_EQ(set.As<IPersistStream>()->Save(&stream, FALSE), S_OK);
    const auto loaded = NewSet();
    EXPECT_EQ(loaded.As<IPersistStream>()->Load(&stream), S_OK);
    EXPECT_EQ(Read(loaded, u"first").Get().punkVal, Read(loaded, u"second").Get().punkVal);
    const auto self = kv::Ptr<IUnknown>(Read(loaded, u"self").Get().punkVal);
    EXPECT_NE(self.As<IPropertySet>().Get(), static_cast<IPropertySet*>(loaded.Get()))
        << "the stream does not know the set itself as an object";
    EXPECT_EQ(Names(self.As<IPropertySet>().Get()), "first second self");
    Dissolve(loaded.As<IUnknown>());
    Dissolve(set.As<IUnknown>());
}

TEST(PropertySetStream, TransfersByValueWithoutWhatCannotFollow) {
    const auto set = NewSet({u"number"});
    EXPECT_EQ(set->SetProperty(Bstr(u"empty"), kv::Variant().Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"object"), Value(NewSet().Get()).Get()), S_OK);
    kv::Ptr<IDispatch> dispatch = NewSet().As<IDispatch>();
    EXPECT_EQ(set->SetProperty(Bstr(u"dispatch"), Raw(VT_DISPATCH, dispatch.Get())), S_OK);
    kv::Variant objects = Array(VT_UNKNOWN, {{1, 0}});
    *static_cast<IUnknown**>(objects.Get().parray->pvData) = NewSet().Detach();
    EXPECT_EQ(set->SetProperty(Bstr(u"objects"), objects.Get()), S_OK);
    const auto transfer = set.As<IPropertySetImpl>();
    for (const DWORD context : {0u, 15u}) {
        const auto stream = StreamOf({});
        EXPECT_EQ(transfer->SaveByValue(stream.Get(), context), S_OK);
        const Bytes bytes = BytesOf(stream);
        ExpectGolden(bytes, context == 15 ? "set-by-value-with-class.bin" : "set-by-value.bin");
        const auto arrived = NewSet();
        EXPECT_EQ(arrived.As<IPropertySetImpl>()->LoadByValue(StreamOf(bytes).Get(), context), S_OK);
        EXPECT_EQ(Names(arrived.Get()), "number empty object dispatch objects");
        EXPECT_EQ(Read(arrived, u"number").Get().lVal, 1);
        for (const auto* name : {u"empty", u"object", u"dispatch"}) EXPECT_EQ(Read(arrived, name).Get().vt, VT_NULL);
        const auto held = Read(arrived, u"objects");
        ASSERT_EQ(held.Get().vt, VT_ARRAY | VT_UNKNOWN);
        EXPECT_EQ(*static_cast<IUnknown**>(held.Get().parray->pvData), nullptr);
    }
    const auto other = NewSet({u"A"});
    const auto receiver = other.As<IPropertySetImpl>();
    EXPECT_EQ(receiver->LoadByValue(StreamOf(Bytes(22, 1)).Get(), 15), E_FAIL);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IPropertySetImpl>("PropertySet", "No property set stands here in the stream."));
    EXPECT_EQ(receiver->LoadByValue(StreamOf(Bytes(15, 1)).Get(), 15), E_FAIL);
    EXPECT_EQ(Names(other.Get()), "A");
    const auto withObject = StreamOf({});
    EXPECT_EQ(set.As<IPersistStream>()->Save(withObject.Get(), FALSE), S_OK);
    EXPECT_EQ(kv::KvStreamSeek(withObject.Get(), 0), S_OK);
    EXPECT_EQ(receiver->LoadByValue(withObject.Get(), 0), E_FAIL) << "by value there are no objects";
    EXPECT_EQ(TakeErrorInfo(), Refusal<IPersistStream>("PropertySet", damaged));
    EXPECT_EQ(receiver->LoadByValue(nullptr, 0), E_POINTER);
    EXPECT_EQ(receiver->SaveByValue(nullptr, 0), E_POINTER);
}

TEST(PropertySetStream, CompanionsRefuseAndStayAsTheyWere) {
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    EXPECT_EQ(property->put_Key(Bstr(u"key")), S_OK);
    EXPECT_EQ(property->put_Value(Value(u"value").Get()), S_OK);
    const Bytes good = Saved(property.Get());
    const Bytes record(good.begin() + 20, good.end());
    for (std::size_t size = 0; size < record.size(); ++size) {
        const Bytes cut(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(property.As<IPersistStream>()->Load(StreamOf(cut).Get()), E_FAIL);
    }
    EXPECT_EQ(AnswerOf(property, &IPropertySetProperty::get_Key).View(), u"key");

    const auto array = New<IPropertySetArray>(u"PropertySetArray");
    EXPECT_EQ(array->Add(NewSet().Get()), S_OK);
    const auto persist = array.As<IPersistStream>();
    Bytes null = {1, 0, 1, 0, 0, 0};
    null.resize(null.size() + 16);
    Bytes wrongKind = {1, 0, 1, 0, 0, 0};
    wrongKind.insert(wrongKind.end(), good.begin(), good.end());
    const struct {
        const char* what;
        Bytes bytes;
        HRESULT status;
    } rows[] = {{"version 2", {2, 0, 0, 0, 0, 0}, E_FAIL},
                {"one null", null, E_FAIL},
                {"a property among sets", wrongKind, E_NOINTERFACE},
                {"2^31-1 elements", {1, 0, 0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL}};
    for (const auto& row : rows) {
        EXPECT_EQ(persist->Load(StreamOf(row.bytes).Get()), row.status) << row.what;
        EXPECT_EQ(AnswerOf(array, &IPropertySetArray::get_Count), 1) << row.what;
    }
    EXPECT_EQ(persist->Load(StreamOf({1, 0, 0, 0, 0, 0}).Get()), S_OK);
    EXPECT_EQ(AnswerOf(array, &IPropertySetArray::get_Count), 0);
}

}  // namespace mova::test
