#include "server/PostponedEnds.h"

#include <algorithm>

#include "kvcore/Stack.h"

namespace mova {

bool PostponedEnds::StackIsShort() noexcept {
    constexpr std::size_t enough = 512 * 1024;  // what an object holds may be of another maker, and end as it likes
    return kv::StackLeft() < enough;
}

bool PostponedEnds::Postpone(Unknown* object) noexcept {
    {
        const kv::KvAutoLock lock(lock_);
        if (!Find(GetCurrentThreadId(), false)) return false;
    }
    return Put(object);
}

Unknown* PostponedEnds::Take() noexcept {
    const kv::KvAutoLock lock(lock_);
    Place* place = Find(GetCurrentThreadId(), true);
    if (!place) place = Find(GetCurrentThreadId(), false);
    place->thread = 0;
    return place->object;
}

bool PostponedEnds::Put(Unknown* object) noexcept {
    const kv::KvAutoLock lock(lock_);
    const auto free =
        std::find_if(places_.begin(), places_.end(), [](const Place& place) { return place.thread == 0; });
    if (free == places_.end()) return false;
    *free = {GetCurrentThreadId(), object};
    return true;
}

PostponedEnds::Place* PostponedEnds::Find(DWORD thread, bool withObject) noexcept {
    const auto found = std::find_if(places_.begin(), places_.end(), [=](const Place& place) {
        return place.thread == thread && (place.object != nullptr) == withObject;
    });
    return found == places_.end() ? nullptr : &*found;
}

}  // namespace mova
