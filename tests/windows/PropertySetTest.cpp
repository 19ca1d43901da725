#include <cmath>

#include "containers/PropertyList.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Stack.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

/// Names that fill a set up to where it is indexed.
std::u16string Filler(int i) {
    return u"filler" + std::u16string(1, static_cast<char16_t>(u'a' + i));
}

kv::Ptr<IPropertySet2> NewSet() {
    return New<IPropertySet2>(u"PropertySet");
}

kv::Ptr<IPropertySet2> NewSet(std::initializer_list<std::u16string_view> names) {
    auto set = NewSet();
    LONG value = 0;
    for (const auto name : names) EXPECT_EQ(set->SetProperty(Bstr(name), Value(++value).Get()), S_OK);
    return set;
}

LONG Count(IPropertySet* set) {
    return AnswerOf(set, &IPropertySet::GetCount);
}

/// A property's value where it is a number; -1 where there is none.
LONG Number(IPropertySet* set, std::u16string_view name) {
    kv::Variant value;
    return set->GetProperty(Bstr(name), value.Put()) == S_OK && value.Get().vt == VT_I4 ? value.Get().lVal : -1;
}

}  // namespace

TEST(PropertySet, MatchesNamesWithoutRegardToCase) {
    const auto set = NewSet();
    const struct {
        std::u16string_view stored, asked;
        bool same;
    } rows[] = {{u"Name", u"NAME", true},
                {u"Name", u"Nam", false},
                {u"", u"", true},
                {u"[", u"{", false},
                {u"@", u"`", false},
                {u"\u00C4rger", u"\u00E4RGER", true},
                {u"\u0416\u0443\u043A", u"\u0436\u0423\u041A", true},
                {u"i", u"I", true},
                {u"i", u"\u0130", false},
                {u"\u0131", u"I", false},  // no Turkish rules, whoever the user is
                {u"s", u"\u017F", false},
                {u"k", u"\u212A", false},
                {u"\u212A", u"k", false},
                {u"\u212Aa", u"\u212AA", true},
                {u"stra\u00DFe", u"STRASSE", false},
                {u"a\x7F", u"A\x7F", true},
                {std::u16string_view(u"a\0b", 3), std::u16string_view(u"A\0B", 3), true},
                {std::u16string_view(u"a\0b", 3), std::u16string_view(u"a\0c", 3), false},
                {std::u16string_view(u"a\0b", 3), u"a", false}};
    for (const auto& row : rows) {
        set->RemoveAllProperties();
        EXPECT_EQ(set->SetProperty(Bstr(row.stored), Value(1).Get()), S_OK);
        EXPECT_EQ(Number(set.Get(), row.asked), row.same ? 1 : -1)
            << kv::Utf8(row.stored) << " " << kv::Utf8(row.asked);
        for (int i = 0; i < 20; ++i) set->SetProperty(Bstr(Filler(i)), Value(0).Get());
        EXPECT_EQ(Number(set.Get(), row.asked), row.same ? 1 : -1) << "indexed: " << kv::Utf8(row.asked);
    }
    set->RemoveAllProperties();
    EXPECT_EQ(set->SetProperty(Bstr(u"Name"), Value(1).Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"NAME"), Value(2).Get()), S_OK);
    EXPECT_EQ(Names(set.Get()), "Name");
    EXPECT_EQ(Number(set.Get(), u"name"), 2);
    EXPECT_EQ(set->SetProperty(nullptr, Value(3).Get()), S_OK);
    EXPECT_EQ(Number(set.Get(), u""), 3);
    EXPECT_EQ(set->RemoveProperty(nullptr), S_OK);
    const std::u16string longName(1 << 20, u'n');
    EXPECT_EQ(set->SetProperty(Bstr(longName), Value(4).Get()), S_OK);
    EXPECT_EQ(Number(set.Get(), std::u16string(1 << 20, u'N')), 4);
    EXPECT_EQ(Number(set.Get(), std::u16string((1 << 20) - 1, u'N')), -1);
}

