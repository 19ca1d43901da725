// The command-line client: a user of the library like any other.
#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "kvcore/Utf.h"
#include "tools/mova/Client.h"

namespace {

/// Tells of objects that a command left alive, where the server keeps count.
void ReportLeaks() {
    if (mova::tool::ServerIsIdle()) return;
    const std::string alive = mova::tool::AliveObjects();
    if (!alive.empty()) std::fprintf(stderr, "mova: still alive:\n%s", alive.c_str());
}

}  // namespace

int wmain(int count, wchar_t** values) {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    if (FAILED(CoInitialize(nullptr))) return 2;
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i) words.push_back(kv::Utf8(kv::Narrow16(values[i])));
    const int status = mova::tool::RunCommand(words, stderr);
    ReportLeaks();
    CoUninitialize();
    return status;
}
