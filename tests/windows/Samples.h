// An object of each class with something in it, and what a client can tell of any object.
#pragma once

#include <map>

#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {

/// Makes objects by the names of their classes, each filled and where its operations succeed: readers stand on a token,
/// writers in an element, streams at byte 4 of their content, what takes names holds "1". Files are in a folder that
/// goes with this, and is the working folder until then.
class Samples {
 public:
    kv::Ptr<IUnknown> Of(std::u16string_view className);
    template <class I>
    kv::Ptr<I> Of(std::u16string_view className) {
        return Of(className).template As<I>();
    }
    /// One of the class by which a sample of an interface is best handed in.
    kv::Ptr<IUnknown> For(REFIID iid);

 private:
    WorkingFolder folder_;
    std::map<std::u16string, std::u16string_view> classes_;  // by interface
};

/// What a client can tell of an object: what it answers without being changed, the bytes that it saves, its JSON, the
/// position and the bytes of a stream. Says of objects that are handed out only whether there is one.
std::string StateOf(IUnknown* object);
/// A value so that equal ones are told from others. Says of an object only whether there is one.
std::string TextOf(const VARIANT& value);

/// Whether a load that fails leaves an object of a class with what it held: some take what came until then, or nothing.
bool LoadKeeps(std::u16string_view className);

/// The object as a document.
std::string Document(IUnknown* object);

}  // namespace mova::test
