// The JSON reader beside RapidJSON's, which calls its user instead of being asked.
#include <algorithm>

#include "bench/Components.h"
#include "bench/JsonBench.h"
#include "bench/JsonPeers.h"
#include "kvcore/Stream.h"
#include "kvcore/Variant.h"

namespace bench {
namespace {

using Reader = kv::Ptr<IJSONReader4>;

/// What was met on the way through a text.
struct Tally {
    std::uint64_t kinds = 0;  ///< the sum of the tokens' kinds
    std::uint64_t units = 0;  ///< of all strings
    double sum = 0;           ///< of all numbers; rounded, since inexact ones count as the same

    std::uint64_t Result() const {
        return kinds + units + static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<float>(sum)));
    }
};

/// Whether a peer makes a string of the platform of each text, as ours does.
enum class Texts { Seen, Made };

template <Texts texts>
struct TallyHandler : Tally, Handler<TallyHandler<texts>> {
    void OnToken(LONG kind) { kinds += static_cast<std::uint64_t>(kind); }
    void OnNumber(double value) { sum += value; }
    void OnText(const wchar_t* text, std::size_t count) {
        units += count;
        if constexpr (texts == Texts::Made) {
            const kv::BString made(std::u16string_view(kv::Narrow16(text), count));
            units += made.Get() ? 0 : 1;
        }
    }
};

template <unsigned flags, Texts texts, class Char>
Run Walking(const Char* text) {
    return [=] {
        TallyHandler<texts> handler;
        Walk<flags>(text, handler);
        return handler.Result();
    };
}

LONG KindOf(const Reader& reader) {
    LONG kind = 0;
    reader->GetTokenType(&kind);
    return kind;
}

void CompareTokens(const Session& session, const kv::Ptr<IClassFactory>& factory, const JsonSubject& subject) {
    volatile double sum = 0;  // the peer converts numbers, which nobody asks ours for
    const Run ours = [&] {
        const auto reader = Make<IJSONReader4>(factory);
        Tally met;
        HRESULT status = reader->ReadFromString(subject.wide.Get());
        for (; status == S_OK; status = reader->ReadNext()) met.kinds += static_cast<std::uint64_t>(KindOf(reader));
        Require(status == S_FALSE, "A text is not read to its end.");
        return met.kinds;
    };
    const Run theirs = [&] {
        TallyHandler<Texts::Seen> handler;
        Walk<inexact>(static_cast<const wchar_t*>(subject.wide.Get()), handler);
        sum = handler.sum;
        return handler.kinds;
    };
    session.Compare(subject.Job("ReadNext + GetTokenType"), subject.KiB(),
                    {{"JSONReader", ours}, {"RapidJSON utf16", theirs, 1}});
}

HRESULT ReadValue(const Reader& reader, Tally& met) {
    kv::Variant value;
    const HRESULT status = reader->ReadValue(value.Put());
    switch (value.Get().vt) {
        case VT_BSTR:
            met.units += SysStringLen(value.Get().bstrVal);
            break;
        case VT_I4:
            met.sum += value.Get().lVal;
            break;
        case VT_I8:
            met.sum += static_cast<double>(value.Get().llVal);
            break;
        case VT_R8:
            met.sum += value.Get().dblVal;
            break;
        default:
            break;
    }
    return status;
}

HRESULT ReadString(const Reader& reader, Tally& met) {
    VARIANT_BOOL isName = VARIANT_FALSE;
    reader->IsPropertyName(&isName);
    if (isName == VARIANT_FALSE) return ReadValue(reader, met);
    kv::BString name;
    const HRESULT status = reader->ReadPropertyName(name.Put());
    met.units += name.View().size();
    return status;
}

Tally ReadValues(const Reader& reader, IStream* stream) {
    Tally met;
    HRESULT status = reader->ReadFromStream(stream);
    while (status == S_OK) {
        const LONG kind = KindOf(reader);
        met.kinds += static_cast<std::uint64_t>(kind);
        switch (kind) {
            case movaJSONTokenString:
                status = ReadString(reader, met);
                break;
            case movaJSONTokenNumber:
            case movaJSONTokenBoolean:
            case movaJSONTokenNull:
                status = ReadValue(reader, met);
                break;
            default:
                status = reader->ReadNext();
                break;
        }
    }
    Require(status == S_FALSE, "A stream is not read to its end.");
    return met;
}

