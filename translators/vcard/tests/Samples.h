// Sample cards of every version and encoding, and helpers that read and write files.
#pragma once
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <string>

namespace mb::vcard {

inline std::string readBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeBytes(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Sets the date of the file to a whole second, which every file system can restore.
inline std::filesystem::file_time_type inWholeSeconds(const std::filesystem::path& file)
{
    const std::filesystem::file_time_type date = std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(file));
    std::filesystem::last_write_time(file, date);
    return date;
}

inline std::string utf16(const std::string& ascii, bool big)
{
    std::string wide = big ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : ascii) wide += big ? std::string("\0", 1) + c : std::string(1, c) + std::string("\0", 1);
    return wide;
}

// Where sample cards come from. Ours are in tests/samples. Exports of other programs are not part of the project, and may be missing.
enum class Source { Ours, Exports };

inline std::filesystem::path folderOf(Source source)
{
    if (source == Source::Ours) return VCARD_SAMPLES;
    const char* const fromEnvironment = std::getenv("VCARD_DATA");
    return fromEnvironment ? fromEnvironment : VCARD_DATA;
}

// Returns the bytes of the card files of a source, by file name. Requires: folderOf(source) exists.
inline std::map<std::string, std::string> samples(Source source)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folderOf(source)))
        if (entry.path().extension() == ".vcf") files[entry.path().filename().string()] = readBytes(entry.path());
    return files;
}

// Called by SetUp(). Skips the test if the exports of other programs are missing; fails it if a source has no card file.
inline void requireSamples(Source source)
{
    if (source == Source::Exports && !std::filesystem::is_directory(folderOf(source)))
        GTEST_SKIP() << "There are no exports of other programs: " << folderOf(source) << " is missing.";
    ASSERT_FALSE(samples(source).empty()) << folderOf(source);
}

// A test that runs once for the samples of each source.
class SampleTest : public testing::TestWithParam<Source> {
protected:
    void SetUp() override { requireSamples(GetParam()); }
};

inline const auto eachSource = testing::Values(Source::Ours, Source::Exports);
// scripts/test lets only tests with the name "Exports" be skipped.
inline std::string nameOf(const testing::TestParamInfo<Source>& source) { return source.param == Source::Ours ? "Ours" : "Exports"; }

} // namespace mb::vcard
