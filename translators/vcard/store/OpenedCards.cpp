#include "OpenedCards.h"

#include "IndexFile.h"

#include <utility>

namespace mb::vcard {

OpenedCards::OpenedCards(const std::string& database, const std::string& cacheFolder, const plugin::Report& report, RecentIndexes& recent)
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
        index = std::make_unique<CardIndex>(*folder, singleFile, indexPathOf(path, cacheFolder), recent);
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

void OpenedCards::flush()
{
    if (unflushed) folder->flush();
    if (std::exchange(unflushed, false) && folder->isMoved())
        throw FileError("The folder \"" + folder->pathOf({}) + "\" was moved or replaced by another program. Synchronize again");
}

StoreError OpenedCards::changedMeanwhile(const FileRecord& file, Step step) const
{
    return {step, "The file \"" + folder->pathOf(file.name) + "\" was changed by another program. Synchronize again."};
}

StoreError OpenedCards::unreadable(const std::string& place, const std::string& fault, Step step) const
{
    return {step, folder->pathOf(place) + ": " + fault + ". The file is left as it is."};
}

} // namespace mb::vcard
