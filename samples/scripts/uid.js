// An identifier from another one in JScript.
var one = new ActiveXObject("movaSystem.UID");
var other = new ActiveXObject("movaSystem.UID");
one.Value = "00112233-4455-6677-8899-aabbccddeeff:9";
other.Value = one;
WScript.Echo(other.Value + " " + other.SubType + " " + one.Compare(other));
try {
    other.Value = new ActiveXObject("movaSystem.PropertySet");
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description + " " + other.SubType);
}

// Prints:
// {00112233-4455-6677-8899-AABBCCDDEEFF} 9 true
// 80070057 The value is neither a text nor an identifier object. 9
