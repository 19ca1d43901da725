// Classifiers and statistics through their interfaces: what arrays they take and refuse, and what they keep.
#include <comcat.h>

#include <cmath>
#include <limits>
#include <set>

#include "kvcore/SafeArray.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

constexpr CATID category{0xF5B68AD5, 0xEB4E, 0x11D1, {0xAA, 0xB9, 0x00, 0xC0, 0x4F, 0xA3, 0x34, 0xB3}};
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const struct MethodRow {
    const char16_t* className;
    const char* methodName;
    const char* classId;
} methods[] = {
    {u"Quantile", "Quantile", "{62144BE9-E05E-11D1-AAAE-00C04FA334B3}"},
    {u"DefinedInterval", "Defined Interval", "{62144BE8-E05E-11D1-AAAE-00C04FA334B3}"},
    {u"StandardDeviation", "Standard Deviation", "{DC6D8015-49C2-11D2-AAFF-00C04FA334B3}"},
    {u"GeometricalInterval", "Geometrical Interval", "{C79EB120-E98E-4AF9-903D-70273E0C140E}"},
    {u"NaturalBreaks", "Natural Breaks (Jenks)", "{62144BEA-E05E-11D1-AAAE-00C04FA334B3}"},
    {u"EqualInterval", "Equal Interval", "{62144BE1-E05E-11D1-AAAE-00C04FA334B3}"},
};

/// An array of a type with a lower bound. @tparam Element the structure of the type
template <class Element>
kv::Variant Numbers(VARTYPE type, std::initializer_list<Element> numbers, LONG lowerBound = 0) {
    SAFEARRAYBOUND bound{static_cast<ULONG>(numbers.size()), lowerBound};
    SAFEARRAY* array = SafeArrayCreate(type, 1, &bound);
    std::copy(numbers.begin(), numbers.end(), static_cast<Element*>(array->pvData));
    return kv::Variant::FromArray(array, type);
}
kv::Variant Values(std::initializer_list<double> numbers) {
    return Numbers<double>(VT_R8, numbers);
}
kv::Variant Frequencies(std::initializer_list<LONG> numbers) {
    return Numbers<LONG>(VT_I4, numbers);
}
kv::Variant Variants(std::initializer_list<double> numbers) {
    kv::ArrayBuilder array(VT_VARIANT, numbers.size());
    std::size_t i = 0;
    for (const double number : numbers) array.Elements<VARIANT>()[i++] = Value(number).Detach();
    return array.Finish();
}
VARIANT ByReference(kv::Variant& array) {
    VARIANT reference = array.Get();
    reference.vt |= VT_BYREF;
    reference.pparray = const_cast<SAFEARRAY**>(&array.Get().parray);
    return reference;
}

/// Takes all locks that an array has, so that nobody can lock it.
class AllLocks {
 public:
    explicit AllLocks(const kv::Variant& array) : array_(array.Get().parray) {
        for (int i = 0; i < 65535; ++i) EXPECT_EQ(SafeArrayLock(array_), S_OK);
        EXPECT_NE(SafeArrayLock(array_), S_OK);
    }
    ~AllLocks() {
        for (int i = 0; i < 65535; ++i) EXPECT_EQ(SafeArrayUnlock(array_), S_OK);
        EXPECT_EQ(array_->cLocks, 0u);
    }
    AllLocks(const AllLocks&) = delete;
    AllLocks& operator=(const AllLocks&) = delete;

 private:
    SAFEARRAY* array_;
};

template <class I>
std::vector<double> BreaksOf(const kv::Ptr<I>& classifier) {
    const auto breaks = AnswerOf(classifier, &I::get_ClassBreaks);
    EXPECT_EQ(breaks.Get().vt, VT_ARRAY | VT_R8);
    const auto array = kv::ArrayView::Of(breaks.Get());
    const auto* numbers = static_cast<const double*>(array->Data());
    return {numbers, numbers + array->Count()};
}
using Breaks = std::vector<double>;
/// The classes that a classifier makes where so many are asked for. Fails the test where it refuses.
LONG Classified(const kv::Ptr<IClassify>& classifier, LONG classes) {
    EXPECT_EQ(classifier->Classify(&classes), S_OK);
    return classes;
}

}  // namespace

