// Lists the classes of a category through its enumeration.
#pragma once
#include "categories.h"
#include <gtest/gtest.h>
#include <vector>

namespace mbtest {

inline std::vector<CLSID> classesOf(REFGUID category)
{
    platform::CategoryClasses classes;
    EXPECT_EQ(classes.open(category), S_OK);
    std::vector<CLSID> found;
    CLSID clsid{};
    while (classes.next(&clsid) == S_OK) found.push_back(clsid);
    EXPECT_EQ(classes.next(&clsid), S_FALSE);
    return found;
}

} // namespace mbtest
