// Cards in files of their own. Each change is written at once. A file that another program changed since it was read is not overwritten:
// the new file takes its place only while the old one still contains what was read.
#pragma once
#include "CardStorage.h"
#include "DraftPool.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

class SingleCardFiles final : public CardStorage {
public:
    explicit SingleCardFiles(OpenedCards& cards) : cards_(cards) {} // `cards` must outlive this object

    SingleCard read(const Place& place, Step step) override;
    StoredCard make(const std::string& uuid, Version version) override;
    Place add(StoredCard& record) override;
    std::string replace(const Place& place, StoredCard& record, const RecordIds& ids) override;
    void remove(const Place& place) override;
    bool commit() override;
    bool discard() override { return false; }

private:
    FileState writeNew(const std::string& name, std::string_view bytes);
    FileState rewrite(const FileRecord& file, const StoredCard& record);

    OpenedCards& cards_;

    // After many added cards in a batch, temporary files for the next ones are opened on a thread.
    std::size_t added_ = 0; // since the last commit
    std::unique_ptr<DraftPool> drafts_;
};

} // namespace mb::vcard
