// Identifiers as objects: what they are put from, and how they compare and persist.
#include <vector>

#include "kvcore/RegistryKey.h"
#include "kvcore/TrelCore.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr GUID probe{0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
constexpr GUID otherProbe{0x0D1A3F02, 0x3C4D, 0x4E5F, {0x86, 0x17, 0x28, 0x39, 0x4A, 0x5B, 0x6C, 0x7D}};
constexpr CLSID managerClass{0x0D1A3F03, 0x3C4D, 0x4E5F, {0x86, 0x17, 0x28, 0x39, 0x4A, 0x5B, 0x6C, 0x7D}};

constexpr auto noValue = "The value is neither a text nor an identifier object.";
constexpr auto badSubtype = "The subtype must be a whole number from 0 to 2,147,483,647.";
constexpr auto unknownText = "The text is no GUID, and no class is known by it.";

kv::Ptr<IUID> NewUid() {
    return New<IUID>(u"UID");
}

/// A clean identifier object that holds the other probe with subtype 5.
kv::Ptr<IUID> NewHolder() {
    auto uid = NewUid();
    EXPECT_EQ(uid.As<IIdentifierExchange>()->SetIdentifier(&otherProbe, 5), S_OK);
    EXPECT_EQ(uid.As<IPersistStream>()->Save(StreamOf({}).Get(), TRUE), S_OK);
    return uid;
}

/// "{GUID} SUBTYPE", with "*" behind it where the object is dirty; "empty" for the GUID where there is none.
std::string State(const kv::Ptr<IUID>& uid) {
    const auto value = AnswerOf(uid, &IUID::get_Value);
    const auto subtype = AnswerOf(uid, &IUID::get_SubType);
    const std::string guid = value.Get().vt == VT_BSTR    ? kv::Utf8(kv::View(value.Get().bstrVal))
                             : value.Get().vt == VT_EMPTY ? "empty"
                                                          : "neither";
    return guid + " " + std::to_string(subtype) + (uid.As<IPersistStream>()->IsDirty() == S_OK ? "*" : "");
}
std::string State(const GUID& guid, LONG subtype) {
    return kv::Utf8(kv::GuidText(guid)) + " " + std::to_string(subtype);
}

/// Puts a value into a clean holder of the other probe and 5, which is to take it or to refuse it and stay as it was.
/// @param refusal null where it is to be taken
void ExpectPut(const VARIANT& value, const char* refusal, const GUID& guid, LONG subtype) {
    const auto uid = NewHolder();
    EXPECT_EQ(uid->put_Value(value), refusal ? E_INVALIDARG : S_OK);
    EXPECT_EQ(TakeErrorInfo(), refusal ? Refusal<IUID>("UID", refusal) : "");
    EXPECT_EQ(State(uid), refusal ? State(otherProbe, 5) : State(guid, subtype) + "*");
}

/// A key of the classes root for the length of a test.
class ClassKey {
 public:
    /// @param classId the class that the key's name is a ProgID of; null for none
    ClassKey(const std::u16string& name, const GUID* classId) : name_(name) {
        const auto key = kv::RegistryKey::Create(HKEY_CLASSES_ROOT, name);
        EXPECT_TRUE(key) << kv::Utf8(name);
        if (!classId) return;
        EXPECT_TRUE(kv::RegistryKey::Create(key.Get(), u"CLSID").SetText(nullptr, kv::GuidText(*classId)));
    }
    ~ClassKey() { EXPECT_TRUE(kv::RegistryKey::DeleteTree(HKEY_CLASSES_ROOT, name_)); }
    ClassKey(const ClassKey&) = delete;
    ClassKey& operator=(const ClassKey&) = delete;

 private:
    std::u16string name_;
};

/// An add-in manager, which can be created while it lives. It notes what it is asked.
class Manager final : public Local<IAddInManager> {
 public:
    STDMETHODIMP ResolveClass(BSTR name, BSTR* classIdentifier) noexcept override {
        asked = kv::View(name);
        *classIdentifier = answer ? kv::BString(answer).Detach() : nullptr;
        return status;
    }

    std::u16string asked;
    const char16_t* answer = nullptr;
    HRESULT status = S_OK;

 private:
    Served served_{managerClass, [this] { return this; }};
};

