#include "tools/mova/StreamTree.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>

#include "kvcore/Utf.h"
#include "tools/mova/NumberText.h"
#include "tools/mova/StreamValues.h"

namespace mova::tool {
namespace {

constexpr std::uint32_t shownElements = 8;
constexpr int indentedLevels = 20;  ///< deeper ones have their number in front
constexpr int maxObjects = 1'000;   ///< inside one another, as the library follows them unless told otherwise
constexpr int maxArrays = 500;      ///< arrays of values inside one another
constexpr int maxLevels = 2 * maxObjects + maxArrays;  ///< objects and arrays together, which is what the stack bears

// ---- the stream

/// Reads bytes and knows where it stands.
class SpanReader final : public kv::ByteReader {
 public:
    explicit SpanReader(std::span<const std::byte> bytes) noexcept : begin_(bytes.data()) {
        auto* const begin = const_cast<std::byte*>(begin_);  // a window is for writing too, which nobody does here
        span_ = {begin, begin + bytes.size(), begin + bytes.size()};
        Use(span_);
    }

    std::size_t Offset() const noexcept { return static_cast<std::size_t>(span_.position - begin_); }
    std::size_t Left() const noexcept { return span_.Readable(); }
    /// How many bytes were wanted where fewer were left; 0 before that.
    std::size_t Missed() const noexcept { return missed_; }

    /// Reads bytes by showing where they are.
    bool Take(std::uint64_t size, std::span<const std::byte>& bytes) noexcept {
        if (size > Left()) return ReadBeyond(nullptr, static_cast<std::size_t>(size)) || Fail();
        bytes = {span_.position, static_cast<std::size_t>(size)};
        span_.position += size;
        return true;
    }

 private:
    bool ReadBeyond(void*, std::size_t size) noexcept override {
        missed_ = size;
        return false;
    }

    const std::byte* begin_;
    kv::ByteWindow span_;
    std::size_t missed_ = 0;
};

/// Why no value can be read that stands at the beginning of the bytes, all of which are there.
std::string WhyNoValue(std::span<const std::byte> bytes) {
    SpanReader in(bytes);
    std::uint16_t tag = 0, dimensions = 0;
    in >> tag;
    const auto type = static_cast<kv::ValueType>(tag & ~kv::arrayFlag);
    const kv::ValueForm form = kv::ShapeOf(type).form;
    std::string reason;
    if (form == kv::ValueForm::none) {
        reason = "unknown value type ";
        AppendNumber(reason, tag);
        return reason;
    }
    if ((tag & kv::arrayFlag) == 0) return "a variant that is not in an array";
    if (form == kv::ValueForm::nothing) return reason.append("an array of type ").append(NameOf(type));
    std::vector<kv::ArrayBound> bounds;
    in >> dimensions;
    if (in.Append(bounds, dimensions) && !kv::ElementCount(bounds)) return "more elements than 32 bits can count";
    return "arrays nest too deeply";
}

struct Reference {
    kv::IdBits classId;
    std::uint32_t number = 0;

    bool IsNull() const noexcept { return classId == kv::IdBits{}; }
};

class ValuePrinter;

class StreamPrinter {
 public:
    StreamPrinter(std::span<const std::byte> bytes, ClassNamer nameClass) noexcept
        : bytes_(bytes), in_(bytes), nameClass_(nameClass) {}

    StreamTree Print() &&;

    // The records, behind their version.
    bool PrintPropertySet();
    bool PrintProperty();
    bool PrintObjects();
    bool PrintTexts();
    bool PrintUid();
    bool PrintNumericFormat();

 private:
    friend class ValuePrinter;
    friend class ElementPrinter;

    std::string& Out() noexcept { return tree_.lines; }
    void EndLine();
    /// Begins a line for what stands at an offset.
    void BeginLine(std::size_t offset);
    void BeginField(std::string_view name);
    void BeginElement(std::size_t offset, std::uint32_t index);

    /// Reads a text, which is left where it is.
    bool TakeText(std::span<const std::byte>& text) noexcept;
    /// Reads a count, and prints it with what is counted.
    bool TakeCount(std::int32_t& count, std::string_view one, std::string_view several);
    bool ReadReference(Reference& reference) noexcept;
    bool IsNew(const Reference& reference) const { return !reference.IsNull() && !seen_.contains(reference.number); }
    /// Prints an object, or that it is none or one above, at the end of the line.
    bool PrintReference(const Reference& reference);
    bool PrintRecord(const kv::IdBits& classId);
    bool PrintValue();
    /// Prints a count and as many elements. @param print is handed each one's offset and index, before it is read.
    template <class PrintOne>
    bool PrintElements(PrintOne print);
    bool PrintFixed(kv::ValueType type, std::size_t size, bool isShown);
    void AppendClass(const kv::IdBits& classId);