TEST(Classifiers, AreFoundInTheirCategory) {
    kv::Ptr<ICatInformation> information;
    ASSERT_EQ(kv::Create(CLSID_StdComponentCategoriesMgr, information), S_OK);
    CATID wanted = category;
    kv::Ptr<IEnumGUID> classes;
    ASSERT_EQ(information->EnumClassesOfCategories(1, &wanted, 0, nullptr, classes.Put()), S_OK);
    std::set<std::string> found;
    CLSID classId{};
    while (classes->Next(1, &classId, nullptr) == S_OK) found.insert(kv::Utf8(kv::GuidText(classId)));
    std::set<std::string> expected;
    for (const auto& row : methods) expected.insert(row.classId);
    EXPECT_EQ(found, expected);
}

TEST(Classifiers, TellTheirNameAndClass) {
    for (const auto& row : methods) {
        SCOPED_TRACE(row.methodName);
        const auto classifier = New<IClassify>(row.className);
        const auto direct = classifier.As<IClassifyGEN>();
        EXPECT_EQ(kv::Utf8(AnswerOf(classifier, &IClassify::get_MethodName).View()), row.methodName);
        const auto guid = AnswerOf(AnswerOf(direct, &IClassifyGEN::get_ClassID), &IUID::get_Value);
        EXPECT_EQ(kv::Utf8(kv::View(guid.Get().bstrVal)), row.classId);
        EXPECT_EQ(BreaksOf(direct), Breaks());
        EXPECT_EQ(Classified(classifier, 3), 0);
        LONG classes = 0;
        EXPECT_EQ(classifier->Classify(&classes), E_INVALIDARG);
        EXPECT_NE(TakeErrorInfo(), "");
    }
}

TEST(Classifiers, TakeArraysOfNumbers) {
    kv::Variant values = Values({1, 2, 8, 9});
    kv::Variant frequencies = Frequencies({1, 1, 1, 1});
    kv::Variant whole = Numbers<LONG>(VT_I4, {1, 2, 8, 9}, -7);
    kv::Variant inVariants = Variants({1, 2, 8, 9});
    VARIANT inReference = ReferenceTo(const_cast<VARIANT&>(inVariants.Get()));
    const VARIANT plain = frequencies.Get();
    std::vector<std::pair<VARIANT, VARIANT>> rows{
        {values.Get(), plain},        {ByReference(values), ByReference(frequencies)},
        {whole.Get(), plain},         {ByReference(whole), whole.Get()},
        {inReference, inReference},   {inVariants.Get(), inVariants.Get()},
        {values.Get(), values.Get()},  // doubles as frequencies, all whole
    };
    const kv::Variant alsoFrequencies[] = {Numbers<signed char>(VT_I1, {1, 2, 8, 9}),
                                           Numbers<BYTE>(VT_UI1, {1, 2, 8, 9}),
                                           Numbers<SHORT>(VT_I2, {1, 2, 8, 9}),
                                           Numbers<USHORT>(VT_UI2, {1, 2, 8, 9}),
                                           Numbers<ULONG>(VT_UI4, {1, 2, 8, 9}),
                                           Numbers<LONGLONG>(VT_I8, {1, 2, 8, 9}),
                                           Numbers<ULONGLONG>(VT_UI8, {1, 2, 8, 9}),
                                           Numbers<float>(VT_R4, {1, 2, 8, 9}),
                                           Numbers<LONGLONG>(VT_CY, {10'000, 20'000, 80'000, 90'000})};
    for (const kv::Variant& numbers : alsoFrequencies) rows.emplace_back(numbers.Get(), numbers.Get());
    for (const auto& [given, occurrences] : rows) {
        SCOPED_TRACE(given.vt);
        const auto classifier = New<IClassify>(u"NaturalBreaks");
        const auto direct = New<IClassifyGEN>(u"NaturalBreaks");
        EXPECT_EQ(classifier->SetHistogramData(given, occurrences), S_OK);
        Classified(classifier, 2);
        EXPECT_EQ(BreaksOf(classifier), (Breaks{1, 2, 9}));
        LONG classes = 2;
        EXPECT_EQ(direct->Classify(given, occurrences, &classes), S_OK);
        EXPECT_EQ(classes, 2);
        EXPECT_EQ(BreaksOf(direct), (Breaks{1, 2, 9}));
    }
}

