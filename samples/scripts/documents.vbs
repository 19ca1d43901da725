' Objects as XML from VBScript, names and types, an array and numbers of JSON, messages, and files that are read again.
Option Explicit
Dim names, types, namespaces, flags, serializer, reader, source, kept, sets, list, log, objects, errors
Set names = CreateObject("movaSystem.XmlNamespaceUtils")
WScript.Echo names.EncodeName("2 depths") & " " & names.IsName("2 depths")
Set types = CreateObject("movaSystem.XMLTypeMapper")
WScript.Echo types.DoubleToText(0.5) & " " & types.TextToBoolean("true")
Set namespaces = CreateObject("movaSystem.XMLNamespaces")
namespaces.AddNamespace "q", "urn:quakes"
WScript.Echo namespaces.Count & " " & namespaces.GetURI(0)

Set sets = CreateObject("movaSystem.PropertySetArray")
sets.Add CreateObject("movaSystem.PropertySet")
sets.Element(0).SetProperty "Server", "gis.example"
Set kept = CreateObject("movaSystem.XMLPersistedObject")
kept.Object = sets
WScript.Echo kept.Object.Element(0).GetProperty("server")

Set source = CreateObject("movaSystem.XMLStream")
source.LoadFromString kept.XML
Set reader = CreateObject("movaSystem.XMLReader")
reader.InputStream = source
Set flags = CreateObject("movaSystem.XMLFlags")
flags.UnknownAsNull = True
Set serializer = CreateObject("movaSystem.XMLSerializer")
serializer.Flags = flags
WScript.Echo serializer.ReadObject(reader).Count & " " & serializer.Flags.UnknownAsNull

Set list = CreateObject("movaSystem.JSONArray")
list.FromJSONString "[1,""two""]"
list.AddBoolean True
WScript.Echo list.GetCount & " " & list.ToJSONString(Nothing)

Dim tokens, sum
Set tokens = CreateObject("movaSystem.JSONReader")
tokens.ReadFromString "[1,2,3.5]"
tokens.ReadNext
Do Until tokens.IsEndOfArray
    sum = sum + tokens.GetDouble(False)
    tokens.ReadNext
Loop
WScript.Echo sum

Set log = CreateObject("movaSystem.MessageLogger")
log.Log 3, "sample", "text"
Set objects = CreateObject("movaSystem.ObjectStream")
objects.DocumentVersion = 7
Set errors = CreateObject("movaSystem.MOVAExtendedErrorInfo")
errors.Describe "no such quake", "sample"
WScript.Echo log.Count & " " & objects.DocumentVersion & " " & errors.Count

Dim files, path, file, buffered
Set files = CreateObject("Scripting.FileSystemObject")
path = files.BuildPath(files.GetSpecialFolder(2), files.GetTempName())
source.SaveToFile path
Set file = CreateObject("movaSystem.FileStream")
Set buffered = CreateObject("movaSystem.BufferedFileStream")
file.Open path, 0
buffered.Open path, 0
WScript.Echo file.IsOpen & " " & (buffered.Path = path)
file.Close
buffered.Close
files.DeleteFile path

On Error Resume Next
kept.XML = "<a><b></a>"
WScript.Echo Hex(Err.Number) & " " & kept.Object.Count

' Prints:
' _x0032__x0020_depths False
' 0.5 True
' 1 urn:quakes
' gis.example
' 1 True
' 3 [1,"two",true]
' 6.5
' 1 7 0
' True True
' 80004005 1