    /// Ends the reading. @return false
    bool Stop(std::size_t offset, std::string_view reason, StreamEnd end = StreamEnd::broken) {
        tree_.offset = offset;
        tree_.reason = reason;
        tree_.end = end;
        return in_.Fail();
    }
    /// Finds out how the reading ended.
    void Conclude();

    std::span<const std::byte> bytes_;
    SpanReader in_;
    ClassNamer nameClass_;
    StreamTree tree_;
    std::unordered_set<std::uint32_t> seen_;
    std::size_t valueAt_ = 0;  ///< the value that was begun last
    int level_ = 0;
    std::uint16_t version_ = 0;  ///< of the record that was begun last
    int objects_ = 0;
    bool inLine_ = false;
};

// ---- classes

/// An identifier in its usual four parts.
struct ClassId {
    std::uint32_t first;
    std::uint16_t second, third;
    std::array<std::uint8_t, 8> rest;
};
struct ClassRow {
    ClassId id;
    std::string_view name;
    std::uint16_t newest;  ///< the latest version of its record that is known
    bool (StreamPrinter::*print)();
};
constexpr std::uint16_t anyVersion = UINT16_MAX;
// clang-format off
constexpr ClassRow classes[] = {
    {{0x588E5A11, 0xD09B, 0x11D1, {0xAA, 0x7C, 0x00, 0xC0, 0x4F, 0xA3, 0x3A, 0x15}}, "PropertySet", 1,
     &StreamPrinter::PrintPropertySet},
    {{0x5B6D2B14, 0xF64A, 0x4457, {0x84, 0xE0, 0x61, 0x7A, 0xE2, 0x13, 0x0F, 0xF9}}, "PropertySetProperty", 1,
     &StreamPrinter::PrintProperty},
    {{0xC94BBD8A, 0xEC33, 0x4921, {0x8E, 0xC3, 0x6A, 0xD4, 0xB3, 0x32, 0x32, 0xC3}}, "PropertySetArray", 1,
     &StreamPrinter::PrintObjects},
    {{0x4FAEB515, 0x22D6, 0x4FF8, {0x8D, 0x3C, 0x10, 0x88, 0x58, 0x85, 0x6D, 0x6A}}, "PropertySetPropertyArray", 1,
     &StreamPrinter::PrintObjects},
    {{0xA7F92065, 0x36CE, 0x47B6, {0xA4, 0x63, 0x47, 0x63, 0xDA, 0x94, 0x7C, 0xC2}}, "StrArray", 1,
     &StreamPrinter::PrintTexts},
    {{0x78FF7FA1, 0xFB2F, 0x11D1, {0x94, 0xA2, 0x08, 0x00, 0x09, 0xEE, 0xBE, 0xCB}}, "UID", anyVersion,
     &StreamPrinter::PrintUid},
    {{0x7E4F4719, 0x8E54, 0x11D2, {0xAA, 0xD8, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}}, "NumericFormat", 2,
     &StreamPrinter::PrintNumericFormat},
};
// clang-format on

const ClassRow* FindClass(const kv::IdBits& classId) noexcept {
    const auto* row = std::find_if(std::begin(classes), std::end(classes),
                                   [&](const ClassRow& known) { return kv::BitsOf(known.id) == classId; });
    return row == std::end(classes) ? nullptr : row;
}

// ---- values

class ElementPrinter;

/// Prints the value that kv::ReadValue reads at the end of the line; or, of a hidden element, only its objects.
class ValuePrinter {
 public:
    explicit ValuePrinter(StreamPrinter& stream) noexcept : stream_(stream) {}
    /// @param namesType false in an array of one type, which names it
    /// @param hiddenIndex of an element that does not show
    ValuePrinter(StreamPrinter& stream, bool namesType, std::optional<std::uint32_t> hiddenIndex) noexcept
        : stream_(stream), hiddenIndex_(hiddenIndex), namesType_(namesType) {}

