#include "LibraryFile.h"

#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace mbtest {
namespace {

class ElfFile {
public:
    explicit ElfFile(const std::filesystem::path& file)
    {
        std::ifstream in(file, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(in), {});
        if (bytes_.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes_.data(), ELFMAG, SELFMAG) != 0 || bytes_[EI_CLASS] != ELFCLASS64)
            throw std::runtime_error(file.string() + " is no library of 64 bits");
    }
    [[nodiscard]] std::vector<Elf64_Shdr> sections() const
    {
        const auto header = table<Elf64_Ehdr>(0, 1).front();
        return table<Elf64_Shdr>(header.e_shoff, header.e_shnum);
    }
    [[nodiscard]] std::vector<Elf64_Sym> symbols(const Elf64_Shdr& section) const
    {
        return table<Elf64_Sym>(section.sh_offset, section.sh_size / sizeof(Elf64_Sym));
    }
    [[nodiscard]] std::string name(const Elf64_Shdr& names, const Elf64_Sym& symbol) const
    {
        const std::size_t at = names.sh_offset + symbol.st_name;
        if (at >= bytes_.size()) throw std::runtime_error("a symbol's name lies outside of the file");
        return bytes_.c_str() + at;
    }

private:
    template <class T> [[nodiscard]] std::vector<T> table(std::size_t at, std::size_t count) const
    {
        std::vector<T> entries(count);
        if (at > bytes_.size() || (bytes_.size() - at) / sizeof(T) < count) throw std::runtime_error("a table lies outside of the file");
        std::memcpy(entries.data(), bytes_.data() + at, count * sizeof(T));
        return entries;
    }
    std::string bytes_;
};

} // namespace

std::set<std::string> exportsOf(const std::filesystem::path& file)
{
    const ElfFile elf(file);
    const auto sections = elf.sections();
    std::set<std::string> found;
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type != SHT_DYNSYM) continue;
        for (const Elf64_Sym& symbol : elf.symbols(section))
            if (symbol.st_shndx != SHN_UNDEF && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL)
                found.insert(elf.name(sections.at(section.sh_link), symbol));
    }
    return found;
}

bool isLoaded(const std::filesystem::path& file)
{
    void* const loaded = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (loaded) dlclose(loaded);
    return loaded != nullptr;
}

} // namespace mbtest
