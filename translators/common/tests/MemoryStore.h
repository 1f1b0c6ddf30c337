// A RecordStore in memory that counts reads and fails on request.
#pragma once
#include "RecordStore.h"
#include "StoreTranslator.h"
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mb::plugin {

struct MemoryRecord {
    std::string id;
    std::map<int, std::u16string> values;
    std::map<int, std::string> images;
};

class MemoryStore final : public RecordStore {
public:
    std::vector<MemoryRecord> records;
    std::set<std::string> unreadable;           // beginRead fails
    std::map<std::string, int> unreadableField; // read fails for this field of the record
    bool cannotLook = false;                    // exists and updatedId fail
    std::map<std::string, int> begun;           // how often beginRead was called for each record

    void add(const std::string& id, std::map<int, std::u16string> values, std::map<int, std::string> images = {});
    [[nodiscard]] bool isReading() const { return reading_ != nullptr; }

    [[nodiscard]] std::size_t count() const override { return records.size(); }
    [[nodiscard]] const std::string& idAt(std::size_t index) const override { return records.at(index).id; }
    [[nodiscard]] bool exists(const std::string& id) const override;
    [[nodiscard]] std::string updatedId(const std::string& id) override;
    [[nodiscard]] std::int64_t created(const std::string&) const override { return 0; }
    [[nodiscard]] std::int64_t modified(const std::string&) const override { return 0; }
    void beginRead(const std::string& id) override;
    [[nodiscard]] std::u16string read(const std::string& id, int type) const override;
    void endRead(const std::string& id) override;
    [[nodiscard]] std::string readImage(const std::string& id, int type) override;

    // The store is read-only.
    void beginBatch() override {}
    void endBatch(bool) override {}
    std::string beginAdd() override { throw StoreError(Step::Add, "read-only"); }
    void beginEdit(const std::string&) override { throw StoreError(Step::Edit, "read-only"); }
    void write(const std::string&, int, std::u16string_view) override { throw StoreError(Step::WriteField, "read-only"); }
    std::string save(const std::string&) override { throw StoreError(Step::Save, "read-only"); }
    void remove(const std::string&) override { throw StoreError(Step::Delete, "read-only"); }
    void close() override {}

private:
    const MemoryRecord* reading_ = nullptr;
};

// The fields of the stores in these tests.
inline constexpr PluginField memoryFields[] = {{ftFirstName, u"First name"},
                                               {ftLastName, u"Last name"},
                                               {ftTitle, u"Title"},
                                               {ftNotes, u"Notes"},
                                               {ftPhone, u"Phone"},
                                               {ftEmail1, u"E-mail"},
                                               {ftEmail2, u"Second e-mail"},
                                               {ftImage1, u"Front image", dtImage},
                                               {ftRecordStatus, u"Record status"}};

} // namespace mb::plugin
