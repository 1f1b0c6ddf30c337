// A translator that takes part in the suite, and a fresh, empty store of it for one test.
#pragma once
#include "CallLog.h"
#include "FakeServices.h"
#include "TestFolder.h"
#include <filesystem>
#include <functional>
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
    // Whether it is opened by the path of a database, and cannot be opened without one.
    virtual bool needsDatabase() const { return true; }

    TestFolder folder;
    com::Ptr<FakeServices> services = com::make<FakeServices>(); // its settings name the store
};

struct Contender {
    std::string name;
    std::function<std::unique_ptr<Subject>()> make;
    bool hasPictures = true; // and a list of categories
    friend void PrintTo(const Contender& contender, std::ostream* out) { *out << contender.name; }
};

std::vector<Contender> contenders();
std::vector<Contender> contendersWithPictures();

} // namespace mbtest
