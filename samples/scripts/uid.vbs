' Identifiers from VBScript.
Option Explicit
Dim one, other, text
Set one = CreateObject("movaSystem.UID")
Set other = CreateObject("movaSystem.UID")
WScript.Echo IsEmpty(one.Value) & " " & one.SubType
text = "movaSystem.UID:3"
one.Value = text
other.Value = one.Value
WScript.Echo one.Value & " " & one.SubType & " " & one.Compare(other)
other.SubType = 3
WScript.Echo CStr(one.Compare(other))
one.Generate
WScript.Echo CStr(one.Compare(other))
On Error Resume Next
one.Value = "movaSystem.Nonsense"
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description

' Prints:
' True 0
' {78FF7FA1-FB2F-11D1-94A2-080009EEBECB} 3 False
' True
' False
' 80070057 movaSystem.UID: The text is no GUID, and no class is known by it.