/// An identifier object of another maker.
class Other final : public Local<IIdentifierExchange> {
 public:
    explicit Other(LONG subtype, HRESULT status = S_OK) : subtype_(subtype), status_(status) {}
    STDMETHODIMP SetIdentifier(const GUID*, LONG) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIdentifier(GUID* identifier, LONG* subtype) noexcept override {
        *identifier = probe;
        *subtype = subtype_;
        return status_;
    }

 private:
    LONG subtype_;
    HRESULT status_;
};

Bytes BytesIn(std::string_view text) {
    return {text.begin(), text.end()};
}

bool Equal(const kv::Ptr<IUID>& left, const kv::Ptr<IUID>& right) {
    const auto equal = AnswerOf(left, &IUID::Compare, right.Get());
    EXPECT_TRUE(equal == VARIANT_TRUE || equal == VARIANT_FALSE);
    return equal != VARIANT_FALSE;
}

using namespace std::literals;
constexpr auto golden =
    "\x01\x00\x01\xA1\x7F\xFF\x78\x2F\xFB\xD1\x11\x94\xA2\x08\x00\x09\xEE\xBE\xCB\x07\x00\x00\x00"sv;

}  // namespace

TEST(Uid, IsEmptyAtFirst) {
    const auto uid = NewUid();
    EXPECT_EQ(State(uid), "empty 0");
    GUID identifier = probe;
    EXPECT_EQ(uid.As<IIdentifierExchange>()->GetIdentifier(&identifier, nullptr), S_OK);
    EXPECT_EQ(identifier, GUID{});
    VARIANT unread = Raw(VT_BSTR, std::intptr_t{1});
    EXPECT_EQ(uid->get_Value(&unread), S_OK);
    EXPECT_EQ(unread.vt, VT_EMPTY);
}

TEST(Uid, TakesTextAndStaysAsItWasWhereItRefuses) {
    const ClassKey withoutPoint(u"UidProbe", &probe);
    const struct {
        std::u16string_view text;
        GUID guid;
        LONG subtype;
    } taken[] = {{u"{00112233-4455-6677-8899-AABBCCDDEEFF}", probe, 5},
                 {u"{00112233-4455-6677-8899-AABBCCDDEEFF}:7", probe, 7},
                 {u"00112233-4455-6677-8899-aAbBcCdDeEfF:0", probe, 0},
                 {u"{00112233-4455-6677-8899-AABBCCDDEEFF}:0000000002147483647", probe, 2147483647},
                 {u"movaSystem.UID", CLSID_UID, 5},
                 {u"MOVASYSTEM.uid.1:3", CLSID_UID, 3},
                 {u"oldlib.UID:3", CLSID_UID, 3},
                 {u".uid", CLSID_UID, 5}};
    for (const auto& row : taken) {
        SCOPED_TRACE(kv::Utf8(row.text));
        ExpectPut(Value(row.text).Get(), nullptr, row.guid, row.subtype);
    }
    for (const std::u16string_view subtype : {u""sv, u"-1"sv, u"+1"sv, u" 1"sv, u"1\0"sv, u"three"sv, u"3:4"sv,
                                              u"2147483648"sv, u"18446744073709551617"sv}) {
        SCOPED_TRACE(kv::Utf8(subtype));
        ExpectPut(Value(kv::GuidText(probe) + u":" + std::u16string(subtype)).Get(), badSubtype, {}, 0);
    }
    for (const std::u16string_view text :
         {u"{00112233-4455-6677-8899-AABBCCDDEEFF}\0"sv, u" {00112233-4455-6677-8899-AABBCCDDEEFF}"sv,
          u"{00112233-4455-6677-8899-AABBCCDDEEFF"sv, u"00112233-4455-6677-8899-AABBCCDDEEFG:7"sv, u""sv, u":3"sv,
          u"."sv, u"UidProbe"sv, u"movaSystem.Nonsense:3"sv, u"movaSystem.UID\0"sv, u"oldlib.UID\0"sv}) {
        SCOPED_TRACE(kv::Utf8(text));
        ExpectPut(Value(text).Get(), unknownText, {}, 0);
    }
    ExpectPut(Raw(VT_BSTR), unknownText, {}, 0);
    const std::u16string longText(1 << 20, u'.');
    ExpectPut(Value(longText).Get(), unknownText, {}, 0);
}

