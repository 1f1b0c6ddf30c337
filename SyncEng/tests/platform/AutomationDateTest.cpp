#include "automation_date.h"

#include <gtest/gtest.h>

using namespace platform;
using namespace std::chrono;

TEST(AutomationDate, DaysCountFrom30December1899)
{
    EXPECT_EQ(automationDay(1899y / 12 / 30), 0);
    EXPECT_EQ(automationDay(1970y / 1 / 1), 25569);
    EXPECT_EQ(automationDay(2000y / 2 / 29), 36585);
    EXPECT_EQ(automationDay(1899y / 12 / 29), -1);
    EXPECT_EQ(automationDay(100y / 1 / 1), -657434) << "the first day of a date";
    EXPECT_EQ(automationDay(9999y / 12 / 31), 2958465) << "the last day of a date";
    for (const int day : {-657434, -1, 0, 60, 36585, 2958465}) EXPECT_EQ(automationDay(calendarDay(day)), day);
}
