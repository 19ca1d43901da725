// Object graphs beside a serialisation library, and streams in memory beside the platform's.
#include <movaSystem.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>

#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "kvcore/Stream.h"
#include "kvcore/ValueFormat.h"

namespace bench {
namespace {

/// Six fields, one of them a text.
struct Fields {
    std::int32_t id = 0;
    double x = 0;
    double y = 0;
    std::int64_t stamp = 0;
    std::int16_t kind = 0;
    std::u16string name;
};

/// The record as the serialisation library has it.
struct Record : Fields {
    template <class Archive>
    void serialize(Archive& archive) {
        archive(id, x, y, stamp, kind, name);
    }
};
using Records = std::vector<std::shared_ptr<Record>>;

/// A component of a client's own that persists in binary. @tparam Self says how.
template <class Self>
class PersistentObject : public IPersistStream {
 public:
    virtual ~PersistentObject() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        const bool isOne = iid == __uuidof(IPersistStream) || iid == __uuidof(IUnknown) || iid == __uuidof(IPersist);
        *object = isOne ? this : nullptr;
        if (isOne) AddRef();
        return isOne ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetClassID(CLSID* classId) noexcept override {
        *classId = Self::classId;
        return S_OK;
    }
    STDMETHODIMP IsDirty() noexcept override { return S_FALSE; }
    STDMETHODIMP Load(IStream* stream) noexcept override {
        kv::StreamReader in(stream);
        static_cast<Self*>(this)->ReadFields(in);
        return in.Status();
    }
    STDMETHODIMP Save(IStream* stream, BOOL) noexcept override {
        kv::StreamWriter out(stream);
        static_cast<Self*>(this)->WriteFields(out);
        return out.Finish();
    }
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER*) noexcept override { return E_NOTIMPL; }

 private:
    std::atomic<ULONG> references_{1};
};

class Node final : public PersistentObject<Node> {
 public:
    static constexpr CLSID classId = {0x2F0A2A63, 0x7D4C, 0x4A35, {0x8C, 0x2E, 0x51, 0x6B, 0x0F, 0x93, 0xAA, 0x17}};

    void WriteFields(kv::StreamWriter& out) {
        out << std::int16_t{1} << fields.id << fields.x << fields.y << fields.stamp << fields.kind;
        kv::WriteText(out, fields.name);
    }
    void ReadFields(kv::StreamReader& in) {
        std::int16_t version = 0;
        in >> version >> fields.id >> fields.x >> fields.y >> fields.stamp >> fields.kind;
        kv::ReadText(in, fields.name);
    }

    Fields fields;
};

/// Serves a class of this process.
template <class Class>
class Served final : public IClassFactory {
 public:
    Served() {
        Require(
            SUCCEEDED(CoRegisterClassObject(Class::classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_)),
            "A class of the benchmark cannot be served.");
    }
    ~Served() { CoRevokeClassObject(cookie_); }
    Served(const Served&) = delete;
    Served& operator=(const Served&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        const bool isOne = iid == __uuidof(IUnknown) || iid == __uuidof(IClassFactory);
        *object = isOne ? this : nullptr;
        return isOne ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return 2; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) noexcept override {
        auto* const made = new (std::nothrow) Class;
        return made ? kv::Ptr<Class>::Attach(made)->QueryInterface(iid, object) : E_OUTOFMEMORY;
    }
    STDMETHODIMP LockServer(BOOL) noexcept override { return S_OK; }

 private:
    DWORD cookie_ = 0;
};

/// Two of three references are to a new object, the third to one that was there before.
struct Graph {
    explicit Graph(std::size_t distinct) {
        std::minstd_rand random;
        for (std::size_t i = 0; i < distinct * 3 / 2; ++i) {
            if (i % 3 == 2) {
                const std::size_t before = random() % i;
                records.push_back(records[before]);
                nodes.push_back(nodes[before]);
                continue;
            }
            auto record = std::make_shared<Record>();
            record->id = static_cast<std::int32_t>(i);
            record->x = static_cast<double>(random());
            record->y = static_cast<double>(random());
            record->stamp = static_cast<std::int64_t>(random());
            record->kind = static_cast<std::int16_t>(i);
            const std::string name = "parcel " + std::to_string(random() % 100000) + " north";
            record->name.assign(name.begin(), name.end());
            auto node = kv::Ptr<Node>::Attach(new Node);
            node->fields = *record;
            records.push_back(std::move(record));
            nodes.push_back(std::move(node));
        }
    }

