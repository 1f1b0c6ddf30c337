#include "ConformanceTest.h"

#include <set>

namespace mbtest {

// fields_ was listed from an object that was never opened.
TEST_P(Conformance, FieldsAreListedWithoutAnOpenStore)
{
    std::set<std::u16string> guids, names;
    std::set<LONG> types;
    for (const ListedField& field : fields_) {
        EXPECT_TRUE(guids.insert(com::guidText(field.guid)).second) << field.type;
        EXPECT_FALSE(field.name.empty()) << field.type;
        EXPECT_TRUE(names.insert(field.name).second) << field.type;
        EXPECT_TRUE(types.insert(field.type).second) << field.type;
        EXPECT_GT(field.type, 0);
        EXPECT_LT(field.type, LONG{ftDynamicStart});
        EXPECT_GE(field.dataType, LONG{dtInteger}) << field.type;
        EXPECT_LE(field.dataType, LONG{dtImage}) << field.type;
        EXPECT_EQ(field.flags & ~ULONG{ffModified | ffCustomLabel | ffOptional | ffVersionDependent | ffReplaceNewLine | ffPhoneNumber}, 0u)
            << field.type;
    }
}

TEST_P(Conformance, TheNamesOfAContactHaveFields)
{
    for (const LONG type : {LONG{ftFirstName}, LONG{ftLastName}, LONG{ftCompany}, LONG{ftPhone}, LONG{ftEmail1}})
        EXPECT_EQ(fields_[fieldOf(type)].type, type);
}

TEST_P(Conformance, AFieldIsFoundByItsName)
{
    const Translator translator = subject().create();
    const auto list = translator.as<IFieldList>();
    for (const ListedField& field : fields_) {
        GUID found{};
        EXPECT_EQ(list->GetFieldByName(bstr(field.name).get(), &found), S_OK) << field.type;
        EXPECT_EQ(found, field.guid) << field.type;
    }
    GUID found{};
    EXPECT_TRUE(FAILED(list->GetFieldByName(bstr(u"No field has this name").get(), &found)));
    EXPECT_TRUE(FAILED(list->GetFieldByName(nullptr, &found)));
}

TEST_P(Conformance, AFieldThatIsNotInTheListIsRefused)
{
    const Translator translator = subject().create();
    const auto list = translator.as<IFieldList>();
    const auto properties = translator.as<IField>();
    GUID guid{};
    com::Bstr name;
    LONG number = 0;
    ULONG unsignedNumber = 0;
    for (const LONG index : {LONG{-1}, static_cast<LONG>(fields_.size()), LONG{INT32_MAX}, LONG{INT32_MIN}})
        EXPECT_TRUE(FAILED(list->GetFieldByIndex(index, &guid))) << index;
    for (const GUID& unknown : {GUID{}, com::newGuid()}) {
        EXPECT_TRUE(FAILED(properties->GetName(unknown, name.put())));
        EXPECT_EQ(name.get(), nullptr);
        EXPECT_TRUE(FAILED(properties->GetFieldType(unknown, &number)));
        EXPECT_TRUE(FAILED(properties->GetDataType(unknown, &number)));
        EXPECT_TRUE(FAILED(properties->GetMaxLength(unknown, &unsignedNumber)));
        EXPECT_TRUE(FAILED(properties->GetFlags(unknown, &unsignedNumber)));
    }
}

TEST_P(Conformance, TwoObjectsNameTheSameFields)
{
    Translator first = open();
    const Translator second = subject().create();
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        GUID one{}, two{};
        EXPECT_EQ(first.as<IFieldList>()->GetFieldByIndex(static_cast<LONG>(i), &one), S_OK);
        EXPECT_EQ(second.as<IFieldList>()->GetFieldByIndex(static_cast<LONG>(i), &two), S_OK);
        EXPECT_EQ(one, two);
        EXPECT_EQ(one, fields_[i].guid);
    }
    close(first);
}

} // namespace mbtest
