// JSON documents from JScript: built, asked, listed, and written; values of the system to JSON and back.
var options = new ActiveXObject("movaSystem.PropertySet");  // none
var place = new ActiveXObject("movaSystem.JSONObject");
place.AddString("name", "Kyoto");
place.AddDouble("depth", 12.5);
var felt = place.CreateJSONArray("felt");
for (var i = 1; i <= 3; ++i) felt.AddLong(i * i);
WScript.Echo(place.ToJSONString(options));
WScript.Echo(place.GetCount() + " " + felt.GetCount() + " " + felt.GetValue(2));

var list = new ActiveXObject("movaSystem.JSONArray");
list.FromJSONString('[1,"two",null]');
list.AddBoolean(true);
list.RemoveAt(0);
WScript.Echo(list.ToJSONString(options) + " " + list.IsValueNull(1));

var properties = new ActiveXObject("movaSystem.PropertySet");
properties.SetProperty("Port", 5151);
var converter = new ActiveXObject("movaSystem.JSONConverter");
var text = converter.ToJSONString(properties, options);
WScript.Echo(text + " " + converter.FromJSONString(text, options).GetProperty("port"));

var writer = new ActiveXObject("movaSystem.JSONWriter");
writer.WriteToMemory();
writer.StartObject("");
writer.WriteDouble("depth", 12.5);
writer.EndObject();
WScript.Echo(writer.GetText());

try {
    list.FromJSONString("[1,");
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + error.description + " " + list.GetCount());
}

// Prints:
// {"name":"Kyoto","depth":12.5,"felt":[1,4,9]}
// 3 3 9
// ["two",null,true] true
// {"type":"PropertySet","propertySetItems":{"Port":5151}} 5151
// {"depth":12.5}
// 8000ffff Unexpected end of file; state : inArrayValueDelimiter; buffer :  0