TEST(PropertySet, RemovingMovesTheLastIntoTheGap) {
    const auto set = NewSet({u"A", u"B", u"C", u"D"});
    EXPECT_EQ(set->RemoveProperty(Bstr(u"b")), S_OK);
    EXPECT_EQ(Names(set.Get()), "A D C");
    EXPECT_EQ(set->RemoveProperty(Bstr(u"b")), S_FALSE);
    EXPECT_EQ(set->RemoveProperty(Bstr(u"C")), S_OK);
    EXPECT_EQ(Names(set.Get()), "A D");
    EXPECT_EQ(Number(set.Get(), u"D"), 4);
    EXPECT_EQ(set->RemoveAllProperties(), S_OK);
    EXPECT_EQ(Count(set.Get()), 0);
}

TEST(PropertySet, ReadsTheLastOfDuplicatesAndWritesTheFirst) {
    for (const int fillers : {0, 20}) {
        PropertyList list;
        for (int i = 0; i < fillers; ++i) list.Append(PropertyList::MakeEntry(Filler(i), Value(0)));
        for (const LONG value : {1, 2, 3})
            list.Append(PropertyList::MakeEntry(value == 2 ? u"NAME" : u"Name", Value(value)));
        list.Append(PropertyList::MakeEntry(u"Other", Value(9)));
        EXPECT_EQ(list.FindLast(u"name")->Value().lVal, 3);
        EXPECT_EQ(list.FindFirst(u"name")->Value().lVal, 1);
        list.Set(Property::Make(u"name", {}), Value(5));
        EXPECT_EQ(list.FindFirst(u"name")->Value().lVal, 5);
        EXPECT_EQ(list.FindLast(u"name")->Value().lVal, 3);
        EXPECT_TRUE(list.Remove(u"name"));  // the last one; Other takes its place
        EXPECT_EQ(kv::Utf8(list[list.Count() - 1].Name()), "Other");
        EXPECT_EQ(list.FindLast(u"name")->Value().lVal, 2);
        EXPECT_TRUE(list.Remove(u"name"));
        EXPECT_TRUE(list.Remove(u"name"));
        EXPECT_FALSE(list.Remove(u"name"));
        EXPECT_EQ(list.Count(), static_cast<std::size_t>(fillers) + 1);
    }
}

TEST(PropertySet, KeepsDeepCopiesOfEveryType) {
    const auto set = NewSet();
    auto values = EveryValue();
    for (const char16_t* name : {u"PropertySet", u"ObjectCopy"}) values.push_back(Value(New<IUnknown>(name).Get()));
    values.push_back(Nested(kv::maxNesting));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto name = u"v" + std::u16string(1, static_cast<char16_t>(u'\u0100' + i));
        const VARIANT& value = values[i].Get();
        ASSERT_EQ(set->SetProperty(Bstr(name), value), S_OK) << "row " << i << ", type " << value.vt;
        kv::Variant held;
        ASSERT_EQ(set->GetProperty(Bstr(name), held.Put()), S_OK) << "row " << i;
        EXPECT_TRUE(kv::SameValue(held.Get(), value)) << "row " << i << ", type " << value.vt;
        const bool owns = value.vt == VT_BSTR || ((value.vt & VT_ARRAY) && value.parray);
        EXPECT_TRUE(!owns || held.Get().byref != value.byref) << "row " << i;
        VARIANT same = *const_cast<VARIANT*>(&value);
        ASSERT_EQ(set->SetProperty(Bstr(name), ReferenceTo(same)), S_OK) << "by reference, row " << i;
        const auto again = AnswerOf(set, &IPropertySet2::GetProperty, Bstr(name));
        EXPECT_TRUE(kv::SameValue(again.Get(), value)) << "by reference, row " << i;
    }
    const auto copy = CloneOf(set);
    EXPECT_TRUE(Equal(set.Get(), copy.Get()));
    EXPECT_EQ(Names(set.Get()), Names(copy.Get()));
}

