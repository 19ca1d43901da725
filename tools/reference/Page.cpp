#include "tools/reference/Page.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>

#include "tools/reference/StatusCodes.h"

namespace mova::reference {
namespace {

constexpr const char* style = R"(
:root { color-scheme: light dark; --line: #8884; --quiet: #777; --link: #0b62a8; --back: #fff; --text: #1b1b1b; --code: #8881; }
@media (prefers-color-scheme: dark) { :root { --link: #7cb8f0; --back: #16181b; --text: #e4e4e4; --quiet: #9a9a9a; } }
* { box-sizing: border-box; }
body { margin: 0; font: 15px/1.5 system-ui, sans-serif; color: var(--text); background: var(--back); }
nav { position: fixed; inset: 0 auto 0 0; width: 17rem; overflow: auto; padding: 1rem; border-right: 1px solid var(--line); }
nav h2 { font-size: .8rem; text-transform: uppercase; letter-spacing: .06em; color: var(--quiet); margin: 1.2rem 0 .3rem; }
nav a { display: block; font-size: .86rem; }
main { margin-left: 17rem; padding: 1.5rem 2.5rem 6rem; max-width: 60rem; }
a { color: var(--link); text-decoration: none; }
a:hover { text-decoration: underline; }
h1 { margin-top: 0; }
h2 { margin-top: 3rem; border-bottom: 1px solid var(--line); }
section { border-top: 1px solid var(--line); margin-top: 2rem; padding-top: .5rem; scroll-margin-top: 1rem; }
h3 { margin: .5rem 0; font-size: 1.2rem; }
.id { font: .8rem ui-monospace, monospace; color: var(--quiet); }
dl { margin: 1rem 0 0; }
dt { font: .86rem/1.45 ui-monospace, monospace; background: var(--code); padding: .3rem .6rem; border-radius: .3rem; scroll-margin-top: 1rem; overflow-wrap: anywhere; }
dd { margin: .3rem 0 1rem .6rem; }
dt b { color: var(--link); }
dt i { font-style: normal; color: var(--quiet); }
table { border-collapse: collapse; width: 100%; }
td, th { text-align: left; vertical-align: top; padding: .3rem .8rem .3rem 0; border-bottom: 1px solid var(--line); }
code { font: .9em ui-monospace, monospace; }
@media (max-width: 50rem) { body { overflow-wrap: anywhere; } nav { position: static; width: auto; border: 0; } main { margin: 0; padding: 1rem; }
  tr[id] td { display: block; } tr[id] td:first-child { border: 0; padding-bottom: 0; } }
)";

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

class Writer {
 public:
    Writer(std::ostream& page, const Library& library) : page_(page), library_(library) {
        for (const Interface& item : library.interfaces) known_.insert(item.name);
        for (const Enumeration& item : library.enumerations) known_.insert(item.name);
        for (const Structure& item : library.structures) known_.insert(item.name);
        for (const StatusCode& code : statusCodes) known_.insert(code.name);
    }

    void Write() {
        page_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
              << "<meta name=\"viewport\" content=\"width=device-width\">\n<title>movaSystem reference</title>\n<style>"
              << style << "</style>\n</head>\n<body>\n";
        WriteNavigation();
        page_ << "<main>\n<h1>movaSystem reference</h1>\n"
              << "<p>Every class, interface, operation and status code of the library, from the texts of its type "
                 "library "
              << "<span class=\"id\">" << library_.id
              << "</span>. A class is created by its ProgID, movaSystem.NAME, or by "
              << "its class identifier. Where an operation fails, the thread's error information has a text where the "
              << "status code alone does not say enough.</p>\n";
        page_ << "<h2 id=\"classes\">Classes</h2>\n";
        for (const Class& item : library_.classes) Write(item);
        page_ << "<h2 id=\"interfaces\">Interfaces</h2>\n";
        for (const Interface& item : library_.interfaces) Write(item);
        page_ << "<h2 id=\"enumerations\">Enumerations</h2>\n";
        for (const Enumeration& item : library_.enumerations) Write(item);
        page_ << "<h2 id=\"structures\">Structures</h2>\n";
        for (const Structure& item : library_.structures) Write(item);
        WriteStatusCodes();
        page_ << "</main>\n</body>\n</html>\n";
    }

 private:
    template <class Item>
    void WriteLinks(const char* title, const std::vector<Item>& items, const char* prefix = "") {
        page_ << "<h2>" << title << "</h2>\n";
        for (const Item& item : items) page_ << "<a href=\"#" << prefix << item.name << "\">" << item.name << "</a>\n";
    }
    void WriteNavigation() {
        page_ << "<nav>\n<a href=\"#status-codes\">Status codes</a>\n";
        WriteLinks("Classes", library_.classes, "class-");
        WriteLinks("Interfaces", library_.interfaces);
        WriteLinks("Enumerations", library_.enumerations);
        WriteLinks("Structures", library_.structures);
        page_ << "</nav>\n";
    }

    /// A text with a link on each name of the page in it.
    std::string Linked(const std::string& text) const {
        static const std::regex word("[A-Za-z0-9_]+");
        std::string linked;
        std::size_t end = 0;
        for (std::sregex_iterator match(text.begin(), text.end(), word), none; match != none; ++match) {
            const auto place = static_cast<std::size_t>(match->position());
            linked += Escaped(text.substr(end, place - end));
            const std::string name = match->str();
            linked += known_.contains(name) ? "<a href=\"#" + name + "\">" + name + "</a>" : name;
            end = place + name.size();
        }
        return linked + Escaped(text.substr(end));
    }

    void Write(const Class& item) {
        page_ << "<section id=\"class-" << item.name << "\">\n<h3>" << item.name << "</h3>\n<p>" << Linked(item.help)
              << "</p>\n<p class=\"id\">movaSystem." << item.name << " &middot; " << item.id << "</p>\n<p>";
        for (const std::string& name : item.interfaces)
            page_ << (name == item.interfaces[0] ? "" : ", ") << Linked(name);
        page_ << "</p>\n</section>\n";
    }

    void Write(const Interface& item) {
        page_ << "<section id=\"" << item.name << "\">\n<h3>" << item.name << "</h3>\n<p>" << Linked(item.help)
              << "</p>\n<p class=\"id\">" << item.id << " &middot; extends " << Linked(item.base) << " &middot; "
              << (item.isForAutomation ? "for automation" : "for C and C++ only") << "</p>\n";
        std::string classes;
        for (const Class& user : library_.classes)
            if (std::find(user.interfaces.begin(), user.interfaces.end(), item.name) != user.interfaces.end())
                classes +=
                    (classes.empty() ? "" : ", ") + ("<a href=\"#class-" + user.name + "\">" + user.name + "</a>");
        if (!classes.empty()) page_ << "<p>Of " << classes << ".</p>\n";
        page_ << "<dl>\n";
        for (const Operation& operation : item.operations) Write(item, operation);
        page_ << "</dl>\n</section>\n";
    }

    void Write(const Interface& owner, const Operation& operation) {
        page_ << "<dt id=\"" << owner.name << "." << operation.kind << operation.name << "\">";
        if (!operation.kind.empty()) page_ << "<i>" << operation.kind << "</i> ";
        page_ << "<b>" << operation.name << "</b>(";
        bool isFirst = true;
        for (const Parameter& parameter : operation.parameters) {
            page_ << (isFirst ? "" : ", ") << "<i>[" << parameter.direction << "]</i> " << Linked(parameter.type) << " "
                  << parameter.name;
            isFirst = false;
        }
        page_ << ")</dt>\n<dd>" << Linked(operation.help) << "</dd>\n";
    }

    template <class First, class Second>
    void WriteTable(const std::string& name, const std::string& help,
                    const std::vector<std::pair<First, Second>>& rows) {
        page_ << "<section id=\"" << name << "\">\n<h3>" << name << "</h3>\n<p>" << Linked(help) << "</p>\n<table>\n";
        for (const auto& [first, second] : rows)
            page_ << "<tr><td><code>" << first << "</code></td><td>" << second << "</td></tr>\n";
        page_ << "</table>\n</section>\n";
    }
    void Write(const Enumeration& item) { WriteTable(item.name, item.help, item.values); }
    void Write(const Structure& item) { WriteTable(item.name, item.help, item.fields); }

    /// Whether a text names a status code, and no longer name that it is a part of.
    static bool Names(const std::string& text, const std::string& code) {
        const auto isPart = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
        for (std::size_t at = text.find(code); at != std::string::npos; at = text.find(code, at + 1)) {
            const std::size_t end = at + code.size();
            if ((at == 0 || !isPart(text[at - 1])) && (end == text.size() || !isPart(text[end]))) return true;
        }
        return false;
    }

    void WriteStatusCodes() {
        page_ << "<h2 id=\"status-codes\">Status codes</h2>\n"
              << "<p>Where the system has another reason to fail, its error number comes as 0x8007 and four digits. "
                 "Streams and objects of other makers, and the system's own operations, have codes of their own, which "
                 "are passed on.</p>\n<table>\n";
        for (const StatusCode& code : statusCodes) {
            std::ostringstream value;
            value << "0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0') << code.value;
            page_ << "<tr id=\"" << code.name << "\"><td><code>" << code.name << "</code>";
            if (code.name != value.str()) page_ << "<br><span class=\"id\">" << value.str() << "</span>";
            page_ << "</td><td>" << code.meaning;
            std::string users;
            for (const Interface& owner : library_.interfaces)
                for (const Operation& operation : owner.operations)
                    if (Names(operation.help, code.name))
                        users += (users.empty() ? "<br>" : ", ") +
                                 ("<a href=\"#" + owner.name + "." + operation.kind + operation.name + "\">" +
                                  owner.name + "::" + operation.name + "</a>");
            page_ << users << "</td></tr>\n";
        }
        page_ << "</table>\n";
    }

    std::ostream& page_;
    const Library& library_;
    std::set<std::string> known_;
};

}  // namespace

void WritePage(std::ostream& page, const Library& library) {
    Writer(page, library).Write();
}

}  // namespace mova::reference