TEST(Classifiers, RefuseWhatIsNoHistogramAndStayAsTheyWere) {
    kv::Variant values = Values({1, 2, 8, 9});
    kv::Variant frequencies = Frequencies({1, 1, 1, 1});
    kv::Variant plane = Array(VT_R8, {{2, 0}, {2, 0}});
    const kv::Variant tooFew = Frequencies({1, 1, 1});
    const kv::Variant broken = Values({1, 1.5, 1, 1});
    const kv::Variant tooGreat = Numbers<LONGLONG>(VT_I8, {1, 1, 1, 1LL << 31});
    const kv::Variant noNumber = Values({1, nan, 1, 1});
    const kv::Variant texts = ArrayOf({u"1", u"2", u"8", u"9"});
    const kv::Variant flags = Array(VT_BOOL, {{4, 0}});
    const kv::Variant locked = Values({1, 2, 8, 9});
    const kv::Variant lockedWhole = Numbers<LONG>(VT_I4, {1, 2, 8, 9});
    const AllLocks locks(locked);
    const AllLocks locksOfWhole(lockedWhole);
    const struct {
        VARIANT values, frequencies;
        HRESULT status;
    } rows[] = {
        {{}, frequencies.Get(), E_INVALIDARG},
        {values.Get(), {}, E_INVALIDARG},
        {Value(1.0).Get(), frequencies.Get(), E_INVALIDARG},  // which passes the test of bits
        {values.Get(), Value(1).Get(), E_INVALIDARG},
        {Raw(VT_ARRAY | VT_R8), frequencies.Get(), E_INVALIDARG},
        {Raw(VT_ARRAY | VT_R8 | VT_BYREF), frequencies.Get(), E_INVALIDARG},
        {plane.Get(), frequencies.Get(), E_INVALIDARG},
        {plane.Get(), plane.Get(), E_INVALIDARG},
        {values.Get(), tooFew.Get(), E_INVALIDARG},
        {values.Get(), broken.Get(), E_INVALIDARG},
        {values.Get(), tooGreat.Get(), E_INVALIDARG},
        {values.Get(), noNumber.Get(), E_INVALIDARG},
        {texts.Get(), frequencies.Get(), E_INVALIDARG},
        {flags.Get(), frequencies.Get(), E_INVALIDARG},
        {locked.Get(), frequencies.Get(), E_FAIL},
        {lockedWhole.Get(), frequencies.Get(), E_FAIL},
        {values.Get(), lockedWhole.Get(), E_FAIL},
    };
    for (const auto& method : methods) {
        const auto classifier = New<IClassify>(method.className);
        const auto direct = classifier.As<IClassifyGEN>();
        if (const auto deviations = classifier.As<IDeviationInterval>()) {
            EXPECT_EQ(deviations->put_Mean(5), S_OK);
            EXPECT_EQ(deviations->put_StandardDev(2), S_OK);
        }
        EXPECT_EQ(classifier->SetHistogramData(values.Get(), frequencies.Get()), S_OK);
        LONG classes = 2;
        EXPECT_EQ(classifier->Classify(&classes), S_OK);
        const Breaks breaks = BreaksOf(classifier);
        for (const auto& row : rows) {
            SCOPED_TRACE(&row - rows);
            LONG asked = 2;
            EXPECT_EQ(classifier->SetHistogramData(row.values, row.frequencies), row.status);
            EXPECT_NE(TakeErrorInfo(), "");
            EXPECT_EQ(direct->Classify(row.values, row.frequencies, &asked), row.status);
            EXPECT_NE(TakeErrorInfo(), "");
            EXPECT_EQ(asked, 2);
            EXPECT_EQ(BreaksOf(classifier), breaks);
        }
        Classified(classifier, 2);
        EXPECT_EQ(BreaksOf(classifier), breaks);
    }
    EXPECT_EQ(values.Get().parray->cLocks, 0u);
    EXPECT_EQ(frequencies.Get().parray->cLocks, 0u);
}