TEST(PropertySet, ReplacesTextsOfEveryLengthByEachOther) {
    const auto text = [](UINT bytes) {  // which a text may have an odd number of
        const std::string units(bytes, 't');
        return kv::Variant::FromText(kv::BString::Attach(SysAllocStringByteLen(units.data(), bytes)));
    };
    const UINT lengths[] = {0, 1, 2, 3, 30, 62, 63, 64, 65, 66, 400};
    for (const std::u16string_view name : {u"", u"a", u"ab"}) {
        for (const UINT first : lengths) {
            for (const UINT second : lengths) {
                const auto set = NewSet();
                const kv::Variant values[] = {text(first), text(second), Value(1), text(second), text(first)};
                for (const kv::Variant& value : values) {
                    const std::string where = "from " + std::to_string(first) + " to " + std::to_string(second);
                    ASSERT_EQ(set->SetProperty(Bstr(name), value.Get()), S_OK) << where;
                    const auto held = AnswerOf(set, &IPropertySet2::GetProperty, Bstr(name));
                    ASSERT_EQ(held.Get().vt, value.Get().vt) << where;
                    ASSERT_TRUE(kv::SameValue(held.Get(), value.Get())) << where;
                    if (held.Get().vt != VT_BSTR) continue;
                    const UINT bytes = SysStringByteLen(held.Get().bstrVal);
                    ASSERT_EQ(bytes, SysStringByteLen(value.Get().bstrVal)) << where;
                    ASSERT_EQ(std::memcmp(held.Get().bstrVal, value.Get().bstrVal, bytes + sizeof(OLECHAR)), 0)
                        << where;
                }
            }
        }
    }
}

TEST(PropertySet, TakesNoStackForArraysInArrays) {
    const auto set = NewSet();
    const auto leaveLittleStack = [&](const auto& work) {
        *static_cast<volatile char*>(__builtin_alloca(kv::StackLeft() - 40 * 1024)) = 0;
        work();
    };
    leaveLittleStack([&] {
        kv::ArrayBuilder pair(VT_VARIANT, 2);
        for (int i = 0; i < 2; ++i) pair.Elements<VARIANT>()[i] = Nested(kv::maxNesting - 1).Detach();
        const kv::Variant nested = pair.Finish();
        EXPECT_EQ(set->SetProperty(Bstr(u"A"), nested.Get()), S_OK);
        EXPECT_TRUE(kv::SameValue(AnswerOf(set, &IPropertySet2::GetProperty, Bstr(u"A")).Get(), nested.Get()));
        EXPECT_EQ(set->RemoveAllProperties(), S_OK);
    });
}

TEST(PropertySet, RefusesWhatItCannotKeepAndStaysAsItWas) {
    const auto set = NewSet({u"A"});
    VARIANT inner{};
    VARIANT reference = ReferenceTo(inner);
    kv::ArrayBuilder references(VT_VARIANT, 1);
    *references.Elements<VARIANT>() = reference;
    const kv::Variant referencesInside = references.Finish();
    const kv::Variant tooDeep = Nested(kv::maxNesting + 1);
    for (const VARIANT& value : {ReferenceTo(reference), Raw(VT_BYREF | VT_BSTR), Raw(VT_BYREF | VT_VARIANT),
                                 Raw(0x777), referencesInside.Get(), tooDeep.Get()}) {
        for (const char16_t* name : {u"A", u"B"}) {
            EXPECT_EQ(set->SetProperty(Bstr(name), value), E_INVALIDARG) << value.vt;
            EXPECT_EQ(TakeErrorInfo(),
                      Refusal<IPropertySet>("PropertySet", "The value is of a kind that a property cannot keep."));
        }
        EXPECT_EQ(Number(set.Get(), u"A"), 1);
        EXPECT_EQ(Names(set.Get()), "A");
    }
    LONG seven = 7;
    EXPECT_EQ(set->SetProperty(Bstr(u"A"), Raw(VT_BYREF | VT_I4, &seven)), S_OK);
    seven = 8;
    EXPECT_EQ(Number(set.Get(), u"A"), 7);
}

TEST(PropertySet, BelievesNoArrayThatIsNotWhatItsValueSays) {
    const auto set = NewSet({u"A"});
    const kv::Variant numbers = Array(VT_I8, {{1, 0}});
    const kv::Variant texts = Array(VT_BSTR, {{1, 0}});
    kv::Variant deep = Nested(kv::maxNesting + 100);
    const auto as = [](const kv::Variant& array, VARTYPE type) { return Raw(VT_ARRAY | type, array.Get().parray); };
    SAFEARRAY* bare = nullptr;  // of pointers that it does not say it owns
    ASSERT_EQ(SafeArrayAllocDescriptor(1, &bare), S_OK);
    bare->cbElements = sizeof(BSTR);
    bare->rgsabound[0].cElements = 1;
    ASSERT_EQ(SafeArrayAllocData(bare), S_OK);
    const kv::Variant unowned = kv::Variant::FromArray(bare, VT_I8);
    SAFEARRAY huge{};
    huge.cDims = 1;
    huge.cbElements = 8;
    huge.rgsabound[0].cElements = 0xFFFFFFFF;
    for (const VARIANT& value : {as(numbers, VT_BSTR), as(texts, VT_I8), as(unowned, VT_BSTR), as(numbers, VT_VARIANT),
                                 as(deep, VT_I1), as(deep, VT_VARIANT), Raw(VT_ARRAY | VT_I8, &huge)}) {
        EXPECT_EQ(set->SetProperty(Bstr(u"A"), value), E_INVALIDARG) << value.vt;
        EXPECT_EQ(set->SetProperties(value, ArrayOf({1}).Get()), E_FAIL) << value.vt;
        EXPECT_EQ(Number(set.Get(), u"A"), 1);
    }
}

