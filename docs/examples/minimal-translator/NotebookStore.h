// A notebook: one text file with a contact a line. It is read whole when it opens and written whole at the end of a batch.
#pragma once
#include "RecordStore.h"

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace notebook {

using mb::plugin::Step;

class NotebookStore final : public mb::plugin::RecordStore {
public:
    // A missing file is an error: as an empty notebook it would say that all its records were deleted.
    explicit NotebookStore(std::filesystem::path file);
    // Creates an empty notebook if the file does not exist.
    static void make(const std::filesystem::path& file);

    [[nodiscard]] std::size_t count() const override { return records_.size(); }
    [[nodiscard]] const std::string& idAt(std::size_t index) const override;
    [[nodiscard]] bool exists(const std::string& id) const override { return records_.contains(id); }
    [[nodiscard]] std::int64_t created(const std::string& id) const override { return find(id, Step::Find).created; }
    [[nodiscard]] std::int64_t modified(const std::string& id) const override { return find(id, Step::Find).modified; }

    void beginRead(const std::string& id) override;
    [[nodiscard]] std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override { reading_ = id == reading_ ? std::string() : reading_; }

    void beginBatch() override {}
    void endBatch(bool abort) override;
    std::string beginAdd() override;
    void beginEdit(const std::string& id) override;
    void write(const std::string& id, int type, std::u16string_view text) override;
    std::string save(const std::string& id) override;
    void remove(const std::string& id) override;
    void close() override { writeFile(); } // saved in a batch that was not ended is saved, too: the engine has noted it

private:
    struct Record {
        std::int64_t created = 0, modified = 0;
        std::map<int, std::string> values; // by field type, in UTF-8; an empty value is not kept
    };
    [[nodiscard]] const Record& find(const std::string& id, Step step) const;
    void readFile();
    void writeFile();
    void readLine(std::string_view line);

    std::filesystem::path file_;
    std::map<std::string, Record> records_;
    mutable std::vector<const std::string*> order_; // the identifiers by number; empty while it has to be made anew
    std::string reading_, writing_;                 // the records that were begun
    Record draft_;                                  // of the one being written, until it is saved
    bool changed_ = false;                          // the file does not know of it yet
};

} // namespace notebook