TEST(Classifiers, LockArraysOnlyToReadThem) {
    const kv::Variant values = Values({1, 2});
    const kv::Variant none = Values({});
    const kv::Variant frequencies = Frequencies({1, 1});
    const kv::Variant noFrequencies = Frequencies({});
    const kv::Variant tooFew = Frequencies({1});
    const AllLocks locks(values);
    const AllLocks locksOfNone(none);
    const struct {
        const VARIANT &values, &frequencies;
        LONG asked;
        HRESULT status;
        LONG made;
    } rows[] = {{values.Get(), frequencies.Get(), 2, E_FAIL, 2},
                {values.Get(), frequencies.Get(), 0, E_INVALIDARG, 0},
                {values.Get(), tooFew.Get(), 2, E_INVALIDARG, 2},
                {none.Get(), noFrequencies.Get(), 2, S_OK, 0}};
    for (const auto& method : methods) {
        const auto direct = New<IClassifyGEN>(method.className);
        if (const auto deviations = direct.As<IDeviationInterval>()) {
            EXPECT_EQ(deviations->put_Mean(1), S_OK);
            EXPECT_EQ(deviations->put_StandardDev(1), S_OK);
        }
        for (const auto& row : rows) {
            LONG classes = row.asked;
            EXPECT_EQ(direct->Classify(row.values, row.frequencies, &classes), row.status)
                << method.methodName << ", row " << &row - rows;
            EXPECT_EQ(classes, row.made) << method.methodName << ", row " << &row - rows;
        }
    }
    const auto limits = New<IClassifyMinMax>(u"EqualInterval");  // which, both set, leave nothing to be read
    EXPECT_EQ(limits->put_Minimum(0), S_OK);
    EXPECT_EQ(limits->put_Maximum(4), S_OK);
    LONG classes = 2;
    EXPECT_EQ(limits.As<IClassifyGEN>()->Classify(values.Get(), frequencies.Get(), &classes), S_OK);
    EXPECT_EQ(BreaksOf(limits.As<IClassify>()), (Breaks{0, 2, 4}));
}

TEST(Classifiers, KeepCopies) {
    const kv::Variant values = Values({1, 2, 8, 9});
    const kv::Variant frequencies = Frequencies({1, 1, 1, 1});
    const auto classifier = New<IClassify>(u"NaturalBreaks");
    EXPECT_EQ(classifier->SetHistogramData(values.Get(), frequencies.Get()), S_OK);
    static_cast<double*>(values.Get().parray->pvData)[3] = 100;
    static_cast<LONG*>(frequencies.Get().parray->pvData)[0] = 0;
    Classified(classifier, 2);
    EXPECT_EQ(BreaksOf(classifier), (Breaks{1, 2, 9}));
}

TEST(Classifiers, TakeAsManyOfWhatIsKeptAsTheLastHistogramHad) {
    const struct {
        kv::Variant values, frequencies;
        HRESULT status;
        LONG made;  ///< of what is kept, afterwards
        Breaks breaks;
    } rows[] = {
        {Values({5, 6}), Frequencies({1, 1}), S_OK, 2, {1, 1, 2}},
        {Values({5, 6, 7}), Frequencies({1, 1}), E_INVALIDARG, 2, {1, 1, 2}},
        {Values({5, 6, 7}), Frequencies({0, 0, 0}), S_FALSE, 2, {1, 2, 8}},
        {Values({5, 6, 7, 8, 9}), Frequencies({1, 1, 1, 1, 1}), S_OK, 2, {1, 2, 9}},
        {Values({}), Frequencies({}), S_OK, 0, {1, 2, 9}},  // which stay, for there is no run
    };
    const auto classifier = New<IClassify>(u"NaturalBreaks");
    const auto direct = classifier.As<IClassifyGEN>();
    EXPECT_EQ(classifier->SetHistogramData(Values({1, 2, 8, 9}).Get(), Frequencies({1, 1, 1, 1}).Get()), S_OK);
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        LONG classes = 2;
        EXPECT_EQ(direct->Classify(row.values.Get(), row.frequencies.Get(), &classes), row.status);
        EXPECT_EQ(Classified(classifier, 2), row.made);
        EXPECT_EQ(BreaksOf(classifier), row.breaks);
    }
}