    Records records;
    std::vector<kv::Ptr<Node>> nodes;
};

/// The library's streams for one run.
class Streams {
 public:
    Streams()
        : memoryFactory_(FactoryOf(__uuidof(::MemoryBlobStream))), factory_(FactoryOf(__uuidof(::ObjectStream))) {}

    kv::Ptr<IStream> Memory() const { return Make<IStream>(memoryFactory_); }
    kv::Ptr<IObjectStream> Over(const kv::Ptr<IStream>& stream) const {
        auto objects = Make<IObjectStream>(factory_);
        Require(SUCCEEDED(objects->put_Stream(stream.Get())), "An object stream takes no stream.");
        return objects;
    }

 private:
    kv::Ptr<IClassFactory> memoryFactory_;
    kv::Ptr<IClassFactory> factory_;
};

kv::Ptr<IStream> Save(const Streams& streams, const Graph& graph) {
    auto memory = streams.Memory();
    const auto objects = streams.Over(memory);
    for (const auto& node : graph.nodes) Require(objects->SaveObject(node.Get()) == S_OK, "An object is not saved.");
    return memory;
}

std::uint64_t SumOf(const kv::Ptr<IUnknown>& node) {
    return static_cast<std::uint64_t>(static_cast<Node*>(static_cast<IPersistStream*>(node.Get()))->fields.id);
}

std::uint64_t Load(const Streams& streams, const kv::Ptr<IStream>& memory, std::size_t references) {
    Require(SUCCEEDED(kv::KvStreamSeek(memory.Get(), 0)), "A stream does not rewind.");
    const auto objects = streams.Over(memory);
    std::vector<kv::Ptr<IUnknown>> loaded(references);
    std::uint64_t sum = 0;
    for (auto& node : loaded) {
        Require(objects->LoadObject(__uuidof(IUnknown), nullptr, node.PutVoid()) == S_OK, "An object is not loaded.");
        sum += SumOf(node);
    }
    return sum;
}

void Archive(const Graph& graph, std::ostringstream& out) {
    cereal::BinaryOutputArchive archive(out);
    archive(graph.records);
}

void CompareGraphs(const Session& session, const Streams& streams) {
    constexpr std::size_t distinct = 200'000;
    const Graph graph(distinct);
    const std::size_t references = graph.records.size();
    std::string archived;
    {
        std::ostringstream out(std::ios::binary);
        Archive(graph, out);
        archived = out.str();
    }
    const kv::Ptr<IStream> saved = Save(streams, graph);
    session.Compare("persist save, ns an object", distinct,
                    {{"ObjectStream", [&] { return Save(streams, graph) ? references : 0; }},
                     {"cereal binary",
                      [&] {
                          std::ostringstream out(std::ios::binary);
                          Archive(graph, out);
                          return out ? references : 0;
                      },
                      3.5}});
    session.Compare("persist load, ns an object", distinct,
                    {{"ObjectStream", [&] { return Load(streams, saved, references); }},
                     {"cereal binary",
                      [&] {
                          std::istringstream in(archived, std::ios::binary);
                          Records records;
                          cereal::BinaryInputArchive archive(in);
                          archive(records);
                          std::uint64_t sum = 0;
                          for (const auto& record : records) sum += static_cast<std::uint64_t>(record->id);
                          return sum;
                      },
                      2.5}});
    STATSTG stat{};
    saved->Stat(&stat, STATFLAG_NONAME);
    session.Print("persist bytes an object", static_cast<double>(stat.cbSize.QuadPart) / distinct, "cereal binary",
                  static_cast<double>(archived.size()) / distinct, 0);
}

void CompareGrowth(const Session& session, const Streams& streams) {
    double saveOfFew = 0;
    double loadOfFew = 0;
    for (const std::size_t distinct : {std::size_t{200'000}, std::size_t{1'000'000}}) {
        const Graph graph(distinct);
        const auto saved = Save(streams, graph);
        const auto operations = static_cast<double>(distinct);
        const double save = session.Time({{"save", [&] { return Save(streams, graph) ? 1 : 0; }}}, operations).front();
        const double load =
            session.Time({{"load", [&] { return Load(streams, saved, graph.nodes.size()); }}}, operations).front();
        if (saveOfFew != 0) {
            session.Print("persist save 1,000,000, ns an object", save, "itself at 200,000", saveOfFew, 0.8);
            session.Print("persist load 1,000,000, ns an object", load, "itself at 200,000", loadOfFew, 0.8);
        }
        saveOfFew = save;
        loadOfFew = load;
    }
}

void CompareCopies(const Session& session) {
    constexpr std::uint64_t times = 20'000;
    const auto copier = Make<IObjectCopy>(FactoryOf(__uuidof(::ObjectCopy)));
    const auto small = Make<IUID>(FactoryOf(__uuidof(::UID)));  // 23 bytes
    Require(SUCCEEDED(small->Generate()), "No identifier is made.");
    const std::byte record[24]{};
    session.Compare("persist copy of an identifier, ns", static_cast<double>(times),
                    {{"ObjectCopy", Repeat(times,
                                           [&] {
                                               kv::Ptr<IUnknown> copy;
                                               return copier->Copy(small.Get(), copy.Put()) == S_OK;
                                           })},
                     {"HGLOBAL stream: create, write, read, release",
                      Repeat(times,
                             [&] {
                                 kv::Ptr<IStream> stream;
                                 std::byte back[24];
                                 CreateStreamOnHGlobal(nullptr, TRUE, stream.Put());
                                 stream->Write(record, 24, nullptr);
                                 kv::KvStreamSeek(stream.Get(), 0);
                                 return stream->Read(back, 24, nullptr) == S_OK;
                             }),
                      1}});
}

using MakeStream = std::function<kv::Ptr<IStream>()>;

kv::Ptr<IStream> OnGlobalMemory() {
    kv::Ptr<IStream> stream;
    Require(SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put())), "The platform makes no stream.");
    return stream;
}

Run Writes(const MakeStream& make, std::uint64_t times) {
    return [=] {
        const auto stream = make();
        const std::byte piece[64]{};
        std::uint64_t done = 0;
        for (std::uint64_t i = 0; i < times; ++i) done += stream->Write(piece, sizeof piece, nullptr) == S_OK ? 1 : 0;
        return done;
    };
}

Run Reads(const MakeStream& make, std::uint64_t times) {
    const auto stream = make();
    const std::vector<std::byte> content(times * 64);
    Require(SUCCEEDED(kv::KvStreamWrite(stream.Get(), content.data(), content.size(), nullptr)), "A write failed.");
    return [=] {
        kv::KvStreamSeek(stream.Get(), 0);
        std::byte piece[64];
        std::uint64_t done = 0;
        for (std::uint64_t i = 0; i < times; ++i) done += stream->Read(piece, sizeof piece, nullptr) == S_OK ? 1 : 0;
        return done;
    };
}

void CompareStreams(const Session& session, const Streams& streams) {
    const MakeStream ours = [&] { return streams.Memory(); };
    constexpr std::uint64_t few = 20'000;
    const double write = session.Compare(
        "persist write 64 bytes x 20,000, ns", few,
        {{"MemoryBlobStream", Writes(ours, few)}, {"HGLOBAL stream", Writes(&OnGlobalMemory, few), 10}});
    session.Compare("persist read 64 bytes x 20,000, ns", few,
                    {{"MemoryBlobStream", Reads(ours, few)}, {"HGLOBAL stream", Reads(&OnGlobalMemory, few), 10}});
    constexpr std::uint64_t many = 2'000'000;
    session.Print("persist write 64 bytes x 2,000,000, ns",
                  session.Time({{"MemoryBlobStream", Writes(ours, many)}}, many).front(), "itself at 20,000", write,
                  0.5);

    constexpr std::size_t bulk = 16 << 20;
    const auto source = std::make_unique<std::byte[]>(bulk);
    const auto target = std::make_unique<std::byte[]>(bulk);
    const auto stream = streams.Memory();
    Require(SUCCEEDED(kv::KvStreamWrite(stream.Get(), source.get(), bulk, nullptr)), "A write failed.");
    const auto rewound = [=] { kv::KvStreamSeek(stream.Get(), 0); };
    const Run copy = [&] {
        std::memcpy(target.get(), source.get(), bulk);
        return bulk;
    };
    session.Compare("persist write 16 MiB, ns a KiB", static_cast<double>(bulk) / 1024,
                    {{"MemoryBlobStream", [&] { return stream->Write(source.get(), bulk, nullptr) == S_OK ? bulk : 0; },
                      0, rewound},
                     {"memcpy", copy, 1 / 1.2}});
    session.Compare(
        "persist read 16 MiB, ns a KiB", static_cast<double>(bulk) / 1024,
        {{"MemoryBlobStream", [&] { return stream->Read(target.get(), bulk, nullptr) == S_OK ? bulk : 0; }, 0, rewound},
         {"memcpy", copy, 1 / 1.2}});
}

}  // namespace

void RunPersist(const Session& session) {
    const Served<Node> served;
    const Streams streams;
    CompareGraphs(session, streams);
    CompareGrowth(session, streams);
    CompareCopies(session);
    CompareStreams(session, streams);
}

}  // namespace bench
