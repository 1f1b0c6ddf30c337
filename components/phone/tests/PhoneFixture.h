// The library as the engine uses it: found beside the host, through the contact parser, for a user who lives somewhere.
#pragma once
#include "foundation/ContactParser.h"
#include "RegistryValues.h"
#include "TestFolder.h"
#include "text.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace mbtest {

class PhoneFixture : public testing::Test {
protected:
    PhoneFixture()
    {
        setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", platform::utf16(PHONE_LIBRARY_FOLDER) + u"/mb");
        live("en_US.UTF-8");
    }
    static void live(const char* locale) { setenv("LC_ALL", locale, 1); }

    TestFolder folder;
};

} // namespace mbtest