TEST(Classifiers, TellWhenTheArraysAreMissing) {
    const struct {
        const char16_t* className;
        HRESULT status;
        LONG classes;
    } rows[] = {{u"NaturalBreaks", E_FAIL, 2},
                {u"EqualInterval", E_FAIL, 2},
                {u"Quantile", S_OK, 0},
                {u"StandardDeviation", S_OK, 0}};
    for (const auto& row : rows) {
        const auto classifier = New<IClassify>(row.className);
        LONG classes = 2;
        classifier.As<IClassifyGEN>()->Classify(Values({1, 2}).Get(), Frequencies({1, 1}).Get(), &classes);
        classes = 2;
        EXPECT_EQ(classifier->Classify(&classes), row.status) << kv::Utf8(row.className);
        EXPECT_EQ(classes, row.classes) << kv::Utf8(row.className);
    }
}

TEST(NaturalBreaks, HoldsToItsLimits) {
    const auto classifier = New<IClassify>(u"NaturalBreaks");
    const auto direct = classifier.As<IClassifyGEN>();
    const kv::Variant values = Values({1, 2});
    const kv::Variant frequencies = Frequencies({1, 1});
    const struct {
        LONG asked;
        HRESULT status;
        LONG made;
        Breaks breaks;
    } rows[] = {{2, S_OK, 2, {1, 1, 2}},
                {1, S_OK, 1, {1, 2}},
                {256, S_OK, 2, {1, 1, 2}},
                {257, E_INVALIDARG, 257, {1, 1, 2}},
                {0, E_INVALIDARG, 0, {1, 1, 2}},
                {-1, E_INVALIDARG, -1, {1, 1, 2}},
                {std::numeric_limits<LONG>::min(), E_INVALIDARG, std::numeric_limits<LONG>::min(), {1, 1, 2}}};
    for (const auto& row : rows) {
        LONG classes = row.asked;
        EXPECT_EQ(direct->Classify(values.Get(), frequencies.Get(), &classes), row.status) << row.asked;
        EXPECT_EQ(classes, row.made);
        EXPECT_EQ(BreaksOf(classifier), row.breaks) << row.asked;
    }
    LONG classes = 2;
    EXPECT_EQ(direct->Classify(values.Get(), Frequencies({0, 0}).Get(), &classes), S_FALSE);
    EXPECT_EQ(classes, 0);
    classes = 2;
    EXPECT_EQ(direct->Classify(values.Get(), Frequencies({-1, 0}).Get(), &classes), S_FALSE);
    EXPECT_EQ(BreaksOf(classifier), (Breaks{1, 1, 2}));
}

TEST(EqualInterval, TakesItsLimitsWhereBothAreSet) {
    const auto classifier = New<IClassify>(u"EqualInterval");
    const auto limits = classifier.As<IClassifyMinMax2>();
    double limit = 7;
    EXPECT_EQ(limits->get_Minimum(&limit), S_FALSE);
    const auto both = AnswerOf(limits, &IClassifyMinMax2::get_HasLimits);
    EXPECT_EQ(both, VARIANT_FALSE);
    EXPECT_EQ(limits->put_Minimum(0), S_OK);
    EXPECT_EQ(classifier->SetHistogramData(Values({1, 2, 5}).Get(), Frequencies({1, 1, 1}).Get()), S_OK);
    Classified(classifier, 2);
    EXPECT_EQ(BreaksOf(classifier), (Breaks{1, 3, 5}));
    EXPECT_EQ(limits->put_Maximum(8), S_OK);
    Classified(classifier, 4);
    EXPECT_EQ(BreaksOf(classifier), (Breaks{0, 2, 4, 6, 8}));
    EXPECT_EQ(Classified(New<IClassify>(u"EqualInterval"), 4), 0);  // without data there is no class
    const auto empty = New<IClassifyMinMax>(u"EqualInterval");      // unless both limits are set
    EXPECT_EQ(empty->put_Minimum(0), S_OK);
    EXPECT_EQ(empty->put_Maximum(10), S_OK);
    EXPECT_EQ(Classified(empty.As<IClassify>(), 4), 4);
    EXPECT_EQ(BreaksOf(empty.As<IClassify>()), (Breaks{0, 2.5, 5, 7.5, 10}));
    LONG classes = 0x7FFFFFFF;
    EXPECT_EQ(classifier->Classify(&classes), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IClassify>("EqualInterval", "There would be more than 16,777,216 breaks."));
    EXPECT_EQ(classes, 0x7FFFFFFF);
    EXPECT_EQ(limits->put_Maximum(0), S_OK);
    EXPECT_EQ(Classified(classifier, 5), 5);  // as it was given, for one class
    EXPECT_EQ(BreaksOf(classifier), (Breaks{0, 0}));
    EXPECT_EQ(limits->ClearLimits(), S_OK);
    EXPECT_EQ(limits->get_Maximum(&limit), S_FALSE);
}