TEST(Uid, TakesValuesByReferenceAndOtherIdentifiers) {
    const auto source = NewUid();
    EXPECT_EQ(source.As<IIdentifierExchange>()->SetIdentifier(&probe, 8), S_OK);
    const auto empty = NewUid();
    const auto stranger = New<IUnknown>(u"PropertySet");
    Other foreign(9);
    Other negative(-9);
    Other failing(9, E_FAIL);
    Bstr text(u"{00112233-4455-6677-8899-AABBCCDDEEFF}:8");
    BSTR bstr = text;
    IUnknown* unknown = source.Get();
    const auto dispatch = source.As<IDispatch>();
    IDispatch* dispatched = dispatch.Get();
    VARIANT textVariant = Raw(VT_BSTR, bstr);
    VARIANT textReference = Raw(VT_BYREF | VT_BSTR, &bstr);
    VARIANT reference = ReferenceTo(textVariant);
    IUnknown* nothing = nullptr;
    for (const VARIANT& value :
         {Raw(VT_UNKNOWN, unknown), Raw(VT_DISPATCH, dispatched), Raw(VT_BYREF | VT_UNKNOWN, &unknown),
          Raw(VT_BYREF | VT_DISPATCH, &dispatched), textReference, reference, ReferenceTo(textReference)}) {
        SCOPED_TRACE(value.vt);
        ExpectPut(value, nullptr, probe, 8);
    }
    ExpectPut(Raw(VT_UNKNOWN, &foreign), nullptr, probe, 9);
    ExpectPut(Raw(VT_UNKNOWN, empty.Get()), nullptr, GUID{}, 0);
    ExpectPut(Raw(VT_UNKNOWN, &negative), badSubtype, {}, 0);
    for (const VARIANT& value : {Raw(VT_UNKNOWN, &failing), Raw(VT_UNKNOWN, stranger.Get()), Raw(VT_UNKNOWN),
                                 Raw(VT_DISPATCH), Raw(VT_BYREF | VT_UNKNOWN, &nothing), Raw(VT_BYREF | VT_UNKNOWN),
                                 Raw(VT_BYREF | VT_BSTR), Raw(VT_BYREF | VT_VARIANT), ReferenceTo(reference),
                                 Raw(VT_EMPTY), Raw(VT_NULL), Raw(VT_I4), Raw(VT_ARRAY | VT_UI1), Raw(0x777)}) {
        SCOPED_TRACE(value.vt);
        ExpectPut(value, noValue, {}, 0);
    }
    EXPECT_EQ(source->put_Value(Raw(VT_UNKNOWN, unknown)), S_OK) << "its own";
    EXPECT_EQ(State(source), State(probe, 8) + "*");
}

TEST(Uid, FindsAClassInTheFamilyByTheRestOfItsName) {
    // The registry keeps its keys in the order of their names.
    const ClassKey keys[] = {{u"movaAAA.UidProbe.One", &probe},        {u"movaBBB.UidProbe.One", &otherProbe},
                             {u"MOVABBB.UidProbe.Two", &probe},        {u"movaAAA.UidProbe.Three", nullptr},
                             {u"movaBBB.UidProbe.Three", &probe},      {u"xmovaAAA.UidProbe.Four", &probe},
                             {u"movaBBB.\u00C4rger.UidProbe", &probe}, {u"movaBBB.UidProbe.i", &probe},
                             {u"movaBBB.UidProbe.Seven.x", &probe},    {u"mova.UidProbe.Eight", &probe},
                             {u"other.UidProbe.Nine", &probe}};
    const struct {
        std::u16string_view text;
        const char* refusal;
    } rows[] = {{u"old.UidProbe.One", nullptr},        {u"old.UIDPROBE.oNE:5", nullptr},
                {u"old.UidProbe.Two", unknownText},    {u"old.UidProbe.Three", unknownText},
                {u"old.UidProbe.Four", unknownText},   {u"old.\u00E4RGER.uidprobe", nullptr},
                {u"old.UidProbe.I", nullptr},          {u"old.UidProbe.\u0130", unknownText},
                {u"old.UidProbe.Seven", unknownText},  {u"old.UidProbe.Seven.x.y", unknownText},
                {u"a.b.UidProbe.One", unknownText},    {u"old.UidProbe.Eight", nullptr},
                {u"other.UidProbe.Nine", nullptr},     {u"old.UidProbe.Nine", unknownText},
                {u"old.UidProbe.One\0"sv, unknownText}};
    for (const auto& row : rows) {
        SCOPED_TRACE(kv::Utf8(row.text));
        ExpectPut(Value(row.text).Get(), row.refusal, probe, 5);
    }
}

