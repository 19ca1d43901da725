// JSON from JScript, token by token: the sum of an array's numbers, and a member by its name.
var reader = new ActiveXObject("movaSystem.JSONReader");
reader.ReadFromString('{"depth":12.5,"felt":[1,2,3],"place":null}');
reader.ReadNext();
WScript.Echo(reader.FindProperty("felt") + " " + reader.IsStartOfArray());
var sum = 0;
for (reader.ReadNext(); !reader.IsEndOfArray(); reader.ReadNext()) sum += reader.GetDouble(false);
WScript.Echo(sum);
reader.ReadFromString('{"depth":12.5}');
reader.ReadNext();
WScript.Echo(reader.FindProperty("depth") + " " + reader.ReadDouble());
try {
    reader.ReadFromString('{"depth":12.5 "felt":[]}');
    for (var i = 0; i < 5; ++i) reader.ReadNext();
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description);
}

// Prints:
// true true
// 6
// true 12.5
// 8000ffff Unexpected single or double quote; state : inPropertyValue; buffer : 5 "felt":[
