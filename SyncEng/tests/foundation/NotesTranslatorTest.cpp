#include "foundation/NotesTranslator.h"

#include "host.h"
#include "library.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "text.h"
#include <gtest/gtest.h>

using namespace mb;
namespace fs = std::filesystem;

namespace {

class NotesTranslator : public testing::Test {
protected:
    NotesTranslator() { platform::setEnvironment(registeredIn, u""); }
    ~NotesTranslator() override { platform::setEnvironment(u"PATH", path); }
    static void installNotes()
    {
        mbtest::setText(platform::Root::LocalMachine, u"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\notes.exe", u"",
                        u"/opt/notes/notes.exe");
    }
    mbtest::TestFolder folder;
    static constexpr char16_t registeredIn[] = u"MB_TEST_REGISTERED_IN";
    const std::u16string path = platform::environment(u"PATH").value_or(u"");
    const std::u16string name = platform::utf16(platform::libraryFileName("LNTrans"));
};

} // namespace

TEST_F(NotesTranslator, TheFolderOfTheProgramIsAddedToTheSearchPath)
{
    platform::setEnvironment(u"PATH", u"/bin");
    AddNotesFolderToPath();
    EXPECT_EQ(platform::environment(u"PATH"), u"/bin"); // not installed
    installNotes();
    AddNotesFolderToPath();
    EXPECT_EQ(platform::environment(u"PATH"), std::u16string(u"/bin") + platform::searchPathSeparator + u"/opt/notes");
}

TEST_F(NotesTranslator, AnEmptySearchPathBecomesTheFolderAlone)
{
    installNotes();
    platform::setEnvironment(u"PATH", u"");
    AddNotesFolderToPath();
    EXPECT_EQ(platform::environment(u"PATH"), u"/opt/notes");
}

TEST_F(NotesTranslator, WithoutAHostOnlyTheFileNameIsReturned) { EXPECT_EQ(RegisterNotesTranslator(), name); }

TEST_F(NotesTranslator, TheLibraryIsRegisteredInTheHostsFolder)
{
    const std::u16string host = platform::utf16(FAKE_HOST_FOLDER);
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", host + u"/mb");
    const fs::path before = fs::current_path();
    EXPECT_EQ(RegisterNotesTranslator(), host + u"/" + name);
    const std::u16string calledIn = platform::environment(registeredIn).value_or(u"");
    ASSERT_FALSE(calledIn.empty());
    EXPECT_TRUE(fs::equivalent(fs::path(calledIn), FAKE_HOST_FOLDER));
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(NotesTranslator, ThePathOfAMissingLibraryIsReturned)
{
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", u"/missing/mb");
    EXPECT_EQ(RegisterNotesTranslator(), u"/missing/" + name);
    EXPECT_EQ(platform::environment(registeredIn).value_or(u""), u"");
}
