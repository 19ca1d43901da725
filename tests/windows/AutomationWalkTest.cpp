// Every operation that automation can express, called through the type library with arguments good and bad.
#include <map>

#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

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
    kv::Ptr<ITypeInfo> referred;
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(info->GetRefTypeInfo(description.hreftype, referred.Put()), S_OK);
    EXPECT_EQ(referred->GetTypeAttr(&attributes), S_OK);
    Type type;
    if (attributes->typekind == TKIND_ENUM) type = {VT_I4, 0, IID_NULL};
    if (attributes->typekind == TKIND_ALIAS) type = TypeOf(referred.Get(), attributes->tdescAlias);
    if (attributes->typekind == TKIND_INTERFACE) type = {VT_UNKNOWN, 0, attributes->guid};
    referred->ReleaseTypeAttr(attributes);
    return type;
}

/// What is handed in.
enum class Arguments { Nothing, Plausible, Large, Negative };
constexpr Arguments everyKind[] = {Arguments::Nothing, Arguments::Plausible, Arguments::Large, Arguments::Negative};

/// Objects to hand in, by the interface that is asked for: one of the first class that has it.
class Objects {
 public:
    kv::Ptr<IUnknown> Of(REFIID iid) {
        auto& object = found_[kv::GuidText(iid)];
        for (const ClassEntry* entry = classTable; !object && !entry->IsEnd(); ++entry)
            New<IUnknown>(entry->name)->QueryInterface(iid, object.PutVoid());
        return object;
    }

 private:
    std::map<std::u16string, kv::Ptr<IUnknown>> found_;
};

kv::Variant In(const Type& type, Arguments kind, Objects& objects) {
    if (type.value == VT_UNKNOWN) return Value(kind == Arguments::Nothing ? nullptr : objects.Of(type.iid).Get());
    if (type.value == VT_BSTR && kind == Arguments::Nothing) return kv::Variant::Attach(Raw(VT_BSTR));
    if (type.value == VT_BSTR) {
        const std::u16string_view texts[] = {u"", u"1", u"a long text with a {brace} and a < in it", u"-\u20ac"};
        return Value(texts[static_cast<int>(kind)]);
    }
    if (type.value == VT_VARIANT) {
        if (kind == Arguments::Nothing) return {};
        if (kind == Arguments::Plausible) return Value(u"1");
        return kind == Arguments::Large ? ArrayOf({u"one", u"two"}) : Value(objects.Of(__uuidof(IPropertySet)).Get());
    }
    const LONG numbers[] = {0, 1, 100'000, -1};
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
    HRESULT Invoke(ITypeInfo* info, void* target, const FUNCDESC& function) {
        std::vector<VARIANT> reversed(arguments_.rbegin(), arguments_.rend());
        DISPID put = DISPID_PROPERTYPUT;
        const bool isPut = function.invkind == INVOKE_PROPERTYPUT;
        DISPPARAMS parameters{reversed.data(), isPut ? &put : nullptr, static_cast<UINT>(reversed.size()),
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

    bool HasAnswers() const {
        return std::any_of(types_.begin(), types_.end(), [](const Type& type) { return type.IsOut(); });
    }

    bool isExpressible = true;

 private:
    std::vector<VARIANT> arguments_;
    std::vector<VARIANT> answers_;
    std::vector<Type> types_;
    std::vector<kv::Variant> held_;
};

std::string NameOf(ITypeInfo* info, const FUNCDESC& function) {
    kv::BString name;
    EXPECT_EQ(info->GetDocumentation(function.memid, name.Put(), nullptr, nullptr, nullptr), S_OK);
    return kv::Utf8(name.View());
}

/// Hands each function of an interface, those of what it extends but for IUnknown included, to a visitor.
template <class Visit>
void ForEveryFunction(ITypeInfo* info, const Visit& visit) {
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    const UINT count = attributes->guid == __uuidof(IUnknown) ? 0u : attributes->cFuncs;
    const bool extends = attributes->cImplTypes == 1 && count != 0;
    info->ReleaseTypeAttr(attributes);
    if (extends) {
        HREFTYPE reference = 0;
        kv::Ptr<ITypeInfo> base;
        EXPECT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
        EXPECT_EQ(info->GetRefTypeInfo(reference, base.Put()), S_OK);
        ForEveryFunction(base.Get(), visit);
    }
    for (UINT i = 0; i < count; ++i) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
        SCOPED_TRACE(NameOf(info, *function));
        visit(info, *function);
        info->ReleaseFuncDesc(function);
    }
}

/// Hands each interface of an object that automation can express to a visitor.
template <class Visit>
void ForEveryInterface(IUnknown* object, const Visit& visit) {
    kv::Ptr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(kv::Wide((BinaryFolder() + u"movaSystem.dll").c_str()), REGKIND_NONE, library.Put()), S_OK);
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        kv::Ptr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        library->GetTypeInfo(i, info.Put());
        info->GetTypeAttr(&attributes);
        const IID iid = attributes->guid;
        const bool isExpressible =
            attributes->typekind == TKIND_INTERFACE && (attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION) != 0;
        info->ReleaseTypeAttr(attributes);
        kv::Ptr<IUnknown> target;
        if (isExpressible && SUCCEEDED(object->QueryInterface(iid, target.PutVoid()))) visit(info.Get(), target, iid);
    }
}

