#include <movaSystem.h>

#include <limits>
#include <optional>

#include "kvcore/Utf.h"
#include "tools/mova/Client.h"
#include "tools/mova/NumberText.h"
#include "tools/mova/Streams.h"

namespace mova::tool {
namespace {

enum TokenType : LONG { none = -1, string = 1, number, boolean, null, startObject, endObject, startArray, endArray };

using Reader = kv::Ptr<IJSONReader4>;

std::string Quoted(std::u16string_view text) {
    std::string quoted;
    kv::AppendQuoted(quoted, text);
    return quoted;
}

kv::BString Bstr(const std::string& text) {
    return kv::BString(kv::Utf16(text));
}

LONG TokenOf(const Reader& reader) {
    LONG token = none;
    Check(reader->GetTokenType(&token));
    return token;
}

/// One line for the current token.
std::string LineOf(const Reader& reader, LONG token) {
    switch (token) {
        case startObject:
            return "{";
        case endObject:
            return "}";
        case startArray:
            return "[";
        case endArray:
            return "]";
        case null:
            return "null";
        default:
            break;
    }
    kv::BString text;
    VARIANT_BOOL isName = VARIANT_FALSE;
    Check(reader->IsPropertyName(&isName));
    if (isName) {
        Check(reader->GetPropertyName(VARIANT_FALSE, text.Put()));
        return "name\t" + Quoted(text.View());
    }
    Check(reader->GetString(VARIANT_FALSE, text.Put()));
    if (token == string) return "string\t" + Quoted(text.View());
    if (token == boolean) {
        VARIANT_BOOL isTrue = VARIANT_FALSE;
        Check(reader->GetBoolean(VARIANT_FALSE, &isTrue));
        return isTrue ? "boolean\ttrue" : "boolean\tfalse";
    }
    double value = 0;
    LONGLONG integer = 0;
    ULONGLONG natural = 0;
    Check(reader->GetDouble(VARIANT_FALSE, &value));
    Check(reader->GetInt64(VARIANT_FALSE, &integer));
    Check(reader->GetUInt64(VARIANT_FALSE, &natural));
    std::string line = "number\t" + kv::Utf8(text.View()) + "\t";
    AppendNumber(line, value);
    line += "\t" + std::to_string(integer) + "\t" + std::to_string(natural);
    return line;
}

int PrintTokens(Arguments arguments) {
    const auto reader = CreateAs<IJSONReader4>(u"JSONReader");
    HRESULT status = S_OK;
    kv::Ptr<IStream> stream;
    if (arguments.size() == 2 && arguments[0] == "--text") {
        status = reader->ReadFromString(Bstr(arguments[1]).Get());
    } else if (arguments.size() == 1 && arguments[0] != "--text") {
        stream = MemoryOf(ReadInput(arguments[0]));
        status = reader->ReadFromStream(stream.Get());
    } else {
        throw WrongUsage{"json tokens takes a FILE or --text TEXT"};
    }
    Check(status);
    for (LONG token = TokenOf(reader); status == S_OK && token != none; token = TokenOf(reader)) {
        Print(LineOf(reader, token) + "\n");
        Check(status = reader->ReadNext());
    }
    Print("end\n");
    return 0;
}

/// A JSON object or array, with what the client does to both.
struct Document {
    kv::Ptr<IJSONObject> object;
    kv::Ptr<IJSONArray> array;

