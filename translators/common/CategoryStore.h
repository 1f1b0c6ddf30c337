// A list of category names as a RecordStore. A record has one field, the name, which is passed as the last name. The name is also the
// identifier, case-insensitive, so only names need to be stored; a renamed category gets a new identifier.
#pragma once
#include "RecordStore.h"
#include <optional>
#include <unordered_map>
#include <vector>

namespace mb::plugin {

using Names = std::vector<std::u16string>;

// Appends the names of a comma-separated text, which is the form that contacts have.
void splitCategories(std::u16string_view text, Names& names);
// Returns each name once, ignoring case; the first spelling wins.
Names withoutDoubles(const Names& names);

class CategoryStore final : public RecordStore {
public:
    // `keep` is called with the whole list: once per batch that changes it, or after each change outside of a batch.
    CategoryStore(const Names& names, std::function<void(const Names&)> keep);
    ~CategoryStore() override;

    [[nodiscard]] std::size_t count() const override { return ids_.size(); }
    [[nodiscard]] const std::string& idAt(std::size_t index) const override { return ids_.at(index); }
    [[nodiscard]] bool exists(const std::string& id) const override { return byName_.contains(folded(id)); }
    // Names have no dates: modified() is always 0.
    [[nodiscard]] std::int64_t created(const std::string& id) const override { return modified(id); }
    [[nodiscard]] std::int64_t modified(const std::string& id) const override;
    void beginRead(const std::string& id) override;
    [[nodiscard]] std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string&) override { reading_.reset(); }
    void beginBatch() override;
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    std::string save(const std::string& id) override;
    void remove(const std::string& id) override;
    void close() override;

private:
    struct Writing {
        std::string id;
        bool isNew;
        std::u16string name;
    };
    static std::u16string folded(const std::string& id);
    std::size_t positionOf(const std::string& id, Step step) const;
    void setNames(const Names& names);
    [[nodiscard]] Names names() const;
    void changed();
    void keepNow();

    std::function<void(const Names&)> keep_;
    std::vector<std::string> ids_; // the names in UTF-8
    std::unordered_map<std::u16string, std::size_t> byName_;
    std::optional<std::string> reading_;
    std::optional<Writing> writing_;
    std::optional<Names> before_; // the list at the begin of the open batch
    bool dirty_ = false;
};

} // namespace mb::plugin
