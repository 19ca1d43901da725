// Every operation that automation can express, called through the type library with arguments good and bad.
#include <map>
#include <set>

#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/Samples.h"
#include "tools/reference/StatusCodes.h"
#include "tools/reference/TypeInfo.h"

namespace mova::test {
namespace {

using namespace reference;

/// A parameter as automation sees it.
struct Type {
    VARTYPE value = VT_EMPTY;  ///< VT_EMPTY for what automation cannot express
    int pointers = 0;          ///< how many lead to a value; one leads to an object anyway
    IID iid = IID_NULL;        ///< of an object

    bool IsOut() const { return pointers > (value == VT_UNKNOWN ? 1 : 0); }
};

Type TypeOf(ITypeInfo* info, const TYPEDESC& description) {
    if (description.vt == VT_PTR) {
        Type type = TypeOf(info, *description.lptdesc);
        ++type.pointers;
        return type;
    }
    if (description.vt == VT_UNKNOWN) return {VT_UNKNOWN, 1, __uuidof(IUnknown)};
    if (description.vt != VT_USERDEFINED) return {description.vt, 0, IID_NULL};
    const auto referred = Referred(info, description.hreftype);
    const auto attributes = AttributesOf(referred.Get());
    if (attributes->typekind == TKIND_ENUM) return {VT_I4, 0, IID_NULL};
    if (attributes->typekind == TKIND_ALIAS) return TypeOf(referred.Get(), attributes->tdescAlias);
    if (attributes->typekind == TKIND_INTERFACE) return {VT_UNKNOWN, 0, attributes->guid};
    return {};
}

/// What is handed in.
enum class Arguments { Nothing, Plausible, Large, Negative, WrongType };
constexpr Arguments everyKind[] = {Arguments::Nothing, Arguments::Plausible, Arguments::Large, Arguments::Negative,
                                   Arguments::WrongType};

/// What is wrong with how a call hands its arguments in.
enum class Fault { None, Missing, Extra, UnknownName };

/// Objects to hand in, by the interface that is asked for: samples where there are any, else one of the first class
/// that has it; and what else is plausible.
class Objects {
 public:
    explicit Objects(Samples* samples = nullptr) : samples_(samples) {}
    kv::Ptr<IUnknown> Of(REFIID iid) {
        const auto [place, isNew] = found_.try_emplace(kv::GuidText(iid));
        auto& object = place->second;
        if (isNew && samples_) object = samples_->For(iid);
        for (const ClassEntry* entry = classTable; isNew && !object && !entry->IsEnd(); ++entry)
            New<IUnknown>(entry->name)->QueryInterface(iid, object.PutVoid());
        return object;
    }

    std::u16string_view text = u"1";
    LONG number = 1;
    std::function<kv::Variant()> value = [] { return Value(u"1"); };

