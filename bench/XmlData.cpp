#include "bench/XmlData.h"

#include <array>
#include <cstdio>
#include <random>

namespace bench {
namespace {

void AppendEscaped(std::string& out, const std::string& text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                out += c;
                break;
        }
    }
}

}  // namespace

std::vector<XmlItem> MakeXmlItems(std::size_t count) {
    std::mt19937_64 engine(20240517);
    std::vector<XmlItem> items(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::array<char, 9> code{};
        std::snprintf(code.data(), code.size(), "%08X", static_cast<unsigned>(engine() & 0xFFFF'FFFF));
        XmlItem& item = items[i];
        item.id = std::to_string(i);
        item.name = "Parcel " + std::to_string(engine() % 1'000'000);
        item.code = code.data();
        item.text = "north of the old bridge, lot " + std::to_string(engine() % 5000);
        if (i % 10 == 3) item.text += " <A & \"B\">";
        if (i % 10 == 7) item.text += " Stra\u00DFe \u6771\u4EAC";
    }
    return items;
}

std::string XmlDocumentOf(const std::vector<XmlItem>& items) {
    std::string out = "<root>";
    const auto attribute = [&](const char* name, const std::string& value) {
        out.append(" ").append(name).append("='");
        AppendEscaped(out, value);
        out += '\'';
    };
    for (const XmlItem& item : items) {
        out += "<item";
        attribute("id", item.id);
        attribute("name", item.name);
        attribute("code", item.code);
        out += '>';
        AppendEscaped(out, item.text);
        out += "</item>";
    }
    return out += "</root>";
}

}  // namespace bench
