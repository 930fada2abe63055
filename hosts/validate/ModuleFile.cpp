#include "validate/ModuleFile.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace ond::validate {

namespace {

/// A file of 64 bits, read with every offset checked.
class Elf {
  public:
    explicit Elf(const std::string& path) {
        std::error_code failed;
        const std::uintmax_t size = std::filesystem::file_size(path, failed);
        std::ifstream file(path, std::ios::binary);
        if (failed || !file) return;
        m_bytes.resize(static_cast<std::size_t>(size));
        file.read(m_bytes.data(), static_cast<std::streamsize>(size));
        m_bytes.resize(static_cast<std::size_t>(file.gcount()));
    }
    /// @return false if the record does not lie within the file
    template <typename Record>
    bool read(std::uint64_t offset, Record& out) const {
        if (offset > m_bytes.size() || m_bytes.size() - offset < sizeof(Record)) return false;
        std::memcpy(&out, m_bytes.data() + offset, sizeof(Record));
        return true;
    }
    [[nodiscard]] std::string text(std::uint64_t offset) const {
        std::string out;
        while (offset < m_bytes.size() && m_bytes[offset] != '\0') out += m_bytes[offset++];
        return out;
    }

  private:
    std::vector<char> m_bytes;
};

#if defined(__x86_64__)
constexpr unsigned kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kMachine = EM_AARCH64;
#else
constexpr unsigned kMachine = EM_NONE;
#endif

/// Of what any number of libraries may define, the names of C are still meant for others.
bool mayBeRepeated(const Elf64_Sym& symbol, const std::string& name) {
    return ELF64_ST_BIND(symbol.st_info) != STB_GLOBAL && name.rfind("_Z", 0) == 0;
}

bool isExported(const Elf64_Sym& symbol) {
    const unsigned type = ELF64_ST_TYPE(symbol.st_info);
    const unsigned visibility = ELF64_ST_VISIBILITY(symbol.st_other);
    return symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL &&
           (visibility == STV_DEFAULT || visibility == STV_PROTECTED) &&
           (type == STT_FUNC || type == STT_OBJECT || type == STT_TLS || type == STT_GNU_IFUNC);
}

}  // namespace

bool isSharedLibrary(const std::string& path) {
    const Elf elf(path);
    Elf64_Ehdr header;
    return elf.read(0, header) && std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_type == ET_DYN &&
           header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_ident[EI_DATA] == ELFDATA2LSB &&
           (kMachine == EM_NONE || header.e_machine == kMachine);
}

std::vector<std::string> exportedNames(const std::string& path) {
    const Elf elf(path);
    Elf64_Ehdr header;
    if (!elf.read(0, header) || header.e_ident[EI_CLASS] != ELFCLASS64) return {};
    std::vector<std::string> names;
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        Elf64_Shdr section;
        Elf64_Shdr texts;
        if (!elf.read(header.e_shoff + std::uint64_t{i} * header.e_shentsize, section) ||
            section.sh_type != SHT_DYNSYM || section.sh_entsize < sizeof(Elf64_Sym))
            continue;
        if (!elf.read(header.e_shoff + std::uint64_t{section.sh_link} * header.e_shentsize, texts)) continue;
        for (std::uint64_t at = 0; at + sizeof(Elf64_Sym) <= section.sh_size; at += section.sh_entsize) {
            Elf64_Sym symbol;
            if (!elf.read(section.sh_offset + at, symbol) || !isExported(symbol)) continue;
            const std::string name = elf.text(texts.sh_offset + symbol.st_name);
            if (!mayBeRepeated(symbol, name)) names.push_back(name);
        }
    }
    return names;
}

ModuleFile::ModuleFile(Check& check) : m_check(check), m_library(nullptr) {
    // A bare name would be looked for on the library path.
    const std::string path = std::filesystem::absolute(check.modulePath).string();
    check.inside("loading the module", [&] { m_library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); });
    if (m_library != nullptr) return;
    const char* why = dlerror();
    check.give("loads", std::string("the module cannot be loaded: ") + (why != nullptr ? why : "no reason is told") +
                            "; it needs nothing but the system's own libraries and those that it brings along");
}

void ModuleFile::unload() {
    m_check.inside("unloading the module", [&] { dlclose(m_library); });
    m_library = nullptr;
}

bool ModuleFile::has(const char* function) const { return dlsym(m_library, function) != nullptr; }

void* ModuleFile::address(const char* function) const {
    void* found = dlsym(m_library, function);
    if (found == nullptr)
        m_check.give("exports-two-functions", std::string("the module exports no ") + function +
                                                  "; it exports getVersion and getPlugin with C linkage");
    return found;
}

std::uint32_t ModuleFile::version() const {
    auto* const function = reinterpret_cast<std::uint32_t (*)()>(address("getVersion"));
    std::uint32_t answer = 0;
    m_check.inside("getVersion()", [&] { answer = function(); });
    return answer;
}

ovs::CCameraPlugin* ModuleFile::plugin(std::uint32_t index) const {
    auto* const function = reinterpret_cast<ovs::CCameraPlugin* (*)(std::uint32_t)>(address("getPlugin"));
    ovs::CCameraPlugin* answer = nullptr;
    m_check.inside("getPlugin(" + std::to_string(index) + ")", [&] { answer = function(index); });
    return answer;
}

ovs::CCameraPlugin& ModuleFile::firstPlugin() const {
    // Of another version nothing else is known, not even where the operations of a table are.
    if (const std::uint32_t answer = version(); answer != 250)
        m_check.give("version", "getVersion() answered " + std::to_string(answer) +
                                    "; the version of this contract is 250, and of another one no table is known");
    ovs::CCameraPlugin* first = plugin(0);
    if (first == nullptr)
        m_check.give("first-plugin", "getPlugin(0) answered null; a module has a plug-in, and 0 is the first");
    return *first;
}

}  // namespace ond::validate