 private:
    Samples* samples_;
    std::map<std::u16string, kv::Ptr<IUnknown>> found_;
};

kv::Variant In(const Type& type, Arguments kind, Objects& objects) {
    if (kind == Arguments::WrongType) return ArrayOf({u"one", u"two"});
    if (type.value == VT_UNKNOWN) return Value(kind == Arguments::Nothing ? nullptr : objects.Of(type.iid).Get());
    if (type.value == VT_BSTR && kind == Arguments::Nothing) return kv::Variant::Attach(Raw(VT_BSTR));
    if (type.value == VT_BSTR) {
        const std::u16string_view texts[] = {u"", objects.text, u"a long text with a {brace} and a < in it",
                                             u"-\u20ac"};
        return Value(texts[static_cast<int>(kind)]);
    }
    if (type.value == VT_VARIANT) {
        if (kind == Arguments::Nothing) return {};
        if (kind == Arguments::Plausible) return objects.value();
        return kind == Arguments::Large ? ArrayOf({u"one", u"two"}) : Value(objects.Of(__uuidof(IPropertySet)).Get());
    }
    const LONG numbers[] = {0, objects.number, 100'000, -1};
    kv::Variant number = Value(numbers[static_cast<int>(kind)]);
    VARIANT converted{};
    if (FAILED(VariantChangeType(&converted, const_cast<VARIANT*>(&number.Get()), 0, type.value))) {
        number = Value(100);  // which every type holds
        EXPECT_EQ(VariantChangeType(&converted, const_cast<VARIANT*>(&number.Get()), 0, type.value), S_OK)
            << type.value;
    }
    return kv::Variant::Attach(converted);
}

/// A call of an operation: its arguments, and where its answers go.
class Call {
 public:
    Call(ITypeInfo* info, const FUNCDESC& function, Arguments kind, Objects& objects)
        : arguments_(static_cast<std::size_t>(function.cParams)), answers_(arguments_.size()) {
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            const Type type = TypeOf(info, function.lprgelemdescParam[i].tdesc);
            types_.push_back(type);
            if (type.value == VT_EMPTY) isExpressible = false;
            if (!isExpressible) return;
            if (!type.IsOut()) {
                held_.push_back(In(type, kind, objects));
                arguments_[i] = held_.back().Get();
                continue;
            }
            if ((function.lprgelemdescParam[i].paramdesc.wParamFlags & PARAMFLAG_FIN) != 0)
                answers_[i].llVal = objects.number;
            arguments_[i].vt = static_cast<VARTYPE>(type.value | VT_BYREF);
            arguments_[i].byref = type.value == VT_VARIANT ? static_cast<void*>(&answers_[i]) : &answers_[i].llVal;
        }
    }
    ~Call() {
        for (std::size_t i = 0; i < types_.size(); ++i) {
            if (!types_[i].IsOut()) continue;
            if (types_[i].value != VT_VARIANT) answers_[i].vt = types_[i].value;
            VariantClear(&answers_[i]);
        }
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Through the type library, as scripts call.
    HRESULT Invoke(ITypeInfo* info, void* target, const FUNCDESC& function, Fault fault = Fault::None) {
        std::vector<VARIANT> reversed(arguments_.rbegin(), arguments_.rend());
        reversed.resize(reversed.size() + 1);
        DISPID put = DISPID_PROPERTYPUT;
        const bool isPut = function.invkind == INVOKE_PROPERTYPUT || function.invkind == INVOKE_PROPERTYPUTREF;
        DISPPARAMS parameters{reversed.data(), isPut ? &put : nullptr, static_cast<UINT>(arguments_.size()),
                              isPut ? 1u : 0u};
        EXCEPINFO exception{};
        UINT inError = 0;
        // What is the operation's result is no argument.
        const bool hasResult =
            !arguments_.empty() &&
            function.lprgelemdescParam[arguments_.size() - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL;
        VARIANT result{};
        if (hasResult) {
            ++parameters.rgvarg;
            --parameters.cArgs;
        }
        if (fault == Fault::Extra) {
            parameters.rgvarg = reversed.data();
            parameters.cArgs = static_cast<UINT>(reversed.size());
        }
        if (fault == Fault::Missing && parameters.cArgs > 0) {
            ++parameters.rgvarg;
            --parameters.cArgs;
        }
        DISPID unknown = 12345;
        if (fault == Fault::UnknownName) {
            parameters.rgdispidNamedArgs = &unknown;
            parameters.cNamedArgs = 1;
        }
        const HRESULT status = info->Invoke(target, function.memid, static_cast<WORD>(function.invkind), &parameters,
                                            hasResult ? &result : nullptr, &exception, &inError);
        VariantClear(&result);
        SysFreeString(exception.bstrDescription);
        SysFreeString(exception.bstrSource);
        SysFreeString(exception.bstrHelpFile);
        return status == DISP_E_EXCEPTION ? exception.scode : status;
    }

    /// Through the interface. @param takesAnswers else null stands in place of each answer
    HRESULT CallDirectly(void* target, const FUNCDESC& function, bool takesAnswers) {
        std::vector<VARTYPE> types;
        std::vector<VARIANTARG*> pointers;
        VARIANT null{};
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            types.push_back(types_[i].IsOut() ? VARTYPE{VT_PTR} : types_[i].value);
            pointers.push_back(types_[i].IsOut() && !takesAnswers ? &null : &arguments_[i]);
        }
        VARIANT result{};
        EXPECT_EQ(DispCallFunc(target, static_cast<ULONG_PTR>(function.oVft), CC_STDCALL, VT_ERROR,
                               static_cast<UINT>(types.size()), types.data(), pointers.data(), &result),
                  S_OK);
        return result.scode;
    }

    bool HasArguments() const {
        return std::any_of(types_.begin(), types_.end(), [](const Type& type) { return !type.IsOut(); });
    }
    /// Whether there are arguments that cannot be just any value.
    bool IsTyped() const {
        return std::any_of(types_.begin(), types_.end(),
                           [](const Type& type) { return !type.IsOut() && type.value != VT_VARIANT; });
    }
    bool HasAnswers() const {
        return std::any_of(types_.begin(), types_.end(), [](const Type& type) { return type.IsOut(); });
    }

    /// What came for answers.
    std::string Answers() const {
        std::string text;
        for (std::size_t i = 0; i < types_.size(); ++i) {
            if (!types_[i].IsOut()) continue;
            VARIANT answer = answers_[i];
            if (types_[i].value != VT_VARIANT) answer.vt = types_[i].value;
            const bool isObject = (answer.vt == VT_UNKNOWN || answer.vt == VT_DISPATCH) && answer.punkVal;
            text += " " + (isObject ? StateOf(answer.punkVal) : TextOf(answer));
        }
        return text;
    }

    bool isExpressible = true;

 private:
    std::vector<VARIANT> arguments_;
    std::vector<VARIANT> answers_;
    std::vector<Type> types_;
    std::vector<kv::Variant> held_;
};

bool IsExpressible(ITypeInfo* info, const FUNCDESC& function) {
    Objects objects;
    return Call(info, function, Arguments::Nothing, objects).isExpressible;
}

/// What an operation succeeds with.
struct Success {
    std::string_view operation;  ///< a part of "Class.Operation"
    std::u16string_view text = u"1";
    VARTYPE array = VT_EMPTY;  ///< what a value is an array of; else it is the text
    LONG number = 1;
};

const Success& SuccessOf(std::string_view operation) {
    static const std::u16string set = kv::Utf16(Document(New<IPropertySet>(u"PropertySet").Get()));
    static const Success rows[] = {
        {"JSONArray.FromJSONString", u"[1,\"\u20ac\",{\"b\":null}]"},
        {"FromJSONString", u"{\"a\":[1,\"\u20ac\",{\"b\":null}]}"},
        {"JSONReader.ReadFromString", u"{\"a\":[1,\"\u20ac\",{\"b\":null}]}"},
        {"JSONReader.ParseText", u"{\"a\":[1,\"\u20ac\",{\"b\":null}]}"},
        {"JSONObject.Add", u"new"},
        {"JSONObject.Create", u"new"},
        {"Histogram", u"1", VT_R8},
        {".Classify", u"1", VT_R8, 2},
        {"AddValues", u"1", VT_R8},
        {"AddWeightedValues", u"1", VT_R8},
        {"etProperties", u"1", VT_VARIANT},
        {"StrArray.values", u"1", VT_VARIANT},
        {"Stream.Bytes", u"1", VT_UI1},
        {"WriteBase64", u"1", VT_UI1},
        {"BytesTo", u"1", VT_UI1},
        {"TextToBytes", u"QUJD"},
        {"HexToBytes", u"00FF"},
        {"UID.Value", u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}"},
        {"FindType", u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}"},
        {"SetFromXMLTimeString", u"2020-01-01T00:00:00Z"},
        {"TextToDate", u"2020-01-01T00:00:00Z"},
        {"SetFromDurationString", u"P1DT2H"},
        {"SplitName", u"a:b"},
        {"XMLWriter.StartElement", u"urn:n"},
        {"XMLWriter.LookupNamespacePrefix", u"urn:n"},
        {"XMLSerializer.Write", u"e"},
        {"XMLSerializerAlt.SaveTo", u"e"},
        {"XMLSerializerAlt.LoadFromString", set},
        {"XMLPersistedObject.XML", set},
        {".Open", u"opened", VT_EMPTY, movaFileModeOpenOrCreate},
        {"LoadFromFile", u"file0"},
        {"", u"1"},
    };
    return *std::find_if(std::begin(rows), std::end(rows),
                         [&](const Success& row) { return operation.find(row.operation) != operation.npos; });
}

/// Whether the manual names a status code.
bool IsListed(HRESULT status) {
    return std::any_of(std::begin(statusCodes), std::end(statusCodes),
                       [&](const auto& code) { return code.value == static_cast<std::uint32_t>(status); });
}

std::string NameOf(ITypeInfo* info, const FUNCDESC& function) {
    return TextsOf(info, function.memid).name;
}

/// Hands each function of an interface, those of what it extends but for IUnknown included, to a visitor.
template <class Visit>
void ForEveryFunction(ITypeInfo* info, const Visit& visit) {
    const auto attributes = AttributesOf(info);
    if (attributes->guid == __uuidof(IUnknown)) return;
    if (attributes->cImplTypes == 1) ForEveryFunction(Implemented(info, 0).Get(), visit);
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        const auto function = FunctionOf(info, i);
        SCOPED_TRACE(NameOf(info, *function));
        visit(info, *function);
    }
}

using Types = std::vector<kv::Ptr<ITypeInfo>>;

/// Hands each interface of an object that automation can express to a visitor.
template <class Visit>
void ForEveryInterface(const Types& types, IUnknown* object, const Visit& visit) {
    for (const auto& info : types) {
        const auto attributes = AttributesOf(info.Get());
        kv::Ptr<IUnknown> target;
        if (IsForAutomation(*attributes) && SUCCEEDED(object->QueryInterface(attributes->guid, target.PutVoid())))
            visit(info.Get(), target, attributes->guid);
    }
}

}  // namespace

TEST(Automation, CanCallEveryOperationAndNoneComesToHarm) {
    const WorkingFolder folder;
    const Types types = TypesOf(LibraryOf(LibraryFile()).Get());
    Objects objects;
    int called = 0;
    std::set<std::string> inexpressible;
    const std::set<std::string> lookAtTheTokenFirst{
        "GetBoolean",  "GetDate",          "GetDouble",   "GetInt64",   "GetInteger", "GetPropertyName",
        "GetString",   "GetUInt64",        "ReadBoolean", "ReadDate",   "ReadDouble", "ReadInt64",
        "ReadInteger", "ReadPropertyName", "ReadString",  "ReadUInt64", "ReadValue",  "ReadValueEx"};
    // What answers as the platform's error objects do, is handed a value by its address, or can do without its answer.
    const std::set<std::string> refuseAsArguments{"Count", "Description", "Status"};
    const auto withoutAnswer = [&](std::u16string_view className, const std::string& operation) {
        if (className == u"JSONReader" && lookAtTheTokenFirst.contains(operation)) return E_UNEXPECTED;
        const bool isArgument = (className == u"MOVAExtendedErrorInfo" && refuseAsArguments.contains(operation)) ||
                                operation == "AddNamedValue" || operation == "SetFromXMLTimeString";
        return isArgument ? E_INVALIDARG : E_POINTER;
    };
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        for (const Arguments kind : everyKind) {
            const auto object = New<IUnknown>(entry->name);
            ForEveryInterface(types, object.Get(), [&](ITypeInfo* info, const kv::Ptr<IUnknown>& target, REFIID) {
                ForEveryFunction(info, [&](ITypeInfo* declaring, const FUNCDESC& function) {
                    Call call(declaring, function, kind, objects);
                    if (!call.isExpressible) {
                        inexpressible.insert(NameOf(declaring, function));
                        return;
                    }
                    ++called;
                    const HRESULT status = call.Invoke(declaring, target.Get(), function);
                    if (kind == Arguments::WrongType) {
                        EXPECT_TRUE(call.IsTyped() ? status == DISP_E_TYPEMISMATCH : IsListed(status)) << status;
                        for (const Fault fault : {Fault::Missing, Fault::Extra, Fault::UnknownName}) {
                            // What is too much moves arguments into the places of answers, where the platform here
                            // frees texts that stay the caller's.
                            const auto handedIn = fault == Fault::Extra ? Arguments::Nothing : Arguments::Plausible;
                            const HRESULT refused = Call(declaring, function, handedIn, objects)
                                                        .Invoke(declaring, target.Get(), function, fault);
                            // The platform here passes over what is too much, and has nothing to miss where there is
                            // nothing.
                            EXPECT_TRUE(FAILED(refused) || fault == Fault::Extra || !call.HasArguments()) << int(fault);
                        }
                        return;
                    }
                    EXPECT_TRUE(IsListed(status)) << std::hex << status;
                    if (!call.HasAnswers()) return;
                    const HRESULT refused = call.CallDirectly(target.Get(), function, false);
                    EXPECT_EQ(refused, withoutAnswer(entry->name, NameOf(declaring, function)));
                });
            });
        }
    }
    EXPECT_GT(called, 4000);
    EXPECT_EQ(inexpressible, (std::set<std::string>{"QueryDateTime", "SetDateTime"})) << "they take structures";
}

