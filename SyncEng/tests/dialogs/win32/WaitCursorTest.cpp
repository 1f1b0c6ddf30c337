// The wait cursor is shown during work that may take long, and the former cursor afterwards.
#include "../MergeFake.h"
#include "dialogs/CFieldMappingDlg.h"
#include "dialogs/MergeConflict.h"
#include "foundation/ClassTable.h"
#include "translators/CFieldMap.h"
#include "WindowsFixture.h"

namespace {

using mb::CFieldMappingDlg;
using mbtest::told;
using testing::AllOf;
using testing::Each;
using testing::IsEmpty;
using testing::Not;

std::vector<HCURSOR> seen; // the cursors during the work, recorded by the fakes that it calls

HCURSOR systemCursor(LPCWSTR name)
{
    HCURSOR cursor = LoadCursorW(nullptr, name);
    EXPECT_NE(cursor, nullptr);
    return cursor;
}

class WatchingFieldMap final : public mb::CFieldMap {
public:
    explicit WatchingFieldMap(IUnknown* outer) noexcept : CFieldMap(outer) {}
    HRESULT STDMETHODCALLTYPE Create(REFGUID clsId1, REFGUID clsID2, GUID* pGuid) override
    {
        seen.push_back(GetCursor());
        return CFieldMap::Create(clsId1, clsID2, pGuid);
    }
    HRESULT STDMETHODCALLTYPE CreateDefaultMap(REFGUID guid) override
    {
        seen.push_back(GetCursor());
        return CFieldMap::CreateDefaultMap(guid);
    }
    HRESULT STDMETHODCALLTYPE AddMapEntry(REFGUID guid, REFGUID gField1, REFGUID gField2) override
    {
        seen.push_back(GetCursor());
        return CFieldMap::AddMapEntry(guid, gField1, gField2);
    }
};

constexpr com::ClassEntry watchingRows[] = {{&__uuidof(FieldMap), u"", u"", com::create<WatchingFieldMap>}};

class WaitCursorTest : public mbtest::DialogsTest {
protected:
    WaitCursorTest() : former_(SetCursor(cross)) {}
    ~WaitCursorTest() override { SetCursor(former_); }
    // Does the work. Expects the wait cursor each time that a fake is called, at least once.
    template <class F> void expectWaiting(F&& work) const
    {
        seen.clear();
        work();
        EXPECT_EQ(GetCursor(), cross) << "the former cursor is restored";
        EXPECT_THAT(seen, AllOf(Not(IsEmpty()), Each(wait)));
    }
    const HCURSOR cross = systemCursor(IDC_CROSS), wait = systemCursor(IDC_WAIT);

private:
    HCURSOR former_;
};

} // namespace

TEST_F(WaitCursorTest, IsShownDuringResetAndOkOfTheFieldMapping)
{
    s.makeMap();
    const mb::ClassOverride watching(watchingRows);
    user.script.emplace_back([&](mb::Dialog& dialog) {
        EXPECT_EQ(GetCursor(), cross) << "no wait cursor while the dialog waits for the user";
        expectWaiting([&] { dialog.press(CFieldMappingDlg::idReset); });
        expectWaiting([&] { dialog.press(mb::idOk); });
    });
    EXPECT_EQ(s.maps()->ConfigureFieldMapping(nullptr, s.map(), VARIANT_TRUE), S_OK);
    EXPECT_TRUE(user.script.empty());
}

TEST_F(WaitCursorTest, IsShownDuringAMergeUntilItsWindowIsClosed)
{
    const mbtest::RegisteredMerge component;
    told.atShow = [] { seen.push_back(GetCursor()); };
    const std::u16string id1 = s.one().add({{ftCity1, u"Paris"}}), id2 = s.two().add({{ftCity1, u"Rome"}});
    const mb::FieldTypeMap types{{ftCity1, ftCity1}};
    mb::ConflictQuestion question;
    question.side1 = {translator1.get(), mbtest::fakeClass1, id1};
    question.side2 = {translator2.get(), mbtest::fakeClass2, id2};
    question.ChangeMap1 = values({{ftCity1, u"Paris"}});
    question.ChangeMap2 = values({{ftCity1, u"Rome"}});
    question.FieldTypes = &types;
    expectWaiting([&] { EXPECT_EQ(MergeConflict(question, nullptr, {u"First", u"Second"}, nullptr), S_OK); });
    told.shown = E_FAIL;
    expectWaiting([&] { EXPECT_THROW((void)MergeConflict(question, nullptr, {u"First", u"Second"}, nullptr), com::Error); });
}
