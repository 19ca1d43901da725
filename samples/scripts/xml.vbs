' XML from VBScript: a document is written and read, and objects become documents.
Option Explicit
Dim writer, stream, attributes, reader, set_, serializer, text, copy
Set stream = CreateObject("movaSystem.XMLStream")
Set writer = CreateObject("movaSystem.XMLWriter")
writer.OutputStream = stream
Set attributes = CreateObject("movaSystem.XMLAttributes")
attributes.AddAttribute "", "id", "a<b"
writer.StartElement "event", "", attributes, Nothing, False
writer.WriteText "5 & more"
writer.EndElement
text = stream.SaveToString
WScript.Echo text

Set reader = CreateObject("movaSystem.XMLTextReader")
reader.Text = text
While reader.Read
    WScript.Echo reader.NodeType & " " & reader.LocalName & " " & reader.Value & " " & reader.GetAttribute("", "id")
Wend

Set set_ = CreateObject("movaSystem.PropertySet")
set_.SetProperty "Server", "gis.example"
Set serializer = CreateObject("movaSystem.XMLSerializerAlt")
Set copy = serializer.LoadFromString(serializer.SaveToString(set_, "Connection"))
WScript.Echo copy.GetProperty("server") & " " & copy.IsEqual(set_)

On Error Resume Next
reader.Text = "<a><b></a>"
reader.Read
reader.Read
reader.Read
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description

' Prints:
' <event id='a&lt;b'>5 &amp; more</event>
' 1 event  a<b
' 3  5 & more 
' 2 event  
' gis.example True
' 80004005 movaSystem.XMLTextReader: Xml Parsing failed.
' Reason:expected end of tag 'b' (column 9)
' Linepos:1
' Source:text.
