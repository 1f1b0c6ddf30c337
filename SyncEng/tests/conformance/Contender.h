// A Contender is a translator that the suite tests; a Subject is a new, empty store of it for one test.
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
    // Returns a new translator that is not opened, created by its class as for the engine.
    virtual com::Ptr<ITranslator> create() = 0;
    // Whether every object was released.
    virtual bool allReturned() const = 0;
    // Returns calls that broke the contract, if the translator records them.
    virtual std::vector<std::string> violations() const { return {}; }

    TestFolder folder;
    com::Ptr<FakeServices> services = com::make<FakeServices>(); // its settings contain the path of the store
};

struct Contender {
    std::string name;
    std::function<std::unique_ptr<Subject>()> make;
    bool hasPictures = true; // has image fields and a list of categories
    bool isPlugin = true;    // a real plug-in with a store on disk, not a fake
    friend void PrintTo(const Contender& contender, std::ostream* out) { *out << contender.name; }
};

std::vector<Contender> contenders();
std::vector<Contender> contendersWithPictures();
std::vector<Contender> plugins();
std::vector<Contender> pluginsWithPictures();
inline std::string nameOf(const testing::TestParamInfo<Contender>& info) { return info.param.name; }

} // namespace mbtest
