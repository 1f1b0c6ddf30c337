#include "ConformanceTest.h"

namespace mbtest {
namespace {

// A store without batches returns E_NOTIMPL.
bool batchSucceeded(HRESULT hr) { return SUCCEEDED(hr) || hr == E_NOTIMPL; }

std::vector<ListedField> fieldsOf(const Translator& translator)
{
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    LONG count = 0;
    EXPECT_EQ(list->GetCount(&count), S_OK);
    std::vector<ListedField> fields;
    for (LONG i = 0; i < count; ++i) {
        ListedField field;
        com::Bstr name;
        EXPECT_EQ(list->GetFieldByIndex(i, &field.guid), S_OK);
        EXPECT_EQ(properties->GetName(field.guid, name.put()), S_OK);
        EXPECT_EQ(properties->GetFieldType(field.guid, &field.type), S_OK);
        EXPECT_EQ(properties->GetDataType(field.guid, &field.dataType), S_OK);
        EXPECT_EQ(properties->GetMaxLength(field.guid, &field.maxLength), S_OK);
        EXPECT_EQ(properties->GetFlags(field.guid, &field.flags), S_OK);
        field.name = name.text();
        fields.push_back(std::move(field));
    }
    return fields;
}

} // namespace

void Conformance::SetUp()
{
    subject_ = GetParam().make();
    fields_ = fieldsOf(subject_->create());
    ASSERT_FALSE(fields_.empty());
}

void Conformance::TearDown()
{
    ASSERT_TRUE(subject_);
    EXPECT_TRUE(subject_->allReturned()) << "an object was not released";
}

Translator Conformance::open()
{
    Translator translator = subject_->create();
    EXPECT_EQ(translator->Initialize(subject_->services.get(), nullptr, VARIANT_FALSE), S_OK);
    return translator;
}

void Conformance::close(Translator& translator)
{
    EXPECT_EQ(translator->Cleanup(), S_OK);
    translator.reset();
}

std::vector<std::size_t> Conformance::textFields() const
{
    std::vector<std::size_t> texts;
    for (std::size_t i = 0; i < fields_.size(); ++i)
        if (fields_[i].dataType == dtString) texts.push_back(i);
    return texts;
}

std::size_t Conformance::fieldOf(LONG type) const
{
    for (const std::size_t i : textFields())
        if (fields_[i].type == type) return i;
    return textFields().at(0);
}

void Conformance::begin(const Translator& translator) { EXPECT_TRUE(batchSucceeded(translator->BeginUpdate())); }
void Conformance::end(const Translator& translator) { EXPECT_TRUE(batchSucceeded(translator->EndUpdate(VARIANT_FALSE))); }

void Conformance::write(const Translator& translator, const std::u16string& id, const Values& values)
{
    const com::Bstr key(id);
    for (const auto& [field, text] : values)
        EXPECT_EQ(translator->WriteField(key.get(), fields_.at(field).guid, com::Variant(text)), S_OK) << "field " << fields_[field].type;
}

std::u16string Conformance::save(const Translator& translator, com::Bstr id)
{
    EXPECT_EQ(translator->SaveRecord(id.inOut()), S_OK);
    EXPECT_EQ(translator->FindRecord(id.get()), S_OK);
    return id.text();
}

std::u16string Conformance::add(const Translator& translator, const Values& values)
{
    com::Bstr id;
    EXPECT_EQ(translator->BeginAddRecord(id.put()), S_OK);
    write(translator, id.text(), values);
    return save(translator, std::move(id));
}

std::u16string Conformance::edit(const Translator& translator, const std::u16string& id, const Values& values)
{
    EXPECT_EQ(translator->BeginEditRecord(bstr(id).get()), S_OK);
    write(translator, id, values);
    return save(translator, bstr(id));
}

std::u16string Conformance::addAlone(const Translator& translator, const Values& values)
{
    begin(translator);
    std::u16string id = add(translator, values);
    end(translator);
    return id;
}

std::u16string Conformance::editAlone(const Translator& translator, const std::u16string& id, const Values& values)
{
    begin(translator);
    std::u16string now = edit(translator, id, values);
    end(translator);
    return now;
}

void Conformance::removeAlone(const Translator& translator, const std::u16string& id)
{
    begin(translator);
    EXPECT_EQ(translator->DeleteRecord(bstr(id).get()), S_OK);
    end(translator);
}

Values Conformance::read(const Translator& translator, const std::u16string& id)
{
    Values values;
    const com::Bstr key(id);
    EXPECT_EQ(translator->BeginReadRecord(key.get()), S_OK);
    for (const std::size_t i : textFields()) {
        com::Variant value;
        EXPECT_EQ(translator->ReadField(key.get(), fields_[i].guid, value.put()), S_OK) << "field " << fields_[i].type;
        EXPECT_TRUE(value.vt == VT_BSTR || value.vt == VT_EMPTY) << "field " << fields_[i].type << " gives kind " << value.vt;
        if (!value.text().empty()) values[i] = value.text();
    }
    EXPECT_EQ(translator->EndReadRecord(key.get()), S_OK);
    return values;
}

std::vector<std::u16string> Conformance::ids(const Translator& translator)
{
    LONG count = -1;
    EXPECT_EQ(translator->GetRecordCount(&count), S_OK);
    std::vector<std::u16string> all;
    for (LONG i = 0; i < count; ++i) {
        com::Bstr id;
        EXPECT_EQ(translator->GetRecordID(i, id.put()), S_OK) << i;
        all.push_back(id.text());
    }
    return all;
}

DATE Conformance::modified(const Translator& translator, const std::u16string& id)
{
    DATE date = 0;
    EXPECT_EQ(translator->GetModifiedDate(bstr(id).get(), &date), S_OK);
    return date;
}

INSTANTIATE_TEST_SUITE_P(All, Conformance, testing::ValuesIn(contenders()), nameOf);

} // namespace mbtest
