#include "provingground/OutputFile.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace ond::provingground {

void writeFile(const std::string& path, const std::string& bytes) {
    const std::string aside = path + ".part";
    std::ofstream file(aside, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    std::error_code error;
    if (file) std::filesystem::rename(aside, path, error);
    if (file && !error) return;
    std::error_code ignored;
    std::filesystem::remove(aside, ignored);
    throw std::runtime_error(path + ": cannot be written; is the folder there, and is there room?");
}

}  // namespace ond::provingground
