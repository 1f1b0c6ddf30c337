// The module's classes, used by scripts in the Windows script host.
#include "com.h"

#include "Installation.h"
#include "interfaces.h"
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace mbtest;
using testing::HasSubstr;

namespace {

class Script : public testing::Test {
protected:
    std::string run(const std::string& text)
    {
        const auto file = installation.folder() / "script.vbs";
        std::ofstream(file, std::ios::binary) << text;
        wchar_t system[MAX_PATH];
        GetSystemDirectoryW(system, MAX_PATH);
        return runProgram(std::filesystem::path(system) / L"cscript.exe", {L"//nologo", file.native()}).output;
    }
    Installation installation;
};

constexpr char makeBoth[] = R"(
Sub Tell(name)
    WScript.Echo name & ": " & TypeName(CreateObject(name))
End Sub
Tell "MBSync.Synchronizer.1"
Tell "MBSync.Synchronizer"
Tell "MBSync.TrManager.1"
)";

} // namespace

// A script gets the first dual interface of a class. ISynchronizer, ITrManager and ITrMap are not dual: only compiled hosts can use them.
TEST_F(Script, CreatesTheClassesAndGetsTheirLateBoundInterface)
{
    EXPECT_EQ(run(makeBoth), "MBSync.Synchronizer.1: IReSynchronizer\n"
                             "MBSync.Synchronizer: IReSynchronizer\n"
                             "MBSync.TrManager.1: IFidemarkSupport\n");
}

TEST_F(Script, CallsTheTranslatorManagerOnlyByItsLateBoundInterface)
{
    EXPECT_EQ(run(R"(
Set m = CreateObject("MBSync.TrManager.1")
m.Cleanup
WScript.Echo "cleaned up"
On Error Resume Next
m.EnumerateMaps
WScript.Echo "an early bound method: " & Err.Number
)"),
              "cleaned up\nan early bound method: 438\n");
}

TEST_F(Script, GetsAnErrorForAClassWithoutALateBoundInterface)
{
    EXPECT_EQ(run(R"(
On Error Resume Next
Set l = CreateObject("MBSync.LogFile.1")
WScript.Echo Err.Number
)"),
              "430\n");
}

TEST_F(Script, CallsAMethodByNameAndGetsAnErrorForAWrongArgument)
{
    const std::string output = run(R"(
On Error Resume Next
Set s = CreateObject("MBSync.Synchronizer.1")
s.ReSynchronize "no identifier", True
WScript.Echo "known: " & (Err.Number <> 0 And Err.Number <> 438)
Err.Clear
s.NoSuchMethod
WScript.Echo "unknown: " & (Err.Number <> 0)
)");
    EXPECT_THAT(output, HasSubstr("known: True\n"));
    EXPECT_THAT(output, HasSubstr("unknown: True\n"));
}