    bool Nothing(kv::ValueType type) {
        if (IsShown()) Out() += NameOf(type);
        return true;
    }
    bool Fixed(kv::ValueType type, kv::ByteReader&, std::size_t size) {
        if (IsShown()) NameType(type);
        return stream_.PrintFixed(type, size, IsShown());
    }
    bool Text(kv::ByteReader&, std::uint32_t size) {
        if (IsShown()) NameType(kv::ValueType::text);
        std::span<const std::byte> bytes;
        if (!stream_.in_.Take(size, bytes)) return false;
        if (IsShown()) AppendText(Out(), bytes);
        return true;
    }
    bool Object(kv::ValueType type, kv::ByteReader&) {
        const std::size_t offset = stream_.in_.Offset();
        Reference reference;
        if (!stream_.ReadReference(reference)) return false;
        if (!IsShown()) {
            if (!stream_.IsNew(reference)) return true;
            stream_.BeginElement(offset, *hiddenIndex_);
        }
        NameType(type);
        return stream_.PrintReference(reference);
    }
    bool NoArray(kv::ValueType type) {
        if (IsShown()) Out().append(NameOf(type)).append("[] null");
        return true;
    }
    ElementPrinter Array(kv::ValueType type, std::span<const kv::ArrayBound> bounds);

 private:
    std::string& Out() noexcept { return stream_.Out(); }
    bool IsShown() const noexcept { return !hiddenIndex_; }
    void NameType(kv::ValueType type) {
        if (namesType_) Out().append(NameOf(type)).append(" ");
    }

    StreamPrinter& stream_;
    std::optional<std::uint32_t> hiddenIndex_;
    bool namesType_ = true;
};

/// Prints an array's elements: within the line, or where they are values or objects on lines of their own.
class ElementPrinter {
 public:
    ElementPrinter(StreamPrinter& stream, kv::ValueType type, std::uint32_t count, bool isShown)
        : stream_(stream), type_(type), count_(count), isShown_(isShown) {
        ++stream_.level_;
        if (isShown_ && !HasLines()) Out() += " {";
    }
    ~ElementPrinter() { --stream_.level_; }
    ElementPrinter(const ElementPrinter&) = delete;
    ElementPrinter& operator=(const ElementPrinter&) = delete;

    bool Grow(std::uint32_t) noexcept { return true; }
    bool Fixed(kv::ByteReader&, std::uint32_t from, std::uint32_t to) {
        const std::size_t size = kv::ShapeOf(type_).streamSize;
        for (std::uint32_t i = from; i < to; ++i)
            if (!stream_.PrintFixed(type_, size, BeginWithin(i))) return false;
        return true;
    }
    ValuePrinter At(std::uint32_t index) {
        if (!HasLines()) return Element(index, BeginWithin(index));
        const std::size_t offset = stream_.in_.Offset();
        stream_.valueAt_ = offset;
        if (isShown_ && index == shownElements) {
            stream_.BeginLine(offset);
            AppendRest();
        }
        const bool shows = isShown_ && index < shownElements;
        if (shows) stream_.BeginElement(offset, index);
        return Element(index, shows);
    }
    bool Finish() {
        if (isShown_ && !HasLines()) Out() += '}';
        return true;
    }

 private:
    std::string& Out() noexcept { return stream_.Out(); }
    bool HasLines() const noexcept {
        return type_ == kv::ValueType::variant || kv::ShapeOf(type_).form == kv::ValueForm::object;
    }
    ValuePrinter Element(std::uint32_t index, bool shows) noexcept {
        return {stream_, type_ == kv::ValueType::variant, shows ? std::nullopt : std::optional(index)};
    }
    /// @return whether the element shows
    bool BeginWithin(std::uint32_t index) {
        if (!isShown_ || index > shownElements) return false;
        if (index != 0) Out() += ", ";
        if (index == shownElements) AppendRest();
        return index < shownElements;
    }
    void AppendRest() {
        Out() += "... ";
        AppendNumber(Out(), count_ - shownElements);
        Out() += " more";
    }

