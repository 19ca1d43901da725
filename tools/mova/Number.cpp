#include <movaSystem.h>

#include <limits>
#include <optional>

#include "kvcore/NumberText.h"
#include "kvcore/Utf.h"
#include "tools/mova/Client.h"
#include "tools/mova/NumberText.h"

namespace mova::tool {
namespace {

LONG IntegerIn(const std::string& option, const std::string& text) {
    const auto number = ReadInteger(text);
    if (!number || *number < std::numeric_limits<LONG>::min() || *number > std::numeric_limits<LONG>::max())
        throw WrongUsage{"number " + option + " takes a whole number of 32 bits"};
    return static_cast<LONG>(*number);
}

double NumberIn(const std::string& text) {
    if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
    if (text == "inf") return std::numeric_limits<double>::infinity();
    if (text == "-inf") return -std::numeric_limits<double>::infinity();
    const auto number = kv::ReadXmlDouble(kv::Utf16(text));
    if (!number) throw WrongUsage{"number takes numbers, not " + text};
    return *number;
}

/// One of two words.
bool IsSecond(const std::string& option, const std::string& word, std::string_view first, std::string_view second) {
    if (word != first && word != second)
        throw WrongUsage{"number " + option + " takes " + std::string(first) + " or " + std::string(second)};
    return word == second;
}

/// The format that the options describe, and what is to be done with it.
class NumberCommand {
 public:
    explicit NumberCommand(Arguments arguments) {
        for (auto word = arguments.begin(); word != arguments.end(); ++word) {
            if (!word->starts_with("--")) {
                values_.push_back(NumberIn(*word));
            } else if (!TakeFlag(*word)) {
                const std::string& option = *word;
                if (++word == arguments.end()) throw WrongUsage{"number " + option + " takes a value"};
                Take(option, *word);
            }
        }
        const bool isSingle = text_ || number_;
        if (isSingle ? !values_.empty() || (text_ && number_) : values_.empty())
            throw WrongUsage{"number takes VALUEs, or --parse TEXT, or --increment VALUE"};
    }

    void Run() const {
        if (text_) {
            double value = 0;
            Check(format_->StringToValue(kv::BString(kv::Utf16(*text_)).Get(), &value));
            Print(NumberText(value) + "\n");
        } else if (number_) {
            double value = 0;
            Check(format_.As<INumberFormatOperations>()->Increment(*number_, &value));
            Print(NumberText(value) + "\n");
        }
        for (const double value : values_) {
            kv::BString text;
            Check(format_->ValueToString(value, text.Put()));
            Print("|" + kv::Utf8(text.View()) + "|\n");
        }
    }

 private:
    bool TakeFlag(const std::string& option) const {
        if (option == "--separator") {
            Check(settings_->put_UseSeparator(VARIANT_TRUE));
        } else if (option == "--zero-pad") {
            Check(settings_->put_ZeroPad(VARIANT_TRUE));
        } else if (option == "--plus") {
            Check(settings_->put_ShowPlus(VARIANT_TRUE));
        } else {
            return false;
        }
        return true;
    }

    void Take(const std::string& option, const std::string& value) {
        if (option == "--rounding") {
            Check(settings_->put_RoundingOption(IsSecond(option, value, "decimals", "significant")
                                                    ? movaRoundNumberOfSignificantDigits
                                                    : movaRoundNumberOfDecimals));
        } else if (option == "--digits") {
            Check(settings_->put_RoundingValue(IntegerIn(option, value)));
        } else if (option == "--align") {
            Check(settings_->put_AlignmentOption(IsSecond(option, value, "left", "right") ? movaAlignRight
                                                                                          : movaAlignLeft));
        } else if (option == "--width") {
            Check(settings_->put_AlignmentWidth(IntegerIn(option, value)));
        } else if (option == "--suffix") {
            Check(format_.As<INumericFormat2>()->put_Suffix(kv::BString(kv::Utf16(value)).Get()));
        } else if (option == "--parse") {
            text_ = value;
        } else if (option == "--increment") {
            number_ = NumberIn(value);
        } else {
            throw WrongUsage{"number does not take " + option};
        }
    }

    kv::Ptr<INumberFormat> format_ = CreateAs<INumberFormat>(u"NumericFormat");
    kv::Ptr<INumericFormat> settings_ = format_.As<INumericFormat>();
    std::vector<double> values_;
    std::optional<std::string> text_;
    std::optional<double> number_;
};

}  // namespace

int RunNumber(Arguments arguments) {
    NumberCommand(arguments).Run();
    return 0;
}

}  // namespace mova::tool
