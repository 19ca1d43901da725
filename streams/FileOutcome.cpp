#include "streams/FileOutcome.h"

#include <optional>

#include "server/NamedMessage.h"

namespace mova {
namespace {

struct Row {
    DWORD error;
    std::optional<FileAction> action;  // none for all of them
    HRESULT status;
    FileMessage message;
};

// clang-format off
constexpr Row rows[] = {  // the first that fits
    {ERROR_FILE_NOT_FOUND,       {},                 STG_E_FILENOTFOUND,         FileMessage::NotFound},
    {ERROR_PATH_NOT_FOUND,       FileAction::Create, STG_E_PATHNOTFOUND,         FileMessage::CannotBeCreated},
    {ERROR_PATH_NOT_FOUND,       {},                 STG_E_PATHNOTFOUND,         FileMessage::NotFound},
    {ERROR_BAD_NETPATH,          {},                 STG_E_PATHNOTFOUND,         FileMessage::NotFound},
    {ERROR_BAD_NET_NAME,         {},                 STG_E_PATHNOTFOUND,         FileMessage::NotFound},
    {ERROR_INVALID_NAME,         FileAction::Create, STG_E_INVALIDNAME,          FileMessage::CannotBeCreated},
    {ERROR_INVALID_NAME,         {},                 STG_E_INVALIDNAME,          FileMessage::NotFound},
    {ERROR_BAD_PATHNAME,         FileAction::Create, STG_E_INVALIDNAME,          FileMessage::CannotBeCreated},
    {ERROR_BAD_PATHNAME,         {},                 STG_E_INVALIDNAME,          FileMessage::NotFound},
    {ERROR_FILENAME_EXCED_RANGE, FileAction::Create, STG_E_INVALIDNAME,          FileMessage::CannotBeCreated},
    {ERROR_FILENAME_EXCED_RANGE, {},                 STG_E_INVALIDNAME,          FileMessage::NotFound},
    {ERROR_FILE_EXISTS,          {},                 STG_E_FILEALREADYEXISTS,    FileMessage::AlreadyExists},
    {ERROR_ALREADY_EXISTS,       {},                 STG_E_FILEALREADYEXISTS,    FileMessage::AlreadyExists},
    {ERROR_ACCESS_DENIED,        {},                 STG_E_ACCESSDENIED,         FileMessage::AccessDenied},
    {ERROR_SHARING_VIOLATION,    {},                 STG_E_SHAREVIOLATION,       FileMessage::AccessDenied},
    {ERROR_LOCK_VIOLATION,       {},                 STG_E_LOCKVIOLATION,        FileMessage::AccessDenied},
    {ERROR_WRITE_PROTECT,        {},                 STG_E_DISKISWRITEPROTECTED, FileMessage::AccessDenied},
    {ERROR_DISK_FULL,            {},                 STG_E_MEDIUMFULL,           FileMessage::DiskFull},
    {ERROR_HANDLE_DISK_FULL,     {},                 STG_E_MEDIUMFULL,           FileMessage::DiskFull},
    {ERROR_FILE_TOO_LARGE,       {},                 STG_E_MEDIUMFULL,           FileMessage::DiskFull},
    {ERROR_TOO_MANY_OPEN_FILES,  {},                 STG_E_TOOMANYOPENFILES,     FileMessage::Unknown},
    {ERROR_NOT_ENOUGH_MEMORY,    {},                 E_OUTOFMEMORY,              FileMessage::Unknown},
    {ERROR_OUTOFMEMORY,          {},                 E_OUTOFMEMORY,              FileMessage::Unknown},
};
// clang-format on

}  // namespace

FileOutcome OutcomeOf(DWORD error, FileAction action) noexcept {
    if (error == ERROR_SUCCESS) return {};
    for (const Row& row : rows)
        if (row.error == error && row.action.value_or(action) == action) return {row.status, row.message};
    switch (action) {
        case FileAction::Read:
            return fileUnreadable;
        case FileAction::Write:
            return {STG_E_WRITEFAULT, FileMessage::WriteError};
        case FileAction::Create:
            return {HRESULT_FROM_WIN32(error), FileMessage::CannotBeCreated};
        default:
            return {HRESULT_FROM_WIN32(error), FileMessage::Unknown};
    }
}

std::u16string TextOf(const FileOutcome& outcome, std::u16string_view name) {
    return outcome.text ? WithName(outcome.text, name) : NamedMessage(static_cast<UINT>(outcome.message), name);
}

}  // namespace mova
