// Fixture of the conformance suite: a store of the translator under test, its fields, and the steps by which the engine reads and writes a
// record.
#pragma once
#include "Contender.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace mbtest {

struct ListedField {
    GUID guid{};
    std::u16string name;
    LONG type = 0, dataType = 0;
    ULONG maxLength = 0, flags = 0;
};

// Values by the index of their field in `fields_`.
using Values = std::map<std::size_t, std::u16string>;
using Translator = com::Ptr<ITranslator>;

class Conformance : public testing::TestWithParam<Contender> {
protected:
    void SetUp() override;
    void TearDown() override;

    Subject& subject() { return *subject_; }
    // Returns a new translator that is open on the store.
    Translator open();
    static void close(Translator& translator);

    [[nodiscard]] std::vector<std::size_t> textFields() const;
    [[nodiscard]] std::size_t fieldOf(LONG type) const; // the first text field if the store has no field of the type

    // Both return the record's identifier after its save. Requires: the caller began a batch.
    std::u16string add(const Translator& translator, const Values& values);
    std::u16string edit(const Translator& translator, const std::u16string& id, const Values& values);
    // The same in a separate batch.
    std::u16string addAlone(const Translator& translator, const Values& values);
    std::u16string editAlone(const Translator& translator, const std::u16string& id, const Values& values);
    static void removeAlone(const Translator& translator, const std::u16string& id);

    // Returns the values of all text fields that are not empty.
    Values read(const Translator& translator, const std::u16string& id);
    static std::vector<std::u16string> ids(const Translator& translator);
    static DATE modified(const Translator& translator, const std::u16string& id);
    static void begin(const Translator& translator);
    static void end(const Translator& translator);

    std::vector<ListedField> fields_;

private:
    void write(const Translator& translator, const std::u16string& id, const Values& values);
    std::u16string save(const Translator& translator, com::Bstr id);
    std::unique_ptr<Subject> subject_;
};

inline com::Bstr bstr(std::u16string_view text) { return com::Bstr(text); }

} // namespace mbtest
