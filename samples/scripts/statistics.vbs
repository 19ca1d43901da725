' Statistics of numbers from VBScript, and what a classifier says of itself and of arrays that do not fit together.
Option Explicit
Dim statistics, classifier
Set statistics = CreateObject("movaSystem.BaseStatistics")
statistics.AddValues Array(1, 2, 3, 10, 11, 12.5)
statistics.AddWeightedValue 30, 2
WScript.Echo statistics.Sum & " " & statistics.Minimum & " " & statistics.Maximum & " " & statistics.Mean
Set classifier = CreateObject("movaSystem.NaturalBreaks")
classifier.SetHistogramData Array(1, 2, 8, 9), Array(1, 1, 1, 1)
classifier.Classify CLng(2)
WScript.Echo classifier.MethodName & " " & IsArray(classifier.ClassBreaks)
On Error Resume Next
classifier.SetHistogramData Array(1, 2), Array(1)
classifier.Classify CLng(2)
WScript.Echo Hex(Err.Number) & " " & Err.Source & ": " & Err.Description

' Prints:
' 99.5 1 30 12.4375
' Natural Breaks (Jenks) True
' 80070057 movaSystem.NaturalBreaks: There must be as many frequencies as values.
