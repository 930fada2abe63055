// Runs every file of the given folders, or the given files, through the fuzz target that this is linked with.
//
// Fails if there is nothing to replay. A finding ends the process; the file it happened in is named before.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

namespace {

bool replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    // Said before the run, so that the name is there when the run ends the process.
    std::printf("%s, %zu bytes\n", file.filename().c_str(), text.size());
    std::fflush(stdout);
    // A block of exactly this size, so that a memory checker sees a read behind the end.
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        std::error_code error;
        if (!std::filesystem::is_directory(argv[i], error)) {
            files.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "nothing to replay\n");
        return 1;
    }
    std::size_t replayed = 0;
    for (const auto& file : files) replayed += replay(file) ? 1 : 0;
    std::printf("%zu of %zu cases replayed\n", replayed, files.size());
    return replayed == files.size() ? 0 : 1;
}
