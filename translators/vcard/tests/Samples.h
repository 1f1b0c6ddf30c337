// Cards for the tests: small ones of every version and encoding, and the sample files of the folder VCARD_DATA if it exists.
#pragma once
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

// Returns the bytes of the samples by file name.
inline std::map<std::string, std::string> samples()
{
    const std::string plain =
        "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Doe;Jane;;;\r\nFN:Jane Doe\r\nTEL;TYPE=WORK,VOICE:+1 555 0100\r\nEND:VCARD\r\n";
    std::map<std::string, std::string> files = {
        {"inline30", plain},
        {"inline30-utf16le", utf16(plain, false)},
        {"inline30-utf16be", utf16(plain, true)},
        {"inline30-mark", "\xEF\xBB\xBF" + plain},
        {"inline21-qp", "BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=B6rg;;;\n"
                        "NOTE;ENCODING=QUOTED-PRINTABLE:line one=0D=0A=\nline two\nTEL;CELL:1\nEND:VCARD\n"},
        {"inline21-1252", "BEGIN:VCARD\r\nVERSION:2.1\r\nN:M\xFCller;J\xF6rg\r\nTEL;WORK;VOICE:2\r\nEND:VCARD\r\n"},
        {"inline40-folded", "BEGIN:VCARD\nVERSION:4.0\nFN:Gr\xC3\n \xBC\xC3\x9F"
                            "e\nitem1.TEL;VALUE=uri;TYPE=\"voice,\n home\":tel:+1-555-0101\n"
                            "item1.X-ABLabel:x\nX-ODD;X=\"a;b:c\":kept\nEND:VCARD"},
        {"inline30-cr", "BEGIN:VCARD\rVERSION:3.0\rFN:Old\r  Mac\rN:Mac;Old;;;\rEND:VCARD\r"},
        {"inline-agent",
         "BEGIN:VCARD\nVERSION:2.1\nN:Boss\nAGENT:\nBEGIN:VCARD\nVERSION:2.1\nN:Agent\nTEL:9\nEND:VCARD\nTEL;WORK:1\nEND:VCARD\n"},
    };
    const char* fromEnvironment = std::getenv("VCARD_DATA");
    const std::filesystem::path folder = fromEnvironment ? fromEnvironment : VCARD_DATA;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".vcf") files[entry.path().filename().string()] = readBytes(entry.path());
    return files;
}

} // namespace mb::vcard
