#include "streams/File.h"

#include <algorithm>
#include <array>

namespace mova {
namespace {

struct ModeRow {
    movaFileMode mode;
    DWORD access;
    DWORD disposition;
    FileAction action;
};

// clang-format off
constexpr std::array modes{
    ModeRow{movaFileModeRead,         GENERIC_READ,                 OPEN_EXISTING, FileAction::Open},
    ModeRow{movaFileModeReadWrite,    GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, FileAction::Open},
    ModeRow{movaFileModeCreateNew,    GENERIC_READ | GENERIC_WRITE, CREATE_NEW,    FileAction::Create},
    ModeRow{movaFileModeCreateAlways, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, FileAction::Create},
    ModeRow{movaFileModeOpenOrCreate, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS,   FileAction::Create},
};
// clang-format on

const ModeRow* RowOf(movaFileMode mode) noexcept {
    const auto* const row = std::find_if(modes.begin(), modes.end(), [=](const ModeRow& r) { return r.mode == mode; });
    return row == modes.end() ? nullptr : row;
}

bool BeginsWith(std::u16string_view text, std::u16string_view beginning) noexcept {
    return text.substr(0, beginning.size()) == beginning;
}

/// The path as the system takes it whatever its length; empty where there is no such path.
std::u16string SystemPath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) return {};
    std::u16string given(path);
    if (BeginsWith(path, u"\\\\?\\") || BeginsWith(path, u"\\\\.\\")) return given;
    std::u16string full(MAX_PATH, u'\0');
    const auto resolve = [&] {
        return GetFullPathNameW(kv::Wide(given.c_str()), static_cast<DWORD>(full.size()), kv::Wide(full.data()),
                                nullptr);
    };
    DWORD length = resolve();
    for (; length > full.size(); length = resolve()) full.resize(length);
    full.resize(length);
    if (full.size() < MAX_PATH) return full;
    if (BeginsWith(full, u"\\\\")) return u"\\\\?\\UNC" + full.substr(1);
    return u"\\\\?\\" + full;
}

OVERLAPPED At(std::uint64_t position) noexcept {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(position);
    place.OffsetHigh = static_cast<DWORD>(position >> 32);
    return place;
}

}  // namespace

bool IsFileMode(movaFileMode mode) noexcept {
    return RowOf(mode) != nullptr;
}

FileOutcome File::Open(std::u16string_view path, movaFileMode mode, FileSharing sharing, DWORD flags) {
    const ModeRow& row = *RowOf(mode);
    const std::u16string systemPath = SystemPath(path);
    if (systemPath.empty()) return OutcomeOf(ERROR_INVALID_NAME, row.action);
    const bool writes = (row.access & GENERIC_WRITE) != 0;
    const DWORD share =
        writes || sharing == FileSharing::ReadersOnly ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE;
    HANDLE opened = CreateFileW(kv::Wide(systemPath.c_str()), row.access, share, nullptr, row.disposition,
                                FILE_ATTRIBUTE_NORMAL | flags, nullptr);
    if (opened == INVALID_HANDLE_VALUE) return OutcomeOf(GetLastError(), row.action);
    handle_ = opened;
    writable_ = writes;
    return {};
}

FileOutcome File::ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) const noexcept {
    read = 0;
    size = static_cast<ULONG>(std::min<std::uint64_t>(size, greatestFileSize - position));
    if (size == 0) return {};
    OVERLAPPED place = At(position);
    DWORD came = 0;
    const BOOL done = ReadFile(handle_, target, size, &came, &place);
    const DWORD error = done ? ERROR_SUCCESS : GetLastError();
    read = came;
    return OutcomeOf(error == ERROR_HANDLE_EOF ? ERROR_SUCCESS : error, FileAction::Read);
}

FileOutcome File::WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) noexcept {
    written = 0;
    if (size == 0) return {};
    if (position > greatestFileSize - size) return fileFull;
    OVERLAPPED place = At(position);
    DWORD went = 0;
    const BOOL done = WriteFile(handle_, source, size, &went, &place);
    const DWORD error = done ? ERROR_SUCCESS : GetLastError();
    written = went;
    return error == ERROR_SUCCESS && went < size ? fileFull : OutcomeOf(error, FileAction::Write);
}

FileOutcome File::GetSize(std::uint64_t& size) const noexcept {
    LARGE_INTEGER found{};
    if (!GetFileSizeEx(handle_, &found)) return OutcomeOf(GetLastError(), FileAction::Read);
    size = static_cast<std::uint64_t>(found.QuadPart);
    return {};
}

FileOutcome File::Resize(std::uint64_t size) noexcept {
    if (size > greatestFileSize) return fileFull;
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (SetFileInformationByHandle(handle_, FileEndOfFileInfo, &end, sizeof end)) return {};
    return OutcomeOf(GetLastError(), FileAction::Write);
}

FileOutcome File::Flush() noexcept {
    if (!writable_ || FlushFileBuffers(handle_)) return {};
    return OutcomeOf(GetLastError(), FileAction::Write);
}

void File::Describe(STATSTG& stat) const noexcept {
    GetFileTime(handle_, &stat.ctime, &stat.atime, &stat.mtime);
    stat.grfMode = writable_ ? STGM_READWRITE : STGM_READ;
}

void File::Close() noexcept {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
}

}  // namespace mova
