// XML from JScript: a document is written and read, names and types are looked up, and objects become documents.
var stream = new ActiveXObject("movaSystem.XMLStream");
var writer = new ActiveXObject("movaSystem.XMLWriter");
var attributes = new ActiveXObject("movaSystem.XMLAttributes");
var namespaces = new ActiveXObject("movaSystem.XMLNamespaces");
attributes.AddAttribute("", "id", "7");
namespaces.AddNamespace("q", "urn:quakes");
writer.OutputStream = stream;
writer.StartElement("event", "urn:quakes", attributes, namespaces, false);
writer.WriteText("5 & more");
writer.EndElement();
WScript.Echo(stream.SaveToString());

var reader = new ActiveXObject("movaSystem.XMLReader");
var source = new ActiveXObject("movaSystem.XMLStream");
source.LoadFromString(stream.SaveToString());
reader.InputStream = source;
reader.Read();
WScript.Echo(reader.LocalName + " " + reader.NamespaceURI + " " + reader.GetAttribute("", "id"));
WScript.Echo(reader.ReadText());

var names = new ActiveXObject("movaSystem.XmlNamespaceUtils");
WScript.Echo(names.EncodeName("2 depths") + " " + names.DecodeName(names.EncodeName("2 depths")));
var types = new ActiveXObject("movaSystem.XMLTypeMapper");
WScript.Echo(types.DoubleToText(0.5) + " " + types.TextToBoolean("true"));

var properties = new ActiveXObject("movaSystem.PropertySet");
properties.SetProperty("Server", "gis.example");
var flags = new ActiveXObject("movaSystem.XMLFlags");
flags.SharedObjects = false;
var documents = new ActiveXObject("movaSystem.XMLSerializerAlt");
documents.Flags = flags;
var copy = documents.LoadFromString(documents.SaveToString(properties, "Connection"));
WScript.Echo(copy.GetProperty("server") + " " + copy.IsEqual(properties));

var kept = new ActiveXObject("movaSystem.XMLPersistedObject");
kept.Object = properties;
WScript.Echo(kept.Object.GetProperty("server"));

var serializer = new ActiveXObject("movaSystem.XMLSerializer");
var text = new ActiveXObject("movaSystem.XMLTextReader");
text.Text = kept.XML;
WScript.Echo(serializer.ReadObject(text).GetCount());
try {
    kept.XML = "<a><b></a>";
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + kept.Object.GetCount());
}

// Prints:
// <q:event id='7' xmlns:q='urn:quakes'>5 &amp; more</q:event>
// event urn:quakes 7
// 5 & more
// _x0032__x0020_depths 2 depths
// 0.5 true
// gis.example true
// gis.example
// 1
// 80004005 1
