#pragma once

#include "json/Scanner.h"
#include "json/TreeBuilder.h"

namespace json {

/// How many objects and arrays may be around one, in loading, writing and walking. The outermost has none around it, so
/// that one more may be in one another.
inline constexpr std::int32_t maxDepth = 500;

enum class Loaded : std::uint8_t {
    All,
    SourceFailed,   ///< the source knows why
    WrongToken,     ///< a token that cannot stand there
    TooDeep,        ///< more than maxDepth
    NameComesAgain  ///< and its value cannot be replaced
};

/// Loads an object or array from a source that stands on its start, and reads on behind its end. What was complete
/// before a failure is in the builder. The depth of the document costs no stack.
/// @tparam Source has Current(), the token; Advance(), false where that fails; Enter(builder), the
///     same at the start of an object or array; TakeName(builder), which names the next
///     value and reads on; TakeScalar(builder, value), which makes a value and reads on, having added those in front
///     of it by itself where several of an array's are read at once.
/// @param depth how many are around it. @throw std::bad_alloc
template <class Source>
Loaded LoadTree(Source& source, TreeBuilder& builder, bool named, std::int32_t depth) {
    const auto begin = [&](bool isObject) {
        builder.Begin(isObject);
        return source.Enter(builder) ? Loaded::All : Loaded::SourceFailed;
    };
    const auto add = [&](const Value& value) { return builder.Add(value) ? Loaded::All : Loaded::NameComesAgain; };
    if (source.Current() != (named ? Token::StartOfObject : Token::StartOfArray)) return Loaded::WrongToken;
    Loaded loaded = begin(named);
    while (loaded == Loaded::All) {
        Token token = source.Current();
        const bool inObject = builder.InObject();
        if (token == (inObject ? Token::EndOfObject : Token::EndOfArray)) {
            if (builder.OpenCount() == 1) return source.Advance() ? Loaded::All : Loaded::SourceFailed;
            const Value complete = builder.End();
            loaded = source.Advance() ? add(complete) : Loaded::SourceFailed;
            continue;
        }
        if (inObject) {
            if (!source.TakeName(builder)) return Loaded::SourceFailed;
            token = source.Current();
        }
        switch (token) {
            case Token::StartOfObject:
            case Token::StartOfArray:
                if (depth + static_cast<std::int64_t>(builder.OpenCount()) > maxDepth) return Loaded::TooDeep;
                loaded = begin(token == Token::StartOfObject);
                break;
            case Token::String:
            case Token::Number:
            case Token::Boolean:
            case Token::Null: {
                Value value = Value::Of(Kind::Empty);
                loaded = source.TakeScalar(builder, value) ? add(value) : Loaded::SourceFailed;
                break;
            }
            default:
                return Loaded::WrongToken;
        }
    }
    return loaded;
}

}  // namespace json
