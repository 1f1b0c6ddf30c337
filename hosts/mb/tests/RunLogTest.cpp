#include "RunLog.h"

#include <gtest/gtest.h>

using namespace mbhost;

namespace {

constexpr int bothSides[] = {1, 0}, firstOnly[] = {0}, secondOnly[] = {1};

} // namespace

TEST(CountRunTest, TheSecondSideIsWrittenFirst)
{
    const auto counts = countRun({"\r", "Start synchronizing contacts.", "\r", "Two-way synchronization", "\tCREATED in X: before copying",
                                  "Copying started at a b", "\r", "\tCREATED in vCard: Ann", "\tCREATED in vCard: Bo", "\tMATCHED: Cy",
                                  "\tDELETED in vCard: Di", "\r", "\tUPDATED in Card: Ed", "Copying ended at a b", "\r",
                                  "End synchronizing contacts.", "\r"},
                                 bothSides);
    ASSERT_TRUE(counts);
    EXPECT_EQ(counts->sides[1].created, 2);
    EXPECT_EQ(counts->sides[1].deleted, 1);
    EXPECT_EQ(counts->sides[1].updated, 0);
    EXPECT_EQ(counts->sides[0].updated, 1);
    EXPECT_EQ(counts->sides[0].created, 0);
    EXPECT_EQ(counts->matched, 1);
    EXPECT_FALSE(counts->nothing());
}

TEST(CountRunTest, ConflictsAreToldWithWhatBecameOfThem)
{
    const auto counts = countRun({"Two-way synchronization", "\tCONFLICT: Ann", "\tSETTLED: both are kept", "\tCONFLICT: Bo",
                                  "Copying started at a b", "\r", "\tUPDATED in B: Bo"},
                                 bothSides);
    ASSERT_EQ(counts->conflicts.size(), 2u);
    EXPECT_EQ(counts->conflicts[0].contact, "Ann");
    EXPECT_EQ(counts->conflicts[0].settled, "both are kept");
    EXPECT_EQ(counts->conflicts[1].settled, "");
}

TEST(CountRunTest, ANameThatTheLogCutIsMarked)
{
    const auto counts = countRun({"Two-way synchronization", "\tCONFLICT: S\xC3\xB6ren N\xC3\xBC\xC3\x9Fleb", "\tCONFLICT: Anna Wei\xC3",
                                  "\tCONFLICT: \xE6\xB8", "\tCONFLICT: Bj\xF6rn", "\tCONFLICT: Ann"},
                                 bothSides);
    ASSERT_EQ(counts->conflicts.size(), 5u);
    EXPECT_EQ(counts->conflicts[0].contact, "S\xC3\xB6ren N\xC3\xBC\xC3\x9Fleb\xE2\x80\xA6");
    EXPECT_EQ(counts->conflicts[1].contact, "Anna Wei\xE2\x80\xA6");
    EXPECT_EQ(counts->conflicts[2].contact, "\xE2\x80\xA6");
    EXPECT_EQ(counts->conflicts[3].contact, "Bj\xF6rn") << "of a code page of one byte a letter, and whole";
    EXPECT_EQ(counts->conflicts[4].contact, "Ann");
}

TEST(CountRunTest, WhatAPluginLeftOutIsToldOnce)
{
    const std::string line = "vCard: /home/me/Contacts/empty.vcf, line 1: left out, no card";
    const auto counts = countRun({line, "Two-way synchronization", line, "\tCONFLICT: Ann", "vCard: /home/me/Contacts"}, bothSides);
    EXPECT_EQ(counts->leftOut, std::vector<std::string>{line});
    EXPECT_TRUE(counts->nothing()) << "it is not written, so it does not count";
}

TEST(CountRunTest, WithOneDirectionThatSideIsCounted)
{
    const std::vector<std::string> lines{
        "One-way synchronization from B to A", "Copying started at a b", "\r", "\tCREATED in A: Ann", "Copying ended at a b", "\r"};
    EXPECT_EQ(countRun(lines, firstOnly)->sides[0].created, 1);
    EXPECT_EQ(countRun(lines, firstOnly)->sides[1].created, 0);
    EXPECT_EQ(countRun(lines, secondOnly)->sides[1].created, 1);
}

TEST(CountRunTest, AMapThatRanTwiceIsCountedAsAWhole)
{
    const auto counts =
        countRun({"Two-way synchronization", "Copying started at a b", "\r", "\tCREATED in B: Ann", "\r", "\r", "Two-way synchronization",
                  "Copying started at a b", "\r", "\tCREATED in B: Bo", "\r", "\tCREATED in A: Cy"},
                 bothSides);
    EXPECT_EQ(counts->sides[1].created, 2);
    EXPECT_EQ(counts->sides[0].created, 1);
}

TEST(CountRunTest, ARunWithoutTasksDidNothing)
{
    const auto counts = countRun({"Two-way synchronization", "Copying started at a b", "\r", "Copying ended at a b"}, bothSides);
    ASSERT_TRUE(counts);
    EXPECT_TRUE(counts->nothing());
}

TEST(CountRunTest, ALogThatDoesNotTellGivesNoCounts)
{
    EXPECT_FALSE(countRun({}, bothSides));
    EXPECT_FALSE(countRun({"\r", "Start synchronizing contacts.", "Copying started at a b", "Copying ended at a b"}, bothSides));
}
