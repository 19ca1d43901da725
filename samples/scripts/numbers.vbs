' Numbers, times and lengths of time from VBScript.
Option Explicit
Dim format, time_, other, duration, texts
Set format = CreateObject("movaSystem.NumericFormat")
format.RoundingValue = 2
format.ZeroPad = True
format.UseSeparator = True
format.Suffix = "km"
WScript.Echo format.ValueToString(1234567.5) & " " & format.Clone().RoundingValue

Set time_ = CreateObject("movaSystem.Time")
time_.Year = 2024
time_.Month = 1
time_.Day = 31
time_.AddMonths 1
WScript.Echo time_.QueryTimeString(10) & " " & time_.DayOfWeek
Set duration = CreateObject("movaSystem.TimeDuration")
duration.SetFromDurationString "P1DT12H"
duration.Multiply 3
Set other = time_.Clone()
other.AddDuration duration
WScript.Echo other.QueryDifference(time_).QueryDurationString() & " " & other.Compare(time_)

Set texts = CreateObject("movaSystem.StrArray")
texts.Split "felt,minor,deep", ","
texts.Remove 1
WScript.Echo texts.Count & " " & texts.Join(" and ") & " " & texts.Find("DEEP", True)

On Error Resume Next
time_.Month = 13
WScript.Echo Hex(Err.Number) & " " & Err.Description & " " & time_.Month

' Prints:
' 1,234,567.50 km 2
' 2024-02-29 4
' P4DT12H0M0S 1
' 2 felt and deep 1
' 80070057 There is no such date or time of day. 2