namespace {

/// A sample with an operation that is to be called.
class Tried {
 public:
    Tried(Samples& samples, const ClassEntry& entry, REFIID iid, ITypeInfo* info, const FUNCDESC& function)
        : samples_(samples),
          iid_(iid),
          info_(info),
          function_(function),
          name_(kv::Utf8(entry.name) + "." + NameOf(info, function)),
          success_(SuccessOf(name_)),
          object_(samples.Of(entry.name)) {
        if (const auto writer = object_.As<IJSONWriter>(); writer && IsAnyOf({"Element", "EndArray"}))
            writer->StartArray(Bstr(u"a"));
        const auto reader = object_.As<IJSONReader>();
        const int tokens = !reader                      ? 0
                           : IsAnyOf({"PropertyName"})  ? 1
                           : IsAnyOf({"Array"})         ? 2
                           : IsAnyOf({"Int", "Double"}) ? 3
                           : IsAnyOf({"Boolean"})       ? 4
                           : IsAnyOf({"Date"})          ? 5
                                                        : 0;
        for (int i = 0; i < tokens; ++i) reader->ReadNext();
    }

    /// Calls it with arguments with which it is to succeed.
    HRESULT Do(long granted) {
        kv::Ptr<IUnknown> target;
        EXPECT_EQ(object_->QueryInterface(iid_, target.PutVoid()), S_OK);
        Objects objects(&samples_);
        objects.text = success_.text;
        objects.number = success_.number;
        objects.value = [this] { return PlausibleValue(); };
        Call call(info_, function_, Arguments::Plausible, objects);
        HRESULT status = S_OK;
        {
            const MemoryShortage shortage(granted);
            status = call.CallDirectly(target.Get(), function_, true);
            isShort = shortage.WasFelt();
        }
        // What is made by chance, or tells when, differs each time.
        answers = name_ == "UID.Generate" || name_ == "MessageLogger.Read" ? "" : call.Answers();
        return status;
    }
    /// What the object holds.
    std::string State() const { return name_ == "UID.Generate" ? "" : StateOf(object_.Get()); }
    /// Whether it says of itself that a failure leaves something else than what was there, and whether it is to be done
    /// again from where that is.
    bool Keeps() const { return !MovesOn() && !IsAnyOf({".FromJSONString", ".ParseJSON", "JSONReader.ReadFrom"}); }
    bool MovesOn() const {
        return IsAnyOf(
            {"XMLReader.Read", "XMLReader.Skip", "XMLTextReader.Read", "XMLTextReader.Skip", "VariantStreamIO.Read"});
    }

