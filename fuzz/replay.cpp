// Replays saved inputs through a fuzz target's entry point, without a
// fuzzing engine: the same target source linked with this main() becomes an
// ordinary test program, so the regression inputs and the seed corpora run
// in every `make test` and `make check`, built with the usual compiler.
//
// Arguments are files or folders (every regular file in a folder, in name
// order); a folder that does not exist is skipped, since a target without
// regressions has no folder. Fails when nothing at all was replayed, which
// means the test is pointed at the wrong place.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsIn(const fs::path& place)
{
    std::error_code error;
    std::vector<fs::path> found;
    if (fs::is_regular_file(place, error)) {
        found.push_back(place);
    } else if (fs::is_directory(place, error)) {
        for (const auto& entry : fs::directory_iterator(place, error))
            if (entry.is_regular_file(error))
                found.push_back(entry.path());
        std::sort(found.begin(), found.end());
    }
    return found;
}

bool replay(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
        return false;
    }
    // Exactly the file's size on the heap, so that a sanitizer sees any read
    // past the end of the input.
    const std::vector<char> content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<uint8_t> data(content.begin(), content.end());
    // Named first, so that a crash says which input it was.
    std::fprintf(stderr, "replay: %s\n", file.c_str());
    LLVMFuzzerTestOneInput(data.data(), data.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& file : inputsIn(argv[i])) {
            if (!replay(file))
                return 1;
            ++replayed;
        }
    }
    std::fprintf(stderr, "replay: %zu inputs\n", replayed);
    return replayed != 0 ? 0 : 1;
}
