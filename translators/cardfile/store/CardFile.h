// The host's card file: contacts in one SQLite file, made at its first use. A card is a row of its own with its dates, and one row for
// each field that is not empty. Identifiers are GUIDs and are found whatever their case; a card's date moves with every change and
// never back. A batch is one transaction.
#pragma once
#include "Database.h"
#include "RecordStore.h"
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace mb::cardfile {

class CardFile final : public plugin::RecordStore {
public:
    // Throws a StoreError that names the file if it is no card file, of a later version, or cannot be opened.
    CardFile(std::string path, plugin::Report report);
    ~CardFile() override;

    std::size_t count() const override { return cards_.size(); }
    const std::string& idAt(std::size_t index) const override { return cards_.at(index).id; }
    bool exists(const std::string& id) const override;
    std::int64_t created(const std::string& id) const override;
    std::int64_t modified(const std::string& id) const override;
    void beginRead(const std::string& id) override;
    std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override;
    void beginBatch() override;
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    std::string save(const std::string& id) override;
    void remove(const std::string& id) override;
    void close() override;

private:
    using Fields = std::map<int, std::u16string>;
    struct Card {
        std::int64_t key = 0; // of the row
        std::string id;
        std::int64_t created = 0, modified = 0;
    };
    struct Open {
        std::string given, id; // as it is shown, and folded
        std::int64_t key = 0;
        bool isNew = false;
        Fields fields, changes;
    };

    void prepareSchema();
    void listCards();
    const Card* find(const std::string& id) const;
    const Card& cardOf(const std::string& id, plugin::Step step) const;
    Fields loadFields(std::int64_t key);
    std::int64_t nextStamp(std::int64_t former) const;
    void insertCard(Open& record);
    void updateCard(Open& record);
    void writeChanges(const Open& record);
    void begin();
    void commit();
    void rollBack(const char* sql) noexcept;
    void dropBatch();
    // Runs one change, in a transaction of its own where no batch is open.
    template <class F> void change(plugin::Step step, F&& work);

    std::string path_;
    plugin::Report report_;
    std::optional<Database> database_;
    Statement readFields_, insertCard_, touchCard_, putField_, dropField_, deleteFields_, deleteCard_;
    std::vector<Card> cards_;
    std::unordered_map<std::string, std::size_t> byId_; // folded identifier to position
    std::optional<Open> reading_, writing_;
    bool batch_ = false;
};

} // namespace mb::cardfile
