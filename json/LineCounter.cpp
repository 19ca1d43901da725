#include "json/LineCounter.h"

#include "json/Units.h"

namespace json {

void LineCounter::Pass(std::u16string_view text) noexcept {
    const char16_t* p = text.data();
    const char16_t* const end = p + text.size();
    while (p != end) {
        const char16_t* stop = end;
        if (end - p >= Units::count) {
            stop = p + Units::count;
            const Units units(p);
            if ((units.Equal('\n') | units.Equal('\r')) == 0) {
                offset_ += Units::count;
                p = stop;
                afterReturn_ = false;
                continue;
            }
        }
        while (p != stop) {
            const char16_t unit = *p++;
            ++offset_;
            if (unit == u'\n' || unit == u'\r') {
                if (unit == u'\r' || !afterReturn_) ++line_;
                lineStart_ = offset_;
            }
            afterReturn_ = unit == u'\r';
        }
    }
}

}  // namespace json
