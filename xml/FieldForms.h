// How a class lists its fields to IXMLSerializeData.
#pragma once

#include <movaSystem.h>

#include <string_view>
#include <utility>

#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "xml/SeesElements.h"

namespace mova {

/// Writes an object's fields as elements; its first failure sticks.
class XmlFieldWriter {
 public:
    /// @param typeName what the object's type is called in documents
    XmlFieldWriter(IXMLSerializeData* data, std::u16string_view typeName) : data_(data) {
        status_ = data_->put_TypeName(kv::BString(typeName).Get());
    }

    /// Adds an element. @param add the operation of IXMLSerializeData for its type
    template <class... Parameters, class... Arguments>
    bool Add(HRESULT (STDMETHODCALLTYPE IXMLSerializeData::*add)(BSTR, Parameters...), std::u16string_view name,
             Arguments&&... arguments) {
        if (name != nameText_) {
            name_ = kv::BString(name);
            nameText_ = name;
        }
        if (SUCCEEDED(status_)) status_ = (data_.Get()->*add)(name_.Get(), std::forward<Arguments>(arguments)...);
        return SUCCEEDED(status_);
    }
    IXMLSerializeData* Data() const noexcept { return data_.Get(); }
    HRESULT Status() const noexcept { return FAILED(status_) ? status_ : S_OK; }

 private:
    const kv::Ptr<IXMLSerializeData> data_;
    HRESULT status_;
    kv::BString name_;  ///< the name that was used last, for many elements have the same
    std::u16string_view nameText_;
};

/// Reads an object's fields from elements; its first failure sticks, and nothing more is read then.
class XmlFieldReader {
 public:
    explicit XmlFieldReader(IXMLSerializeData* data) noexcept : data_(data), own_(data_.As<ISeesElements>()) {}

    /// Reads the first element of a name, where there is one. @param get the operation of IXMLSerializeData
    /// @return whether there is one, and it was read
    template <class Value>
    bool Get(HRESULT (STDMETHODCALLTYPE IXMLSerializeData::*get)(LONG, Value*), std::u16string_view name,
             std::type_identity_t<Value>* value) {
        LONG index = -1;
        if (SUCCEEDED(status_)) status_ = data_->Find(kv::BString(name).Get(), &index);
        if (FAILED(status_) || index < 0) return false;
        status_ = (data_.Get()->*get)(index, value);
        return SUCCEEDED(status_);
    }
    /// Reads all elements of a name, in their order. @param read HRESULT(LONG index)
    template <class Read>
    void ForEach(std::u16string_view name, Read read) {
        LONG count = 0;
        if (SUCCEEDED(status_)) status_ = data_->get_Count(&count);
        for (LONG i = 0; i < count && SUCCEEDED(status_); ++i) {
            if (HasName(i, name) && SUCCEEDED(status_)) status_ = read(i);
        }
    }
    /// The key of an element; empty where it has none. @param holder keeps the text, where that is to be kept
    std::u16string_view Key(LONG index, kv::BString& holder) {
        if (own_) return own_->KeyOf(index);
        status_ = data_->GetKey(index, holder.Put());
        return holder.View();
    }
    IXMLSerializeData* Data() const noexcept { return data_.Get(); }
    HRESULT Status() const noexcept { return FAILED(status_) ? status_ : S_OK; }

 private:
    bool HasName(LONG index, std::u16string_view name) {
        if (own_) return own_->NameOf(index) == name;
        kv::BString found;
        status_ = data_->GetName(index, found.Put());
        return found.View() == name;
    }

    const kv::Ptr<IXMLSerializeData> data_;
    const kv::Ptr<ISeesElements> own_;  ///< the same, where it is one of this module
    HRESULT status_ = S_OK;
};

}  // namespace mova