void CompareValues(const Session& session, const kv::Ptr<IClassFactory>& factory, const JsonSubject& subject) {
    const std::string& utf8 = subject.text.utf8;
    kv::Ptr<IStream> stream;
    Require(SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put())) &&
                SUCCEEDED(kv::KvStreamWrite(stream.Get(), utf8.data(), utf8.size(), nullptr)),
            "The platform makes no stream.");
    const std::vector<Contestant> contestants = {
        {"JSONReader", [&] { return ReadValues(Make<IJSONReader4>(factory), stream.Get()).Result(); }, 0,
         [&] { kv::KvStreamSeek(stream.Get(), 0); }},
        {"RapidJSON utf8 to utf16, exact", Walking<exact, Texts::Seen>(utf8.c_str())},
        {"RapidJSON utf8 to utf16, a BSTR a text", Walking<inexact, Texts::Made>(utf8.c_str())}};
    const std::vector<double> medians = session.Time(contestants, subject.KiB());
    const double slower = *std::max_element(medians.begin() + 1, medians.end());
    for (std::size_t i = 1; i < contestants.size(); ++i)
        session.Print(subject.Job("every value from a stream"), medians[0], contestants[i].name, medians[i],
                      medians[i] == slower ? 1.2 : 0);
}

/// Finds the first value behind each property of one name.
class PropertyHandler : public Handler<PropertyHandler>, public Tally {
 public:
    explicit PropertyHandler(std::wstring_view name) : name_(name) {}

    bool Key(const wchar_t* text, rapidjson::SizeType count, bool) {
        isNext_ = std::wstring_view(text, count) == name_;
        return true;
    }
    void OnNumber(double value) {
        if (isNext_) sum += value;
    }
    void OnText(const wchar_t*, std::size_t count) {
        if (isNext_) units += count;
    }
    void OnToken(LONG) {
        if (isNext_) ++kinds;
        isNext_ = false;
    }

 private:
    std::wstring_view name_;
    bool isNext_ = false;
};

bool Finds(const Reader& reader, const kv::BString& name) {
    VARIANT_BOOL found = VARIANT_FALSE;
    return SUCCEEDED(reader->FindProperty(name.Get(), &found)) && found == VARIANT_TRUE;
}

/// How one property of each object is read, and the rest skipped.
struct Search {
    const char* subject;
    std::u16string_view list;   ///< the property with the array of the objects; empty where the text is the array
    std::u16string_view inner;  ///< the property of the objects with the sought property; empty for none
    std::u16string_view sought;
};

constexpr Search searches[] = {
    {"features", u"features", u"properties", u"AREA"},
    {"records", u"", u"", u"title"},
    {"coords", u"", u"", u"paths"},
};

class Searcher {
 public:
    explicit Searcher(const Search& search) : list_(search.list), inner_(search.inner), sought_(search.sought) {}

    Tally Read(const Reader& reader, BSTR text) const {
        Tally met;
        Require(reader->ReadFromString(text) == S_OK, "A text is not read.");
        if (!list_.View().empty()) Require(Finds(reader, list_), "An array is not found.");
        if (KindOf(reader) == movaJSONTokenStartOfArray) reader->ReadNext();
        while (KindOf(reader) == movaJSONTokenStartOfObject) ReadObject(reader, met);
        return met;
    }

 private:
    void ReadObject(const Reader& reader, Tally& met) const {
        const bool isNested = !inner_.View().empty();
        Require((!isNested || Finds(reader, inner_)) && Finds(reader, sought_), "A property is not found.");
        ++met.kinds;
        if (KindOf(reader) == movaJSONTokenStartOfArray) {
            reader->SkipArray();
        } else {
            ReadValue(reader, met);
        }
        if (isNested) reader->SkipObject();
        Require(SUCCEEDED(reader->SkipObject()), "An object is not skipped.");
    }

    kv::BString list_, inner_, sought_;
};

void CompareSkipping(const Session& session, const kv::Ptr<IClassFactory>& factory, const JsonSubject& subject) {
    const Search& search = *std::find_if(std::begin(searches), std::end(searches),
                                         [&](const Search& each) { return each.subject == subject.text.name; });
    const Searcher searcher(search);
    const std::wstring sought(search.sought.begin(), search.sought.end());
    session.Compare(
        subject.Job("one property an object, the rest skipped"), subject.KiB(),
        {{"JSONReader", [&] { return searcher.Read(Make<IJSONReader4>(factory), subject.wide.Get()).Result(); }},
         {"RapidJSON utf16",
          [&] {
              PropertyHandler handler(sought);
              Walk<inexact>(static_cast<const wchar_t*>(subject.wide.Get()), handler);
              return handler.Result();
          },
          2.5}});
}

}  // namespace

void CompareJsonReading(const Session& session, const JsonSubject& subject) {
    const auto factory = FactoryOf(__uuidof(::JSONReader));
    CompareTokens(session, factory, subject);
    CompareValues(session, factory, subject);
    CompareSkipping(session, factory, subject);
}

}  // namespace bench