    std::string Text(IPropertySet* options) const {
        kv::BString text;
        Check(object ? object->ToJSONString(options, text.Put()) : array->ToJSONString(options, text.Put()));
        return kv::Utf8(text.View());
    }
};

Document Load(const std::string& file) {
    const auto reader = CreateAs<IJSONReader4>(u"JSONReader");
    Check(reader->ReadFromStream(MemoryOf(ReadInput(file)).Get()));
    Document document;
    if (TokenOf(reader) == startArray) {
        document.array = CreateAs<IJSONArray>(u"JSONArray");
        Check(document.array->ParseJSON(reader.Get()));
    } else {
        document.object = CreateAs<IJSONObject>(u"JSONObject");
        Check(document.object->ParseJSON(reader.Get()));
    }
    return document;
}

LONG NumberOf(const std::string& option, const std::string& text) {
    using Range = std::numeric_limits<LONG>;
    const auto value = ReadInteger(text);
    if (!value || *value < Range::min() || *value > Range::max())
        throw WrongUsage{"json format " + option + " takes a number of 32 bits"};
    return static_cast<LONG>(*value);
}

int Format(Arguments arguments) {
    auto options = CreateAs<IPropertySet>(u"PropertySet");
    const auto set = [&](std::u16string_view name, VARTYPE type, LONG given) {
        VARIANT value{};
        value.vt = type;
        if (type == VT_BOOL) value.boolVal = static_cast<VARIANT_BOOL>(given);
        if (type == VT_I4) value.lVal = given;
        Check(options->SetProperty(kv::BString(name).Get(), value));
    };
    std::optional<std::string> file;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        const bool hasNext = i + 1 < arguments.size();
        if (word == "--formatted") {
            set(u"WriteFormatted", VT_BOOL, VARIANT_TRUE);
        } else if (word == "--indent" && hasNext) {
            set(u"IndentLevel", VT_I4, NumberOf(word, arguments[++i]));
        } else if (word == "--max-decimals" && hasNext) {
            set(u"MaxDecimals", VT_I4, NumberOf(word, arguments[++i]));
        } else if (!file && !word.starts_with("--")) {
            file = word;
        } else {
            throw WrongUsage{"json format does not take " + word + (word.starts_with("--") ? " like that" : "")};
        }
    }
    if (!file) throw WrongUsage{"json format takes a FILE"};
    Print(Load(*file).Text(options.Get()) + "\n");
    return 0;
}

/// A path's steps: the first is taken off it.
std::string TakeStep(std::string& path) {
    std::string step = path.substr(0, path.find('/'));
    path.erase(0, step.size() + 1);
    return step;
}

/// Goes one step into a document. @return the value as text, where it is the last step and no container
std::optional<std::string> Step(Document& document, const std::string& step, bool isLast) {
    const auto notThere = [&] { return Refused(E_INVALIDARG, "mova", "There is nothing at " + step + "."); };
    Document next;
    VARIANT_BOOL found = VARIANT_FALSE;
    kv::BString text;
    if (document.object) {
        const kv::BString name = Bstr(step);
        Check(document.object->MemberExists(name.Get(), &found));
        if (!found) throw notThere();
        Check(document.object->GetJSONObject(name.Get(), next.object.Put(), &found));
        Check(document.object->GetJSONArray(name.Get(), next.array.Put(), &found));
        if (!next.object && !next.array) Check(document.object->GetString(name.Get(), text.Put(), &found));
    } else {
        const auto index = ReadInteger(step);
        LONG count = 0;
        Check(document.array->GetCount(&count));
        if (!index || *index < 0 || *index >= count) throw notThere();
        const auto place = static_cast<LONG>(*index);
        Check(document.array->GetJSONObject(place, next.object.Put(), &found));
        Check(document.array->GetJSONArray(place, next.array.Put(), &found));
        if (!next.object && !next.array) Check(document.array->GetString(place, text.Put(), &found));
    }
    if (!next.object && !next.array) {
        if (!isLast) throw notThere();
        return kv::Utf8(text.View());
    }
    document = std::move(next);
    return {};
}

int Get(Arguments arguments) {
    if (arguments.size() != 2) throw WrongUsage{"json get takes a FILE and a PATH"};
    Document document = Load(arguments[0]);
    std::string path = arguments[1];
    while (!path.empty()) {
        const std::string step = TakeStep(path);
        if (const auto text = Step(document, step, path.empty())) {
            Print(*text + "\n");
            return 0;
        }
    }
    Print(document.Text(nullptr) + "\n");
    return 0;
}

}  // namespace

int RunJson(Arguments arguments) {
    if (arguments.empty()) throw WrongUsage{"json takes tokens, format or get"};
    const Arguments rest = arguments.subspan(1);
    if (arguments[0] == "tokens") return PrintTokens(rest);
    if (arguments[0] == "format") return Format(rest);
    if (arguments[0] == "get") return Get(rest);
    throw WrongUsage{"json does not know " + arguments[0]};
}

}  // namespace mova::tool
