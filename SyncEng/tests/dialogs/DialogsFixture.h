// Fixture for tests of dialogs through their models: two open fakes, and a front end that acts as the test says.
#pragma once
#include "dialogs/Dialog.h"
#include "FrontEndFake.h"
#include "store/FieldData.h"
#include "SyncScenario.h"
#include "TextMatchers.h"

#include <gmock/gmock.h>

namespace mbtest {

class DialogsTest : public testing::Test {
protected:
    DialogsTest() : translator1(open(fakeClass1)), translator2(open(fakeClass2)) {}
    ~DialogsTest() override
    {
        for (ITranslator* translator : {translator1.get(), translator2.get()}) (void)translator->Cleanup();
        EXPECT_THAT(s.log().violations, testing::IsEmpty());
    }
    static com::Ptr<ITranslator> open(const GUID& clsid)
    {
        com::Ptr<ITranslator> translator;
        com::check(com::createInstance(clsid, translator));
        com::check(translator->Initialize(nullptr, nullptr, VARIANT_FALSE));
        return translator;
    }
    static const mb::Control& control(const mb::Dialog& dialog, int id)
    {
        const mb::Control* found = dialog.model().find(id);
        if (!found) throw std::out_of_range("no such control");
        return *found;
    }
    // Returns the cells of one column.
    static std::vector<std::u16string> column(const mb::Dialog& dialog, int list, std::size_t number)
    {
        std::vector<std::u16string> cells;
        for (const mb::ListRow& row : control(dialog, list).rows) cells.push_back(row.cells.at(number));
        return cells;
    }
    static mb::FieldValueMap values(std::initializer_list<std::pair<LONG, std::u16string>> items)
    {
        mb::FieldValueMap map;
        for (const auto& [type, text] : items) map[type] = text;
        return map;
    }

    SyncScenario s;
    com::Ptr<ITranslator> translator1, translator2;
    FrontEndFake user;
};

} // namespace mbtest
