#include "TranslatorsFixture.h"

#include "foundation/CLogFile.h"
#include "foundation/Log.h"
#include "store/CDataStream.h"
#include "store/CSyncHistory.h"
#include "text.h"
#include "translators/CFieldMap.h"
#include "translators/CTrManager.h"
#include "translators/CTrServices.h"
#include <sstream>

namespace mbtest {
namespace {

constexpr com::ClassEntry rows[] = {
    {&__uuidof(TrServices), u"", u"", com::create<mb::CTrServices>}, {&__uuidof(TrManager), u"", u"", com::create<mb::CTrManager>},
    {&__uuidof(LogFile), u"", u"", com::create<mb::CLogFile>},       {&__uuidof(FieldMap), u"", u"", com::create<mb::CFieldMap>},
    {&__uuidof(DataStream), u"", u"", com::create<mb::CDataStream>},
};

} // namespace

TranslatorsTest::TranslatorsTest() : objectsBefore_(com::moduleLocks)
{
    mb::SetClassTable(rows);
    std::filesystem::create_directories(folder.data());
    com::check(mb::OpenConfigStore(folder.data() / "MBSync.xml"));
    mb::LogLevelMask = mb::logProgress | mb::logFailures | mb::logHostText | mb::logEnumeration;
    mb::ResetLog();
    mb::OpenLog(folder.data() / "MBSync.log", 1024);
    plugin1->name = "1";
    plugin2->name = "2";
    plugin1->log = plugin2->log = calls;
    plugin1->fields = {{fieldId(1, 1), ftFirstName}, {fieldId(1, 2), ftLastName}, {fieldId(1, 3), ftNotes}};
    plugin2->fields = {{fieldId(2, 9), ftNotes}, {fieldId(2, 8), ftLastName}, {fieldId(2, 7), ftCompany}};
    class1_ = std::make_unique<PluginClass>(pluginClass1, plugin1);
    class2_ = std::make_unique<PluginClass>(pluginClass2, plugin2);
}

TranslatorsTest::~TranslatorsTest()
{
    class1_.reset();
    class2_.reset();
    EXPECT_EQ(plugin1->objects + plugin2->objects, 0) << "translators were not released";
    EXPECT_EQ(com::moduleLocks, objectsBefore_ + keptByRuntime) << "objects were not released";
    EXPECT_THAT(calls->violations, ::testing::IsEmpty());
    (void)mb::CloseConfigStore();
    mb::CloseLog();
    mb::LogLevelMask = 0;
    mb::SetClassTable({});
}

com::Ptr<ITranslator> TranslatorsTest::load(REFCLSID clsid)
{
    com::Ptr<ITranslator> translator;
    EXPECT_EQ(loader()->Load(clsid, translator.put()), S_OK);
    return translator;
}

void TranslatorsTest::writePair(const GUID& map)
{
    com::check(mb::ConfigStore().WriteGuid(u"TrMap", com::guidText(map), u"Trans1", pluginClass1, false, true));
    com::check(mb::ConfigStore().WriteGuid(u"TrMap", com::guidText(map), u"Trans2", pluginClass2, false, true));
}

std::u16string TranslatorsTest::stored(std::u16string_view type, const GUID& section, std::u16string_view key)
{
    std::u16string value;
    return SUCCEEDED(mb::ConfigStore().ReadValue(type, com::guidText(section), key, value)) ? value : u"<none>";
}

std::vector<std::string> TranslatorsTest::logLines(std::string_view containing)
{
    std::istringstream text(folder.read(folder.data() / "MBSync.log"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.find(containing) != std::string::npos) lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> TranslatorsTest::takeCalls() { return std::exchange(calls->lines, {}); }

std::filesystem::path TranslatorsTest::historyFile(const GUID& map) const
{
    return folder.data() / (platform::utf8(com::guidText(map)) + ".xml");
}

void TranslatorsTest::writeHistory(const GUID& map, LONG status)
{
    mb::CSyncHistory history(nullptr);
    com::check(history.Open(map));
    com::check(history.SetLastSyncStatus(u"Trans1", status));
    com::check(history.SetDatabase(u"Trans1", u"left"));
    com::check(history.SetDatabase(u"Trans2", u"right"));
}

} // namespace mbtest
