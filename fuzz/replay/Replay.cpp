// Runs a fuzz target over its corpus where there is no fuzzer: `fuzz-corpus-NAME FOLDER`.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: fuzz-corpus-NAME FOLDER\n", stderr), 2;
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(argv[1])) {
        std::printf("%s\n", file.path().c_str());
        std::fflush(stdout);  // names the input that ends the run
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    }
    return count > 0 ? 0 : 1;
}
