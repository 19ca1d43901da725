// The numeric format beside the platform's own formatting and the runtime's reading.
#include <movaSystem.h>

#include <cmath>
#include <cwchar>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "bench/NumberData.h"
#include "kvcore/BString.h"

namespace bench {
namespace {

constexpr LONG decimals = 6;

class NumberWork {
 public:
    explicit NumberWork(std::size_t count) : values_(MakeNumbers(count)) {
        const auto settings = format_.As<INumericFormat>();
        Require(settings->put_RoundingValue(decimals) == S_OK && settings->put_UseSeparator(VARIANT_TRUE) == S_OK &&
                    settings->put_ZeroPad(VARIANT_TRUE) == S_OK,
                "A numeric format is not set up.");
        for (const double value : values_) {
            kv::BString text;
            Require(plain_->ValueToString(value, text.Put()) == S_OK, "A number has no text.");
            texts_.push_back(std::move(text));
        }
    }

    /// How many units the texts have together, which are compared with each other once.
    std::uint64_t Format() const {
        return Sum([this](double value, BSTR* text) { return format_->ValueToString(value, text); });
    }
    std::uint64_t FormatByPlatform() const { return Sum(&ByPlatform); }
    std::uint64_t FormatPlain() const {
        return Sum([this](double value, BSTR* text) { return plain_->ValueToString(value, text); });
    }

    std::uint64_t Read() const {
        return CountRead([this](BSTR text, double& value) { return plain_->StringToValue(text, &value) == S_OK; });
    }
    std::uint64_t ReadByRuntime() const { return CountRead(&ByRuntime); }

    /// The runtime's last bit is not always right.
    void RequireSameNumbers() const {
        constexpr double bits = 1e-15;
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            double theirs = 0;
            double ours = 0;
            Require(ByRuntime(texts_[i].Get(), theirs) && plain_->StringToValue(texts_[i].Get(), &ours) == S_OK &&
                        ours == values_[i] && std::fabs(theirs - ours) <= std::fabs(ours) * bits,
                    "A text's numbers differ.");
        }
    }
    void RequireSameTexts() const {
        for (const double value : values_) {
            kv::BString ours;
            kv::BString theirs;
            Require(format_->ValueToString(value, ours.Put()) == S_OK && ByPlatform(value, theirs.Put()) == S_OK &&
                        ours.View() == theirs.View(),
                    "A number's texts differ.");
        }
    }

 private:
    static bool ByRuntime(BSTR text, double& value) {
        wchar_t* end = nullptr;
        value = std::wcstod(text, &end);
        return end != text;
    }
    template <class ReadOne>
    std::uint64_t CountRead(ReadOne readOne) const {
        std::uint64_t read = 0;
        double value = 0;
        for (const kv::BString& text : texts_) read += readOne(text.Get(), value);
        return read;
    }
    static HRESULT ByPlatform(double value, BSTR* text) {
        VARIANT number;
        number.vt = VT_R8;
        number.dblVal = value;
        constexpr int yes = -1;
        return VarFormatNumber(&number, decimals, yes, 0, yes, 0, text);
    }
    template <class FormatOne>
    std::uint64_t Sum(FormatOne formatOne) const {
        std::uint64_t units = 0;
        for (const double value : values_) {
            kv::BString text;
            Require(SUCCEEDED(formatOne(value, text.Put())), "A number has no text.");
            units += text.View().size();
        }
        return units;
    }

    std::vector<double> values_;
    std::vector<kv::BString> texts_;
    kv::Ptr<IClassFactory> formats_ = FactoryOf(__uuidof(NumericFormat));
    kv::Ptr<INumberFormat> format_ = Make<INumberFormat>(formats_);
    kv::Ptr<INumberFormat> plain_ = Make<INumberFormat>(formats_);
};

}  // namespace

void RunNumber(const Session& session) {
    constexpr std::size_t count = 10'000;
    constexpr double formatGoal = 22;
    constexpr double readGoal = 5;
    const NumberWork work(count);
    work.RequireSameTexts();
    work.RequireSameNumbers();
    const double grouped =
        session.Compare("number, ValueToString, grouped, six decimals (ns)", static_cast<double>(count),
                        {{"NumericFormat", [&] { return work.Format(); }},
                         {"VarFormatNumber", [&] { return work.FormatByPlatform(); }, formatGoal}});
    const double plain = session.Time({{"NumericFormat", [&] { return work.FormatPlain(); }}}, count).front();
    session.Print("number, ValueToString, settings of a new format (ns)", plain, "itself, grouped", grouped, 0);
    session.Compare(
        "number, StringToValue (ns)", static_cast<double>(count),
        {{"NumericFormat", [&] { return work.Read(); }}, {"wcstod", [&] { return work.ReadByRuntime(); }, readGoal}});
}

}  // namespace bench