    StreamPrinter& stream_;
    kv::ValueType type_;
    std::uint32_t count_;
    bool isShown_;
};

ElementPrinter ValuePrinter::Array(kv::ValueType type, std::span<const kv::ArrayBound> bounds) {
    if (IsShown()) {
        Out() += NameOf(type);
        AppendBounds(Out(), bounds);
    }
    return {stream_, type, kv::ElementCount(bounds).value_or(0), IsShown()};
}

bool StreamPrinter::PrintFixed(kv::ValueType type, std::size_t size, bool isShown) {
    FixedBytes bytes{};
    const std::size_t offset = in_.Offset();
    if (!in_.Read(bytes.data(), size)) return false;
    if (type == kv::ValueType::decimal && !kv::IsDecimal(bytes.data()))
        return Stop(offset, "a decimal number has an impossible scale or sign");
    if (isShown) AppendFixed(Out(), type, bytes);
    return true;
}

bool StreamPrinter::PrintValue() {
    valueAt_ = in_.Offset();
    ValuePrinter value(*this);
    return kv::ReadValue(in_, value, std::clamp(maxLevels - level_, 0, maxArrays));
}

// ---- lines

void StreamPrinter::EndLine() {
    if (!inLine_) return;
    if (Out().ends_with(' ')) Out().pop_back();  // of a value that did not come
    Out() += '\n';
    inLine_ = false;
}

void StreamPrinter::BeginLine(std::size_t offset) {
    EndLine();
    inLine_ = true;
    AppendHex(Out(), offset);
    Out().append(2 + 2 * static_cast<std::size_t>(std::min(level_, indentedLevels)), ' ');
    if (level_ <= indentedLevels) return;
    Out() += '(';
    AppendNumber(Out(), level_);
    Out() += ") ";
}

void StreamPrinter::BeginField(std::string_view name) {
    BeginLine(in_.Offset());
    Out().append(name).append(" = ");
}

void StreamPrinter::BeginElement(std::size_t offset, std::uint32_t index) {
    BeginLine(offset);
    Out() += '[';
    AppendNumber(Out(), index);
    Out() += "] = ";
}

// ---- objects

bool StreamPrinter::TakeText(std::span<const std::byte>& text) noexcept {
    std::uint32_t length = 0;
    return in_.Read(length) && in_.Take(std::uint64_t{length} * sizeof(char16_t), text);
}

bool StreamPrinter::TakeCount(std::int32_t& count, std::string_view one, std::string_view several) {
    if (!in_.Read(count)) return false;
    Out() += ", ";
    AppendNumber(Out(), count);
    Out().append(" ").append(count == 1 ? one : several);
    return true;
}

bool StreamPrinter::ReadReference(Reference& reference) noexcept {
    return in_.Read(reference.classId) && (reference.IsNull() || in_.Read(reference.number));
}

void StreamPrinter::AppendClass(const kv::IdBits& classId) {
    if (const ClassRow* row = FindClass(classId)) {
        Out() += row->name;
        return;
    }
    const std::u16string_view name = nameClass_ ? nameClass_(classId) : std::u16string_view();
    if (name.empty()) {
        AppendGuid(Out(), classId);
    } else {
        Out() += kv::Utf8(name);
    }
}

bool StreamPrinter::PrintReference(const Reference& reference) {
    if (reference.IsNull()) {
        Out() += "null";
        return true;
    }
    AppendClass(reference.classId);
    Out() += " #";
    AppendNumber(Out(), reference.number);
    if (!seen_.insert(reference.number).second) {
        Out() += ", above";
        return true;
    }
    if (objects_ == maxObjects || level_ >= maxLevels) return Stop(in_.Offset(), "the objects nest too deeply");
    ++objects_;
    ++level_;
    const bool isRead = PrintRecord(reference.classId);
    --level_;
    --objects_;
    return isRead;
}

bool StreamPrinter::PrintRecord(const kv::IdBits& classId) {
    const std::size_t offset = in_.Offset();
    const ClassRow* const row = FindClass(classId);
    if (!row) {
        std::string reason = "only the class can read its objects: ";
        AppendGuid(reason, classId);
        return Stop(offset, reason, StreamEnd::unknown);
    }
    if (!in_.Read(version_)) return false;
    Out() += " v";
    AppendNumber(Out(), version_);
    if (version_ > row->newest) return Stop(offset, "the object was written by a newer version");
    return (this->*row->print)();
}

bool StreamPrinter::PrintPropertySet() {
    std::int32_t count = 0;
    if (!TakeCount(count, "property", "properties")) return false;
    for (; count > 0; --count) {
        const std::size_t offset = in_.Offset();
        std::span<const std::byte> name;
        if (!TakeText(name)) return false;
        BeginLine(offset);
        AppendText(Out(), name);
        Out() += " = ";
        if (!PrintValue()) return false;
    }
    return true;
}

bool StreamPrinter::PrintProperty() {
    BeginField("name");
    std::span<const std::byte> name;
    if (!TakeText(name)) return false;
    AppendText(Out(), name);
    BeginField("value");
    return PrintValue();
}

template <class PrintOne>
bool StreamPrinter::PrintElements(PrintOne print) {
    std::int32_t count = 0;
    if (!TakeCount(count, "element", "elements")) return false;
    for (std::int32_t i = 0; i < count; ++i)
        if (!print(in_.Offset(), static_cast<std::uint32_t>(i))) return false;
    return true;
}

bool StreamPrinter::PrintObjects() {
    return PrintElements([this](std::size_t offset, std::uint32_t index) {
        Reference element;
        if (!ReadReference(element)) return false;
        BeginElement(offset, index);
        if (!PrintReference(element)) return false;
        return !element.IsNull() || Stop(offset, "null is no element of the array");
    });
}

bool StreamPrinter::PrintTexts() {
    return PrintElements([this](std::size_t offset, std::uint32_t index) {
        std::span<const std::byte> text;
        if (!TakeText(text)) return false;
        BeginElement(offset, index);
        AppendText(Out(), text);
        return true;
    });
}

bool StreamPrinter::PrintUid() {
    std::uint8_t hasValue = 0;
    kv::IdBits identifier;
    std::int32_t subtype = 0;
    BeginField("has value");
    if (!in_.Read(hasValue)) return false;
    Out() += hasValue != 0 ? "true" : "false";
    BeginField("identifier");
    if (!in_.Read(identifier)) return false;
    AppendGuid(Out(), identifier);
    BeginField("subtype");
    const std::size_t offset = in_.Offset();
    if (!in_.Read(subtype)) return false;
    AppendNumber(Out(), subtype);
    return subtype >= 0 || Stop(offset, "the subtype is negative");
}

bool StreamPrinter::PrintNumericFormat() {
    for (const std::string_view name : {"rounding option", "rounding value", "alignment", "width"}) {
        BeginField(name);
        std::int32_t number = 0;
        if (!in_.Read(number)) return false;
        AppendNumber(Out(), number);
    }
    for (const std::string_view name : {"use separator", "zero pad", "show plus"}) {
        BeginField(name);
        std::int16_t flag = 0;
        if (!in_.Read(flag)) return false;
        Out() += flag != 0 ? "true" : "false";
    }
    constexpr std::uint16_t firstWithSuffix = 2;
    if (version_ < firstWithSuffix) return true;
    BeginField("suffix");
    std::span<const std::byte> suffix;
    if (!TakeText(suffix)) return false;
    AppendText(Out(), suffix);
    return true;
}

StreamTree StreamPrinter::Print() && {
    while (in_.Left() != 0) {
        const std::size_t offset = in_.Offset();
        Reference reference;
        if (!ReadReference(reference)) break;
        BeginLine(offset);
        if (!PrintReference(reference)) break;
    }
    level_ = 0;
    Conclude();
    BeginLine(tree_.offset);
    constexpr std::array<std::string_view, 3> ends = {"end", "unknown: ", "broken: "};
    Out().append(ends[static_cast<std::size_t>(tree_.end)]).append(tree_.reason);
    EndLine();
    return std::move(tree_);
}

void StreamPrinter::Conclude() {
    if (!in_.Failed()) {
        tree_.offset = in_.Offset();
    } else if (in_.Missed() != 0) {
        std::string reason = "cut short, ";
        AppendNumber(reason, in_.Missed());
        reason += in_.Missed() == 1 ? " byte is wanted and " : " bytes are wanted and ";
        AppendNumber(reason, in_.Left());
        reason += in_.Left() == 1 ? " is left" : " are left";
        Stop(in_.Offset(), reason);
    } else if (tree_.end == StreamEnd::whole) {
        Stop(valueAt_, WhyNoValue(bytes_.subspan(valueAt_)));
    }
}

}  // namespace

std::string OffsetText(std::size_t offset) {
    std::string text;
    AppendHex(text, offset);
    return text;
}

StreamTree PrintStream(std::span<const std::byte> bytes, ClassNamer nameClass) {
    return StreamPrinter(bytes, nameClass).Print();
}

}  // namespace mova::tool
