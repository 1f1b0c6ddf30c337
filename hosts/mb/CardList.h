// The cards of a card file, for a transfer: lists them, and finds the cards that the user named by identifier or by name.
#pragma once
#include "Engine.h"
#include <map>
#include <vector>

namespace mbhost {

// The class of the card-file translator, side 1 of every transfer.
inline constexpr GUID hostClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

// Returns the settings of the card file in a map. They are services of a translator too.
com::Ptr<IDataStream> cardFileSettings(const Engine& engine, const GUID& map);

class CardList {
public:
    // Opens the card file with the settings of transfers to `target`. Throws a Failure with the reason if that fails.
    CardList(const Engine& engine, const GUID& target, const std::string& file, const std::string& password);
    CardList(const CardList&) = delete;
    CardList& operator=(const CardList&) = delete;
    ~CardList();

    [[nodiscard]] std::vector<std::u16string> all();
    // Returns the identifiers of the cards that the texts name, each card once. A text is an identifier, or a name that only one card has;
    // throws a Failure for any other text.
    [[nodiscard]] std::vector<std::u16string> resolve(const std::vector<std::string>& texts);

private:
    using Names = std::multimap<std::u16string, std::u16string>; // lower-case name to identifier
    void check(HRESULT hr, const std::string& what);
    std::u16string read(BSTR id, LONG type);
    [[nodiscard]] Names names();
    [[nodiscard]] std::u16string named(const Names& names, const std::string& text) const;

    std::string file_;
    com::Ptr<ITranslator> translator_;
    std::map<LONG, GUID> fields_; // by field type
};

} // namespace mbhost
