#include "OpenedCards.h"

#include "StoreError.h"

namespace mb::vcard {
namespace {

std::string cachePathOf(const std::string& database, const std::string& cacheFolder)
{
    if (cacheFolder.empty()) return {};
    std::string name;
    for (std::uint64_t h = hashOf(database); name.size() < 16; h >>= 4) name.insert(name.begin(), "0123456789abcdef"[h & 15]);
    return cacheFolder + "/vcard-" + name + ".index";
}

} // namespace

OpenedCards::OpenedCards(const std::string& database, const std::string& cacheFolder, const plugin::Report& report)
{
    const std::string path = realPath(database);
    const PathKind kind = fileStep(Step::Open, [&] { return kindOf(path); });
    if (database.empty()) throw StoreError(Step::Open, "No vCard folder is set. Choose a folder of .vcf files, or one .vcf file.");
    if (kind == PathKind::Nothing)
        throw StoreError(Step::Open, "The vCard folder or file \"" + database +
                                         "\" does not exist. Put it back, connect the drive that it is on, or choose the place where it is "
                                         "now. No new one is made.");
    if (kind == PathKind::Other)
        throw StoreError(Step::Open,
                         "\"" + database + "\" is neither a folder nor a plain file. Choose a folder of .vcf files, or one .vcf file.");
    fileStep(Step::Open, [&] {
        const SplitPath split = splitPath(path);
        if (kind == PathKind::File) singleFile = split.name;
        folder = std::make_unique<Folder>(kind == PathKind::Folder ? path : split.folder);
        index = std::make_unique<CardIndex>(*folder, singleFile, cachePathOf(path, cacheFolder));
        index->refresh(report);
        index->save();
    });
    if (singleFile.empty()) return;
    const FileRecord& file = index->files().at(0);
    if (file.bad())
        throw StoreError(Step::Open, "The vCard file \"" + database +
                                         "\" cannot be read: " + (file.badLine ? "line " + std::to_string(file.badLine) + ": " : "") +
                                         file.badText + ". Correct the file, or choose another one.");
}

} // namespace mb::vcard
