#include "ConformanceTest.h"

namespace mbtest {

TEST_P(Conformance, ANullOutPointerIsRefused)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const com::Bstr key(id);
    ITrServices* services = subject().services.get();
    com::Bstr text;
    EXPECT_EQ(translator->GetSyncParams(services, nullptr, text.put()), E_POINTER);
    EXPECT_EQ(translator->GetSyncParams(services, text.put(), nullptr), E_POINTER);
    EXPECT_EQ(translator->GetTranslatorCaps(nullptr), E_POINTER);
    EXPECT_EQ(translator->GetRecordCount(nullptr), E_POINTER);
    EXPECT_EQ(translator->GetRecordID(0, nullptr), E_POINTER);
    EXPECT_EQ(translator->GetCreateDate(key.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator->GetModifiedDate(key.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator->BeginAddRecord(nullptr), E_POINTER);
    EXPECT_EQ(translator->ReadField(key.get(), fields_[0].guid, nullptr), E_POINTER);
    EXPECT_EQ(translator->SaveRecord(nullptr), E_POINTER);
    const auto list = translator.as<IFieldList>();
    EXPECT_EQ(list->GetCount(nullptr), E_POINTER);
    EXPECT_EQ(list->GetFieldByIndex(0, nullptr), E_POINTER);
    EXPECT_EQ(list->GetFieldByName(bstr(fields_[0].name).get(), nullptr), E_POINTER);
    const auto properties = translator.as<IField>();
    EXPECT_EQ(properties->GetName(fields_[0].guid, nullptr), E_POINTER);
    EXPECT_EQ(properties->GetFieldType(fields_[0].guid, nullptr), E_POINTER);
    EXPECT_EQ(properties->GetDataType(fields_[0].guid, nullptr), E_POINTER);
    EXPECT_EQ(properties->GetMaxLength(fields_[0].guid, nullptr), E_POINTER);
    EXPECT_EQ(properties->GetFlags(fields_[0].guid, nullptr), E_POINTER);
    const auto info = translator.as<ITranslatorInfo>();
    com::Variant code;
    com::Bstr other;
    EXPECT_EQ(info->GetInfo(nullptr, text.put(), other.put()), E_POINTER);
    EXPECT_EQ(info->GetInfo(text.put(), nullptr, other.put()), E_POINTER);
    EXPECT_EQ(info->GetInfo(text.put(), other.put(), nullptr), E_POINTER);
    EXPECT_EQ(info->GetLastError(nullptr, text.put(), other.put()), E_POINTER);
    EXPECT_EQ(info->GetLastError(code.put(), nullptr, other.put()), E_POINTER);
    EXPECT_EQ(info->GetLastError(code.put(), text.put(), nullptr), E_POINTER);
    EXPECT_EQ(translator.as<IRecordVerifier>()->RecordVerified(key.get(), nullptr), E_POINTER);
    EXPECT_EQ(translator.as<IPIMSetUp>()->IsPIMAvailable(nullptr), E_POINTER);
    EXPECT_EQ(translator->QueryInterface(__uuidof(IFieldList), nullptr), E_POINTER);
    close(translator);
}

TEST_P(Conformance, AfterAFailureOutArgumentsMayBeFreed)
{
    Translator translator = open();
    BSTR id = reinterpret_cast<BSTR>(1);
    EXPECT_TRUE(FAILED(translator->GetRecordID(0, &id)));
    EXPECT_EQ(id, nullptr);
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = reinterpret_cast<BSTR>(1);
    EXPECT_TRUE(FAILED(translator->ReadField(bstr(u"none").get(), fields_[0].guid, &value)));
    EXPECT_EQ(value.vt, VT_EMPTY);
    close(translator);
}

TEST_P(Conformance, AFieldOfAnotherStoreIsNeitherReadNorWritten)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const com::Bstr key(id);
    com::Variant value;
    EXPECT_EQ(translator->BeginReadRecord(key.get()), S_OK);
    EXPECT_TRUE(FAILED(translator->ReadField(key.get(), com::newGuid(), value.put())));
    EXPECT_EQ(translator->EndReadRecord(key.get()), S_OK);
    begin(translator);
    EXPECT_EQ(translator->BeginEditRecord(key.get()), S_OK);
    EXPECT_TRUE(FAILED(translator->WriteField(key.get(), com::newGuid(), com::Variant(u"x"))));
    com::Bstr saved(id);
    EXPECT_EQ(translator->SaveRecord(saved.inOut()), S_OK) << "the refused field does not affect the record";
    end(translator);
    EXPECT_EQ(read(translator, saved.text())[fieldOf(ftLastName)], u"Lovelace");
    close(translator);
}

TEST_P(Conformance, OnlyTheRecordThatIsBeingEditedIsWritten)
{
    Translator translator = open();
    const std::u16string one = addAlone(translator, {{fieldOf(ftLastName), u"One"}});
    const std::u16string two = addAlone(translator, {{fieldOf(ftLastName), u"Two"}});
    const GUID& field = fields_[fieldOf(ftLastName)].guid;
    begin(translator);
    EXPECT_TRUE(FAILED(translator->WriteField(bstr(one).get(), field, com::Variant(u"x")))) << "no record is being edited";
    EXPECT_EQ(translator->BeginEditRecord(bstr(one).get()), S_OK);
    EXPECT_TRUE(FAILED(translator->WriteField(bstr(two).get(), field, com::Variant(u"x")))) << "another record is being edited";
    com::Bstr saved(two);
    EXPECT_TRUE(FAILED(translator->SaveRecord(saved.inOut())));
    saved = bstr(one);
    EXPECT_EQ(translator->SaveRecord(saved.inOut()), S_OK);
    com::Bstr twice(saved);
    EXPECT_TRUE(FAILED(translator->SaveRecord(twice.inOut()))) << "the record is already saved";
    end(translator);
    EXPECT_EQ(read(translator, saved.text())[fieldOf(ftLastName)], u"One");
    EXPECT_EQ(read(translator, two)[fieldOf(ftLastName)], u"Two");
    close(translator);
}

TEST_P(Conformance, AnUnknownRecordIsNotVerified)
{
    Translator translator = open();
    const std::u16string id = addAlone(translator, {{fieldOf(ftLastName), u"Lovelace"}});
    const auto verifier = translator.as<IRecordVerifier>();
    VARIANT_BOOL verified = VARIANT_FALSE;
    EXPECT_EQ(verifier->RecordVerified(bstr(id).get(), &verified), S_OK);
    EXPECT_EQ(verified, VARIANT_TRUE);
    EXPECT_TRUE(FAILED(verifier->RecordVerified(bstr(u"none").get(), &verified)));
    close(translator);
}

} // namespace mbtest
