// A reference implementation of the store's operations by their XPath expressions on its own document: slow, for comparison with the store.
#pragma once
#include "com.h"
#include "xml.h"
#include <string>
#include <string_view>
#include <vector>

namespace mbtest {

class ExpressionStore {
public:
    using Texts = std::vector<std::u16string>;
    explicit ExpressionStore(std::string bytes) { (void)document.load(std::move(bytes)); }

    [[nodiscard]] HRESULT ReadValue(const std::u16string& type, const std::u16string& section, const std::u16string& key,
                                    std::u16string& value) const;
    HRESULT WriteValue(const std::u16string& type, const std::u16string& section, const std::u16string& key, const std::u16string& value,
                       bool append);
    void RemoveKey(const std::u16string& type, const std::u16string& section, const std::u16string& key);
    void RemoveSection(const std::u16string& type, const std::u16string& section);
    void RemoveType(const std::u16string& type);
    HRESULT RenameSection(const std::u16string& type, const std::u16string& from, const std::u16string& to);
    [[nodiscard]] bool KeyHasValue(const std::u16string& type, const std::u16string& section, const std::u16string& key,
                                   const std::u16string& value) const;
    [[nodiscard]] Texts ListSections(const std::u16string& type) const;
    [[nodiscard]] Texts ListKeys(const std::u16string& type, const std::u16string& section) const;
    [[nodiscard]] Texts ListValues(const std::u16string& type, const std::u16string& section, const std::u16string& key) const;
    void SetFlagInAllSections(const std::u16string& type, LONG flag);
    [[nodiscard]] Texts sectionsWithValue(const std::u16string& type, const std::u16string& key, const std::u16string& value) const;

    platform::XmlDocument document;

private:
    void removeAll(const std::string& path);
    [[nodiscard]] Texts decodedTexts(const std::string& path) const;
};

} // namespace mbtest
