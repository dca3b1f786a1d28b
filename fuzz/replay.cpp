// Runs a fuzz entry over files and folders of files given as arguments: the seeds, as a test,
// without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void run_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    // An exact heap copy, so that a read past the end is seen by the sanitizer.
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

} // namespace

int main(int argc, char** argv) {
    std::size_t files = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            run_file(argv[i]);
            ++files;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            run_file(entry.path());
            ++files;
        }
    }
    std::printf("replayed %zu seeds\n", files);
    return files == 0 ? 1 : 0;
}
