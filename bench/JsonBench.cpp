// JSON documents in memory beside two libraries of C++. Times are those of a KiB of the text as UTF-8, whatever
// encoding it has in memory.
#include "bench/JsonBench.h"

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "bench/JsonPeers.h"
#include "bench/Memory.h"
#include "kvcore/Utf.h"

namespace bench {
namespace {

/// What loads a text into objects of one class. @tparam Container IJSONObject or IJSONArray
template <class Container>
class Loader {
 public:
    Loader(const char* name, REFCLSID classId) : name_(name), factory_(FactoryOf(classId)) {}

    const char* Name() const { return name_; }
    kv::Ptr<Container> Load(const JsonSubject& subject) const {
        auto loaded = Make<Container>(factory_);
        Require(loaded->FromJSONString(subject.wide.Get()) == S_OK, "A text is not loaded.");
        return loaded;
    }

 private:
    const char* name_;
    kv::Ptr<IClassFactory> factory_;
};

/// Calls a function with the loader for a text.
template <class Use>
auto WithLoader(const JsonSubject& subject, Use use) {
    return subject.text.isObject ? use(Loader<IJSONObject>("JSONObject", __uuidof(::JSONObject)))
                                 : use(Loader<IJSONArray>("JSONArray", __uuidof(::JSONArray)));
}

template <class Container>
std::uint64_t CountOf(const kv::Ptr<Container>& container) {
    LONG count = 0;
    Require(container->GetCount(&count) == S_OK, "A container has no count.");
    return static_cast<std::uint64_t>(count);
}

template <class Container>
kv::BString TextOf(const kv::Ptr<Container>& container) {
    kv::BString text;
    Require(container->ToJSONString(nullptr, text.Put()) == S_OK, "A document is not written.");
    return text;
}

template <unsigned flags, class Char>
Run LoadingDocument(const Char* text) {
    return [=]() -> std::uint64_t {
        Document document;
        ParseDocument<flags>(text, document);
        return RootCount(document);
    };
}

template <class Container>
Run Loading(const Loader<Container>& loader, const JsonSubject& subject) {
    return [&] { return CountOf(loader.Load(subject)); };
}

template <class Container>
void CompareLoading(const Session& session, const Loader<Container>& loader, const JsonSubject& subject) {
    const std::string& utf8 = subject.text.utf8;
    session.Compare(subject.Job("load"), subject.KiB(),
                    {{loader.Name(), Loading(loader, subject)},
                     {"RapidJSON utf16, exact", LoadingDocument<exact>(subject.wide.Get()), 2},
                     {"RapidJSON utf8 to utf16, exact", LoadingDocument<exact>(utf8.c_str())},
                     {"nlohmann", [&] { return nlohmann::json::parse(utf8).size(); }, 10}});
}

template <class Container>
void CompareSaving(const Session& session, const Loader<Container>& loader, const JsonSubject& subject) {
    const auto ours = loader.Load(subject);
    Document document;
    ParseDocument<exact>(subject.wide.Get(), document);
    const auto theirs = nlohmann::json::parse(subject.text.utf8);
    Require(Digest::Of(TextOf(ours).Get()) == subject.digest, "What was loaded is written as something else.");
    Require(theirs.size() == CountOf(ours), "Two libraries load different documents.");
    session.Compare(subject.Job("ToJSONString"), subject.KiB(),
                    {{loader.Name(), [&] { return TextOf(ours).Get() ? 1 : 0; }},
                     {"RapidJSON utf16",
                      [&] {
                          Buffer16 buffer;
                          rapidjson::Writer<Buffer16, Utf16, Utf16> writer(buffer);
                          return document.Accept(writer) ? 1 : 0;
                      },
                      3},
                     {"nlohmann", [&] { return theirs.dump().empty() ? 0 : 1; }, 1.7}});
}

/// Keeps what was loaded: what is freed would be used again and not be counted.
template <class Kept>
void MeasureMemory(std::vector<Kept>& documents, const std::function<Kept()>& load, double& kept, double& peak) {
    const std::size_t before = HeapBytes();
    peak = static_cast<double>(PeakGrowth([&] { documents.push_back(load()); }));
    kept = static_cast<double>(HeapBytes() - before);
}

void CompareMemory(const Session& session, const std::vector<JsonSubject>& subjects) {
    std::vector<kv::Ptr<IUnknown>> ours;
    std::vector<std::unique_ptr<Document>> theirs;
    for (const JsonSubject& subject : subjects) {
        double ourKept = 0;
        double ourPeak = 0;
        double theirKept = 0;
        double theirPeak = 0;
        const std::function<kv::Ptr<IUnknown>()> load = [&] {
            return WithLoader(subject,
                              [&](const auto& loader) { return kv::Ptr<IUnknown>(loader.Load(subject).Get()); });
        };
        const std::function<std::unique_ptr<Document>()> parse = [&] {
            auto document = std::make_unique<Document>();
            ParseDocument<exact>(subject.wide.Get(), *document);
            return document;
        };
        MeasureMemory(ours, load, ourKept, ourPeak);
        MeasureMemory(theirs, parse, theirKept, theirPeak);
        const double size = subject.KiB();
        const std::string name = "json " + subject.text.name;
        session.Print(name + ", memory kept (bytes a KiB)", ourKept / size, "RapidJSON utf16", theirKept / size,
                      1 / 0.9);
        session.Print(name + ", most memory in loading (bytes a KiB)", ourPeak / size, "RapidJSON utf16",
                      theirPeak / size, 1.0);
    }
}

/// Loading ten times as much should take ten times as long.
void CompareGrowth(const Session& session) {
    constexpr std::size_t smallest = 1'000'000;
    double loadOfSmallest = 0;
    double saveOfSmallest = 0;
    for (const std::size_t times : {1U, 10U, 100U}) {
        const JsonSubject subject(MakeFeatures(smallest * times));
        const Loader<IJSONObject> loader("JSONObject", __uuidof(::JSONObject));
        const double load = session.Time({{loader.Name(), Loading(loader, subject)}}, subject.KiB()).front();
        const auto loaded = loader.Load(subject);
        const Run write = [&]() -> std::uint64_t { return TextOf(loaded).Get() ? 1 : 0; };
        const double save = session.Time({{loader.Name(), write}}, subject.KiB()).front();
        if (times == 1) {
            loadOfSmallest = load;
            saveOfSmallest = save;
            continue;
        }
        const std::string size = " of " + std::to_string(times) + " MB (ns a KiB)";
        session.Print("json features, load" + size, load, "itself at 1 MB", loadOfSmallest, 0.8);
        session.Print("json features, ToJSONString" + size, save, "itself at 1 MB", saveOfSmallest, 0.8);
    }
}

}  // namespace

JsonSubject::JsonSubject(JsonText made)
    : text(std::move(made)), wide(kv::Utf16(text.utf8)), digest(Digest::Of(wide.Get())) {
    Require(Digest::Of(text.utf8.c_str()) == digest, "A text is not the same in both encodings.");
}

std::string JsonSubject::Job(const char* what) const {
    return "json " + text.name + ", " + what + " (ns a KiB)";
}

void CompareJsonDocuments(const Session& session, const JsonSubject& subject) {
    WithLoader(subject, [&](const auto& loader) {
        CompareLoading(session, loader, subject);
        CompareSaving(session, loader, subject);
    });
}

void RunJson(const Session& session) {
    constexpr std::size_t megabyte = 1'000'000;
    std::vector<JsonSubject> subjects;
    subjects.emplace_back(MakeFeatures(10 * megabyte));
    subjects.emplace_back(MakeRecords(5 * megabyte));
    subjects.emplace_back(MakeCoordinates(5 * megabyte));
    CompareMemory(session, subjects);
    for (const JsonSubject& subject : subjects) {
        CompareJsonDocuments(session, subject);
        CompareJsonReading(session, subject);
        CompareJsonWriting(session, subject);
    }
    CompareGrowth(session);
}

}  // namespace bench
