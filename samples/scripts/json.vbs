' JSON from VBScript: a document is read, asked by name and path, changed and written; the same as property sets.
Option Explicit
Dim event_, reached, converter, set_, writer
Set event_ = CreateObject("movaSystem.JSONObject")
event_.FromJSONString "{""place"":{""name"":""Kyoto"",""depth"":10},""tags"":[""felt"",""minor""]}"
WScript.Echo event_.GetCount & " " & event_.MemberExists("place") & " " & event_.MemberExists("Place")
If event_.GetValueByPath("place/name", reached) Then WScript.Echo reached
event_.AddDouble "magnitude", 5.1
event_.RemoveMember "tags"
WScript.Echo event_.ToJSONString(Nothing)

Set set_ = CreateObject("movaSystem.PropertySet")
set_.SetProperty "Server", "gis.example"
Set converter = CreateObject("movaSystem.JSONConverter")
WScript.Echo converter.ToJSONString(set_, Nothing)

Set writer = CreateObject("movaSystem.JSONWriter")
writer.WriteToMemory
writer.StartArray ""
writer.WriteLongElement 1
writer.WriteStringElement "two"
writer.EndArray
WScript.Echo writer.GetText

On Error Resume Next
event_.FromJSONString "{""place"":"
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description

' Prints:
' 2 True False
' Kyoto
' {"place":{"name":"Kyoto","depth":10},"magnitude":5.1}
' {"type":"PropertySet","propertySetItems":{"Server":"gis.example"}}
' [1,"two"]
' 8000FFFF movaSystem.JSONReader: Unexpected end of file; state : inPropertyNameDelimiter; buffer : 
