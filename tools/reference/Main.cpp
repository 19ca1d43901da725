// Writes the reference manual of the library beside it to standard output.
#include <fcntl.h>
#include <io.h>

#include <iostream>

#include "kvcore/Utf.h"
#include "tools/reference/Page.h"

int wmain(int count, wchar_t** values) {
    if (count != 2) {
        std::cerr << "usage: mova-reference LIBRARY\n";
        return 2;
    }
    _setmode(_fileno(stdout), _O_BINARY);
    if (FAILED(CoInitialize(nullptr))) return 1;
    int status = 0;
    try {
        mova::reference::WritePage(std::cout, mova::reference::ReadLibrary(kv::Narrow16(values[1])));
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        status = 1;
    }
    CoUninitialize();
    return status;
}
