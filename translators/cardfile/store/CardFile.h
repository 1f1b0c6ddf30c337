// The host's card file: contacts in one SQLite file, which only make() creates.
// - A card has a row with its dates, and a row for each field that is not empty. Identifiers are GUIDs, case-insensitive. Each change of a
//   card increases its date.
// - Field 1000 is the text of the card's details. It is cleaned when it is written, and holds no annotation of an empty field.
// - A batch is one transaction.
// - Cards are listed when the file is opened. A card that another program changed since then is not overwritten.
// - A read-only file is read without locks, and no files are created beside it. If another program changes it meanwhile, reading fails.
#pragma once
#include "CategoryStore.h"
#include "Database.h"
#include "RecordStore.h"
#include <filesystem>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace mb::cardfile {

// Returns the free space on the disk of the card file, in bytes.
using FreeSpace = std::function<std::uintmax_t()>;

class CardFile final : public plugin::RecordStore {
public:
    // Creates a card file without cards if the file is missing or empty; keeps an existing card file. Throws like the constructor.
    static void make(const std::string& path);
    // Throws a StoreError that names the file if it is missing, is not a card file, has a later version, or cannot be opened.
    CardFile(const std::string& path, plugin::Report report, FreeSpace freeSpace = {});
    ~CardFile() override;

    std::size_t count() const override { return cards_.size(); }
    const std::string& idAt(std::size_t index) const override { return cards_.at(index).id; }
    bool exists(const std::string& id) const override;
    std::int64_t created(const std::string& id) const override;
    std::int64_t modified(const std::string& id) const override;
    void beginRead(const std::string& id) override;
    std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override;
    void expectWritable(const std::string& id) override;
    void beginBatch() override;
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    // A save that changes no value keeps the card's date.
    std::string save(const std::string& id) override;
    void remove(const std::string& id) override;
    void close() override;
    [[nodiscard]] std::string readImage(const std::string& id, int type) override;
    [[nodiscard]] std::uint64_t imageSize(const std::string& id, int type) override;
    void writeImage(const std::string& id, int type, std::string_view bytes) override;
    std::u16string readWholeDetails(const std::string& id) override;

    // Returns the kept categories and those of the cards.
    [[nodiscard]] plugin::Names categories();
    void keepCategories(const plugin::Names& names);

private:
    using Fields = std::map<int, std::u16string>;
    struct Card {
        std::string id;
        std::int64_t created = 0, modified = 0;
    };
    struct Open {
        std::string id, folded;
        std::int64_t key = 0, modified = 0; // of the row
        bool isNew = false;
        Fields fields, changes;
        std::map<int, std::string> images; // pictures to be changed
    };

    // A file counts as unchanged while its state is equal.
    struct FileState {
        std::uintmax_t size = 0;
        std::filesystem::file_time_type changed;
        bool operator==(const FileState&) const = default;
    };

    void open();
    void openSnapshot();
    void requireSnapshot(plugin::Step step) const;
    [[nodiscard]] FileState fileState() const;
    void listCards();
    [[nodiscard]] const Card* find(const std::string& id) const;
    [[nodiscard]] const Card& cardOf(const std::string& id, plugin::Step step) const;
    [[nodiscard]] Open load(const Card& card, plugin::Step step);
    [[nodiscard]] bool isInFile(const Card& card);
    [[nodiscard]] Open& openForWriting(const std::string& id, plugin::Step step);
    void requireSpace(const Open& record) const;
    void insertCard(Open& record);
    void updateCard(Open& record);
    void writeChanges(const Open& record);
    void writeImages(const Open& record);
    [[nodiscard]] std::uint64_t sizeOfImage(const Open& record, int type, plugin::Step step) const;
    // The details as they are in the file, with whole values.
    [[nodiscard]] std::u16string storedDetails(const Open& record, plugin::Step step) const;
    // As they are now, with whole values.
    [[nodiscard]] std::u16string currentDetails(const Open& record, plugin::Step step) const;
    void writeDetails(Open& record, std::u16string_view text);
    // Drops annotations whose fields are going to be empty.
    void settleDetails(Open& record) const;
    [[nodiscard]] bool isEmptyIn(const Open& record, int type, plugin::Step step) const;
    [[nodiscard]] static std::u16string valueIn(const Open& record, int type);
    [[nodiscard]] static std::string nameOf(const Open& record);
    [[nodiscard]] const Open& openFor(const std::string& id) const;
    void dropBatch();
    [[nodiscard]] plugin::StoreError failed(const DatabaseError& e, plugin::Step step) const;
    [[nodiscard]] plugin::StoreError gone(const std::string& id, plugin::Step step) const;
    [[nodiscard]] plugin::StoreError overtaken(const std::string& id, plugin::Step step) const;
    [[nodiscard]] plugin::StoreError lostBatch(plugin::Step step) const;
    void requireInPlace(plugin::Step step) const;
    // Runs work; a DatabaseError becomes a StoreError of the step.
    template <class F> auto guarded(plugin::Step step, F&& work) const;
    // Runs a change as a whole or not at all: in a savepoint of the batch, or in its own transaction.
    template <class F> void change(plugin::Step step, F&& work);

    std::string path_;
    plugin::Report report_;
    FreeSpace freeSpace_;
    std::optional<Database> database_;
    std::optional<FileState> snapshot_; // the state of a file that is read without locks
    Statement readCard_, insertCard_, touchCard_, deleteCard_, putField_, dropField_, readImage_, putImage_, dropImage_;
    mutable Statement measureImage_, readDetails_; // used while a field is read
    std::vector<Card> cards_;
    std::unordered_map<std::string, std::size_t> byId_; // position in cards_ by folded identifier
    std::optional<Open> reading_, writing_;
    std::optional<Transaction> batch_;
};

template <class F> auto CardFile::guarded(plugin::Step step, F&& work) const
{
    try {
        return work();
    } catch (const DatabaseError& e) {
        requireSnapshot(step); // a change during the reading may look like damage
        throw failed(e, step);
    }
}

template <class F> void CardFile::change(plugin::Step step, F&& work)
{
    if (batch_ && !database_->inTransaction()) throw lostBatch(step);
    guarded(step, [&] {
        try {
            Transaction transaction(*database_);
            work();
            if (!batch_) requireInPlace(step);
            transaction.commit();
        } catch (const DatabaseError&) {
            if (batch_ && !database_->inTransaction()) listCards();
            throw;
        }
    });
}

} // namespace mb::cardfile
