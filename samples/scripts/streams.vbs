' The stream classes from VBScript: a compressed file, a file without a buffer, memory, values, and copies of objects.
Option Explicit
Dim files, path, compressed, numbers, file, memory, values, combined, properties, copy
Set files = CreateObject("Scripting.FileSystemObject")
path = files.BuildPath(files.GetSpecialFolder(2), files.GetTempName())

Set compressed = CreateObject("movaSystem.CompressedFileStream")
compressed.CompressionLevel = 9
compressed.Open path, 3
Set numbers = CreateObject("movaSystem.ByteSwapStreamIO")
numbers.Stream = compressed
numbers.WriteInt32 66051
compressed.Close
compressed.Open path, 0
WScript.Echo numbers.ReadInt32() & " " & compressed.IsOpen
numbers.Stream = Nothing
compressed.Close

Set file = CreateObject("movaSystem.UnbufferedFileStream")
file.Open path, 3
Set memory = CreateObject("movaSystem.MemoryBlobStream")
Set values = CreateObject("movaSystem.VariantStreamIO")
values.Stream = memory
values.Write "text"
values.Write 2.5
Set combined = CreateObject("movaSystem.CombinedStream")
combined.Add file
combined.Add memory
WScript.Echo combined.Count & " " & combined.Stream(1).Size & " " & file.IsOpen
combined.RemoveAll
file.Close
files.DeleteFile path

Set properties = CreateObject("movaSystem.PropertySet")
properties.SetProperty "Server", "gis.example"
Set copy = CreateObject("movaSystem.ObjectCopy").Copy(properties)
copy.SetProperty "Port", 5151
WScript.Echo copy.GetCount() & " " & properties.GetCount()

On Error Resume Next
compressed.Open path, 0
WScript.Echo Hex(Err.Number) & " " & compressed.IsOpen

' Prints:
' 66051 True
' 2 24 True
' 2 1
' 80030002 False
