// Fixture with the plug-in of the older contract, registered from its file, over a store file in the test's folder.
#pragma once
#include "RegisteredPlugin.h"
#include "TranslatorsFixture.h"

namespace mbtest {

inline constexpr GUID oldNumbers{0x01D00001, 0x1111, 0x4111, {0x81, 0x11, 0x01, 0xD0, 0, 0, 0, 0x01}};
inline constexpr GUID oldTexts{0x01D00002, 0x2222, 0x4222, {0x82, 0x22, 0x01, 0xD0, 0, 0, 0, 0x02}};
inline constexpr GUID oldBare{0x01D00003, 0x3333, 0x4333, {0x83, 0x33, 0x01, 0xD0, 0, 0, 0, 0x03}};

class BridgeTest : public TranslatorsTest {
protected:
    BridgeTest();

    // Returns the fields by index, as the bridge reports them.
    std::vector<GUID> fieldsOf(const com::Ptr<ITranslator>& translator);
    // Returns a translator that is open on a file with the given text.
    com::Ptr<ITranslator> open(REFCLSID clsid, const std::string& text = {});
    // Reads the creation date of a record that has the given line in the file.
    HRESULT createDate(const std::string& line, DATE& date);
    static void store(const GUID& section, std::u16string_view key, std::u16string_view value);

private:
    RegisteredPlugin plugin_;
};

} // namespace mbtest
