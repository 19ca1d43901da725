// Object graphs as XML beside the same graphs in binary.
#include <movaSystem.h>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "kvcore/BString.h"

namespace bench {
namespace {

/// An array of property sets, each of which has a number, a real number, a text and a date.
class SetsToSave {
 public:
    explicit SetsToSave(LONG count) : count_(count) {
        const auto sets = FactoryOf(__uuidof(PropertySet));
        for (LONG i = 0; i < count; ++i) {
            const auto set = Make<IPropertySet>(sets);
            VARIANT value{};
            const auto put = [&](std::u16string_view name, VARTYPE type) {
                value.vt = type;
                Require(set->SetProperty(kv::BString(name).Get(), value) == S_OK, "A property is not set.");
            };
            value.lVal = i;
            put(u"Id", VT_I4);
            value.dblVal = i * 0.37;
            put(u"Length", VT_R8);
            value.date = 40'000 + i % 1'000;
            put(u"Changed", VT_DATE);
            const kv::BString text(u"Number " + Digits(i) + u" of Main & High Street");
            value.bstrVal = text.Get();
            put(u"Name", VT_BSTR);
            Require(array_->Add(set.Get()) == S_OK, "A set is not added.");
        }
    }

    std::uint64_t ThroughXml() const {
        const auto memory = NewMemory();
        const auto serializer = Make<IXMLSerializerAlt>(serializers_);
        Require(serializer->SaveToStream(array_.Get(), nullptr, memory.Get()) == S_OK, "The sets are not written.");
        Rewind(memory);
        kv::Ptr<IUnknown> loaded;
        Require(serializer->LoadFromStream(memory.Get(), loaded.Put()) == S_OK, "The sets are not read.");
        return Checked(loaded);
    }

    std::uint64_t ThroughBytes() const {
        const auto memory = NewMemory();
        const auto out = Make<IObjectStream>(objectStreams_);
        Require(out->put_Stream(memory.Get()) == S_OK && out->SaveObject(array_.Get()) == S_OK,
                "The sets are not saved.");
        Rewind(memory);
        const auto in = Make<IObjectStream>(objectStreams_);
        kv::Ptr<IUnknown> loaded;
        Require(in->put_Stream(memory.Get()) == S_OK &&
                    in->LoadObject(__uuidof(IUnknown), nullptr, loaded.PutVoid()) == S_OK,
                "The sets are not loaded.");
        return Checked(loaded);
    }

 private:
    static std::u16string Digits(LONG number) {
        const std::string digits = std::to_string(number);
        return {digits.begin(), digits.end()};
    }
    kv::Ptr<IStream> NewMemory() const { return Make<IMemoryBlobStream>(streams_).As<IStream>(); }
    static void Rewind(const kv::Ptr<IStream>& stream) {
        Require(stream->Seek({}, STREAM_SEEK_SET, nullptr) == S_OK, "A stream does not move.");
    }
    /// How many sets came, the last of which is looked at.
    std::uint64_t Checked(const kv::Ptr<IUnknown>& loaded) const {
        const auto array = loaded.As<IPropertySetArray>();
        LONG count = 0;
        kv::Ptr<IPropertySet> last;
        LONG properties = 0;
        Require(array && array->get_Count(&count) == S_OK && count == count_ &&
                    array->get_Element(count - 1, last.Put()) == S_OK && last->GetCount(&properties) == S_OK,
                "The sets do not come back.");
        return static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(properties);
    }

    kv::Ptr<IClassFactory> streams_ = FactoryOf(__uuidof(MemoryBlobStream));
    kv::Ptr<IClassFactory> objectStreams_ = FactoryOf(__uuidof(ObjectStream));
    kv::Ptr<IClassFactory> serializers_ = FactoryOf(__uuidof(XMLSerializerAlt));
    kv::Ptr<IPropertySetArray> array_ = Make<IPropertySetArray>(FactoryOf(__uuidof(PropertySetArray)));
    LONG count_;
};

}  // namespace

void RunXmlGraphs(const Session& session) {
    constexpr double goal = 0.25;
    for (const LONG count : {1'000L, 10'000L, 100'000L}) {
        const SetsToSave sets(count);
        session.Compare("xml, serialize and load " + std::to_string(count) + " property sets (ns a set)",
                        static_cast<double>(count),
                        {{"XMLSerializerAlt", [&] { return sets.ThroughXml(); }},
                         {"binary form", [&] { return sets.ThroughBytes(); }, goal}});
    }
}

}  // namespace bench
