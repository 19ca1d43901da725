#pragma once

#include "kvcore/Platform.h"

namespace mova {

/// The texts about files in the library's string table.
enum class FileMessage : UINT {
    None = 0,
    AccessDenied = 1016,
    NotFound = 1017,
    CannotBeCreated = 1018,
    InvalidSeek = 1019,
    ReadError = 1020,
    WriteError = 1021,
    NotOpened = 1022,
    AlreadyExists = 1023,
    DiskFull = 1024,
    Unknown = 1025,
};

/// How an operation on a file went: well, or with a status and a text that is yet to receive the file's name.
struct [[nodiscard]] FileOutcome {
    HRESULT status = S_OK;
    FileMessage message = FileMessage::None;
    const char16_t* text = nullptr;  ///< in place of a message of the table

    bool Failed() const noexcept { return FAILED(status); }
};

/// What is done to a file when the system refuses it.
enum class FileAction { Open, Create, Read, Write };

/// What an error of the system means to whoever did that to a file.
FileOutcome OutcomeOf(DWORD error, FileAction action) noexcept;

/// The text of a failure with the file's name. @throw std::bad_alloc
std::u16string TextOf(const FileOutcome& outcome, std::u16string_view name);

inline constexpr FileOutcome fileNotOpened{STG_E_INVALIDHANDLE, FileMessage::NotOpened};
inline constexpr FileOutcome fileSeekRefused{STG_E_INVALIDFUNCTION, FileMessage::InvalidSeek};
inline constexpr FileOutcome fileNotWritable{STG_E_ACCESSDENIED, FileMessage::AccessDenied};
inline constexpr FileOutcome fileFull{STG_E_MEDIUMFULL, FileMessage::DiskFull};
inline constexpr FileOutcome fileUnreadable{STG_E_READFAULT, FileMessage::ReadError};

}  // namespace mova
