// The fields of a translator by type, and the values of the record that is open for reading. If the translator returns E_ABORT, the user's
// cancel, Cancelled is thrown.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <map>
#include <string>
#include <vector>

namespace mb {

class TranslatorFields;

// Keeps a record open for reading while this object lives.
class RecordReading {
public:
    // Requires: `fields` outlives this object.
    RecordReading(const TranslatorFields& fields, std::u16string_view recordId);
    RecordReading(const RecordReading&) = delete;
    RecordReading& operator=(const RecordReading&) = delete;
    ~RecordReading() { end(); }
    explicit operator bool() const noexcept { return open_; }
    [[nodiscard]] BSTR id() const noexcept { return id_.get(); }
    void end() noexcept;

private:
    const TranslatorFields& fields_;
    com::Bstr id_;
    bool open_ = false;
};

class TranslatorFields {
public:
    struct Item {
        GUID guid{};
        LONG type = 0;
    };

    explicit TranslatorFields(ITranslator* translator);
    // Whether the translator offers IFieldList and IField.
    [[nodiscard]] bool usable() const noexcept { return list_ && field_; }
    // In the order of the translator's list.
    [[nodiscard]] const std::vector<Item>& items() const noexcept { return items_; }
    // Returns the last field of the type; null if there is none.
    [[nodiscard]] const GUID* ofType(LONG type) const noexcept;
    [[nodiscard]] std::u16string nameOf(const GUID& field) const;
    // Returns the name of the type's field, or an empty text.
    [[nodiscard]] std::u16string nameOfType(LONG type) const;
    // Reads a value of the open record. `text` becomes empty on failure, or if no field has the type.
    HRESULT read(const RecordReading& record, LONG type, std::u16string& text) const;
    HRESULT read(const RecordReading& record, REFGUID field, std::u16string& text) const;
    // Throws Cancelled if the translator reported a cancel when a record was closed.
    void throwIfCancelled() const;
    [[nodiscard]] ITranslator* translator() const noexcept { return translator_; }

private:
    friend class RecordReading;
    ITranslator* translator_;
    mutable bool cancelled_ = false; // set by RecordReading::end()
    com::Ptr<IFieldList> list_;
    com::Ptr<IField> field_;
    std::vector<Item> items_;
    std::map<LONG, GUID> byType_;
};

} // namespace mb
