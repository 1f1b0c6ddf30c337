// A list of category names as records of one field, the name, which travels as a last name. A category is known by its name, whatever
// its case, so a list needs no more than its names to be kept; one that is renamed has another identifier from then on.
#pragma once
#include "RecordStore.h"
#include <optional>
#include <unordered_map>
#include <vector>

namespace mb::plugin {

using Names = std::vector<std::u16string>;

// The names of a text as contacts hold them, separated by commas.
void splitCategories(std::u16string_view text, Names& names);
// Each name once, whatever its case; the first one stands.
Names withoutDoubles(const Names& names);

class CategoryStore final : public RecordStore {
public:
    // keep is given the whole list once a batch, or once a change outside of one.
    CategoryStore(const Names& names, std::function<void(const Names&)> keep);
    ~CategoryStore() override;

    [[nodiscard]] std::size_t count() const override { return ids_.size(); }
    [[nodiscard]] const std::string& idAt(std::size_t index) const override { return ids_.at(index); }
    [[nodiscard]] bool exists(const std::string& id) const override { return byName_.contains(folded(id)); }
    // A name has no date of its own: it never changes.
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
    std::optional<Names> before_; // the list at the begin of the batch that is open
    bool dirty_ = false;
};

} // namespace mb::plugin
