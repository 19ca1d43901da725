// A property set from JScript, and what a script sees of a refusal.
var properties = new ActiveXObject("movaSystem.PropertySet");
properties.SetProperty("Server", "gis.example");
properties.SetProperty("Encrypt", true);
WScript.Echo(properties.GetCount() + " " + properties.GetProperty("SERVER") + " " + properties.GetProperty("encrypt"));
var log = new ActiveXObject("movaSystem.MessageLogger");
log.Threshold = 0;
log.Log(0, "script", "text");
WScript.Echo(log.Count + " " + log.Threshold);
try {
    properties.GetProperty("Port");
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description);
}
try {
    log.Capacity = 0;
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description);
}

// Prints:
// 2 gis.example true
// 1 0
// 80004005 No property is named "Port".
// 80070057 The capacity must be from 1 to 1,000,000 messages.