/// A folder of its own for operations that make files.
class WorkingFolder {
 public:
    WorkingFolder() : before_(MAX_PATH, u'\0') {
        before_.resize(GetCurrentDirectoryW(MAX_PATH, kv::Wide(before_.data())));
        EXPECT_TRUE(SetCurrentDirectoryW(kv::Wide(folder_.Path().c_str())));
    }
    ~WorkingFolder() { SetCurrentDirectoryW(kv::Wide(before_.c_str())); }

 private:
    TemporaryFolder folder_;
    std::u16string before_;
};

}  // namespace

TEST(Automation, CanCallEveryOperationAndNoneComesToHarm) {
    const WorkingFolder folder;
    Objects objects;
    int called = 0, inexpressible = 0;
    // What looks at a token first, answers as the platform's error objects do, is handed a value by its address, or can
    // do without its answer.
    const auto isExempt = [](std::u16string_view className, std::string_view operation) {
        return className == u"JSONReader" || className == u"MOVAExtendedErrorInfo" || operation == "AddNamedValue" ||
               operation == "SetFromXMLTimeString";
    };
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        for (const Arguments kind : everyKind) {
            const auto object = New<IUnknown>(entry->name);
            ForEveryInterface(object.Get(), [&](ITypeInfo* info, const kv::Ptr<IUnknown>& target, REFIID) {
                ForEveryFunction(info, [&](ITypeInfo* declaring, const FUNCDESC& function) {
                    Call call(declaring, function, kind, objects);
                    if (!call.isExpressible) {
                        ++inexpressible;
                        return;
                    }
                    ++called;
                    const HRESULT status = call.Invoke(declaring, target.Get(), function);
                    EXPECT_NE(status, E_NOTIMPL);
                    EXPECT_NE(status, DISP_E_MEMBERNOTFOUND);
                    if (!call.HasAnswers()) return;
                    const HRESULT refused = call.CallDirectly(target.Get(), function, false);
                    EXPECT_TRUE(isExempt(entry->name, NameOf(declaring, function)) ? FAILED(refused)
                                                                                   : refused == E_POINTER)
                        << "null for an answer: " << std::hex << refused;
                });
            });
        }
    }
    EXPECT_GT(called, 4000);
    EXPECT_LT(inexpressible, called / 20) << inexpressible;
}

TEST(Automation, LosesNothingWhereMemoryRunsOut) {
    const WorkingFolder folder;
    Objects objects;
    int felt = 0;
    const auto live = [] { return LiveBlocks() + LiveBlocksOfPlatform(); };
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        const auto walked = New<IUnknown>(entry->name);
        ForEveryInterface(walked.Get(), [&](ITypeInfo* info, const kv::Ptr<IUnknown>&, REFIID iid) {
            ForEveryFunction(info, [&](ITypeInfo* declaring, const FUNCDESC& function) {
                /// The operation of a new object; so much memory is granted, or all of it.
                const auto call = [&](long granted, bool& wasFelt) {
                    const auto object = New<IUnknown>(entry->name);
                    kv::Ptr<IUnknown> target;
                    EXPECT_EQ(object->QueryInterface(iid, target.PutVoid()), S_OK);
                    Call plausible(declaring, function, Arguments::Plausible, objects);
                    const MemoryShortage shortage(granted);
                    const HRESULT status =
                        plausible.isExpressible ? plausible.CallDirectly(target.Get(), function, true) : E_NOTIMPL;
                    wasFelt = shortage.WasFelt();
                    return status;
                };
                bool isFelt = false;
                const HRESULT unhampered = call(1'000'000, isFelt);
                for (long granted = 0; granted < 1000; ++granted) {
                    SetErrorInfo(0, nullptr);
                    const long before = live();
                    const HRESULT status = call(granted, isFelt);
                    SetErrorInfo(0, nullptr);
                    EXPECT_TRUE(status == unhampered || status == E_OUTOFMEMORY)
                        << granted << ": " << std::hex << status << " for " << unhampered;
                    if constexpr (!kv::recyclesMemory) {
                        EXPECT_EQ(live(), before) << granted;
                    }
                    if (!isFelt) break;
                    ++felt;
                }
            });
        });
    }
    EXPECT_GT(felt, 500);
}

}  // namespace mova::test
