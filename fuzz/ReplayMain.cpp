// The plain driver a fuzz target is linked with in the normal build: it runs the target on
// every file of the folders (and files) it is given, so saved crashers and the seed corpus are
// checked by every test run without a fuzzing compiler. A crash fails the test by itself.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const fs::path p(argv[i]);
        if (fs::is_directory(p)) {
            for (const auto &entry : fs::recursive_directory_iterator(p))
                if (entry.is_regular_file() && entry.path().filename().string()[0] != '.')
                    inputs.push_back(entry.path());
        } else if (fs::is_regular_file(p)) {
            inputs.push_back(p);
        } else {
            std::fprintf(stderr, "%s: no such file or folder\n", argv[i]);
            return 2;
        }
    }
    for (const fs::path &p : inputs) {
        std::ifstream in(p, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
