#include "HelpText.h"

#include "Failure.h"
#include <gtest/gtest.h>
#include <sstream>

using namespace mbhost;
namespace {
using Names = std::vector<std::string>;
} // namespace

TEST(HelpTextTest, TheNearestNameIsFoundUnlessNoneIsNear)
{
    const Names names{"sync", "set", "status", "show", "transfer", "translators"};
    EXPECT_EQ(nearestName("snyc", names), "sync");
    EXPECT_EQ(nearestName("sycn", names), "sync");
    EXPECT_EQ(nearestName("sttus", names), "status");
    EXPECT_EQ(nearestName("transfers", names), "transfer");
    EXPECT_EQ(nearestName("x", names), "");
    EXPECT_EQ(nearestName("paint", names), "");
    EXPECT_EQ(nearestName("", names), "");
}

TEST(HelpTextTest, TheNearestNameMayBeTypedInPart)
{
    const Names names{"--resync", "--silent", "--yes", "--dry-run", "--max-delete", "--wait", "--json", "--help"};
    EXPECT_EQ(nearestName("--drry", names), "--dry-run");
    EXPECT_EQ(nearestName("--dry", names), "--dry-run");
    EXPECT_EQ(nearestName("--max", names), "--max-delete");
    EXPECT_EQ(nearestName("--dr", names), "") << "too short to tell";
    EXPECT_EQ(nearestName("--frobnicate", names), "");
}

TEST(HelpTextTest, HelpIsACommandAndAnOption)
{
    CLI::App app;
    app.add_subcommand("sync");
    EXPECT_EQ(commandLine(app, {"help"}), Names{"--help"});
    EXPECT_EQ(commandLine(app, {"help", "sync"}), (Names{"sync", "--help"}));
    EXPECT_EQ(commandLine(app, {"help", "sync", "--yes"}), (Names{"sync", "--help"}));
    EXPECT_EQ(commandLine(app, {"help", "--help"}), Names{"--help"});
    EXPECT_EQ(commandLine(app, {"sync", "help"}), (Names{"sync", "help"}));
    EXPECT_THROW((void)commandLine(app, {"help", "sink"}), Failure);
    EXPECT_THROW((void)commandLine(app, {"sink"}), Failure);
}

TEST(HelpTextTest, LinesFitTheWidthOfTheHelp)
{
    CLI::App app{
        "A description of a program that has so many words that no terminal shows them in one line, unless it is a very wide one.\n"
        "  mb example"};
    app.add_option("--limit", "An option with a description that is so long that it has to go on in a second line, below its first one");
    formatHelp(app);
    std::istringstream lines(app.help());
    bool example = false;
    for (std::string line; std::getline(lines, line); example = example || line == "  mb example") EXPECT_LE(line.size(), 100u) << line;
    EXPECT_TRUE(example) << app.help();
    EXPECT_NE(app.help().find("--limit VALUE"), std::string::npos) << app.help();
    EXPECT_NE(app.help().find("\n                            "), std::string::npos) << app.help();
}

// Users copy examples to a command line.
TEST(HelpTextTest, ALongExampleIsNotBroken)
{
    std::string words;
    for (int i = 0; i < 30; ++i) words += " word";
    CLI::App app{"A description.\n  mb example" + words + "\n  no example" + words};
    formatHelp(app);
    EXPECT_NE(app.help().find("\n  mb example" + words + "\n"), std::string::npos) << app.help();
    EXPECT_EQ(app.help().find("\n  no example" + words + "\n"), std::string::npos) << app.help();
}

TEST(HelpTextTest, AValueThatHasANameIsShownByIt)
{
    CLI::App app;
    int seconds = 0, count = 0;
    app.add_option("--wait", seconds, "How long to wait")->type_name("SECONDS")->check(CLI::Range(0, 60));
    app.add_option("--count", count, "How many")->check(CLI::Range(0, 60));
    formatHelp(app);
    EXPECT_NE(app.help().find("--wait SECONDS "), std::string::npos) << app.help();
    EXPECT_NE(app.help().find("--count VALUE "), std::string::npos) << app.help();
}

TEST(HelpTextTest, ARequiredOptionIsMarked)
{
    CLI::App app;
    app.add_option("--from", "Where it comes from")->required();
    app.add_option("--to", "Where it goes");
    formatHelp(app);
    EXPECT_NE(app.help().find("--from VALUE (required)"), std::string::npos) << app.help();
    EXPECT_EQ(app.help().find("--to VALUE (required)"), std::string::npos) << app.help();
}