TEST(StandardDeviation, HoldsItsIntervalToTheLimit) {
    const auto classifier = New<IClassify>(u"StandardDeviation");
    const auto layout = classifier.As<IDeviationInterval>();
    const auto limit = classifier.As<IDeviationInterval2>();
    const struct {
        double width;
        HRESULT limited, free;
    } rows[] = {{0.25, S_OK, S_OK},
                {2, S_OK, S_OK},
                {3, E_INVALIDARG, S_OK},
                {0.2, E_INVALIDARG, S_OK},
                {0, E_INVALIDARG, E_INVALIDARG},
                {-1, E_INVALIDARG, E_INVALIDARG},
                {nan, E_INVALIDARG, E_INVALIDARG}};
    EXPECT_EQ(AnswerOf(layout, &IDeviationInterval::get_DeviationInterval), 1);
    for (const auto& row : rows) {
        for (const bool isLimited : {true, false}) {
            EXPECT_EQ(limit->put_LimitToThreeDeviations(isLimited ? 7 : 0), S_OK);
            EXPECT_EQ(AnswerOf(limit, &IDeviationInterval2::get_LimitToThreeDeviations),
                      isLimited ? VARIANT_TRUE : VARIANT_FALSE);
            EXPECT_EQ(layout->put_DeviationInterval(row.width), isLimited ? row.limited : row.free) << row.width;
        }
    }
    for (const auto& [given, taken] :
         {std::pair<VARIANT_BOOL, VARIANT_BOOL>{1, VARIANT_FALSE}, {VARIANT_TRUE, VARIANT_TRUE}, {0, VARIANT_FALSE}}) {
        EXPECT_EQ(layout->put_CenterClassOnMean(given), S_OK);
        EXPECT_EQ(AnswerOf(layout, &IDeviationInterval::get_CenterClassOnMean), taken) << given;
    }
}

TEST(StandardDeviation, WantsMeanAndDeviation) {
    const auto classifier = New<IClassify>(u"StandardDeviation");
    const auto layout = classifier.As<IDeviationInterval>();
    EXPECT_EQ(classifier->SetHistogramData(Values({0, 20}).Get(), Frequencies({1, 1}).Get()), S_OK);
    LONG classes = 4;
    EXPECT_EQ(classifier->Classify(&classes), E_FAIL);
    EXPECT_EQ(layout->put_Mean(10), S_OK);
    EXPECT_EQ(classifier->Classify(&classes), E_FAIL);
    EXPECT_EQ(layout->put_StandardDev(2), S_OK);
    EXPECT_EQ(classifier->Classify(&classes), S_OK);
    EXPECT_EQ(classes, 7);
    EXPECT_EQ(BreaksOf(classifier), (Breaks{0, 5, 7, 9, 11, 13, 15, 20}));
    EXPECT_EQ(layout->put_StandardDev(nan), S_OK);
    EXPECT_EQ(classifier->Classify(&classes), E_INVALIDARG);
    EXPECT_EQ(BreaksOf(classifier).size(), 8u);
    EXPECT_EQ(layout->put_StandardDev(-2), S_OK);
    EXPECT_EQ(classifier->Classify(&classes), S_FALSE);
    EXPECT_EQ(classes, 7);
    EXPECT_EQ(BreaksOf(classifier), Breaks());
}

