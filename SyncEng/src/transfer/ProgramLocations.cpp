#include "transfer/ProgramLocations.h"

#include "registry.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

struct ProgramRow {
    GUID target;
    const char16_t *first, *second;
};

// For a target with two rows the second is the fallback.
constexpr ProgramRow ProgramLocationTable[] = {
    {outlookTranslator, u"outlook.exe", u"outlook.exe"},
    {lotusNotesTranslator, u"notes.exe", u"notes.exe"},
    {goldMineTranslator, u"gmw6.exe", u"gmw6.exe"},
    {goldMineTranslator, u"gmw5.exe", u"gmw5.exe"},
    {goldMineCorporateTranslator, u"gmw6.exe", u"gmw6.exe"},
    {outlookExpressTranslator, u"msimn.exe", u"msimn.exe"},
    {salesLogixTranslator, u"saleslogix.exe", u"saleslogix.exe"},
    {groupWiseTranslator, u"groupwise.exe", u"groupwise.exe"},
    {actTranslator, u"Act7.exe", u"Act7Diag.exe"},
    {actTranslator, u"Act8.exe", u"Act8Diag.exe"},
    {secondActTranslator, u"Act7.exe", u"Act7Diag.exe"},
    {secondActTranslator, u"Act8.exe", u"Act8Diag.exe"},
};

constexpr std::size_t longestPath = 259;

std::optional<platform::RegistryKey> appPathsKey(std::u16string_view executable)
{
    const std::u16string folder = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
    return platform::RegistryKey::open(platform::Root::LocalMachine, folder + std::u16string(executable));
}

// Returns the program that the row finds; nullopt to try the next row.
std::optional<std::u16string> programOf(const ProgramRow& row)
{
    if (const auto key = appPathsKey(row.first)) {
        auto path = key->text(u"");
        return path && path->size() <= longestPath ? path : std::nullopt;
    }
    const auto key = appPathsKey(row.second);
    auto folder = key ? key->text(u"Path") : std::nullopt;
    if (!folder || folder->empty()) return std::nullopt;
    if (!folder->ends_with(u'\\')) *folder += u'\\';
    return *folder + row.first;
}

} // namespace

std::u16string FindTranslatorProgram(const GUID& target)
{
    std::u16string program;
    for (const ProgramRow& row : ProgramLocationTable) {
        if (row.target != target) continue;
        if (auto found = programOf(row)) return *found;
        program = row.first;
    }
    return program;
}

} // namespace mb