    bool isShort = false;
    std::string answers;

 private:
    bool IsAnyOf(std::initializer_list<std::string_view> parts) const {
        return std::any_of(parts.begin(), parts.end(),
                           [&](std::string_view part) { return name_.find(part) != name_.npos; });
    }
    kv::Variant PlausibleValue() const {
        if (success_.array == VT_EMPTY) return Value(success_.text);
        if (success_.array == VT_VARIANT) return ArrayOf({u"1", u"Half"});
        kv::Variant numbers = Array(success_.array, {{5, 0}});
        for (int i = 0; success_.array == VT_R8 && i < 5; ++i)
            static_cast<double*>(numbers.Get().parray->pvData)[i] = 1 + i;
        return numbers;
    }

    Samples& samples_;
    IID iid_;
    ITypeInfo* info_;
    const FUNCDESC& function_;
    std::string name_;
    const Success& success_;
    kv::Ptr<IUnknown> object_;
};

}  // namespace

TEST(Automation, LosesNothingWhereMemoryRunsOut) {
    const Types types = TypesOf(LibraryOf(LibraryFile()).Get());
    Samples samples;
    int felt = 0, called = 0, succeeded = 0;
    /// Calls an operation unhampered, then with each of its calls for memory refused.
    const auto visit = [&](const ClassEntry& entry, REFIID iid, ITypeInfo* info, const FUNCDESC& function) {
        HRESULT unhampered = S_OK;
        std::string answers, made;
        {
            Tried tried(samples, entry, iid, info, function);
            unhampered = tried.Do(LONG_MAX);
            answers = tried.answers;
            made = tried.State();
        }
        // What objects are saved as XML through lies within a serializer, and cannot be handed in.
        const std::string operation = NameOf(info, function);
        called += operation != "Serialize" && operation != "Deserialize";
        succeeded += SUCCEEDED(unhampered);
        bool isFelt = true;
        for (long granted = 0; isFelt; ++granted) {
            SCOPED_TRACE(granted);
            ASSERT_LT(granted, 5000) << "it never ends";
            SetErrorInfo(0, nullptr);
            const long before = LiveBlocks() + LiveBlocksOfPlatform();
            {
                Tried tried(samples, entry, iid, info, function);
                const std::string held = tried.State();
                HRESULT status = tried.Do(granted);
                isFelt = tried.isShort;
                felt += isFelt;
                const bool isRefused = isFelt && status == E_OUTOFMEMORY;
                if (isRefused && tried.Keeps()) {
                    EXPECT_EQ(tried.State(), held);
                }
                if (isRefused && !tried.MovesOn()) status = tried.Do(LONG_MAX);
                if (!isRefused || !tried.MovesOn()) {
                    EXPECT_EQ(status, unhampered) << std::hex << status << " for " << unhampered;
                    EXPECT_EQ(tried.answers, answers);
                    EXPECT_EQ(tried.State(), made);
                }
            }
            SetErrorInfo(0, nullptr);
            if constexpr (!kv::recyclesMemory) {
                EXPECT_EQ(LiveBlocks() + LiveBlocksOfPlatform(), before);
            }
        }
    };
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        ForEveryInterface(types, New<IUnknown>(entry->name).Get(),
                          [&](ITypeInfo* info, const kv::Ptr<IUnknown>&, REFIID iid) {
                              ForEveryFunction(info, [&](ITypeInfo* declaring, const FUNCDESC& function) {
                                  // What an interface extends is visited as an interface of its own.
                                  if (declaring == info && IsExpressible(declaring, function))
                                      visit(*entry, iid, declaring, function);
                              });
                          });
    }
    EXPECT_GT(felt, kv::recyclesMemory ? 1250 : 2300);
    EXPECT_GT(called, 640);
    EXPECT_LT(called - succeeded, 25) << "most operations are to be tried where they succeed";
}

}  // namespace mova::test
