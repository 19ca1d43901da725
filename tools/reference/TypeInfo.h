// How a type library is walked: what it lends is given back, and a call of it that fails throws std::runtime_error.
#pragma once

#include <string>
#include <vector>

#include "kvcore/Ptr.h"

namespace mova::reference {

/// Throws where a call of a type library failed.
void Check(HRESULT status);

/// A description that its type information takes back.
template <class Description>
class Held {
 public:
    using Return = void (STDMETHODCALLTYPE ITypeInfo::*)(Description*);

    Held(ITypeInfo* info, Description* description, Return giveBack)
        : info_(info), description_(description), giveBack_(giveBack) {}
    ~Held() { (info_->*giveBack_)(description_); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    const Description* operator->() const noexcept { return description_; }
    const Description& operator*() const noexcept { return *description_; }

 private:
    ITypeInfo* info_;
    Description* description_;
    Return giveBack_;
};

Held<TYPEATTR> AttributesOf(ITypeInfo* info);
Held<FUNCDESC> FunctionOf(ITypeInfo* info, UINT index);
Held<VARDESC> VariableOf(ITypeInfo* info, UINT index);

struct Texts {
    std::string name;
    std::string help;
};
/// Of a type, or of one of its members.
Texts TextsOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL);

/// The type that a description names.
kv::Ptr<ITypeInfo> Referred(ITypeInfo* info, HREFTYPE reference);
/// What an interface extends, or an interface of a class.
kv::Ptr<ITypeInfo> Implemented(ITypeInfo* info, UINT index);

/// Whether a type is an interface whose operations automation can call.
bool IsForAutomation(const TYPEATTR& attributes);

kv::Ptr<ITypeLib> LibraryOf(const std::u16string& file);
/// In their order.
std::vector<kv::Ptr<ITypeInfo>> TypesOf(ITypeLib* library);

}  // namespace mova::reference
