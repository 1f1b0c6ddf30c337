// A fake translator with fields and names but no records. It logs each call and can refuse each interface. It fails where the CallLog says
// so, by throwing: this also tests that no exception of a plug-in reaches the caller.
#pragma once
#include "CallLog.h"
#include "interfaces.h"
#include "RegisteredClass.h"
#include <memory>
#include <string>
#include <vector>

namespace mbtest {

struct PluginField {
    GUID id;
    LONG type;
};

// The contents and options of the fake, owned by the test.
struct Plugin {
    std::string name; // begins each line of the log
    std::shared_ptr<CallLog> log;
    std::vector<PluginField> fields;
    std::vector<PluginField> validatedFields; // replace `fields` in ValidateFieldList; none for no change
    std::vector<IID> refused;                 // interfaces that the fake does not offer
    std::u16string shortName = u"Short", longName = u"Long", description = u"Described", database = u"The database";
    std::u16string errorMessage1 = u"It broke", errorMessage2 = u"Mend it";
    LONG errorCode = 7;
    bool available = true;
    bool nullTexts = false;    // methods succeed but leave out texts null
    bool givesNothing = false; // the class succeeds without an object
    int objects = 0;           // objects alive

    [[nodiscard]] bool offers(REFIID iid) const;
    template <class I> void refuse() { refused.push_back(__uuidof(I)); }
};

// Registers the fake as a class of the component runtime while this object lives.
class PluginClass : public RegisteredClass {
public:
    PluginClass(const CLSID& clsid, std::shared_ptr<Plugin> plugin);
};

} // namespace mbtest
