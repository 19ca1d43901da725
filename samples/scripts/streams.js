// The stream classes through automation: files, numbers with the highest byte first, streams combined.
var files = new ActiveXObject("Scripting.FileSystemObject");
var path = files.BuildPath(files.GetSpecialFolder(2), files.GetTempName());

function refusal(operation) {
    try {
        operation();
        return "not refused";
    } catch (error) {
        return ((error.number >>> 0).toString(16)) + " " + error.description.replace(/.*failed\. /, "");
    }
}

var file = new ActiveXObject("movaSystem.BufferedFileStream");
file.BufferSize = 10;
file.Open(path, 2);
WScript.Echo(file.IsOpen + " " + (file.Path == path));

var numbers = new ActiveXObject("movaSystem.ByteSwapStreamIO");
numbers.Stream = file;
numbers.WriteInt32(66051);
file.Close();
WScript.Echo(file.BufferSize, files.GetFile(path).Size);
WScript.Echo("" + file.IsOpen);
WScript.Echo(refusal(function () { file.Open(path, 2); }));

var plain = new ActiveXObject("movaSystem.FileStream");
plain.Open(path, 0);
numbers.Stream = plain;
WScript.Echo(numbers.ReadInt32());

var combined = new ActiveXObject("movaSystem.CombinedStream");
combined.Add(plain);
WScript.Echo(combined.Count);
combined.RemoveAll();
plain.Close();
WScript.Echo(refusal(function () { plain.Close(); }));
numbers.Stream = null;
files.DeleteFile(path);

// Prints:
// true true
// 10 4
// false
// 80030050 File already exist.
// 66051
// 1
// 80030006 File not opened.
