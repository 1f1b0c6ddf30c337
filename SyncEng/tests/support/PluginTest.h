// Shared by the tests of a plug-in: a translator of the plug-in with fake services, and the steps by which the engine reads and writes a
// record.
#pragma once
#include "FakeServices.h"
#include "PluginFile.h"
#include "TestFolder.h"
#include "text.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace mbtest {

class PluginTest : public testing::Test {
protected:
    PluginTest(const std::filesystem::path& file, const GUID& clsid) : plugin(file, clsid), translator(plugin.create()) {}
    void TearDown() override
    {
        translator.reset();
        services.reset();
        EXPECT_TRUE(plugin.allReturned()) << "an object of the plug-in was not released";
    }
    HRESULT call(const char* entry) const { return plugin.library().function<HRESULT()>(entry)(); }
    HRESULT initialize() { return translator->Initialize(services.get(), nullptr, VARIANT_FALSE); }
    std::string lastError()
    {
        com::Variant code;
        com::Bstr first, second;
        EXPECT_EQ(translator.as<ITranslatorInfo>()->GetLastError(code.put(), first.put(), second.put()), S_OK);
        EXPECT_EQ(code.vt, VT_EMPTY);
        EXPECT_TRUE(second.empty());
        return platform::utf8(first.view());
    }
    LONG count()
    {
        LONG n = -1;
        EXPECT_EQ(translator->GetRecordCount(&n), S_OK);
        return n;
    }
    // Finds a field by its type, as the engine does.
    GUID field(LONG type)
    {
        if (fields_.empty()) listFields();
        EXPECT_TRUE(fields_.contains(type)) << type;
        return fields_[type];
    }
    std::u16string read(const com::Bstr& id, LONG type)
    {
        com::Variant value;
        EXPECT_EQ(translator->BeginReadRecord(id.get()), S_OK) << lastError();
        EXPECT_EQ(translator->ReadField(id.get(), field(type), value.put()), S_OK) << lastError();
        EXPECT_EQ(value.vt, VT_BSTR);
        EXPECT_EQ(translator->EndReadRecord(id.get()), S_OK);
        return std::u16string(value.text());
    }
    HRESULT write(const com::Bstr& id, LONG type, std::u16string_view text)
    {
        return translator->WriteField(id.get(), field(type), com::Variant(text));
    }
    com::Bstr add(const std::map<LONG, std::u16string>& values)
    {
        com::Bstr id;
        EXPECT_EQ(translator->BeginAddRecord(id.put()), S_OK) << lastError();
        for (const auto& [type, text] : values) EXPECT_EQ(write(id, type, text), S_OK) << lastError();
        EXPECT_EQ(translator->SaveRecord(id.inOut()), S_OK) << lastError();
        return id;
    }

    TestFolder folder;
    PluginFile plugin;
    com::Ptr<FakeServices> services = com::make<FakeServices>();
    com::Ptr<ITranslator> translator;

private:
    void listFields()
    {
        const auto list = translator.as<IFieldList>();
        const auto properties = translator.as<IField>();
        LONG n = 0;
        EXPECT_EQ(list->GetCount(&n), S_OK);
        for (LONG i = 0; i < n; ++i) {
            GUID guid{};
            LONG type = 0;
            EXPECT_EQ(list->GetFieldByIndex(i, &guid), S_OK);
            EXPECT_EQ(properties->GetFieldType(guid, &type), S_OK);
            EXPECT_TRUE(fields_.emplace(type, guid).second) << "two fields of type " << type;
        }
    }

    std::map<LONG, GUID> fields_;
};

} // namespace mbtest
