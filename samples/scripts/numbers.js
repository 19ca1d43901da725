// Numbers, times and lengths of time from JScript.
var format = new ActiveXObject("movaSystem.NumericFormat");
format.RoundingValue = 2;
format.ZeroPad = true;
format.UseSeparator = true;
format.Suffix = "km";
WScript.Echo(format.ValueToString(1234567.5));
WScript.Echo(format.StringToValue(format.ValueToString(-0.125)));

var time = new ActiveXObject("movaSystem.Time");
time.Year = 2024;
time.Month = 1;
time.Day = 31;
time.AddMonths(1);
WScript.Echo(time.QueryTimeString(0) + " " + time.DayOfWeek);
var other = new ActiveXObject("movaSystem.Time");
other.Year = 2024;
other.Month = 3;
other.Day = 1;
WScript.Echo(other.QueryDifference(time).QueryDurationString());
var duration = new ActiveXObject("movaSystem.TimeDuration");
duration.SetFromDurationString("P1DT12H");
duration.Multiply(3);
WScript.Echo(duration.Days + " " + duration.Hours);
try {
    time.Month = 13;
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description);
}

// Prints:
// 1,234,567.50 km
// -0.13
// 2024/02/29 00:00:00.0 4
// P1DT0H0M0S
// 4 12
// 80070057 There is no such date or time of day.
