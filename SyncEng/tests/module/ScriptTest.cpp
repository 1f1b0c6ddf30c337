// The classes as a script of the system's own script host sees them.
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

// What a script is told of a class that has no late-bound interface is its host's affair; here it only must not get an object.
constexpr char makeBoth[] = R"(
Function Make(name)
    On Error Resume Next
    Dim made
    Set made = Nothing
    Set made = CreateObject(name)
    If made Is Nothing Then
        Make = name & ": early bound only"
    Else
        Make = name & ": " & TypeName(made)
    End If
End Function
WScript.Echo Make("MBSync.Synchronizer.1")
WScript.Echo Make("MBSync.Synchronizer")
WScript.Echo Make("MBSync.TrManager.1")
)";

} // namespace

TEST_F(Script, MakesTheClassesThatHaveALateBoundInterface)
{
    const std::string output = run(makeBoth);
    EXPECT_THAT(output, HasSubstr("MBSync.Synchronizer.1: IReSynchronizer\n"));
    EXPECT_THAT(output, HasSubstr("MBSync.Synchronizer: IReSynchronizer\n"));
    com::Ptr<IDispatch> late;
    const bool bound = SUCCEEDED(com::createInstance(__uuidof(TrManager), late));
    EXPECT_THAT(output, HasSubstr(bound ? "MBSync.TrManager.1: IFidemark" : "MBSync.TrManager.1: early bound only\n"));
    RecordProperty("output", output);
}

TEST_F(Script, CallsAMethodByNameAndIsToldOfAWrongArgument)
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
