// What is saved, loaded, read and written with each call of the stream failing once.
#include "server/ClassTable.h"
#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using Use = std::function<HRESULT(IStream*)>;

/// Fails the test unless each failure of the stream is handed on, and the same thing succeeds afterwards on a good one.
/// @param use what is done with a stream; it does so from the start each time
void HandsFailuresOn(const std::string& name, const Bytes& content, const Use& use) {
    SCOPED_TRACE(name);
    for (const ULONG atOnce : {3u, 1u << 20}) {
        for (int good = 0;; ++good) {
            SCOPED_TRACE(good);
            ASSERT_LT(good, 2000);
            Trickle failing(content, atOnce);
            failing.callsLeft = good;
            const HRESULT status = use(&failing);
            if (failing.callsLeft >= 0) {
                EXPECT_EQ(status, S_OK);
                EXPECT_GT(good, 0) << "the stream is not used";
                break;
            }
            // Classes that are to answer E_FAIL where any read fails do so.
            EXPECT_TRUE(status == STG_E_MEDIUMFULL || (!content.empty() && status == E_FAIL)) << std::hex << status;
            Trickle whole(content, atOnce);
            EXPECT_EQ(use(&whole), S_OK);
            if (testing::Test::HasFailure()) return;
        }
    }
    SetErrorInfo(0, nullptr);
}

Bytes BytesOfText(std::string_view text) {
    return {text.begin(), text.end()};
}

kv::Ptr<IPropertySet> Sample() {
    auto set = New<IPropertySet>(u"PropertySet");
    EXPECT_EQ(set->SetProperty(Bstr(u"Texts"), ArrayOf({u"one", u"two"}).Get()), S_OK);
    EXPECT_EQ(set->SetProperty(Bstr(u"Identifier"), Value(New<IUID>(u"UID").Get()).Get()), S_OK);
    return set;
}

}  // namespace

TEST(StreamFailure, IsWhatEveryClassAnswersThatIsSavedOrLoaded) {
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const auto object = New<IUnknown>(entry->name).As<IPersistStream>();
        if (!object) continue;
        const std::string name = kv::Utf8(entry->name);
        for (const HRESULT status : {object->Load(nullptr), object->Save(nullptr, TRUE), object->GetSizeMax(nullptr),
                                     object->GetClassID(nullptr)})
            EXPECT_EQ(status, E_POINTER) << name;
        HandsFailuresOn(name + " saved", {}, [&](IStream* stream) { return object->Save(stream, FALSE); });
        Trickle saved({}, 1 << 20);
        EXPECT_EQ(object->Save(&saved, FALSE), S_OK);
        HandsFailuresOn(name + " loaded", saved.bytes, [&](IStream* stream) { return object->Load(stream); });
    }
}

TEST(StreamFailure, IsHandedOnByWhatWorksOnStreams) {
    const auto set = Sample();
    Trickle saved({}, 1 << 20);
    HandsFailuresOn("an object stream that saves", {},
                    [&](IStream* stream) { return ObjectsOver(stream)->SaveObject(set.Get()); });
    EXPECT_EQ(ObjectsOver(&saved)->SaveObject(set.Get()), S_OK);
    HandsFailuresOn("an object stream that loads", saved.bytes, [&](IStream* stream) {
        kv::Ptr<IUnknown> object;
        const HRESULT status = ObjectsOver(stream)->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid());
        EXPECT_EQ(SUCCEEDED(status), static_cast<bool>(object));
        return status;
    });
    const auto values = New<IVariantStreamIO>(u"VariantStreamIO");
    HandsFailuresOn("values", {}, [&](IStream* stream) {
        EXPECT_EQ(values->put_Stream(stream), S_OK);
        const HRESULT status = values->Write(ArrayOf({u"one", u"two"}).Get());
        EXPECT_EQ(values->put_Stream(nullptr), S_OK);
        return status;
    });
    const auto numbers = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    HandsFailuresOn("numbers", {}, [&](IStream* stream) {
        EXPECT_EQ(numbers->put_Stream(stream), S_OK);
        const HRESULT status = numbers->WriteDouble(0.1);
        EXPECT_EQ(numbers->put_Stream(nullptr), S_OK);
        return status;
    });
}

TEST(StreamFailure, IsHandedOnByReadersAndWriters) {
    const auto set = Sample();
    const auto serializer = New<IXMLSerializerAlt>(u"XMLSerializerAlt");
    const auto save = [&](IStream* stream) { return serializer->SaveToStream(set.Get(), Bstr(u"Object"), stream); };
    HandsFailuresOn("an object to XML", {}, save);
    Trickle document({}, 1 << 20);
    EXPECT_EQ(save(&document), S_OK);
    HandsFailuresOn("an object from XML", document.bytes,
                    [&](IStream* stream) { return serializer->LoadFromStream(stream, kv::Ptr<IUnknown>().Put()); });
    const auto xml = New<IXMLReader>(u"XMLReader");
    HandsFailuresOn("nodes", document.bytes, [&](IStream* stream) {
        HRESULT status = xml->put_InputStream(stream);
        for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) status = xml->Read(&found);
        EXPECT_EQ(xml->put_InputStream(nullptr), S_OK);
        return status;
    });
    const auto tokens = New<IJSONReader>(u"JSONReader");
    HandsFailuresOn("tokens", BytesOfText("{\"a\":[1,true,\"text\"],\"b\":{\"c\":null}}"), [&](IStream* stream) {
        HRESULT status = tokens->ReadFromStream(stream);
        for (int i = 0; i < 12 && SUCCEEDED(status); ++i) status = tokens->ReadNext();
        EXPECT_EQ(tokens->ReadFromString(Bstr(u"")), S_FALSE);
        return status;
    });
    const auto writer = New<IJSONWriter>(u"JSONWriter");
    HandsFailuresOn("JSON", {}, [&](IStream* stream) {
        EXPECT_EQ(writer->Reset(), S_OK);
        HRESULT status = writer->WriteToStream(stream);
        if (SUCCEEDED(status)) status = writer->StartArray(nullptr);
        for (int i = 0; i < 300 && SUCCEEDED(status); ++i) status = writer->WriteLongElement(i);
        if (SUCCEEDED(status)) status = writer->EndArray();
        EXPECT_EQ(writer->WriteToMemory(), S_OK);
        return status;
    });
}

}  // namespace mova::test
