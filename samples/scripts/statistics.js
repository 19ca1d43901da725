// Statistics and every classifier from JScript.
var statistics = new ActiveXObject("movaSystem.BaseStatistics");
statistics.AddValue(1);
statistics.AddWeightedValue(4, 2);
WScript.Echo(statistics.TotalWeight + " " + statistics.Maximum + " " + statistics.Mean);

// A histogram is two arrays of automation, which JScript has none of: what can be asked and set without one.
function show(classifier) {
    classifier.Classify(3);
    WScript.Echo(classifier.MethodName + " " + classifier.ClassID.Compare(classifier.ClassID));
}
show(new ActiveXObject("movaSystem.NaturalBreaks"));
show(new ActiveXObject("movaSystem.Quantile"));
show(new ActiveXObject("movaSystem.EqualInterval"));
show(new ActiveXObject("movaSystem.GeometricalInterval"));
var intervals = new ActiveXObject("movaSystem.DefinedInterval");
intervals.IntervalSize = 10;
show(intervals);
var deviations = new ActiveXObject("movaSystem.StandardDeviation");
deviations.Mean = 9;
deviations.StandardDev = 10;
show(deviations);
try {
    intervals.IntervalSize = 0;
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + intervals.IntervalSize);
}

// Prints:
// 3 4 3
// Natural Breaks (Jenks) true
// Quantile true
// Equal Interval true
// Geometrical Interval true
// Defined Interval true
// Standard Deviation true
// 80070057 10
