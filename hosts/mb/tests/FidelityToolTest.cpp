// scripts/fidelity: its own tests, and its exit codes with the built mb.
#include "EndToEndFixture.h"

#include <fstream>

namespace mbtest {
namespace {

class FidelityToolTest : public EndToEnd {
protected:
    FidelityToolTest() { std::filesystem::create_directory(cards_); }
    void addCard(const std::string& text) const { std::ofstream(cards_ / "one.vcf", std::ios::binary) << text; }
    Result python(const std::vector<std::string>& arguments) { return runProgram("/usr/bin/env", arguments, run_); }
    Result fidelity(std::vector<std::string> arguments, const std::string& programs = binFolder())
    {
        const std::vector<std::string> start{"python3", PROJECT_FOLDER "/scripts/fidelity", "--bin", programs};
        arguments.insert(arguments.begin(), start.begin(), start.end());
        return python(arguments);
    }

    std::filesystem::path cards_ = home_ / "cards";
};

TEST_F(FidelityToolTest, ItsOwnTestsPass)
{
    const Result result = python({"python3", PROJECT_FOLDER "/fidelity/tests.py"});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_NE(result.error.find("Ran "), std::string::npos) << result.error;
}

TEST_F(FidelityToolTest, ACardArrivesWholeOnEveryRoute)
{
    addCard("BEGIN:VCARD\nVERSION:4.0\nN:Doe;Jane;;;\nFN:Jane Doe\nNOTE:a\n b\nGENDER:F;a lady\nREV:20310101T000000Z\nEND:VCARD\n");
    const Result result = fidelity({"--json", cards_});
    EXPECT_EQ(result.code, 0) << result.out << result.error;
    const Json routes = Json::parse(result.out)["routes"];
    ASSERT_EQ(routes.size(), 4u);
    for (const Json& route : routes)
        for (const char* name : {"NOTE", "GENDER", "VERSION"})
            EXPECT_EQ(route["counts"][name], (Json{{"in", 1}, {"kept", 1}})) << result.out;
}

TEST_F(FidelityToolTest, ACardThatIsNotCopiedIsALoss)
{
    addCard("BEGIN:VCARD\nVERSION:4.0\nN:Doe;Jane;;;\nFN:Jane Doe\n");
    const Result result = fidelity({cards_});
    EXPECT_EQ(result.code, 1) << result.out << result.error;
    EXPECT_NE(result.out.find("one.vcf (folder → one file → folder): was not copied at all"), std::string::npos) << result.out;
}

TEST_F(FidelityToolTest, WrongUseHasACodeOfItsOwn)
{
    EXPECT_EQ(fidelity({"--frobnicate"}).code, 2);
    EXPECT_EQ(fidelity({cards_ / "missing"}).code, 2);
    EXPECT_EQ(fidelity({cards_}).code, 2) << "a folder without cards measures nothing";
    addCard("BEGIN:VCARD\nVERSION:4.0\nFN:Jane Doe\nEND:VCARD\n");
    EXPECT_EQ(fidelity({cards_}, cards_).code, 3) << "the folder has no mb";
}

} // namespace
} // namespace mbtest
