' A property set from VBScript, and what a script sees of a refusal.
Option Explicit
Dim properties, names, values, copy, i
Set properties = CreateObject("movaSystem.PropertySet")
properties.SetProperty "Server", "gis.example"
properties.SetProperty "Port", 5151
properties.SetProperties Array("User", "SERVER"), Array("sa", "gis2.example")
WScript.Echo properties.GetCount & " " & properties.GetProperty("server") & " " & properties.GetProperty("PORT")
properties.GetAllProperties names, values
For i = 0 To UBound(names)
    WScript.Echo names(i) & "=" & values(i)
Next
properties.RemoveProperty "server"
values = properties.GetProperties(Array("user", "port"))
WScript.Echo properties.HasProperty("Server") & " " & values(0)

Dim member, members
Set member = CreateObject("movaSystem.PropertySetProperty")
member.Key = "Key"
member.Value = 2.5
Set members = CreateObject("movaSystem.PropertySetPropertyArray")
members.Add member
WScript.Echo members.Count & " " & members.Element(0).Key & " " & members.Element(0).Value

On Error Resume Next
properties.GetProperty "Server"
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description
Err.Clear
properties.SetProperties 1, 2
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description

' Prints:
' 3 gis2.example 5151
' Server=gis2.example
' Port=5151
' User=sa
' False sa
' 1 Key 2.5
' 80004005 movaSystem.PropertySet: No property is named "Server".
' 80070057 movaSystem.PropertySet: Names and values must be two arrays.
