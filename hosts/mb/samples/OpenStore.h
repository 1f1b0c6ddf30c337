// A card file that is opened by its plug-in without the engine; reads and edits contacts by name and field.
#pragma once
#include "interfaces.h"
#include "library.h"
#include <stdexcept>
#include <string>
#include <vector>

namespace mbsamples {

class Problem : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class OpenStore {
public:
    enum class IfMissing { Fail, Make };
    // Loads the plug-in from the folder of this program. Throws a Problem that says what is wrong with the database.
    explicit OpenStore(const std::string& database, IfMissing ifMissing = IfMissing::Fail);
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;
    ~OpenStore();

    using Values = std::vector<std::pair<LONG, std::string>>; // field type and value
    void add(const Values& values);
    // `name` is the first and the last name with a blank between.
    void edit(const std::string& name, const std::string& fieldName, const std::string& value);
    void remove(const std::string& name);
    [[nodiscard]] std::vector<std::string> names();
    // One line per field that has a value; a picture is shown as its size and a hash.
    [[nodiscard]] std::vector<std::string> valuesOf(const std::string& name);
    [[nodiscard]] std::vector<std::vector<std::string>> valuesOfAll();
    void beginUpdate();
    void endUpdate();

private:
    void check(HRESULT hr);
    std::vector<com::Bstr> records();
    std::vector<std::string> valuesOf(const com::Bstr& id);
    com::Bstr recordNamed(const std::string& name);
    std::string nameOf(const com::Bstr& id);
    std::string readText(const com::Bstr& id, LONG type);
    std::string shownValue(const com::Bstr& id, const GUID& field);
    GUID fieldOfType(LONG type);
    GUID fieldNamed(const std::string& name);
    void write(const com::Bstr& id, const GUID& field, const std::string& value);

    platform::Library library_;
    com::Ptr<ITranslator> translator_;
    com::Ptr<IFieldList> list_;
    com::Ptr<IField> field_;
    std::vector<std::pair<LONG, GUID>> byType_;
};

} // namespace mbsamples
