#include "Options.h"

#include "Failure.h"
#include <gtest/gtest.h>
#include <set>

using namespace mbhost;

TEST(OptionsTest, EachOptionOfAMapIsListedOnce)
{
    std::set<LONG> ids;
    std::set<std::string> names;
    for (const Option& option : options()) {
        ids.insert(option.id);
        names.insert(option.name);
    }
    EXPECT_EQ(ids, (std::set<LONG>{1, 2, 3, 4, 5, 6, 7, 8, 9, 100, 101}));
    EXPECT_EQ(names.size(), 11u);
}

TEST(OptionsTest, EveryValueIsFoundByItsNameAndNamedByItsNumber)
{
    for (const Option& option : options()) {
        for (const OptionValue& value : option.values) {
            EXPECT_EQ(optionValueNamed(option, value.name), value.value) << option.name;
            EXPECT_EQ(optionValueName(option, value.value), value.name) << option.name;
        }
        EXPECT_NE(optionValueName(option, option.byDefault), std::to_string(option.byDefault))
            << option.name << " has a default without a name";
    }
}

TEST(OptionsTest, NamesIgnoreCase)
{
    EXPECT_EQ(optionNamed("Conflicts").id, soConflictResolution);
    EXPECT_EQ(optionValueNamed(optionNamed("conflicts"), "FIRST-wins"), croTrans1Wins);
    EXPECT_EQ(optionValueNamed(optionNamed("direction"), "to-second"), stExportFromTrans1);
}

TEST(OptionsTest, AnUnknownNameIsWrongUsageAndListsTheOptions)
{
    try {
        (void)optionNamed("colour");
        FAIL() << "the option was found";
    } catch (const Failure& e) {
        EXPECT_EQ(e.code(), exitUsage);
        EXPECT_NE(std::string(e.what()).find("\"colour\""), std::string::npos);
        for (const Option& option : options()) EXPECT_NE(std::string(e.what()).find(option.name), std::string::npos);
    }
}

TEST(OptionsTest, AnUnknownValueIsWrongUsageAndListsTheValues)
{
    try {
        (void)optionValueNamed(optionNamed("images"), "maybe");
        FAIL() << "the value was found";
    } catch (const Failure& e) {
        EXPECT_EQ(e.code(), exitUsage);
        EXPECT_NE(std::string(e.what()).find("yes no"), std::string::npos);
    }
}

TEST(OptionsTest, AValueThatAnotherProgramStoredIsShownAsANumber) { EXPECT_EQ(optionValueName(optionNamed("conflicts"), 42), "42"); }

TEST(OptionsTest, TheDeletionLimitTakesAPercentageOrNone)
{
    const Option& limit = optionNamed("max-delete");
    EXPECT_EQ(optionValueNamed(limit, "none"), 0);
    EXPECT_EQ(optionValueNamed(limit, "80%"), 80);
    EXPECT_EQ(optionValueName(limit, 80), "80%");
    EXPECT_EQ(optionValueName(limit, 0), "none");
    for (const char* wrong : {"0%", "101%", "80", "%", "-5%", "half"}) EXPECT_THROW((void)optionValueNamed(limit, wrong), Failure) << wrong;
    EXPECT_THROW((void)optionValueNamed(optionNamed("images"), "80%"), Failure);
}
