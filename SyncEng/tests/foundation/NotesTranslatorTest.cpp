#include "foundation/NotesTranslator.h"

#include "host.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "text.h"
#include <cstdlib>
#include <gtest/gtest.h>

using namespace mb;
namespace fs = std::filesystem;

namespace {

class NotesTranslator : public testing::Test {
protected:
    NotesTranslator() : path(std::getenv("PATH") ? std::getenv("PATH") : "") { unsetenv("MB_TEST_REGISTERED_IN"); }
    ~NotesTranslator() override { setenv("PATH", path.c_str(), 1); }
    static void installNotes()
    {
        mbtest::setText(platform::Root::LocalMachine, u"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\notes.exe", u"",
                        u"/opt/notes/notes.exe");
    }
    mbtest::TestFolder folder;
    const std::string path;
};

} // namespace

TEST_F(NotesTranslator, TheFolderOfTheProgramIsAddedToTheSearchPath)
{
    setenv("PATH", "/bin", 1);
    AddNotesFolderToPath();
    EXPECT_STREQ(std::getenv("PATH"), "/bin"); // not installed
    installNotes();
    AddNotesFolderToPath();
    EXPECT_EQ(platform::environment(u"PATH"), std::u16string(u"/bin") + platform::searchPathSeparator + u"/opt/notes");
}

TEST_F(NotesTranslator, AnEmptySearchPathBecomesTheFolderAlone)
{
    installNotes();
    setenv("PATH", "", 1);
    AddNotesFolderToPath();
    EXPECT_STREQ(std::getenv("PATH"), "/opt/notes");
    unsetenv("PATH");
    AddNotesFolderToPath();
    EXPECT_STREQ(std::getenv("PATH"), "/opt/notes");
}

TEST_F(NotesTranslator, WithoutAHostOnlyTheBareNameIsKnown) { EXPECT_EQ(RegisterNotesTranslator(), u"libLNTrans.so"); }

TEST_F(NotesTranslator, TheLibraryBesideTheHostRegistersItselfFromThere)
{
    const std::u16string host = platform::utf16(FAKE_HOST_FOLDER);
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", host + u"/mb");
    const fs::path before = fs::current_path();
    EXPECT_EQ(RegisterNotesTranslator(), host + u"/libLNTrans.so");
    const char* calledIn = std::getenv("MB_TEST_REGISTERED_IN");
    ASSERT_TRUE(calledIn);
    EXPECT_TRUE(fs::equivalent(calledIn, FAKE_HOST_FOLDER));
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(NotesTranslator, AMissingLibraryStillGivesItsPath)
{
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", u"/missing/mb");
    EXPECT_EQ(RegisterNotesTranslator(), u"/missing/libLNTrans.so");
    EXPECT_FALSE(std::getenv("MB_TEST_REGISTERED_IN"));
}
