#pragma once

#include <array>

#include "kvcore/CriticalSection.h"

namespace mova {

class Unknown;

/// The end of an object is the end of those that it alone holds, and so on: a chain of objects can be longer than the
/// stack. Where little stack is left, the first object to end on a thread collects those that end with it, and ends
/// them one after the other. No memory is taken for that.
class PostponedEnds {
 public:
    /// Whether the calling thread has too little stack for one end within another.
    static bool StackIsShort() noexcept;

    /// Begins to collect on this thread. @return false where no more threads can be served at once
    bool Begin() noexcept { return Put(nullptr); }
    /// Puts an object's end off. @return false where this thread does not collect, or there is no place
    bool Postpone(Unknown* object) noexcept;
    /// An object whose end this thread has put off; once there is none, null, and the thread collects no longer.
    Unknown* Take() noexcept;

 private:
    struct Place {
        DWORD thread;     ///< 0: free
        Unknown* object;  ///< null: says that the thread collects
    };

    bool Put(Unknown* object) noexcept;
    /// The first place of a thread, of those with an object or of those without.
    Place* Find(DWORD thread, bool withObject) noexcept;

    kv::StaticLock lock_;
    std::array<Place, 64> places_{};
};

}  // namespace mova
