#pragma once

#include <string>
#include <vector>

#include "json/JSONValues.h"
#include "json/TreeLoader.h"

namespace mova {

/// Writes a document to a sink, whatever objects have been made of its parts. Its depth costs no stack.
/// @tparam Sink has Start(name, isObject), End(isObject), Put(name, value) for a value that is no container, and
///     PutForeign(name, object) for an object of others, each an HRESULT; the name is null for an element.
template <class Sink>
class TreeWriter {
 public:
    explicit TreeWriter(Sink& sink) noexcept : sink_(sink) {}

    /// @return the sink's failure; E_FAIL where more than maxDepth are around one. @throw std::bad_alloc
    HRESULT Write(const std::u16string_view* name, JSONValues& root, IUnknown* keeper) {
        HRESULT status = Open(name, {kv::Ptr<IUnknown>(keeper), &root, {}, nullptr, root.isObject, 0});
        while (SUCCEEDED(status) && !open_.empty()) status = Next();
        return status;
    }

 private:
    /// A container that is being written. What the sink calls may change it meanwhile, so a component is looked at anew
    /// for every value; entries that no component had stay as they were, so that they hold no objects either.
    struct Level {
        kv::Ptr<IUnknown> keeper;  ///< of a component
        JSONValues* values;        ///< the component's
        kv::PinnedArena arena;     ///< where the entries of any other lie
        const json::Entries* entries;
        bool isObject;
        std::uint32_t next;

        std::uint32_t Count() const noexcept { return values ? values->held.Count() : entries->count; }
        json::Value At(std::uint32_t i) const noexcept {
            return values ? values->held.At(i) : entries->At(i, isObject);
        }
        std::u16string_view NameAt(std::uint32_t i) const noexcept {
            return values ? values->held.NameAt(i) : entries->NameAt(i);
        }
    };

    HRESULT Open(const std::u16string_view* name, Level opened) {
        if (open_.size() > static_cast<std::size_t>(json::maxDepth)) return E_FAIL;
        if (HRESULT status = sink_.Start(name, opened.isObject); FAILED(status)) return status;
        open_.push_back(std::move(opened));
        return S_OK;
    }

    HRESULT Next() {
        Level& top = open_.back();
        if (top.next >= top.Count()) {
            const bool wasObject = top.isObject;
            open_.pop_back();
            return sink_.End(wasObject);
        }
        const std::uint32_t i = top.next++;
        const json::Value value = top.At(i);
        const std::u16string_view text = top.isObject ? top.NameAt(i) : std::u16string_view();
        const std::u16string_view* const name = top.isObject ? &text : nullptr;
        if (IsContainer(value.tag.kind)) {
            const bool isObject = value.tag.kind == json::Kind::Object;
            return Open(name, {{},
                               nullptr,
                               kv::PinnedArena(top.values ? top.values->held.SharedArena() : top.arena.Get()),
                               value.payload.entries,
                               isObject,
                               0});
        }
        if (value.tag.kind != json::Kind::Held || !value.payload.held) return sink_.Put(name, value);
        // Whatever object it is may take its name away while it is asked.
        const std::u16string kept(text);
        const std::u16string_view keptText(kept);
        return PutObject(name ? &keptText : nullptr, kv::Ptr<IUnknown>(static_cast<IUnknown*>(value.payload.held)),
                         *top.values);
    }

    HRESULT PutObject(const std::u16string_view* name, kv::Ptr<IUnknown> object, JSONValues& around) {
        if (const auto stream = object.template As<IStream>()) {  // JSON text that nobody has asked for
            if (HRESULT status = around.ReadStream(stream, object); FAILED(status)) return status;
        }
        const auto ours = object.template As<IHoldsValues>();
        if (!ours) return sink_.PutForeign(name, object);
        JSONValues& values = ours->Values();
        return Open(name, {std::move(object), &values, {}, nullptr, values.isObject, 0});
    }

    Sink& sink_;
    std::vector<Level> open_;
};

}  // namespace mova
