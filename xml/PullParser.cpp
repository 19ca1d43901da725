#include "xml/PullParser.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>
#include <utility>
#include <vector>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLErrorCodes.hpp>
#include <xercesc/framework/XMLErrorReporter.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLChar.hpp>

#include "xml/PrefixMap.h"
#include "xml/ReusedItems.h"
#include "xml/TextScanner.h"

namespace xml {

constinit kv::FreeList freeReaders;

namespace {

using xercesc::XMLErrs;

/// What entities, and attributes that the document type adds, may make of a document.
constexpr std::uint64_t freeExpansion = std::uint64_t{8} << 20;
constexpr std::uint64_t mostPerByte = 16;
/// What may stand before the outermost element, or behind it, for the parser brings that at once.
constexpr std::size_t mostQueued = std::size_t{64} << 20;

constexpr auto notStarted = u"XML Parser initialization failed.";
constexpr auto brokenOff = u"The source of the document failed.";
constexpr auto nothingMore = u"The document ends too early.";

std::size_t Length(const XMLCh* text) noexcept {
    return std::char_traits<char16_t>::length(text);
}

std::u16string_view View(const XMLCh* text) noexcept {
    return text ? std::u16string_view(text, Length(text)) : std::u16string_view();
}

/// Xerces-C is initialized by the first parser, for all of them. What the language has for this leaves a thread-local
/// index behind in a module that is unloaded.
enum class LibraryState : std::uint8_t { fresh, starting, ready, failed };
constinit std::atomic<LibraryState> libraryState = LibraryState::fresh;

/// Half started, it can be neither ended nor started again: so it is begun only where there is memory for it.
LibraryState StartLibrary() noexcept try {
    constexpr std::size_t needed = std::size_t{1} << 20;
    if (!std::unique_ptr<std::byte[]>(new (std::nothrow) std::byte[needed])) return LibraryState::fresh;
    xercesc::XMLPlatformUtils::Initialize();
    return LibraryState::ready;
} catch (...) {
    return LibraryState::failed;
}

/// @return whether the library can be used @throw std::bad_alloc
bool UseLibrary() {
    for (;;) {
        LibraryState state = libraryState;
        if (state == LibraryState::fresh && libraryState.compare_exchange_strong(state, LibraryState::starting)) {
            libraryState = state = StartLibrary();
            if (state == LibraryState::fresh) throw std::bad_alloc();
        }
        if (state == LibraryState::ready) return true;
        if (state == LibraryState::failed) return false;
        std::this_thread::yield();
    }
}

/// A node that the parser has brought.
struct Node {
    NodeType type = NodeType::none;
    std::u16string_view name, prefix, uri;
    std::u16string target, text;
    Place end;
};

}  // namespace

class PullParser::Document final : public xercesc::XMLDocumentHandler,
                                   public xercesc::XMLErrorReporter,
                                   private ParserWatcher {
 public:
    Document(ByteSource& source, std::u16string_view encoding);

    bool Next();
    const ParseFault* Fault() const noexcept { return fault_ ? &*fault_ : nullptr; }

    NodeType Type() const noexcept { return type_; }
    std::u16string_view Name() const noexcept {
        return type_ == NodeType::processingInstruction ? Current().target : Current().name;
    }
    const Node& Current() const noexcept { return IsInQueue() ? queue_[next_ - 1] : noNode_; }
    std::u16string_view Text() const noexcept {
        return type_ == NodeType::text ? parsing_->scanner.Text() : Current().text;
    }
    std::span<const Attribute> Attributes() const noexcept {
        return type_ == NodeType::startElement ? std::span<const Attribute>(attributes_) : std::span<const Attribute>();
    }
    std::span<const Declaration> Declarations() const noexcept {
        return type_ == NodeType::startElement ? std::span<const Declaration>(declarations_)
                                               : std::span<const Declaration>();
    }
    std::size_t Depth() const noexcept { return depth_; }
    Place End() const noexcept { return end_; }
    std::optional<std::u16string_view> UriOf(std::u16string_view prefix) const noexcept {
        return prefixes_.UriOf(prefix, visible_);
    }

    // xercesc::XMLDocumentHandler
    void docCharacters(const XMLCh* text, XMLSize_t length, bool isCData) override;
    void docComment(const XMLCh* text) override;
    void docPI(const XMLCh* target, const XMLCh* data) override;
    void endDocument() override { isWhole_ = true; }
    void startElement(const xercesc::XMLElementDecl& declaration, unsigned, const XMLCh*,
                      const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count, bool isEmpty,
                      bool) override;
    void endElement(const xercesc::XMLElementDecl&, unsigned, bool, const XMLCh*) override { AddEnd(); }
    void startDocument() override {}
    void resetDocument() override {}
    void ignorableWhitespace(const XMLCh*, XMLSize_t, bool) override {}
    void startEntityReference(const xercesc::XMLEntityDecl&) override {}
    void endEntityReference(const xercesc::XMLEntityDecl&) override {}
    void XMLDecl(const XMLCh*, const XMLCh*, const XMLCh*, const XMLCh*) override {}

    // xercesc::XMLErrorReporter
    void error(unsigned code, const XMLCh*, ErrTypes type, const XMLCh* text, const XMLCh*, const XMLCh*,
               XMLFileLoc line, XMLFileLoc column) override;
    void resetErrors() override {}

 private:
    /// The parser with what it needs, in the order of its making.
    struct Parsing {
        explicit Parsing(Document& document, ByteSource& source, std::u16string_view encoding)
            : memory(document),
              input(source, encoding, memory, document),
              grammars(nullptr, &memory),
              scanner(grammars, memory),
              documentType(scanner) {
            scanner.setDocHandler(&document);
            scanner.setErrorReporter(&document);
            scanner.setDocTypeHandler(&documentType);
        }
        ParserMemory memory;
        ParserInput input;
        xercesc::GrammarResolver grammars;
        TextScanner scanner;
        DocumentType documentType;
        xercesc::XMLPScanToken token;
    };
    struct OpenElement {
        std::u16string_view name, prefix;
        std::u16string_view uri;
        std::size_t declaredBefore = 0;
    };

    [[noreturn]] void Fail(std::u16string_view reason) override;
    void NoteBrokenOff() override { Note(brokenOff); }
    void Note(std::u16string_view reason);
    std::uint64_t BytesRead() const noexcept override { return parsing_ ? parsing_->input.BytesRead() : 0; }

    void Scan();
    void BreakOff();
    void HandOut();
    void HandOutText();
    bool IsInQueue() const noexcept { return type_ != NodeType::none && type_ != NodeType::text; }
    Node& AddNode(NodeType type, std::size_t characters);
    void AddEnd();
    void AddDeclaration(std::u16string_view prefix, std::u16string_view uri);
    std::u16string_view Resolve(std::u16string_view prefix);
    void RefuseSameNames();
    void CountExpansion(std::size_t characters);

    std::unique_ptr<Parsing> parsing_;
    std::optional<ParseFault> fault_;
    bool hasStarted_ = false, hasEnded_ = false, isWhole_ = false;
    std::uint64_t brought_ = 0;  ///< characters that the document has come to
    std::size_t queued_ = 0;     ///< characters in the queue, roughly

    // What the parser has brought and was not handed out, behind the text that the scanner has.
    ReusedItems<Node> queue_;
    std::size_t next_ = 0;
    std::vector<Attribute> attributes_;
    std::vector<Declaration> declarations_;
    std::vector<const Attribute*> sorted_;
    std::vector<OpenElement> open_;
    PrefixMap prefixes_;

    // What is handed out.
    NodeType type_ = NodeType::none;
    std::size_t depth_ = 0;
    std::size_t visible_ = 0;  ///< how many declarations count there
    Place end_;
    const Node noNode_;
};

PullParser::Document::Document(ByteSource& source, std::u16string_view encoding) {
    if (UseLibrary()) {
        parsing_ = std::make_unique<Parsing>(*this, source, encoding);
    } else {
        fault_ = {notStarted, 1, 1};
        hasEnded_ = true;
    }
}

// Faults

void PullParser::Document::Note(std::u16string_view reason) {
    if (fault_) return;
    const Place here = parsing_ ? parsing_->scanner.Here() : Place();
    fault_ = {std::u16string(reason), std::max<std::uint64_t>(here.line, 1), std::max<std::uint64_t>(here.column, 1)};
}

void PullParser::Document::Fail(std::u16string_view reason) {
    Note(reason);
    throw StopParsing();
}

void PullParser::Document::error(unsigned code, const XMLCh*, ErrTypes type, const XMLCh* text, const XMLCh*,
                                 const XMLCh*, XMLFileLoc line, XMLFileLoc column) {
    const bool isException = code == XMLErrs::XMLException_Warning || code == XMLErrs::XMLException_Error ||
                             code == XMLErrs::XMLException_Fatal;
    if (fault_ || (!isException && type != ErrType_Fatal)) return;
    std::u16string_view reason = View(text);
    if (isException) {  // "an exception occurred! Type:..., Message:..."
        constexpr std::u16string_view start = u"Message:";
        if (const std::size_t at = reason.find(start); at != std::u16string_view::npos)
            reason.remove_prefix(at + start.size());
    }
    fault_ = {std::u16string(reason), std::max<std::uint64_t>(line, 1), std::max<std::uint64_t>(column, 1)};
}

void PullParser::Document::CountExpansion(std::size_t characters) {
    brought_ += characters;
    if (brought_ > freeExpansion + mostPerByte * BytesRead()) Fail(expandsTooFar);
}

// What the parser brings

/// Adds a node with so many characters. In the queue it counts with what is kept for it, too.
Node& PullParser::Document::AddNode(NodeType type, std::size_t characters) {
    queued_ += characters + sizeof(Node) / sizeof(char16_t);
    if (queued_ > mostQueued) Fail(tooLarge);
    CountExpansion(characters + 1);
    Node& node = queue_.Next();
    node.type = type;
    node.name = node.prefix = node.uri = {};
    node.text.clear();
    node.end = parsing_->scanner.Here();
    queue_.Keep();
    return node;
}

void PullParser::Document::docCharacters(const XMLCh* text, XMLSize_t length, bool) {
    AddNode(NodeType::cdata, length).text.assign(text, length);  // texts go past this
}

void PullParser::Document::docComment(const XMLCh* text) {
    const auto comment = View(text);
    AddNode(NodeType::comment, comment.size()).text = comment;
}

void PullParser::Document::docPI(const XMLCh* target, const XMLCh* data) {
    const auto name = View(target);
    const auto text = View(data);
    if (name.find(u':') != std::u16string_view::npos)
        Fail(u"The name '" + std::u16string(name) + u"' of a processing instruction has a colon.");
    Node& node = AddNode(NodeType::processingInstruction, name.size() + text.size());
    node.target = name;
    node.text = text;
}

void PullParser::Document::AddEnd() {
    const OpenElement& element = open_.back();
    Node& node = AddNode(NodeType::endElement, 0);
    node.name = element.name;
    node.prefix = element.prefix;
    node.uri = element.uri;
}

namespace {

/// A name with its prefix, which is empty where there is none.
struct SplitName {
    std::u16string_view prefix, name;
};

/// Splits a name at its colon. @return nothing where it is no name with a prefix, or without
std::optional<SplitName> Split(std::u16string_view name) noexcept {
    const std::size_t colon = name.find(u':');
    if (colon == std::u16string_view::npos) return SplitName{{}, name};
    const SplitName split{name.substr(0, colon), name.substr(colon + 1)};
    if (split.prefix.empty() || !xercesc::XMLChar1_1::isValidNCName(split.name.data(), split.name.size())) return {};
    return split;
}

bool IsLess(const Attribute* one, const Attribute* other) noexcept {
    return std::pair(one->name, one->uri) < std::pair(other->name, other->uri);
}

}  // namespace

void PullParser::Document::startElement(const xercesc::XMLElementDecl& declaration, unsigned, const XMLCh*,
                                        const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t count,
                                        bool isEmpty, bool) {
    const auto fullName = View(declaration.getFullName());
    const auto name = Split(fullName);
    if (!name) Fail(u"The name '" + std::u16string(fullName) + u"' is not a name with a prefix.");

    const std::size_t declaredBefore = prefixes_.Count();
    attributes_.clear();
    declarations_.clear();
    std::size_t characters = fullName.size();
    bool hasPrefixed = false;
    for (XMLSize_t i = 0; i < count; ++i) {
        const xercesc::XMLAttr& attribute = *attributes.elementAt(i);
        const auto attributeName = View(attribute.getName());
        const auto value = View(attribute.getValue());
        characters += attributeName.size() + value.size() + 1;
        const auto split = Split(attributeName);
        if (!split) Fail(u"The name '" + std::u16string(attributeName) + u"' is not a name with a prefix.");
        if (split->prefix == u"xmlns") {
            AddDeclaration(split->name, value);
        } else if (attributeName == u"xmlns") {
            AddDeclaration({}, value);
        } else {
            attributes_.push_back({split->prefix, split->name, value});  // the prefix becomes a namespace below
            hasPrefixed |= !split->prefix.empty();
        }
    }
    if (hasPrefixed) {
        for (Attribute& attribute : attributes_) {
            if (!attribute.uri.empty()) attribute.uri = Resolve(attribute.uri);
        }
        RefuseSameNames();
    }
    OpenElement element{name->name, name->prefix, Resolve(name->prefix), declaredBefore};
    open_.push_back(element);
    Node& node = AddNode(NodeType::startElement, characters);
    node.name = element.name;
    node.prefix = element.prefix;
    node.uri = element.uri;
    if (isEmpty) AddEnd();
}

void PullParser::Document::AddDeclaration(std::u16string_view prefix, std::u16string_view uri) {
    const bool isXml = prefix == u"xml";
    if (prefix == u"xmlns" || uri == xmlnsUri || isXml != (uri == xmlUri))
        Fail(u"The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.");
    if (uri.empty() && !prefix.empty() && parsing_->scanner.getXMLVersion() == xercesc::XMLReader::XMLV1_0)
        Fail(u"The prefix '" + std::u16string(prefix) + u"' is declared for no namespace.");
    prefixes_.Declare(prefix, uri);
    declarations_.push_back({prefix, uri});
}

std::u16string_view PullParser::Document::Resolve(std::u16string_view prefix) {
    const auto uri = prefixes_.UriOf(prefix, prefixes_.Count());
    if (!uri) Fail(u"The prefix '" + std::u16string(prefix) + u"' is not declared.");
    return *uri;
}

/// Attributes of one name as it is written are refused by the parser; here those whose prefixes stand for one
/// namespace.
void PullParser::Document::RefuseSameNames() {
    sorted_.clear();
    for (const Attribute& attribute : attributes_) {
        if (!attribute.uri.empty()) sorted_.push_back(&attribute);
    }
    std::sort(sorted_.begin(), sorted_.end(), IsLess);
    const auto same =
        std::adjacent_find(sorted_.begin(), sorted_.end(), [](const Attribute* one, const Attribute* other) {
            return one->name == other->name && one->uri == other->uri;
        });
    if (same != sorted_.end())
        Fail(u"The attribute '" + std::u16string((*same)->name) + u"' comes twice in one namespace.");
}

// Moving on

bool PullParser::Document::Next() {
    if (type_ == NodeType::text) {
        parsing_->scanner.ClearText();
    } else if (type_ == NodeType::endElement) {
        prefixes_.CutTo(open_.back().declaredBefore);
        open_.pop_back();
    }
    type_ = NodeType::none;
    while (next_ == queue_.Count()) {
        if (hasEnded_) {
            depth_ = visible_ = 0;
            return false;
        }
        queue_.RemoveAll();
        next_ = 0;
        queued_ = 0;
        Scan();
        if (parsing_->scanner.Text().size() >= maxText) break;
    }
    if (next_ == 0 && !parsing_->scanner.Text().empty())
        HandOutText();
    else
        HandOut();
    return true;
}

void PullParser::Document::HandOut() {
    const Node& node = queue_[next_++];
    type_ = node.type;
    end_ = node.end;
    const bool isTag = type_ == NodeType::startElement || type_ == NodeType::endElement;
    depth_ = open_.size() - (isTag ? 1 : 0);
    visible_ = prefixes_.Count();
}

/// Hands out the text before what is in the queue: the element that a start tag there opens is not open around it.
void PullParser::Document::HandOutText() {
    type_ = NodeType::text;
    end_ = parsing_->scanner.TextEnd();
    const bool isBeforeStart = queue_.Count() != 0 && queue_[0].type == NodeType::startElement;
    depth_ = open_.size() - (isBeforeStart ? 1 : 0);
    visible_ = isBeforeStart ? open_.back().declaredBefore : prefixes_.Count();
}

/// Lets the parser bring what comes next, which is nothing where a text goes on.
void PullParser::Document::Scan() try {
    TextScanner& scanner = parsing_->scanner;
    const bool goesOn = std::exchange(hasStarted_, true) ? scanner.scanNext(parsing_->token)
                                                         : scanner.scanFirst(parsing_->input, parsing_->token);
    if (queue_.Count() != 0 || scanner.Text().size() >= maxText) CountExpansion(scanner.Text().size());
    hasEnded_ = !goesOn || isWhole_;
    if (!goesOn && !isWhole_ && !fault_) fault_ = {nothingMore, 1, 1};
} catch (const StopParsing&) {
    hasEnded_ = true;
} catch (const xercesc::OutOfMemoryException&) {
    BreakOff();
    throw std::bad_alloc();
} catch (const xercesc::XMLException& exception) {
    hasEnded_ = true;
    if (!fault_) fault_ = {std::u16string(View(exception.getMessage())), 1, 1};
} catch (...) {
    BreakOff();
    throw;
}

void PullParser::Document::BreakOff() {
    hasEnded_ = true;
    depth_ = visible_ = 0;
    queue_.RemoveAll();
    next_ = 0;
    if (!fault_) fault_ = {brokenOff, 1, 1};
}

// The parser's face

void CloseParserLibrary() noexcept {
    freeReaders.Close();
    if (libraryState.exchange(LibraryState::fresh) == LibraryState::ready) xercesc::XMLPlatformUtils::Terminate();
}

PullParser::PullParser(ByteSource& source, std::u16string_view encoding)
    : document_(std::make_unique<Document>(source, encoding)) {}

PullParser::~PullParser() = default;

bool PullParser::Next() {
    return document_->Next();
}

const ParseFault* PullParser::Fault() const noexcept {
    return document_->Fault();
}

NodeType PullParser::Type() const noexcept {
    return document_->Type();
}

std::u16string_view PullParser::Name() const noexcept {
    return document_->Name();
}

std::u16string_view PullParser::Prefix() const noexcept {
    return document_->Current().prefix;
}

std::u16string_view PullParser::Uri() const noexcept {
    return document_->Current().uri;
}

std::u16string_view PullParser::Text() const noexcept {
    return document_->Text();
}

std::span<const Attribute> PullParser::Attributes() const noexcept {
    return document_->Attributes();
}

std::span<const Declaration> PullParser::Declarations() const noexcept {
    return document_->Declarations();
}

std::size_t PullParser::Depth() const noexcept {
    return document_->Depth();
}

std::uint64_t PullParser::Line() const noexcept {
    return document_->End().line;
}

std::uint64_t PullParser::Column() const noexcept {
    return document_->End().column;
}

std::optional<std::u16string_view> PullParser::UriOf(std::u16string_view prefix) const noexcept {
    return document_->UriOf(prefix);
}

}  // namespace xml
