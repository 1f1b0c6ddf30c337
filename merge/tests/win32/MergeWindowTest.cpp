// The merge window, used as a user uses it.
#include "interfaces.h"
#include "library.h"
#include "MergeComponent.h"
#include "win32/resource.h"
#include "WindowUser.h"

#include <gmock/gmock.h>

namespace {

using mb::merge::AskForMerge;
using mb::merge::MergeQuestion;
using mbtest::List;
using mbtest::Window;
using mbtest::WindowUser;
using testing::ElementsAre;

constexpr char16_t title[] = u"Resolve Conflict Manually";

class MergeWindowTest : public testing::Test {
protected:
    bool ask(WindowUser::Acts acts)
    {
        const WindowUser atTheWindow(std::move(acts));
        return AskForMerge(question);
    }
    std::vector<std::u16string> merged() const
    {
        std::vector<std::u16string> values;
        for (const mb::merge::MergeField& field : question.fields) values.push_back(field.merged);
        return values;
    }
    MergeQuestion question{nullptr,
                           title,
                           u"Mirabook & Sons",
                           u"vCard",
                           {{u"First name", u"Ada", u"Ada", {}},
                            {u"Title", u"Boss", u"Chief", {}},
                            {u"Notes", std::u16string(3000, u'n') + u"\nsecond line", u"short", {}},
                            {u"Fax", u"", u"12", {}}}};
};

void typeInto(const Window& window, const std::u16string& text)
{
    SendMessageW(window.part(MERGE_VALUE), EM_SETSEL, 0, -1);
    SendMessageW(window.part(MERGE_VALUE), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
}

int rightEdge(HWND part)
{
    RECT rect{};
    GetWindowRect(part, &rect);
    return static_cast<int>(rect.right);
}

} // namespace

TEST_F(MergeWindowTest, EachFieldThatDiffersHasARowWithBothValuesAndTheMergedValue)
{
    EXPECT_FALSE(ask([](WindowUser& actor) {
        const Window window = actor.window(title);
        const List list = window.list(MERGE_LIST);
        EXPECT_THAT(list.headers(), ElementsAre(u"Field Name", u"Mirabook & Sons", u"vCard", u"Merged Value"));
        ASSERT_EQ(list.rowCount(), 3);
        EXPECT_THAT(list.row(0), ElementsAre(u"Title", u"Boss", u"Chief", u"Boss"));
        EXPECT_THAT(list.row(2), ElementsAre(u"Fax", u"", u"12", u""));
        EXPECT_EQ(window.text(MERGE_LABEL), u"Title:");
        EXPECT_EQ(window.text(MERGE_VALUE), u"Boss");
        EXPECT_EQ(window.text(MERGE_TAKE_1), u"&1: take Mirabook && Sons");
        window.keepPicture("merge");
        window.press(IDCANCEL);
    }));
}

TEST_F(MergeWindowTest, AFieldTakesTheValueOfEitherStoreOrATypedOne)
{
    EXPECT_TRUE(ask([](WindowUser& actor) {
        const Window window = actor.window(title);
        const List list = window.list(MERGE_LIST);
        window.choose(MERGE_TAKE_2);
        EXPECT_EQ(list.cell(0, 3), u"Chief");
        list.clickRow(2);
        EXPECT_EQ(window.text(MERGE_LABEL), u"Fax:");
        typeInto(window, u"99\r\n100");
        EXPECT_EQ(list.cell(2, 3), u"99 100");
        window.choose(MERGE_TAKE_1);
        EXPECT_EQ(window.text(MERGE_VALUE), u"");
        typeInto(window, u"99");
        list.clickRow(1);
        window.press(IDOK);
    }));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Chief", std::u16string(3000, u'n') + u"\nsecond line", u"99"))
        << "showing a value of several lines is not an edit";
}

TEST_F(MergeWindowTest, AllFieldsAreTakenFromOneStore)
{
    EXPECT_TRUE(ask([](WindowUser& actor) {
        const Window window = actor.window(title);
        window.choose(MERGE_ALL_2);
        EXPECT_THAT(window.list(MERGE_LIST).column(3), ElementsAre(u"Chief", u"short", u"12"));
        EXPECT_EQ(window.text(MERGE_VALUE), u"Chief");
        window.press(IDOK);
    }));
    EXPECT_THAT(merged(), ElementsAre(u"Ada", u"Chief", u"short", u"12"));
}

TEST_F(MergeWindowTest, ALongValueHidesNoColumnAndTheListGrowsWithTheWindow)
{
    EXPECT_FALSE(ask([](WindowUser& actor) {
        const Window window = actor.window(title);
        const List list = window.list(MERGE_LIST);
        const auto total = [&] {
            int sum = 0;
            for (const int width : list.widths()) sum += width;
            return sum;
        };
        const auto listWidth = [&] {
            RECT client{};
            GetClientRect(list.window(), &client);
            return static_cast<int>(client.right);
        };
        EXPECT_LE(total(), listWidth());
        const int before = listWidth(), ok = rightEdge(window.part(IDOK));
        RECT frame{};
        GetWindowRect(window.handle(), &frame);
        SetWindowPos(window.handle(), nullptr, 0, 0, static_cast<int>(frame.right - frame.left) + 200,
                     static_cast<int>(frame.bottom - frame.top) + 100, SWP_NOZORDER | SWP_NOMOVE);
        EXPECT_EQ(listWidth(), before + 200);
        EXPECT_EQ(rightEdge(window.part(IDOK)), ok + 200);
        EXPECT_LE(total(), listWidth());
        EXPECT_GT(total(), before);
        SetWindowPos(window.handle(), nullptr, 0, 0, 10, 10, SWP_NOZORDER | SWP_NOMOVE);
        EXPECT_EQ(listWidth(), before) << "never smaller than it began";
        window.keepPicture("merge-small-again");
        window.close();
    }));
}

TEST_F(MergeWindowTest, WithoutDifferencesNoWindowOpens)
{
    question.fields.resize(1);
    EXPECT_TRUE(AskForMerge(question));
    EXPECT_THAT(merged(), ElementsAre(u"Ada"));
}

TEST_F(MergeWindowTest, TheLibraryServesTheComponentThroughItsInterface)
{
    platform::Library library(MERGE_LIBRARY);
    ASSERT_TRUE(library);
    auto* const getClassObject = library.function<HRESULT(REFCLSID, REFIID, void**)>("DllGetClassObject");
    ASSERT_TRUE(getClassObject);
    constexpr CLSID clsid{0x5b1d2c0e, 0x7a34, 0x4c61, {0x9f, 0x0b, 0x2d, 0x86, 0x3e, 0x51, 0xc4, 0xa7}};
    com::Ptr<IClassFactory> factory;
    ASSERT_EQ(getClassObject(clsid, __uuidof(IClassFactory), factory.putVoid()), S_OK);
    com::Ptr<IMergeDialog> component;
    ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(IMergeDialog), component.putVoid()), S_OK);
    const com::Bstr none(u""), label(u"Title"), value1(u"Boss"), value2(u"Chief"), names(u"vCard\tMirabook"), caption(title);
    ASSERT_EQ(component->AddField(label.get(), value2.get(), none.get(), value1.get()), S_OK);
    LONG result = 7;
    const WindowUser atTheWindow([](WindowUser& actor) {
        const Window window = actor.window(title);
        EXPECT_EQ(window.text(MERGE_TAKE_1), u"&1: take Mirabook");
        window.choose(MERGE_TAKE_2);
        window.press(IDOK);
    });
    ASSERT_EQ(component->ShowMergeDialog(0, caption.get(), names.get(), 0, 0, VARIANT_FALSE, none.get(), none.get(), none.get(), none.get(),
                                         &result),
              S_OK);
    EXPECT_EQ(result, 0);
    com::Bstr text;
    ASSERT_EQ(component->GetMergedFields(text.put()), S_OK);
    EXPECT_EQ(text.view(), u"Title\tChief");
}
