#include "host.h"

#include "com.h"
#include "library.h"
#include "terminal.h"
#include <cmath>
#include <gtest/gtest.h>
#include <thread>

using namespace platform;

namespace {
const int moduleMark = 0;
}

TEST(Host, AnObjectOfTheProgramIsFoundInTheProgram)
{
    EXPECT_EQ(executablePath().filename(), "platform_tests.exe");
    EXPECT_TRUE(std::filesystem::exists(executablePath()));
    EXPECT_EQ(modulePathOf(&moduleMark), executablePath());
}

TEST(Host, AFunctionOfALibraryIsFoundInTheLibrary)
{
    const Library library(std::filesystem::path("msxml6.dll"));
    ASSERT_TRUE(library);
    auto* const function = library.function<HRESULT()>("DllCanUnloadNow");
    ASSERT_NE(function, nullptr);
    EXPECT_EQ(modulePathOf(reinterpret_cast<const void*>(function)).filename(), "msxml6.dll");
    EXPECT_EQ(library.function<void()>("NoSuchFunction"), nullptr);
}

TEST(Host, AnAddressOutsideOfAllModulesHasNoPath)
{
    const auto onTheHeap = std::make_unique<int>();
    EXPECT_TRUE(modulePathOf(onTheHeap.get()).empty());
}

TEST(Host, AMissingLibraryIsEmptyAndShowsNoMessageBox)
{
    EXPECT_FALSE(Library(std::filesystem::path("C:\\none\\none.dll")));
    EXPECT_FALSE(Library());
    EXPECT_EQ(libraryFileName("CAT"), "CAT.dll");
}

TEST(Host, TheUserHasAName) { EXPECT_FALSE(userName().empty()); }

TEST(Host, TheEnvironmentIsReadAndWritten)
{
    EXPECT_FALSE(environment(u"MB_NOT_SET"));
    setEnvironment(u"MB_SET", u"K\u00E4se");
    EXPECT_EQ(environment(u"MB_SET"), u"K\u00E4se");
    const std::u16string wide(5000, u'x');
    setEnvironment(u"MB_SET", wide);
    EXPECT_EQ(environment(u"mb_set"), wide);
    setEnvironment(u"MB_SET", u"");
    EXPECT_TRUE(environment(u"MB_SET").value_or(u"").empty());
}

TEST(Host, ThreadsHaveNumbers)
{
    const std::uint32_t here = threadId();
    std::uint32_t there = here;
    std::thread([&] { there = threadId(); }).join();
    EXPECT_NE(here, there);
    EXPECT_NE(processId(), 0u);
}

TEST(Host, AnAutomationDateHoldsWholeSeconds)
{
    const double seconds = utcNow() * 86400;
    EXPECT_NEAR(seconds, std::round(seconds), 1e-3);
    EXPECT_GT(utcNow(), 45000.0); // later than the start of 2023
    EXPECT_LT(std::abs(localNow() - utcNow()), 1.0);
    EXPECT_GE(localTime().year, 2023);
}

TEST(Host, EveryCodeHasAText)
{
    EXPECT_FALSE(systemMessage(E_ACCESSDENIED).empty());
    EXPECT_NE(systemMessage(E_ACCESSDENIED).back(), u'\n');
    EXPECT_EQ(systemMessage(static_cast<std::int32_t>(0xA1234567)), u"The error 0xA1234567 occurred.");
}

TEST(Host, TimesAndDatesAreFormatted)
{
    const ClockTime time{2001, 2, 3, 14, 5, 6, 700};
    EXPECT_NE(timeText(time).find(u"05"), std::u16string::npos);
    EXPECT_NE(dateText(time).find(u"01"), std::u16string::npos);
}

TEST(Host, AFileIsNoTerminal)
{
    const HANDLE former = GetStdHandle(STD_OUTPUT_HANDLE);
    const HANDLE null = CreateFileW(L"NUL", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetStdHandle(STD_OUTPUT_HANDLE, null);
    EXPECT_FALSE(outputIsTerminal());
    SetStdHandle(STD_OUTPUT_HANDLE, former);
    CloseHandle(null);
}
