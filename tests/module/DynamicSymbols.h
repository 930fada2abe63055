// Reads what a shared object gives and needs from the dynamic section of its ELF file, without loading it.
#pragma once

#include <elf.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace module {

struct DynamicSymbols {
    std::set<std::string> exported;         ///< defined, global or weak, of default or protected visibility
    std::set<std::string> needed;           ///< undefined and not weak: the load fails without them
    std::set<std::string> neededIfThere;    ///< undefined and weak
    std::set<std::string> neededLibraries;  ///< file names of the libraries that are loaded with it
};

/// A file of this machine's ELF class (64 bit, its own byte order). Throws std::runtime_error where it is none.
class ElfFile {
  public:
    explicit ElfFile(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        const auto header = at<Elf64_Ehdr>(0);
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
            throw std::runtime_error(path + " is no 64 bit ELF file");
        for (std::size_t i = 0; i < header.e_shnum; ++i)
            sections.push_back(at<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr)));
    }

    DynamicSymbols dynamicSymbols() const {
        DynamicSymbols result;
        for (const Elf64_Shdr& section : sections) {
            if (section.sh_type == SHT_DYNSYM) addSymbols(section, result);
            if (section.sh_type == SHT_DYNAMIC) addLibraries(section, result);
        }
        return result;
    }

  private:
    template <typename Record>
    Record at(std::size_t offset) const {
        Record record;
        if (bytes.size() < sizeof record || offset > bytes.size() - sizeof record)
            throw std::runtime_error("the file ends early");
        std::memcpy(&record, bytes.data() + offset, sizeof record);
        return record;
    }

    std::string textAt(const Elf64_Shdr& strings, std::size_t offset) const {
        return std::string(bytes.data() + strings.sh_offset + offset);
    }

    void addSymbols(const Elf64_Shdr& section, DynamicSymbols& result) const {
        const Elf64_Shdr& strings = sections.at(section.sh_link);
        for (std::size_t i = 1; i < section.sh_size / sizeof(Elf64_Sym); ++i) {
            const auto symbol = at<Elf64_Sym>(section.sh_offset + i * sizeof(Elf64_Sym));
            const std::string name = textAt(strings, symbol.st_name);
            const bool isWeak = ELF64_ST_BIND(symbol.st_info) == STB_WEAK;
            if (symbol.st_shndx == SHN_UNDEF)
                (isWeak ? result.neededIfThere : result.needed).insert(name);
            else if (ELF64_ST_BIND(symbol.st_info) != STB_LOCAL)
                result.exported.insert(name);
        }
    }

    void addLibraries(const Elf64_Shdr& section, DynamicSymbols& result) const {
        const Elf64_Shdr& strings = sections.at(section.sh_link);
        for (std::size_t i = 0; i < section.sh_size / sizeof(Elf64_Dyn); ++i) {
            const auto entry = at<Elf64_Dyn>(section.sh_offset + i * sizeof(Elf64_Dyn));
            if (entry.d_tag == DT_NEEDED) result.neededLibraries.insert(textAt(strings, entry.d_un.d_val));
        }
    }

    std::vector<char> bytes;
    std::vector<Elf64_Shdr> sections;
};

}  // namespace module
