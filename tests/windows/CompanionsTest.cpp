// The property as an object, the arrays, and the log.
#include "tests/windows/Persistence.h"

namespace mova::test {

TEST(PropertySetProperty, HoldsANameAndAValue) {
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    kv::BString key;
    kv::Variant value;
    EXPECT_EQ(AnswerOf(property, &IPropertySetProperty::get_Key).View(), u"");
    EXPECT_EQ(AnswerOf(property, &IPropertySetProperty::get_Value).Get().vt, VT_EMPTY);
    EXPECT_EQ(property->put_Key(Bstr(u"Key")), S_OK);
    EXPECT_EQ(property->put_Value(Value(u"text").Get()), S_OK);
    EXPECT_EQ(property->put_Value(Raw(0x777)), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IPropertySetProperty>("PropertySetProperty",
                                                             "The value is of a kind that a property cannot keep."));
    const auto copy = CloneOf(property);
    EXPECT_EQ(property->put_Key(nullptr), S_OK);
    EXPECT_EQ(copy->get_Key(key.Put()), S_OK);
    EXPECT_EQ(key.View(), u"Key");
    EXPECT_EQ(copy->get_Value(value.Put()), S_OK);
    EXPECT_EQ(kv::View(value.Get().bstrVal), u"text");
}

template <class Array, class Item>
void CheckArray(std::u16string_view arrayClass, std::u16string_view itemClass) {
    const auto array = New<Array>(arrayClass);
    kv::Ptr<Item> items[3];
    for (auto& item : items) item = New<Item>(itemClass);
    const auto order = [&] {
        std::string text;
        const auto count = AnswerOf(array, &Array::get_Count);
        for (LONG i = 0; i < count; ++i) {
            const auto element = AnswerOf(array, &Array::get_Element, i);
            for (int k = 0; k < 3; ++k)
                if (element.Get() == items[k].Get()) text += static_cast<char>('0' + k);
        }
        return text;
    };
    EXPECT_EQ(array->Add(items[0].Get()), S_OK);
    EXPECT_EQ(array->Insert(0, items[1].Get()), S_OK);
    EXPECT_EQ(array->Insert(2, items[2].Get()), S_OK);
    EXPECT_EQ(order(), "102");
    EXPECT_EQ(array->put_Element(1, items[2].Get()), S_OK);
    EXPECT_EQ(order(), "122");
    kv::Ptr<Item> element;
    for (const LONG outside : {-1L, 3L, 2147483647L}) {
        EXPECT_EQ(array->get_Element(outside, element.Put()), E_INVALIDARG);
        EXPECT_EQ(array->put_Element(outside, items[0].Get()), E_INVALIDARG);
        EXPECT_EQ(array->Remove(outside), E_INVALIDARG);
        EXPECT_EQ(array->Insert(outside == 3 ? 4 : outside, items[0].Get()), E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), Refusal<Array>(kv::Utf8(arrayClass), "The index is outside the array."));
    }
    EXPECT_EQ(array->Add(nullptr), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<Array>(kv::Utf8(arrayClass), "The array takes no null elements."));
    EXPECT_EQ(array->put_Element(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(array->Insert(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(array->Remove(0), S_OK);
    EXPECT_EQ(order(), "22");

    const auto copy = CloneOf(array);
    EXPECT_EQ(copy->get_Element(0, element.Put()), S_OK);
    EXPECT_NE(element.Get(), items[2].Get()) << "elements are copied";
    EXPECT_EQ(array->RemoveAll(), S_OK);
    EXPECT_EQ(order(), "");
    LONG count = 0;
    EXPECT_EQ(copy->get_Count(&count), S_OK);
    EXPECT_EQ(count, 2);
}

TEST(PropertySetArrays, KeepElementsInOrder) {
    CheckArray<IPropertySetArray, IPropertySet>(u"PropertySetArray", u"PropertySet");
    CheckArray<IPropertySetPropertyArray, IPropertySetProperty>(u"PropertySetPropertyArray", u"PropertySetProperty");
}

TEST(PropertySetArrays, SurviveAnElementThatChangesThemWhileItIsCopied) {
    /// A set of another maker, which when it is saved empties the array that it is in, and is loaded as one of ours.
    class Visitor final : public ForeignWith<IPropertySet> {
     public:
        explicit Visitor(IPropertySetArray* array) : array_(array) {}
        STDMETHODIMP Save(IStream* stream, BOOL clearDirty) noexcept override {
            array_->RemoveAll();
            return New<IPersistStream>(u"PropertySet")->Save(stream, clearDirty);
        }
        STDMETHODIMP GetCount(LONG*) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP SetProperty(BSTR, VARIANT) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP SetProperties(VARIANT, VARIANT) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP GetProperty(BSTR, VARIANT*) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP GetProperties(VARIANT, VARIANT*) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP GetAllProperties(VARIANT*, VARIANT*) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP RemoveProperty(BSTR) noexcept override { return E_NOTIMPL; }
        STDMETHODIMP IsEqual(IPropertySet*, VARIANT_BOOL*) noexcept override { return E_NOTIMPL; }

     private:
        IPropertySetArray* array_;
    };
    const auto array = New<IPropertySetArray>(u"PropertySetArray");
    const auto visitor = kv::Ptr<Visitor>::Attach(new Visitor(array.Get()));
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(array->Add(visitor.Get()), S_OK);
        EXPECT_EQ(array->Add(New<IPropertySet>(u"PropertySet").Get()), S_OK);
    }
    const auto copy = CloneOf(array);
    LONG count = 0;
    EXPECT_EQ(copy->get_Count(&count), S_OK);
    EXPECT_EQ(count, 200);
}

TEST(MessageLogger, KeepsTheLatestMessagesAboveItsThreshold) {
    const auto log = New<IMessageLogger>(u"MessageLogger");
    EXPECT_EQ(log->Log(movaMessageDetail, Bstr(u"s"), Bstr(u"below")), S_FALSE);
    EXPECT_EQ(log->put_Threshold(movaMessageDetail), S_OK);
    EXPECT_EQ(log->put_Capacity(3), S_OK);
    for (const char16_t* text : {u"1", u"2", u"3", u"4"})
        EXPECT_EQ(log->Log(movaMessageDetail, Bstr(u"source"), Bstr(text)), S_OK);
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::get_DroppedCount), 1);
    movaMessageSeverity severity{};
    DATE time = 0;
    kv::BString source, text;
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::Read, 0, &severity, &time, source.Put()).View(), u"2");
    EXPECT_EQ(source.View(), u"source");
    SYSTEMTIME now;
    GetLocalTime(&now);
    DATE today = 0;
    SystemTimeToVariantTime(&now, &today);
    EXPECT_NEAR(time, today, 1.0 / 1440);

    kv::Variant value;
    EXPECT_EQ(New<IPropertySet>(u"PropertySet")->GetProperty(Bstr(u"x"), value.Put()), E_FAIL);
    EXPECT_EQ(log->LogErrorInfo(E_FAIL), S_OK);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IPropertySet>("PropertySet", "No property is named \"x\"."))
        << "it stays on the thread";
    EXPECT_EQ(log->Read(2, &severity, &time, source.Put(), text.Put()), S_OK);
    EXPECT_EQ(severity, movaMessageError);
    EXPECT_EQ(source.View(), u"movaSystem.PropertySet");
    EXPECT_EQ(text.View(), u"No property is named \"x\".");
    EXPECT_EQ(log->LogErrorInfo(static_cast<LONG>(0x8FFF1234)), S_OK);
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::Read, 2, &severity, &time, source.Put()).View(), u"0x8FFF1234")
        << "a status that nobody has a text for";

    const int beyond = movaMessageError + 1;
    const auto unknown = *reinterpret_cast<const movaMessageSeverity*>(&beyond);
    EXPECT_EQ(log->put_Threshold(unknown), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IMessageLogger>("MessageLogger", "There is no such severity."));
    EXPECT_EQ(log->Log(unknown, nullptr, nullptr), E_INVALIDARG);
    for (const LONG capacity : {0L, -1L, 1'000'001L}) EXPECT_EQ(log->put_Capacity(capacity), E_INVALIDARG) << capacity;
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::get_Capacity), 3);
    EXPECT_EQ(log->get_Threshold(&severity), S_OK);
    EXPECT_EQ(severity, movaMessageDetail);
    BSTR untouched = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(log->Read(3, &severity, &time, source.Put(), &untouched), E_INVALIDARG);
    EXPECT_EQ(untouched, nullptr);
    EXPECT_EQ(log->Read(0, &severity, &time, source.Put(), nullptr), E_POINTER);
    EXPECT_EQ(log->Read(0, nullptr, &time, source.Put(), text.Put()), E_POINTER);
    EXPECT_EQ(log->put_Capacity(1), S_OK);
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::get_Count), 1);
    EXPECT_EQ(log->Log(movaMessageError, nullptr, nullptr), S_OK);
    EXPECT_EQ(log->Clear(), S_OK);
    EXPECT_EQ(AnswerOf(log, &IMessageLogger::get_Count), 0);
}

}  // namespace mova::test