TEST(Uid, SearchesNoRegistryWhereTheUserIsRegistrationFree) {
    const std::string known = "{78FF7FA1-FB2F-11D1-94A2-080009EEBECB}\t0\n";
    const std::string refused = "mova: movaSystem.UID: " + std::string(unknownText) + " (0x80070057)\n";
    const auto expect = [&](const char* when, const std::string& search) {
        EXPECT_EQ(Mova(u"uid movaSystem.UID").output, known) << when;
        EXPECT_EQ(Mova(u"uid oldlib.UID").output, search) << when;
    };
    expect("by default", known);
    {
        const Setting on(TrelCore::registrationFreeValue, DWORD{2});
        expect("on", refused);
    }
    {
        const Setting off(TrelCore::registrationFreeValue, DWORD{0});
        expect("off", known);
    }
    const Setting text(TrelCore::registrationFreeValue, std::u16string(u"1"));
    expect("no number", known);
}

TEST(Uid, AsksTheAddInManagerLast) {
    Manager manager;
    {
        const Setting setting(TrelCore::addInManagerValue, kv::GuidText(managerClass));
        const struct {
            std::u16string_view text, asked;
            const char16_t* answer;
            HRESULT status;
            LONG subtype;
            const char* refusal;
        } rows[] = {
            {u"old.Nonsense:4", u"old.Nonsense", u"{00112233-4455-6677-8899-AABBCCDDEEFF}", S_OK, 4, nullptr},
            {u"nonsense", u"nonsense", u"00112233-4455-6677-8899-aabbccddeeff", S_OK, 5, nullptr},
            {u"a.b\0c"sv, u"a.b\0c"sv, u"{00112233-4455-6677-8899-AABBCCDDEEFF}", S_OK, 5, nullptr},
            {u"nonsense:4", u"nonsense", u"movaSystem.UID", S_OK, 0, unknownText},
            {u"nonsense", u"nonsense", nullptr, S_OK, 0, unknownText},
            {u"nonsense", u"nonsense", u"{00112233-4455-6677-8899-AABBCCDDEEFF}", E_ABORT, 0, unknownText},
            {u"nonsense:x", u"", u"{00112233-4455-6677-8899-AABBCCDDEEFF}", S_OK, 0, badSubtype},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(kv::Utf8(row.text));
            manager.asked.clear();
            manager.answer = row.answer;
            manager.status = row.status;
            ExpectPut(Value(row.text).Get(), row.refusal, probe, row.subtype);
            EXPECT_EQ(manager.asked, row.asked);
        }
        manager.asked.clear();
        ExpectPut(Value(u"oldlib.UID").Get(), nullptr, CLSID_UID, 5);
        EXPECT_EQ(manager.asked, u"") << "the registry knows it";
    }
    for (const auto& named :
         {std::u16string(u"movaSystem.UID"), kv::GuidText(probe), kv::GuidText(CLSID_PropertySet)}) {
        const Setting setting(TrelCore::addInManagerValue, named);
        ExpectPut(Value(u"nonsense").Get(), unknownText, {}, 0);
    }
    EXPECT_EQ(manager.asked, u"");
}

TEST(Uid, GeneratesIdentifiersThatDiffer) {
    const auto uid = NewHolder();
    const auto other = NewUid();
    EXPECT_EQ(uid->Generate(), S_OK);
    EXPECT_EQ(other->Generate(), S_OK);
    EXPECT_TRUE(State(uid).ends_with("} 5*")) << "the subtype stays";
    EXPECT_NE(State(uid), State(otherProbe, 5) + "*");
    EXPECT_EQ(other->put_SubType(5), S_OK);
    EXPECT_FALSE(Equal(uid, other));
}