TEST(PropertySet, EndsAChainOfSetsLongerThanTheStack) {
    const auto endChain = [](void* length) -> DWORD {
        CoInitialize(nullptr);
        auto factory = FactoryOf(CLSID_PropertySet);
        kv::Ptr<IPropertySet> set;
        for (int i = 0; i < *static_cast<int*>(length); ++i) {
            kv::Ptr<IPropertySet> outer;
            EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IPropertySet), outer.PutVoid()), S_OK);
            EXPECT_EQ(outer->SetProperty(Bstr(u"inner"), Value(static_cast<IUnknown*>(set.Get())).Get()), S_OK);
            set = outer;
        }
        set = {};
        EXPECT_EQ(Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")(), S_OK);
        factory = {};
        CoUninitialize();
        return 0;
    };
    int length = 200'000;
    EXPECT_EQ(endChain(&length), 0u);
    for (length = 1; length <= 10'000; length *= 100) {  // on a stack that is short from the beginning
        HANDLE thread =
            CreateThread(nullptr, 100 * 1024, endChain, &length, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

TEST(PropertySet, SetsAndGetsByArrays) {
    const auto set = NewSet();
    kv::Variant names = Array(VT_BSTR, {{3, -7}});
    kv::Variant values = Array(VT_I4, {{3, 100}});
    for (LONG i = 0; i < 3; ++i) {
        LONG place = i - 7;
        SafeArrayPutElement(names.Get().parray, &place, Bstr(i == 1 ? u"\u00D6" : i == 0 ? u"one" : u"ONE"));
        place = i + 100;
        SafeArrayPutElement(values.Get().parray, &place, &i);
    }
    EXPECT_EQ(set->SetProperties(names.Get(), values.Get()), S_OK);
    EXPECT_EQ(Names(set.Get()), "one \u00D6");
    EXPECT_EQ(Number(set.Get(), u"One"), 2) << "each pair in order";
    VARIANT namesByReference = *const_cast<VARIANT*>(&names.Get());
    EXPECT_TRUE(kv::SameValue(AnswerOf(set, &IPropertySet2::GetProperties, ReferenceTo(namesByReference)).Get(),
                              ArrayOf({2, 1, 2}).Get()));
    kv::Variant allNames, allValues;
    EXPECT_EQ(set->GetAllProperties(allNames.Put(), allValues.Put()), S_OK);
    EXPECT_TRUE(kv::SameValue(allNames.Get(), ArrayOf({u"one", u"\u00F6"}).Get()) ||
                kv::SameValue(allNames.Get(), ArrayOf({u"one", u"\u00D6"}).Get()));
    EXPECT_TRUE(kv::SameValue(allValues.Get(), ArrayOf({2, 1}).Get()));
    EXPECT_EQ(set->SetProperties(Array(VT_BSTR, {{0, 0}}).Get(), Array(VT_R8, {{0, 3}}).Get()), S_OK);
}

TEST(PropertySet, RefusesArraysAsAWhole) {
    const auto set = NewSet({u"A"});
    const VARIANT none{};
    const kv::Variant two = ArrayOf({1, 2});
    const kv::Variant names = ArrayOf({u"A", u"B"});
    const kv::Variant mixed = [] {
        kv::ArrayBuilder array(VT_VARIANT, 2);
        array.Elements<VARIANT>()[0] = Value(u"A").Detach();
        array.Elements<VARIANT>()[1] = Value(5).Detach();
        return array.Finish();
    }();
    kv::ArrayBuilder bad(VT_VARIANT, 2);
    bad.Elements<VARIANT>()[1].vt = VT_BYREF | VT_VARIANT;
    const kv::Variant badValues = bad.Finish();
    const kv::Variant nullArray = kv::Variant::FromArray(nullptr, VT_I4);
    const kv::Variant twoDimensions = Array(VT_BSTR, {{2, 0}, {1, 0}});
    const kv::Variant numbersInTwoDimensions = Array(VT_I4, {{2, 0}, {1, 0}});
    const kv::Variant one = ArrayOf({1});
    const kv::Variant three = ArrayOf({1, 2, 3});
    const struct {
        const VARIANT& names;
        const VARIANT& values;
        HRESULT status;
        const char* text;
    } rows[] = {{none, two.Get(), E_INVALIDARG, "Names and values must be two arrays."},
                {names.Get(), none, E_INVALIDARG, "Names and values must be two arrays."},
                {names.Get(), nullArray.Get(), E_INVALIDARG, "Names and values must be two arrays."},
                {two.Get(), two.Get(), E_FAIL, "The names must be an array of strings in one dimension."},
                {mixed.Get(), two.Get(), E_FAIL, "The names must be an array of strings in one dimension."},
                {twoDimensions.Get(), two.Get(), E_FAIL, "The names must be an array of strings in one dimension."},
                {names.Get(), numbersInTwoDimensions.Get(), E_FAIL, "One of the values cannot be kept as a property."},
                {names.Get(), one.Get(), E_FAIL, "There must be as many values as names."},
                {names.Get(), three.Get(), E_FAIL, "There must be as many values as names."},
                {names.Get(), badValues.Get(), E_FAIL, "One of the values cannot be kept as a property."}};
    for (const auto& row : rows) {
        EXPECT_EQ(set->SetProperties(row.names, row.values), row.status) << row.text;
        EXPECT_EQ(TakeErrorInfo(), Refusal<IPropertySet>("PropertySet", row.text));
        EXPECT_EQ(Names(set.Get()), "A");
        EXPECT_EQ(Number(set.Get(), u"A"), 1) << row.text;
    }
    kv::Variant values;
    EXPECT_EQ(set->GetProperties(none, values.Put()), E_INVALIDARG);
    EXPECT_EQ(set->GetProperties(two.Get(), values.Put()), E_FAIL);
    EXPECT_EQ(Refused(set->GetProperties(names.Get(), values.Put()), E_FAIL),
              Refusal<IPropertySet>("PropertySet", "No property is named \"B\"."));
    EXPECT_EQ(values.Get().vt, VT_EMPTY);
}

TEST(PropertySet, RefusesNullsAndPlacesOutside) {
    const auto set = NewSet({u"A"});
    VARIANT value = Raw(0x5555);  // an out-parameter need not be initialised
    BSTR name = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(set->GetProperty(Bstr(u"B"), &value), E_FAIL);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(set->GetAllProperties(nullptr, &value), E_POINTER);
    EXPECT_EQ(set->GetAllProperties(&value, nullptr), E_POINTER);
    VARIANT_BOOL equal = VARIANT_TRUE;
    EXPECT_EQ(set->IsEqual(nullptr, &equal), E_INVALIDARG);
    EXPECT_EQ(equal, VARIANT_FALSE);
    EXPECT_EQ(AnswerOf(set, &IPropertySet2::HasProperty, nullptr), VARIANT_FALSE);
    EXPECT_EQ(set->GetPropertyAt(0, nullptr, &value), E_POINTER);
    EXPECT_EQ(set->GetPropertyAt(0, &name, nullptr), E_POINTER);
    EXPECT_EQ(name, nullptr);
    for (const LONG index : {-1L, 1L, 2147483647L}) {
        EXPECT_EQ(set->GetPropertyAt(index, &name, &value), E_INVALIDARG) << index;
        EXPECT_EQ(TakeErrorInfo(), Refusal<IPropertySet2>("PropertySet", "The index is outside the set."));
    }
    const std::u16string longName(500, u'x');
    EXPECT_EQ(Refused(set->GetProperty(Bstr(longName), &value), E_FAIL),
              Refusal<IPropertySet>("PropertySet", "No property is named \"" + std::string(100, 'x') + "...\"."));
    EXPECT_EQ(Refused(set->GetProperty(Bstr(std::u16string_view(u"a\0b", 3)), &value), E_FAIL),
              Refusal<IPropertySet>("PropertySet", "No property is named \"a\uFFFDb\"."));
    EXPECT_EQ(set->GetProperty(Bstr(u"B"), &value), E_FAIL);
    EXPECT_EQ(set->GetCount(nullptr), E_POINTER);
    EXPECT_EQ(TakeErrorInfo(), "") << "an earlier failure's text must not explain a later one";
}

TEST(PropertySet, ComparesByNameAndValueWhateverTheOrder) {
    const auto set = NewSet({u"A", u"B"});
    const auto other = NewSet();
    EXPECT_FALSE(Equal(set.Get(), other.Get()));
    other->SetProperty(Bstr(u"b"), Value(2).Get());
    other->SetProperty(Bstr(u"a"), Value(1).Get());
    EXPECT_TRUE(Equal(set.Get(), other.Get()));
    EXPECT_TRUE(Equal(set.Get(), set.Get()));
    other->SetProperty(Bstr(u"a"), Value(1.0).Get());
    EXPECT_FALSE(Equal(set.Get(), other.Get())) << "values of another type are not equal";
    PropertyList twice;
    PropertyList once;
    for (const char16_t* name : {u"A", u"a"}) twice.Append(PropertyList::MakeEntry(name, Value(1)));
    for (const char16_t* name : {u"A", u"B"}) once.Append(PropertyList::MakeEntry(name, Value(1)));
    EXPECT_TRUE(twice.IsWithin(once));
    EXPECT_FALSE(once.IsWithin(twice));
    set->SetProperty(Bstr(u"A"), Value(u"x").Get());
    other->SetProperty(Bstr(u"A"), Value(u"X").Get());
    EXPECT_FALSE(Equal(set.Get(), other.Get()));
    other->SetProperty(Bstr(u"A"), Value(u"x").Get());
    EXPECT_TRUE(Equal(set.Get(), other.Get()));
    set->SetProperty(Bstr(u"B"), Array(VT_I4, {{2, 0}}).Get());
    other->SetProperty(Bstr(u"B"), Array(VT_I4, {{2, 1}}).Get());
    EXPECT_FALSE(Equal(set.Get(), other.Get())) << "bounds count";
    other->RemoveProperty(Bstr(u"B"));
    other->SetProperty(Bstr(u"C"), Array(VT_I4, {{2, 0}}).Get());
    EXPECT_FALSE(Equal(set.Get(), other.Get()));
}

TEST(PropertySet, SurvivesAValueThatCallsBackWhenItIsFreed) {
    /// A value whose end empties the set that held it.
    struct Visitor final : Foreign {
        explicit Visitor(IPropertySet2* holder) : set(holder) {}
        ~Visitor() override { set->RemoveAllProperties(); }
        IPropertySet2* set;
    };
    for (const int fillers : {0, 30}) {
        const auto set = NewSet();
        const auto putVisitor = [&] {
            const auto visitor = kv::Ptr<Visitor>::Attach(new Visitor(set.Get()));
            for (int i = 0; i < fillers; ++i) set->SetProperty(Bstr(Filler(i)), Value(i).Get());
            set->SetProperty(Bstr(u"visitor"), Value(u"text").Get());
            EXPECT_EQ(set->SetProperty(Bstr(u"visitor"), Value(visitor.Get()).Get()), S_OK);
        };
        putVisitor();
        EXPECT_EQ(set->SetProperty(Bstr(u"visitor"), Value(u"TEXT").Get()), S_OK);
        EXPECT_EQ(Count(set.Get()), 0);
        putVisitor();
        EXPECT_EQ(set->SetProperty(Bstr(u"visitor"), Value(1).Get()), S_OK);
        EXPECT_EQ(Count(set.Get()), 0);
        putVisitor();
        EXPECT_EQ(set->RemoveProperty(Bstr(u"visitor")), S_OK);
        EXPECT_EQ(Count(set.Get()), 0);
        putVisitor();
        EXPECT_EQ(set->RemoveAllProperties(), S_OK);
        EXPECT_EQ(Count(set.Get()), 0);
        putVisitor();
        EXPECT_EQ(set->SetProperties(ArrayOf({u"visitor", u"Z"}).Get(), ArrayOf({1, 2}).Get()), S_OK);
        EXPECT_EQ(Names(set.Get()), "Z");
    }
}

}  // namespace mova::test