TEST(DefinedInterval, TakesAWidthAboveZero) {
    const auto interval = New<IClassInterval>(u"DefinedInterval");
    for (const double bad : {0.0, -1.0, nan, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(interval->put_IntervalSize(bad), E_INVALIDARG);
    EXPECT_EQ(AnswerOf(interval, &IClassInterval::get_IntervalSize), 1);
    EXPECT_EQ(interval->put_IntervalSize(4), S_OK);
    LONG classes = 1;
    EXPECT_EQ(interval.As<IClassifyGEN>()->Classify(Values({0, 10}).Get(), Frequencies({1, 1}).Get(), &classes), S_OK);
    EXPECT_EQ(classes, 3);
    EXPECT_EQ(BreaksOf(interval.As<IClassify>()), (Breaks{0, 4, 8, 10}));
}

TEST(BaseStatistics, CountsWhatIsAdded) {
    const auto statistics = New<IBaseStatistics>(u"BaseStatistics");
    double number = 7;
    EXPECT_EQ(statistics->get_Mean(&number), E_FAIL);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IBaseStatistics>("BaseStatistics", "There are no values."));
    EXPECT_EQ(AnswerOf(statistics, &IBaseStatistics::get_Sum), 0);
    EXPECT_EQ(statistics->AddValue(2), S_OK);
    EXPECT_EQ(statistics->get_PopulationVariance(&number), S_OK);
    EXPECT_EQ(statistics->get_Variance(&number), E_FAIL);
    EXPECT_EQ(statistics->AddValues(Numbers<SHORT>(VT_I2, {4, 4, 4}).Get()), S_OK);
    EXPECT_EQ(statistics->AddWeightedValues(Values({5, 7, 9}).Get(), Frequencies({2, 1, 1}).Get()), S_OK);
    EXPECT_EQ(statistics->AddWeightedValue(100, 0), S_OK);
    for (const HRESULT status :
         {statistics->AddValue(nan), statistics->AddWeightedValue(1, -1), statistics->AddValues(Values({1, nan}).Get()),
          statistics->AddWeightedValues(Values({1, 2}).Get(), Values({1}).Get()), statistics->AddValues({})}) {
        EXPECT_EQ(status, E_INVALIDARG);
    }
    EXPECT_EQ(AnswerOf(statistics, &IBaseStatistics::get_Count), 7);
    using Get = HRESULT (STDMETHODCALLTYPE IBaseStatistics::*)(double*);
    const struct {
        Get get;
        double expected;
    } rows[] = {{&IBaseStatistics::get_TotalWeight, 8},
                {&IBaseStatistics::get_Sum, 40},
                {&IBaseStatistics::get_Mean, 5},
                {&IBaseStatistics::get_Minimum, 2},
                {&IBaseStatistics::get_Maximum, 9},
                {&IBaseStatistics::get_Variance, 32.0 / 7},
                {&IBaseStatistics::get_StandardDeviation, std::sqrt(32.0 / 7)},
                {&IBaseStatistics::get_PopulationVariance, 4},
                {&IBaseStatistics::get_PopulationStandardDeviation, 2}};
    for (const auto& row : rows) {
        EXPECT_NEAR(AnswerOf(statistics, row.get), row.expected, 1e-14) << &row - rows;
    }
    EXPECT_EQ(statistics->Reset(), S_OK);
    EXPECT_EQ(statistics->get_Maximum(&number), E_FAIL);
}

TEST(BaseStatistics, MakesHistograms) {
    const auto maker = New<IHistogramMaker>(u"BaseStatistics");
    kv::Variant values, frequencies;
    EXPECT_EQ(maker->MakeHistogram(Values({3, 1, 3}).Get(), {}, values.Put(), frequencies.Put()), S_OK);
    EXPECT_TRUE(kv::SameValue(values.Get(), Values({1, 3}).Get()));
    EXPECT_TRUE(kv::SameValue(frequencies.Get(), Frequencies({1, 2}).Get()));
    EXPECT_EQ(
        maker->MakeHistogram(Values({3, 1, 3}).Get(), Frequencies({2, 0, 5}).Get(), values.Put(), frequencies.Put()),
        S_OK);
    EXPECT_TRUE(kv::SameValue(frequencies.Get(), Frequencies({0, 7}).Get()));
    EXPECT_EQ(maker->MakeHistogram(Values({nan}).Get(), {}, values.Put(), frequencies.Put()), E_INVALIDARG);
    EXPECT_EQ(values.Get().vt, VT_EMPTY);
    EXPECT_EQ(maker->MakeHistogram(Values({1}).Get(), {}, nullptr, frequencies.Put()), E_POINTER);
    EXPECT_EQ(maker->MakeHistogram(Values({1}).Get(), {}, values.Put(), nullptr), E_POINTER);
}

TEST(ClassifyClient, PrintsBreaks) {
    const std::string example = "10\n11,1\r\n\n1\n2\n3\n12\n";
    const struct {
        const char16_t* arguments;
        std::string input;
        std::string output;
        DWORD status;
    } rows[] = {
        {u"--method natural-breaks --classes 2 -", example, "classes\t2\t0x00000000\nbreaks\t1\t3\t12\n", 0},
        {u"--method equal-interval --classes 4 --min 0 --max 10 -", "",
         "classes\t4\t0x00000000\nbreaks\t0\t2.5\t5\t7.5\t10\n", 0},
        {u"--method quantile --classes 3 -", "1\n2,10\n3", "classes\t3\t0x00000000\nbreaks\t1\t1\t2\t3\n", 0},
        {u"--method standard-deviation --classes 1 --mean 10 --stddev 2 -", "0\n20\n",
         "classes\t7\t0x00000000\nbreaks\t0\t5\t7\t9\t11\t13\t15\t20\n", 0},
        {u"--method standard-deviation --classes 1 -", "0\n20\n", "classes\t3\t0x00000000\nbreaks\t0\t5\t15\t20\n", 0},
        {u"--method standard-deviation --classes 1 --interval 3 --unlimited --on-break --mean 10 --stddev 2 -",
         "0\n20\n", "classes\t4\t0x00000000\nbreaks\t0\t4\t10\t16\t20\n", 0},
        {u"--method defined-interval --classes 1 --interval 4 -", "0\n10\n",
         "classes\t3\t0x00000000\nbreaks\t0\t4\t8\t10\n", 0},
        {u"--method geometrical-interval --classes 2 -", "0\n1\n5\n", "classes\t2\t0x00000000\nbreaks\t0\t1\t5\n", 0},
        {u"--method natural-breaks --classes 2 -", "1,0\n2,0\n", "classes\t0\t0x00000001\nbreaks\n", 0},
        {u"--method natural-breaks --classes 257 -", "1\n",
         "mova: movaSystem.NaturalBreaks: From 1 to 256 classes can be asked for. (0x80070057)\n", 1},
        {u"--method natural-breaks --classes 2 -", "1\n2,x\n", "mova: -, line 2: not VALUE or VALUE,FREQUENCY\n", 2},
        {u"--method quantile --classes 2 --min 3 -", "1\n", "mova: quantile does not take --min\n", 2},
        {u"--method quantile -", "1\n", "mova: classify takes --classes and how many\n", 2},
        {u"--method mean --classes 2 no-such-file", "",
         "mova: classify knows these methods: natural-breaks, equal-interval, quantile, standard-deviation, "
         "defined-interval, geometrical-interval\n",
         2},
    };
    for (const auto& row : rows) {
        const auto run = Mova(std::u16string(u"classify ") + row.arguments, row.input);
        EXPECT_EQ(run.output, row.output);
        EXPECT_EQ(run.status, row.status);
    }
}

TEST(ClassifyClient, DrawsADocumentThatReads) {
    const std::u16string file = BinaryFolder() + u"classes.svg";
    const auto run = Mova(u"classify --method equal-interval --classes 3 --plot \"" + file + u"\" -", "1\n2\n7,30\n");
    EXPECT_EQ(run.status, 0u) << run.output;
    const auto check = Mova(u"xml check \"" + file + u"\"");
    EXPECT_EQ(check.status, 0u) << check.output;
    EXPECT_TRUE(DeleteFileW(kv::Wide(file.c_str())));
}

}  // namespace mova::test
