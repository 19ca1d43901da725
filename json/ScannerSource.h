#pragma once

#include <vector>

#include "json/Scanner.h"
#include "json/TreeLoader.h"
#include "kvcore/NumberText.h"

namespace json {

/// A number as a value, an integer where it has neither a point nor an exponent, and its decimals: the units from the
/// point on, -1 without a point and with an exponent.
struct Number {
    Value value;
    std::int64_t decimals;
};
/// The number that a scanner stands on.
Number NumberAt(const Scanner& scanner) noexcept;

/// A whole number as a value: of 32 bits where it fits.
inline Value Integer(std::int64_t number) noexcept {
    const bool isShort = number == static_cast<std::int32_t>(number);
    return Value::Of(number, isShort ? Kind::Int32 : Kind::Int64);
}
inline Value ValueOf(const PlainNumber& plain) noexcept {
    if (plain.decimals < 0) return Integer(plain.isNegative ? -plain.digits : plain.digits);
    const double number = kv::MakeDouble(static_cast<std::uint64_t>(plain.digits), plain.decimals, plain.isNegative);
    return Value::Of(number, Kind::Double, static_cast<std::int8_t>(plain.decimals + 1));
}

/// Loads a document from a scanner that stands on its start.
class ScannerSource {
 public:
    explicit ScannerSource(Scanner& scanner) noexcept : scanner_(scanner) {}

    Token Current() const noexcept { return scanner_.token(); }
    bool Advance() { return scanner_.Next() != Outcome::Failed; }
    bool Enter(TreeBuilder& builder) {
        const auto plain = scanner_.NextNumber();
        if (!plain) return Advance();
        Value value = ValueOf(*plain);
        return TakeNumbers(builder, value) && builder.Add(value);
    }
    bool TakeName(TreeBuilder& builder) {
        const auto between = scanner_.Between();
        lacksName_ = scanner_.state() != State::InPropertyName || between.empty();
        if (lacksName_) return false;
        builder.SetName(Unescaped(between));
        return Advance();
    }
    bool TakeScalar(TreeBuilder& builder, Value& value) {
        switch (scanner_.token()) {
            case Token::String:
                value = builder.CopyText(Unescaped(scanner_.Between()));
                break;
            case Token::Number:
                value = NumberAt(scanner_).value;
                return TakeNumbers(builder, value);
            case Token::Boolean:
                value = Value::Of(scanner_.Int64() != 0);
                break;
            default:
                break;  // null is the empty value
        }
        return Advance();
    }

    /// Reads on to the first token where there is none. @return false where that fails
    bool Start(bool& isEmpty) {
        const Outcome outcome = scanner_.IsPastEnd() ? Outcome::End : scanner_.Next();
        isEmpty = outcome == Outcome::End;
        return outcome != Outcome::Failed;
    }
    /// Whether it failed for want of a name, and not because the scanner did.
    bool LacksName() const noexcept { return lacksName_; }

 private:
    /// Goes through the numbers that follow one another in an array, adds all but the last one, and reads on.
    bool TakeNumbers(TreeBuilder& builder, Value& value) {
        while (const auto plain = scanner_.NextNumber()) {
            builder.Add(value);
            value = ValueOf(*plain);
        }
        return scanner_.EndArray() || Advance();
    }
    /// The text between the quotes; the next one overwrites it.
    std::u16string_view Unescaped(std::u16string_view between) {
        return scanner_.HasEscapes() ? Resolved(between) : between;
    }
    std::u16string_view Resolved(std::u16string_view between);

    Scanner& scanner_;
    std::vector<char16_t> unescaped_;
    bool lacksName_ = false;
};

/// A count of decimals as a tag keeps it.
std::int8_t TaggedDecimals(std::int64_t decimals) noexcept;

}  // namespace json
