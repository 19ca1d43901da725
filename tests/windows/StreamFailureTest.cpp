// What is saved, loaded, read and written with each call of the stream failing once, or being its last and cut short.
#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/Samples.h"

namespace mova::test {
namespace {

using Use = std::function<HRESULT(IStream*)>;

/// Fails the test unless each failure of the stream is handed on, or is a failure where the stream ends too early, the
/// same thing succeeds afterwards on a good one, and nothing is left alive.
/// @param use what is done with a stream; it does so from the start each time
void HandsFailuresOn(const std::string& name, const Bytes& content, const Use& use) {
    SCOPED_TRACE(name);
    const auto attempt = [&](ULONG atOnce, bool isCut, int good) {
        Trickle failing(content, atOnce);
        failing.callsLeft = good;
        failing.isCut = isCut;
        const HRESULT status = use(&failing);
        if (failing.callsLeft >= 0) {
            EXPECT_EQ(status, S_OK);
            EXPECT_GT(good, 0) << "the stream is not used";
            return false;
        }
        // Classes that are to answer E_FAIL where any read fails do so. What reads to the end is not disturbed there.
        const bool isWhole = !content.empty() && failing.position == content.size();
        EXPECT_TRUE(isCut ? FAILED(status) || isWhole
                          : status == STG_E_MEDIUMFULL || (!content.empty() && status == E_FAIL))
            << std::hex << status;
        Trickle whole(content, atOnce);
        EXPECT_EQ(use(&whole), S_OK);
        return true;
    };
    for (const ULONG atOnce : {3u, 1u << 20}) {
        for (const bool isCut : {false, true}) {
            bool isReached = true;
            for (int good = 0; isReached; ++good) {
                SCOPED_TRACE(std::to_string(atOnce) + " bytes at once, call " + std::to_string(good) +
                             (isCut ? " cut" : " failing"));
                ASSERT_LT(good, 2000);
                const long before = LiveBlocks() + LiveBlocksOfPlatform();
                isReached = attempt(atOnce, isCut, good);
                SetErrorInfo(0, nullptr);
                if (!kv::recyclesMemory && good > 0) {
                    EXPECT_EQ(LiveBlocks() + LiveBlocksOfPlatform(), before);
                }
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

Bytes BytesOfText(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace

TEST(StreamFailure, IsWhatEveryClassAnswersThatIsSavedOrLoaded) {
    Samples samples;
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const auto sample = samples.Of(entry->name);
        const auto object = sample.As<IPersistStream>();
        if (!object) continue;
        const std::string name = kv::Utf8(entry->name);
        for (const HRESULT status : {object->Load(nullptr), object->Save(nullptr, TRUE), object->GetSizeMax(nullptr),
                                     object->GetClassID(nullptr)})
            EXPECT_EQ(status, E_POINTER) << name;
        const std::string held = StateOf(sample.Get());
        HandsFailuresOn(name + " saved", {}, [&](IStream* stream) { return object->Save(stream, FALSE); });
        EXPECT_EQ(StateOf(sample.Get()), held) << name;
        const Bytes saved = SavedAlone(sample.Get());
        HandsFailuresOn(name + " loaded", saved, [&](IStream* stream) {
            const HRESULT status = object->Load(stream);
            const Bytes left = SavedAlone(sample.Get());
            EXPECT_TRUE(left == saved || (FAILED(status) && !LoadKeeps(entry->name)));
            return status;
        });
    }
}

TEST(StreamFailure, IsHandedOnByWhatWorksOnStreams) {
    Samples samples;
    const auto set = samples.Of(u"PropertySet");
    /// What is done by an object that works on a stream.
    const auto by = [](const auto& object, const auto& act) -> Use {
        return [=](IStream* stream) {
            EXPECT_EQ(object->put_Stream(stream), S_OK);
            const HRESULT status = act();
            EXPECT_EQ(object->put_Stream(nullptr), S_OK);
            return status;
        };
    };
    const auto objects = New<IObjectStream2>(u"ObjectStream");
    HandsFailuresOn("an object stream that saves", {}, by(objects, [&] {
                        objects->ForgetReferences();
                        return objects->SaveObject(set.Get());
                    }));
    HandsFailuresOn("an object stream that loads", Saved(set.Get()), by(objects, [&] {
                        kv::Ptr<IUnknown> object;
                        objects->ForgetReferences();
                        const HRESULT status = objects->LoadObject(__uuidof(IUnknown), nullptr, object.PutVoid());
                        EXPECT_EQ(SUCCEEDED(status), static_cast<bool>(object));
                        return status;
                    }));
    const auto values = New<IVariantStreamIO>(u"VariantStreamIO");
    const auto write = by(values, [&] { return values->Write(ArrayOf({u"one", u"two"}).Get()); });
    HandsFailuresOn("values that are written", {}, write);
    Trickle written({}, 1 << 20);
    EXPECT_EQ(write(&written), S_OK);
    HandsFailuresOn("values that are read", written.bytes,
                    by(values, [&] { return values->Read(kv::Variant().Put()); }));
    const auto numbers = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    const auto each = [&]<class Number>(HRESULT (STDMETHODCALLTYPE IByteSwapStreamIO::*put)(Number),
                                        HRESULT (STDMETHODCALLTYPE IByteSwapStreamIO::*get)(Number*)) {
        const std::string name = "numbers of " + std::to_string(sizeof(Number));
        HandsFailuresOn(name + " written", {}, by(numbers, [&] { return (numbers.Get()->*put)(1); }));
        Number number{};
        HandsFailuresOn(name + " read", Bytes(sizeof number),
                        by(numbers, [&] { return (numbers.Get()->*get)(&number); }));
    };
    each(&IByteSwapStreamIO::WriteInt16, &IByteSwapStreamIO::ReadInt16);
    each(&IByteSwapStreamIO::WriteInt32, &IByteSwapStreamIO::ReadInt32);
    each(&IByteSwapStreamIO::WriteInt64, &IByteSwapStreamIO::ReadInt64);
    each(&IByteSwapStreamIO::WriteSingle, &IByteSwapStreamIO::ReadSingle);
    each(&IByteSwapStreamIO::WriteDouble, &IByteSwapStreamIO::ReadDouble);
    for (const auto& kind : StreamKinds()) {
        const TemporaryFolder folder;
        const auto source = kind.make(folder, "some bytes that are copied", 0);
        HandsFailuresOn(std::string("copying from ") + kind.name, {}, [&](IStream* stream) {
            EXPECT_EQ(SeekTo(source.Get(), 0), S_OK);
            return source->CopyTo(stream, Size(20), nullptr, nullptr);
        });
    }
}

TEST(StreamFailure, IsHandedOnByReadersAndWriters) {
    const auto set = Samples().Of(u"PropertySet");
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
