' Every classifier from VBScript: what was counted is divided into three classes, and what a method further takes.
Option Explicit
Dim name, classifier
For Each name In Array("NaturalBreaks", "Quantile", "EqualInterval", "GeometricalInterval", "DefinedInterval", "StandardDeviation")
    Set classifier = CreateObject("movaSystem." & name)
    classifier.SetHistogramData Array(1, 2, 3, 10, 11, 30), Array(1, 2, 1, 1, 1, 1)
    If name = "DefinedInterval" Then classifier.IntervalSize = 10
    If name = "StandardDeviation" Then
        classifier.Mean = 9
        classifier.StandardDev = 10
    End If
    classifier.Classify CLng(3)
    WScript.Echo classifier.MethodName & " " & IsArray(classifier.ClassBreaks)
Next

On Error Resume Next
Set classifier = CreateObject("movaSystem.DefinedInterval")
classifier.IntervalSize = 0
WScript.Echo Hex(Err.Number) & " " & classifier.IntervalSize

' Prints:
' Natural Breaks (Jenks) True
' Quantile True
' Equal Interval True
' Geometrical Interval True
' Defined Interval True
' Standard Deviation True
' 80070057 1
