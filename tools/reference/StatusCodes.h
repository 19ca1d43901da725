// The status codes that operations answer, with what they mean everywhere.
#pragma once

#include <cstdint>

namespace mova::reference {

inline constexpr struct StatusCode {
    const char* name;
    std::uint32_t value;
    const char* meaning;
} statusCodes[] = {
    {"S_OK", 0x00000000,
     "The operation did what it says. Every operation answers it where its text names no other code."},
    {"S_FALSE", 0x00000001, "The operation succeeded, and has nothing to hand out or to do."},
    {"E_INVALIDARG", 0x80070057, "An argument is none that the operation takes. Nothing has changed."},
    {"E_POINTER", 0x80004003, "A pointer that the operation needs is null: an answer's, or an object's."},
    {"E_OUTOFMEMORY", 0x8007000E,
     "There is not enough memory. Every operation that needs memory can answer it; what the object held, it still "
     "holds."},
    {"E_UNEXPECTED", 0x8000FFFF, "The object is not in a state for this operation."},
    {"E_FAIL", 0x80004005, "The operation could not do what it says; the error information's text tells why."},
    {"E_NOINTERFACE", 0x80004002, "The object does not offer the interface."},
    {"E_ACCESSDENIED", 0x80070005, "The system refuses access."},
    {"CLASS_E_NOAGGREGATION", 0x80040110,
     "The class cannot be aggregated, or was asked for another interface than IUnknown when it was."},
    {"CLASS_E_CLASSNOTAVAILABLE", 0x80040111, "The library has no such class."},
    {"REGDB_E_CLASSNOTREG", 0x80040154, "A class is not registered, so that no object of it can be created."},
    {"SELFREG_E_TYPELIB", 0x80040200, "The type library cannot be registered, or its registration not be removed."},
    {"SELFREG_E_CLASS", 0x80040201, "The registration of a class cannot be removed."},
    {"DISP_E_BADVARTYPE", 0x80020008, "A VARIANT is of a type that cannot be handled."},
    {"DISP_E_MEMBERNOTFOUND", 0x80020003, "A script calls a member that the object does not have."},
    {"DISP_E_UNKNOWNNAME", 0x80020006, "A script names a member that the object does not have."},
    {"DISP_E_BADINDEX", 0x8002000B, "An object has one type information only, with the index 0."},
    {"0x80043066", 0x80043066, "An option has no name to be written in XML, or a name that is read is no option's."},
    {"DB_E_BADRECORDNUM", 0x80040E42, "There is no error record with that number."},
    {"STG_E_INVALIDFUNCTION", 0x80030001, "The stream cannot do this."},
    {"STG_E_FILENOTFOUND", 0x80030002, "There is no such file."},
    {"STG_E_PATHNOTFOUND", 0x80030003, "There is no such folder."},
    {"STG_E_TOOMANYOPENFILES", 0x80030004, "The system cannot open any more files."},
    {"STG_E_ACCESSDENIED", 0x80030005, "The file cannot be opened in that way."},
    {"STG_E_INVALIDHANDLE", 0x80030006, "The stream is not open."},
    {"STG_E_INVALIDPOINTER", 0x80030009, "A pointer that a stream's operation needs is null."},
    {"STG_E_DISKISWRITEPROTECTED", 0x80030013, "The disk cannot be written to."},
    {"STG_E_SEEKERROR", 0x80030019, "A part of a combined stream has grown beyond the length that the whole can have."},
    {"STG_E_WRITEFAULT", 0x8003001D, "Writing to the file failed."},
    {"STG_E_READFAULT", 0x8003001E, "Reading from the file failed."},
    {"STG_E_SHAREVIOLATION", 0x80030020, "Somebody else has the file open in a way that excludes this one."},
    {"STG_E_LOCKVIOLATION", 0x80030021, "Somebody else has locked that part of the file."},
    {"STG_E_FILEALREADYEXISTS", 0x80030050, "The file exists, and a new one was to be made."},
    {"STG_E_MEDIUMFULL", 0x80030070, "There is no room left."},
    {"STG_E_INVALIDHEADER", 0x800300FB, "The file is none of this kind."},
    {"STG_E_INVALIDNAME", 0x800300FC, "The name is none that a file can have."},
    {"STG_E_INUSE", 0x80030100, "The file is in use."},
    {"STG_E_OLDDLL", 0x80030105, "The content was written by a newer version than this one."},
    {"STG_E_DOCFILECORRUPT", 0x80030109, "The content is damaged."},
};

}  // namespace mova::reference
