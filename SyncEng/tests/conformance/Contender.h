// A translator that takes part in the suite, and a fresh, empty store of it for one test.
#pragma once
#include "CallLog.h"
#include "FakeServices.h"
#include "TestFolder.h"
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace mbtest {

class Subject {
public:
    virtual ~Subject() = default;
    // An object as the engine gets one: made by its class, not opened.
    virtual com::Ptr<ITranslator> create() = 0;
    // Whether every object was given back.
    virtual bool allReturned() const = 0;
    // What the calls broke, for a translator that watches them.
    virtual std::vector<std::string> violations() const { return {}; }

    TestFolder folder;
    com::Ptr<FakeServices> services = com::make<FakeServices>(); // its settings name the store
};

struct Contender {
    std::string name;
    std::function<std::unique_ptr<Subject>()> make;
    bool hasPictures = true; // and a list of categories
    bool isPlugin = true;    // opened by the path of a database, which it keeps by rules of its own
    friend void PrintTo(const Contender& contender, std::ostream* out) { *out << contender.name; }
};

std::vector<Contender> contenders();
std::vector<Contender> contendersWithPictures();
std::vector<Contender> plugins();
std::vector<Contender> pluginsWithPictures();
inline std::string nameOf(const testing::TestParamInfo<Contender>& info) { return info.param.name; }

} // namespace mbtest
