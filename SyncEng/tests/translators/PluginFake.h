// A plug-in of the tests: a translator with fields and names but no records. It logs each call, offers each optional interface by a
// switch, and fails as the log is told: by throwing, which is also what shows that no exception of a plug-in gets through.
#pragma once
#include "CallLog.h"
#include "interfaces.h"
#include <memory>
#include <string>
#include <vector>

namespace mbtest {

struct PluginField {
    GUID id;
    LONG type;
};

// What the plug-in is made of, owned by the test.
struct Plugin {
    std::string name; // in front of each line of the log
    std::shared_ptr<CallLog> log;
    std::vector<PluginField> fields;
    std::vector<PluginField> validatedFields; // what ValidateFieldList makes of them; none for no change
    std::vector<IID> refused;                 // interfaces that it does not offer
    std::u16string shortName = u"Short", longName = u"Long", description = u"Described", database = u"The database";
    std::u16string errorMessage1 = u"It broke", errorMessage2 = u"Mend it";
    LONG errorCode = 7;
    bool available = true;
    bool nullTexts = false;    // out texts stay null, with success
    bool givesNothing = false; // the class says success and gives no object
    int objects = 0;           // alive

    [[nodiscard]] bool offers(REFIID iid) const;
    template <class I> void refuse() { refused.push_back(__uuidof(I)); }
};

// The plug-in as a class of the component runtime, for as long as this lives.
class PluginClass {
public:
    PluginClass(const CLSID& clsid, std::shared_ptr<Plugin> plugin);
    PluginClass(const PluginClass&) = delete;
    PluginClass& operator=(const PluginClass&) = delete;
    ~PluginClass();

private:
    DWORD cookie_ = 0;
};

} // namespace mbtest