TEST(Uid, ExchangesAndKeepsSubtypes) {
    const auto uid = NewHolder();
    const auto exchange = uid.As<IIdentifierExchange>();
    for (const LONG below : {-1L, -2147483647L - 1}) {
        EXPECT_EQ(Refused(uid->put_SubType(below), E_INVALIDARG), Refusal<IUID>("UID", badSubtype));
        EXPECT_EQ(Refused(exchange->SetIdentifier(&probe, below), E_INVALIDARG),
                  Refusal<IIdentifierExchange>("UID", badSubtype));
    }
    EXPECT_EQ(uid->put_SubType(5), S_OK);
    EXPECT_EQ(exchange->SetIdentifier(nullptr, 5), S_OK);
    EXPECT_EQ(State(uid), State(otherProbe, 5)) << "nothing has changed";
    EXPECT_EQ(exchange->SetIdentifier(nullptr, 6), S_OK);
    EXPECT_EQ(State(uid), State(otherProbe, 6) + "*");
    GUID identifier{};
    EXPECT_EQ(exchange->GetIdentifier(nullptr, nullptr), S_OK);
    EXPECT_EQ(exchange->GetIdentifier(&identifier, nullptr), S_OK);
    EXPECT_EQ(identifier, otherProbe);
    EXPECT_EQ(AnswerOf(exchange, &IIdentifierExchange::GetIdentifier, nullptr), 6);
    const auto same = NewHolder();
    EXPECT_EQ(same.As<IIdentifierExchange>()->SetIdentifier(&otherProbe, 5), S_OK);
    EXPECT_EQ(State(same), State(otherProbe, 5) + "*") << "an identifier makes it dirty, an equal one, too";
    const auto onlySubtype = NewUid();
    EXPECT_EQ(onlySubtype->put_SubType(2147483647), S_OK);
    EXPECT_EQ(State(onlySubtype), "empty 2147483647*");
}

TEST(Uid, ComparesBothHalvesAndTheSubtype) {
    const auto uid = NewUid();
    const auto other = NewUid();
    EXPECT_TRUE(Equal(uid, other)) << "two empty ones";
    GUID firstHalf = probe;
    firstHalf.Data3 ^= 0x8000;
    GUID secondHalf = probe;
    secondHalf.Data4[7] ^= 1;
    const struct {
        GUID guid;
        LONG subtype;
        bool equal;
    } rows[] = {{probe, 3, true}, {probe, 4, false}, {firstHalf, 3, false}, {secondHalf, 3, false}, {GUID{}, 3, false}};
    EXPECT_EQ(uid.As<IIdentifierExchange>()->SetIdentifier(&probe, 3), S_OK);
    for (const auto& row : rows) {
        EXPECT_EQ(other.As<IIdentifierExchange>()->SetIdentifier(&row.guid, row.subtype), S_OK);
        EXPECT_EQ(Equal(uid, other), row.equal) << State(other);
        EXPECT_EQ(Equal(other, uid), row.equal) << State(other);
    }
    VARIANT_BOOL equal = VARIANT_TRUE;
    Other failing(3, E_FAIL);
    Other foreign(3);
    const auto stranger = New<IUnknown>(u"PropertySet");
    // Whatever the pointer is to, it is asked for the interface that counts.
    for (IUnknown* none : {static_cast<IUnknown*>(nullptr), stranger.Get(), static_cast<IUnknown*>(&failing)}) {
        EXPECT_EQ(Refused(uid->Compare(reinterpret_cast<IUID*>(none), &equal), E_INVALIDARG),
                  Refusal<IUID>("UID", "There is no identifier object to compare with."));
        EXPECT_EQ(equal, VARIANT_FALSE);
    }
    EXPECT_EQ(AnswerOf(uid, &IUID::Compare, reinterpret_cast<IUID*>(&foreign)), VARIANT_TRUE);
}

