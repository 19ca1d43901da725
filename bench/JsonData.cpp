#include "bench/JsonData.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <random>
#include <string_view>

#include "kvcore/Utf.h"

namespace bench {
namespace {

constexpr std::string_view words[] = {"river",
                                      "road",
                                      "parcel",
                                      "zone",
                                      "north",
                                      "bridge",
                                      "station",
                                      "Stra\u00DFe",
                                      "caf\u00E9",
                                      "na\u00EFve",
                                      "\u0141\u00F3d\u017A",
                                      "\u0395\u03BB\u03BB\u03AC\u03B4\u03B1",
                                      "\u0433\u043E\u0440\u043E\u0434",
                                      "\u6771\u4EAC",
                                      "\u5317\u4EAC",
                                      "\u0627\u0644\u0637\u0631\u064A\u0642",
                                      "street",
                                      "lake",
                                      "\U0001F30D",
                                      "boundary",
                                      "relief",
                                      "hydrant"};

/// Numbers and texts by chance. The distributions of the C++ library differ from host to host, so they are not used.
class Chance {
 public:
    std::uint64_t Below(std::uint64_t limit) { return engine_() % limit; }
    double Between(double low, double high) {
        return low + (high - low) * static_cast<double>(engine_() >> 11) * 0x1p-53;
    }
    std::string_view Word() { return words[Below(std::size(words))]; }
    std::string Words(int count, std::string_view separator = " ") {
        std::string text(Word());
        for (; count > 1; --count) text.append(separator).append(Word());
        return text;
    }

 private:
    std::mt19937_64 engine_{20240517};
};

template <class Number>
std::string Shown(Number number) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

/// @param ascii whether all beyond ASCII is escaped, too
std::string Quoted(std::string_view text, bool ascii = false) {
    constexpr std::u16string_view hexadecimal = u"0123456789abcdef";
    std::u16string quoted = u"\"";
    for (const char16_t c : kv::Utf16(text)) {
        if (c == u'"' || c == u'\\') {
            quoted += {u'\\', c};
        } else if (c == u'\n' || c == u'\t') {
            quoted += {u'\\', c == u'\n' ? u'n' : u't'};
        } else if (c < 0x80 || !ascii) {
            quoted += c;
        } else {
            quoted += u"\\u";
            for (int shift = 12; shift >= 0; shift -= 4) quoted += hexadecimal[(c >> shift) & 0xF];
        }
    }
    return kv::Utf8(quoted + u'"');
}

/// Puts items together until the text is as long as it is to be.
template <class MakeItem>
JsonText Joined(std::string name, std::size_t bytes, std::string_view begin, std::string_view end, MakeItem make) {
    JsonText text{std::move(name), std::string(begin), begin.front() == '{'};
    text.utf8.reserve(bytes + bytes / 64 + 4096);
    for (std::uint64_t i = 0; text.utf8.size() < bytes; ++i) {
        if (i != 0) text.utf8 += ',';
        text.utf8 += make(i);
    }
    text.utf8 += end;
    return text;
}

std::string Ring(Chance& chance) {
    const double x = chance.Between(-180, 180);
    const double y = chance.Between(-85, 85);
    std::string first;
    std::string ring = "[";
    const auto near = [&](double middle) {
        return Shown(std::round((middle + chance.Between(-.01, .01)) * 1e7) / 1e7);
    };
    for (std::uint64_t points = 6 + chance.Below(35); points > 0; --points) {
        const std::string east = near(x);
        const std::string point = "[" + east + "," + near(y) + "]";
        if (first.empty()) first = point;
        ring += point + ",";
    }
    return ring + first + "]";
}

}  // namespace

JsonText MakeFeatures(std::size_t bytes) {
    Chance chance;
    return Joined("features", bytes, "{\"type\":\"FeatureCollection\",\"features\":[", "]}", [&](std::uint64_t i) {
        const std::string id = Shown(i);
        std::string feature = "{\"type\":\"Feature\",\"id\":" + id;
        feature += ",\"geometry\":{\"type\":\"Polygon\",\"coordinates\":[" + Ring(chance) + "]}";
        feature += ",\"properties\":{\"OBJECTID\":" + id + ",\"NAME\":" + Quoted(chance.Words(3));
        feature += ",\"CLASS\":\"" + std::string(1, static_cast<char>('A' + chance.Below(5)));
        feature += "\",\"AREA\":" + Shown(chance.Between(0, 1e6)) + ",\"COUNT\":" + Shown(chance.Below(1'000'000));
        feature += chance.Below(2) == 0 ? ",\"ACTIVE\":true" : ",\"ACTIVE\":false";
        return feature + ",\"OWNER\":null,\"EDITED\":" + Shown(1'000'000'000'000 + chance.Below(1'000'000'000'000)) +
               "}}";
    });
}

JsonText MakeRecords(std::size_t bytes) {
    Chance chance;
    return Joined("records", bytes, "[", "]", [&](std::uint64_t i) {
        const bool ascii = i % 4 == 0;
        std::string record = "{\"id\":" + Shown(i) + ",\"title\":" + Quoted(chance.Words(4), ascii);
        record += ",\"path\":" + Quoted("C:\\data\\" + chance.Words(2, "\\"), ascii);
        const std::string said = "said \"" + chance.Words(3);
        record += ",\"note\":" + Quoted(said + "\"\n\t" + chance.Words(6), ascii) + ",\"tags\":[";
        for (int tag = 0; tag < 4; ++tag) record += (tag == 0 ? "" : ",") + Quoted(chance.Word(), ascii);
        record += "],\"html\":" + Quoted("<a href=\"/x/" + Shown(i) + "\">" + chance.Words(2) + "</a>", ascii);
        return record + ",\"code\":\"" + Shown(chance.Below(100'000'000)) + "\"}";
    });
}

JsonText MakeCoordinates(std::size_t bytes) {
    Chance chance;
    return Joined("coords", bytes, "{\"paths\":[", "]}", [&](std::uint64_t) {
        const std::string x = Shown(chance.Between(-2e7, 2e7));
        return "[" + x + "," + Shown(chance.Between(-2e7, 2e7)) + "]";
    });
}

}  // namespace bench
