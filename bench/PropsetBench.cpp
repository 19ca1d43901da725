// The property set beside the platform's dictionary and a hash map of the C++ library.
#include <movaSystem.h>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <random>
#include <unordered_map>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "bench/Memory.h"
#include "kvcore/BString.h"

// The dictionary of the scripting runtime, in slot order; the cross compiler's headers do not have it.
struct IDictionary : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE putref_Item(VARIANT* key, VARIANT* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Item(VARIANT* key, VARIANT* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Item(VARIANT* key, VARIANT* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE Add(VARIANT* key, VARIANT* item) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Exists(VARIANT* key, VARIANT_BOOL* exists) = 0;
    virtual HRESULT STDMETHODCALLTYPE Items(VARIANT* items) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Key(VARIANT* key, VARIANT* changed) = 0;
    virtual HRESULT STDMETHODCALLTYPE Keys(VARIANT* keys) = 0;
    virtual HRESULT STDMETHODCALLTYPE Remove(VARIANT* key) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAll() = 0;
    virtual HRESULT STDMETHODCALLTYPE put_CompareMode(int mode) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_CompareMode(int* mode) = 0;
};
__CRT_UUID_DECL(IDictionary, 0x42C642C1, 0x97E1, 0x11CF, 0x97, 0x8F, 0x00, 0xA0, 0x24, 0x63, 0xE0, 0x6F)

namespace bench {
namespace {

/// A name in the forms that the contestants take.
struct Name {
    explicit Name(const std::wstring& name)
        : plain(name), text(std::u16string_view(kv::Narrow16(name.data()), name.size())) {}

    VARIANT Key() const noexcept {
        VARIANT key;
        key.vt = VT_BSTR;
        key.bstrVal = text.Get();
        return key;
    }

    std::wstring plain;
    kv::BString text;
};

constexpr const wchar_t* namePrefix = L"Connection.Property";

std::wstring NameAt(std::size_t index) {
    return namePrefix + std::to_wstring(index * 7);
}

/// Names as they are set, the same names in the case that they are looked up in, and the order of looking up.
struct Names {
    explicit Names(std::size_t count) : order(count) {
        for (std::size_t i = 0; i < count; ++i) {
            std::wstring name = NameAt(i);
            set.emplace_back(name);
            for (wchar_t& c : name) c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - (L'a' - L'A')) : c;
            sought.emplace_back(name);
        }
        std::iota(order.begin(), order.end(), 0U);
        std::shuffle(order.begin(), order.end(), std::minstd_rand());
    }

    std::size_t Count() const noexcept { return order.size(); }

    std::vector<Name> set, sought;
    std::vector<std::uint32_t> order;
};

/// Sixteen texts of fifteen characters that differ in the last: few enough to stay in the cache.
class Values {
 public:
    static constexpr std::size_t count = 16;
    static constexpr std::size_t telling = 14;  ///< the character by which they differ

    Values() {
        for (std::size_t i = 0; i < count; ++i) {
            texts_[i] = kv::BString(std::u16string(u"fifteen letter") + static_cast<char16_t>(u'a' + i));
            values_[i].vt = VT_BSTR;
            values_[i].bstrVal = texts_[i].Get();
        }
    }
    VARIANT& For(std::size_t index) noexcept { return values_[index % count]; }

 private:
    std::array<kv::BString, count> texts_;
    std::array<VARIANT, count> values_{};
};

/// Ours.
class Propset {
 public:
    static constexpr const char* name = "IPropertySet";

    explicit Propset(const kv::Ptr<IClassFactory>& factory) : set_(Make<IPropertySet>(factory)) {}
    void Set(const Name& key, const VARIANT& value) { set_->SetProperty(key.text.Get(), value); }
    void Get(const Name& key, VARIANT* value) { set_->GetProperty(key.text.Get(), value); }
    void Remove(const Name& key) { set_->RemoveProperty(key.text.Get()); }
    std::size_t Count() const {
        LONG count = -1;
        set_->GetCount(&count);
        return static_cast<std::size_t>(count);
    }

 private:
    kv::Ptr<IPropertySet> set_;
};

/// The platform's dictionary, comparing names without regard to case.
class ScriptingDictionary {
 public:
    static constexpr const char* name = "Scripting.Dictionary";

    explicit ScriptingDictionary(const kv::Ptr<IClassFactory>& factory) : dictionary_(Make<IDictionary>(factory)) {
        constexpr int textCompare = 1;
        Require(dictionary_->put_CompareMode(textCompare) == S_OK, "The dictionary refuses to compare as text.");
    }
    void Set(const Name& key, VARIANT& value) {
        VARIANT wrapped = key.Key();
        dictionary_->put_Item(&wrapped, &value);
    }
    void Get(const Name& key, VARIANT* value) {
        VARIANT wrapped = key.Key();
        VariantInit(value);
        dictionary_->get_Item(&wrapped, value);
    }
    void Remove(const Name& key) {
        VARIANT wrapped = key.Key();
        dictionary_->Remove(&wrapped);
    }
    std::size_t Count() const {
        LONG count = -1;
        dictionary_->get_Count(&count);
        return static_cast<std::size_t>(count);
    }

 private:
    kv::Ptr<IDictionary> dictionary_;
};

wchar_t Fold(wchar_t c) noexcept {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

struct FoldingHash {
    std::size_t operator()(const std::wstring& text) const noexcept {
        std::size_t hash = 14695981039346656037ull;  // FNV-1a
        for (const wchar_t c : text) hash = (hash ^ Fold(c)) * 1099511628211ull;
        return hash;
    }
};
struct FoldingEqual {
    bool operator()(const std::wstring& left, const std::wstring& right) const noexcept {
        return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                          [](wchar_t a, wchar_t b) { return Fold(a) == Fold(b); });
    }
};

/// What one would write by hand where only ASCII letters are folded.
class Map {
 public:
    static constexpr const char* name = "std::unordered_map, folding";

    Map() = default;
    Map(Map&&) = default;
    Map& operator=(Map&&) = delete;
    ~Map() {
        for (auto& [key, value] : map_) VariantClear(&value);
    }
    void Set(const Name& key, VARIANT& value) { VariantCopy(&map_[key.plain], &value); }
    void Get(const Name& key, VARIANT* value) {
        VariantInit(value);
        VariantCopy(value, &map_.find(key.plain)->second);
    }
    void Remove(const Name& key) {
        const auto found = map_.find(key.plain);
        VariantClear(&found->second);
        map_.erase(found);
    }
    std::size_t Count() const { return map_.size(); }

 private:
    std::unordered_map<std::wstring, VARIANT, FoldingHash, FoldingEqual> map_;
};

constexpr std::size_t leastSet = 1'000;  // properties by a run, where need be in several containers
constexpr std::size_t sought = 20'000;   // look-ups by a run

/// Contestants of all kinds of work on one kind of container. Filling leaves containers that the others go on with, and
/// each run goes on in the order of looking up where the one before it stopped, so that no run finds in the cache
/// what the last one left there.
template <class Container>
class Work {
 public:
    /// @param make makes an empty container.
    Work(const Names& names, Values& values, std::function<Container()> make)
        : names_(names), values_(values), make_(std::move(make)) {}
    Work(const Work&) = delete;  // its contestants refer to it
    Work& operator=(const Work&) = delete;

    /// How many operations a run does.
    std::size_t Fills() const noexcept { return names_.Count() * Containers(); }
    std::size_t Removals() const noexcept { return std::min(names_.Count(), sought) * Containers(); }

    Contestant Fill(double goal) {
        return {Container::name,
                [this] {
                    for (auto& container : containers_)
                        for (std::size_t i = 0; i < names_.Count(); ++i) container.Set(names_.set[i], values_.For(i));
                    return TotalCount();
                },
                goal,
                [this] {
                    containers_.clear();
                    while (containers_.size() < Containers()) containers_.push_back(make_());
                }};
    }
    Contestant Replace(double goal) {
        return {Container::name,
                [this] {
                    ForNext(sought,
                            [this](std::uint32_t i) { containers_.front().Set(names_.sought[i], values_.For(i + 1)); });
                    return TotalCount();
                },
                goal};
    }
    Contestant Get(double goal) {
        return {Container::name,
                [this] {
                    std::uint64_t seen = 0;
                    ForNext(sought, [this, &seen](std::uint32_t i) {
                        VARIANT value;
                        containers_.front().Get(names_.sought[i], &value);
                        seen = seen * 31 + (value.vt == VT_BSTR ? value.bstrVal[Values::telling] : 0);
                        VariantClear(&value);
                    });
                    return seen;
                },
                goal};
    }
    Contestant Remove(double goal) {
        return {Container::name,
                [this] {
                    const std::size_t start = next_;
                    for (auto& container : containers_) {
                        next_ = start;
                        ForNext(std::min(names_.Count(), sought),
                                [&](std::uint32_t i) { container.Remove(names_.sought[i]); });
                    }
                    return TotalCount();
                },
                goal,
                [this] {
                    for (auto& container : containers_)
                        for (std::size_t i = 0; container.Count() < names_.Count(); ++i)
                            container.Set(names_.set[Before(i)], values_.For(Before(i)));
                    // Going on in order would always remove what has been in the container for longest.
                    next_ = random_() % names_.Count();
                }};
    }

 private:
    std::size_t Containers() const noexcept { return std::max<std::size_t>(1, leastSet / names_.Count()); }
    template <class Act>
    void ForNext(std::size_t times, Act act) {
        for (std::size_t i = 0; i < times; ++i) {
            act(names_.order[next_]);
            if (++next_ == names_.Count()) next_ = 0;
        }
    }
    /// What came so many steps before the next name in the order of looking up.
    std::uint32_t Before(std::size_t steps) const noexcept {
        return names_.order[(next_ + names_.Count() - 1 - steps) % names_.Count()];
    }
    std::uint64_t TotalCount() const {
        std::uint64_t total = 0;
        for (const auto& container : containers_) total += container.Count();
        return total;
    }

    const Names& names_;
    Values& values_;
    std::function<Container()> make_;
    std::vector<Container> containers_;
    std::size_t next_ = 0;
    std::minstd_rand random_;  // seeded alike: all contestants remove the same names
};

/// How much faster than the dictionary and than the map we mean to read and replace so many properties.
struct Goal {
    std::size_t count;
    double dictionary, map;
};
constexpr Goal goals[] = {{10, 4.5, 1.3}, {1'000, 6, 1.8}, {100'000, 50, 2.5}};

/// @return what reading a property takes
double CompareTimes(const Session& session, const Goal& goal) {
    const Names names(goal.count);
    Values values;
    Work<Propset> ours(names, values, [factory = FactoryOf(CLSID_PropertySet)] { return Propset(factory); });
    Work<ScriptingDictionary> dictionary(
        names, values, [factory = FactoryOf(ClassOf(dictionaryProgId))] { return ScriptingDictionary(factory); });
    Work<Map> map(names, values, [] { return Map(); });
    const auto job = [&](const char* operation) {
        return "propset " + std::string(operation) + " " + std::to_string(goal.count) + " (ns)";
    };
    session.Compare(job("set new"), static_cast<double>(ours.Fills()), {ours.Fill(0), dictionary.Fill(0), map.Fill(0)});
    session.Compare(job("replace"), static_cast<double>(sought),
                    {ours.Replace(0), dictionary.Replace(goal.dictionary), map.Replace(goal.map)});
    const double get = session.Compare(job("get"), static_cast<double>(sought),
                                       {ours.Get(0), dictionary.Get(goal.dictionary), map.Get(goal.map)});
    session.Compare(job("remove"), static_cast<double>(ours.Removals()),
                    {ours.Remove(0), dictionary.Remove(0), map.Remove(0)});
    return get;
}

void CompareMemoryOfEmptySets(const Session& session) {
    constexpr std::size_t count = 100'000;
    constexpr double most = 200;
    std::vector<kv::Ptr<IPropertySet>> sets(count);
    const auto factory = FactoryOf(CLSID_PropertySet);
    const std::size_t before = HeapBytes();
    for (auto& set : sets) set = Make<IPropertySet>(factory);
    const std::size_t taken = HeapBytes() - before;
    session.Print("propset memory of an empty set (bytes)", static_cast<double>(taken) / static_cast<double>(count),
                  "most that it should take", most, 1.0);
}

void CompareMemoryOfProperties(const Session& session) {
    constexpr std::size_t count = 100'000;
    constexpr double perProperty = 24 + 16;  // a value, and two pointers to find it by
    Propset set(FactoryOf(CLSID_PropertySet));
    std::size_t characters = 0;
    const std::size_t before = HeapBytes();
    for (std::size_t i = 0; i < count; ++i) {
        VARIANT value;  // one that takes no memory of its own
        value.vt = VT_I4;
        value.lVal = static_cast<LONG>(i);
        const Name name(NameAt(i));
        set.Set(name, value);
        characters += name.plain.size();
    }
    const std::size_t taken = HeapBytes() - before;
    Require(set.Count() == count, "Properties that were set are missing.");
    const double nameBytes = static_cast<double>(characters * sizeof(wchar_t)) / static_cast<double>(count);
    session.Print("propset memory of a property of 100000 (bytes)",
                  static_cast<double>(taken) / static_cast<double>(count), "2 x (24 + name + 16)",
                  2 * (perProperty + nameBytes), 1.0);
}

}  // namespace

void RunPropset(const Session& session) {
    // Memory first: what is timed leaves free blocks behind, which would then be used and not counted.
    CompareMemoryOfEmptySets(session);
    CompareMemoryOfProperties(session);
    std::vector<double> reads;
    for (const Goal& goal : goals) reads.push_back(CompareTimes(session, goal));
    constexpr double mostGrowth = 6;
    session.Print("propset get 100000 (ns)", reads.back(), "get at 10 x 6", reads.front() * mostGrowth, 1.0);
}

}  // namespace bench