TEST(Uid, SavesTheKeptBytes) {
    EXPECT_EQ(ReadSource("tests/golden/uid.bin"), golden);
    const auto uid = NewUid();
    const auto persist = uid.As<IPersistStream>();
    EXPECT_EQ(uid.As<IIdentifierExchange>()->SetIdentifier(&CLSID_UID, 7), S_OK);
    const auto size = AnswerOf(persist, &IPersistStream::GetSizeMax);
    EXPECT_EQ(size.QuadPart, golden.size());
    const auto stream = StreamOf({});
    EXPECT_EQ(persist->Save(stream.Get(), FALSE), S_OK);
    EXPECT_EQ(persist->IsDirty(), S_OK);
    EXPECT_EQ(BytesOf(stream), BytesIn(golden));
    Trickle empty;
    EXPECT_EQ(NewUid().As<IPersistStream>()->Save(&empty, TRUE), S_OK);
    EXPECT_EQ(empty.bytes, BytesIn("\x01"s + std::string(22, '\0')));
    Trickle full;
    full.callsLeft = 0;
    EXPECT_EQ(persist->Save(&full, TRUE), STG_E_MEDIUMFULL);
    EXPECT_EQ(persist->IsDirty(), S_OK);
    EXPECT_EQ(persist->Save(stream.Get(), TRUE), S_OK);
    EXPECT_EQ(persist->IsDirty(), S_FALSE);
}

TEST(Uid, LoadsWholeRecordsOnly) {
    const auto with = [](std::size_t at, const std::string& bytes) {
        return std::string(golden).replace(at, bytes.size(), bytes);
    };
    std::vector<std::pair<std::string, std::string>> rows{
        {std::string(golden), State(CLSID_UID, 7)},
        {std::string(golden) + "more", State(CLSID_UID, 7)},
        {with(0, "\x02"), State(CLSID_UID, 7)},
        {with(0, "\xFF\xFF"), State(CLSID_UID, 7)},
        {with(2, "\x80"), State(CLSID_UID, 7)},
        {with(2, std::string(1, '\0')), "empty 7"},
        {with(19, "\xFF\xFF\xFF\x7F"), State(CLSID_UID, 2147483647)},
        {with(22, "\x80"), ""},
        {with(19, "\xFF\xFF\xFF\xFF"), ""},
    };
    for (std::size_t cut = 0; cut < golden.size(); ++cut) {
        rows.emplace_back(golden.substr(0, cut), "");
        Trickle failing(BytesIn(golden), 1);
        failing.callsLeft = static_cast<int>(cut);
        EXPECT_EQ(NewUid().As<IPersistStream>()->Load(&failing), E_FAIL) << "whatever the stream's own failure is";
    }
    for (const auto& [bytes, state] : rows) {
        const auto uid = NewUid();
        EXPECT_EQ(uid.As<IIdentifierExchange>()->SetIdentifier(&otherProbe, 5), S_OK);
        const auto stream = StreamOf(BytesIn(bytes));
        EXPECT_EQ(uid.As<IPersistStream>()->Load(stream.Get()), state.empty() ? E_FAIL : S_OK) << bytes.size();
        EXPECT_EQ(TakeErrorInfo(),
                  state.empty() ? Refusal<IPersistStream>("UID", "The stream is cut short or damaged.") : "");
        EXPECT_EQ(State(uid), state.empty() ? State(otherProbe, 5) + "*" : state) << bytes.size();
        if (state.empty()) continue;
        ULARGE_INTEGER position{};
        EXPECT_EQ(stream->Seek({}, STREAM_SEEK_CUR, &position), S_OK);
        EXPECT_EQ(position.QuadPart, golden.size()) << "what follows is left for others";
    }
}

TEST(Uid, FormatsIntoTheRoomThereIs) {
    std::u16string text(kv::guidTextLength + 2, u'x');
    EXPECT_EQ(kv::MOVA_StringFromGUID2(probe, std::span(text).first(kv::guidTextLength)), 0);
    EXPECT_EQ(text, std::u16string(kv::guidTextLength + 2, u'x'));
    EXPECT_EQ(kv::MOVA_StringFromGUID2(probe, std::span(text).first(kv::guidTextLength + 1)), 39);
    EXPECT_EQ(text, u"{00112233-4455-6677-8899-AABBCCDDEEFF}\0x"sv);
    wchar_t theirs[39];
    for (const GUID& id : {GUID{}, probe, otherProbe, CLSID_UID}) {
        ASSERT_EQ(StringFromGUID2(id, theirs, 39), 39);
        EXPECT_EQ(kv::GuidText(id), kv::Narrow16(theirs));
        EXPECT_EQ(kv::MOVA_CLSIDFromString(kv::GuidText(id)), id);
    }
}

}  // namespace mova::test
