// A translator as the dialogs see it: its fields by type, and the values of the record that is open for reading. E_ABORT from the
// translator is the user's cancel: it is thrown as Cancelled.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <map>
#include <string>
#include <vector>

namespace mb {

class TranslatorFields;

// A record open for reading for as long as this lives.
class RecordReading {
public:
    // The fields must outlive this object.
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
    // Whether the translator offers both of the interfaces that tell of fields.
    [[nodiscard]] bool usable() const noexcept { return list_ && field_; }
    // In the order of the translator's list.
    [[nodiscard]] const std::vector<Item>& items() const noexcept { return items_; }
    // The last field of the type; null if there is none.
    [[nodiscard]] const GUID* ofType(LONG type) const noexcept;
    [[nodiscard]] std::u16string nameOf(const GUID& field) const;
    // The field's name, or the empty text.
    [[nodiscard]] std::u16string nameOfType(LONG type) const;
    // The value of the open record; on failure, and where no field has the type, the text is empty.
    HRESULT read(const RecordReading& record, LONG type, std::u16string& text) const;
    HRESULT read(const RecordReading& record, REFGUID field, std::u16string& text) const;
    // A cancel that came when a record was closed waits for this call.
    void throwIfCancelled() const;
    [[nodiscard]] ITranslator* translator() const noexcept { return translator_; }

private:
    friend class RecordReading;
    ITranslator* translator_;
    mutable bool cancelled_ = false; // by the end of a reading
    com::Ptr<IFieldList> list_;
    com::Ptr<IField> field_;
    std::vector<Item> items_;
    std::map<LONG, GUID> byType_;
};

} // namespace mb
