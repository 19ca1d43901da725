// Arrays of the library from JScript, copies of objects, values in memory, and files compressed and without a buffer.
var texts = new ActiveXObject("movaSystem.StrArray");
texts.Split("felt,minor,deep", ",");
texts.Remove(1);
WScript.Echo(texts.Count + " " + texts.Join(" and ") + " " + texts.Find("DEEP", true));

var member = new ActiveXObject("movaSystem.PropertySetProperty");
member.Key = "Depth";
member.Value = 2.5;
var members = new ActiveXObject("movaSystem.PropertySetPropertyArray");
members.Add(member);
WScript.Echo(members.Count + " " + members.Element(0).Key + " " + members.Element(0).Value);

var properties = new ActiveXObject("movaSystem.PropertySet");
properties.SetProperty("Server", "gis.example");
var copy = new ActiveXObject("movaSystem.ObjectCopy").Copy(properties);
var sets = new ActiveXObject("movaSystem.PropertySetArray");
sets.Add(properties);
sets.Insert(0, copy);
sets.Element(0).SetProperty("Port", 5151);
WScript.Echo(copy.GetCount() + " " + properties.GetCount() + " " + sets.Element(1).GetCount());

var objects = new ActiveXObject("movaSystem.ObjectStream");
objects.DocumentVersion = 7;
var errors = new ActiveXObject("movaSystem.MOVAExtendedErrorInfo");
errors.Describe("no such quake", "sample");
WScript.Echo(objects.DocumentVersion + " " + errors.Count);

var files = new ActiveXObject("Scripting.FileSystemObject");
var path = files.BuildPath(files.GetSpecialFolder(2), files.GetTempName());
var values = new ActiveXObject("movaSystem.VariantStreamIO");
var compressed = new ActiveXObject("movaSystem.CompressedFileStream");
compressed.Open(path, 3);
values.Stream = compressed;
values.Write("text");
compressed.Close();
compressed.Open(path, 0);
WScript.Echo(values.Read());
compressed.Close();
var memory = new ActiveXObject("movaSystem.MemoryBlobStream");
var file = new ActiveXObject("movaSystem.UnbufferedFileStream");
memory.LoadFromFile(path);
file.Open(path, 0);
values.Stream = memory;
WScript.Echo(file.IsOpen + " " + (file.Path == path));
file.Close();
files.DeleteFile(path);
try {
    file.Open(path, 0);
} catch (error) {
    WScript.Echo((error.number >>> 0).toString(16) + " " + file.IsOpen);
}

// Prints:
// 2 felt and deep 1
// 1 Depth 2.5
// 2 1 1
// 7 0
// text
// true true
// 80030002 false
