// Reads and spells the lines of vCards, independently of the vCard plug-in: the reference of tests that compare cards.
#pragma once
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace mbtest {

enum class CardVersion { V21, V30, V40 };

// A property in the words of version 4.0: name and names of parameters in upper case, types in lower case, sorted.
struct CardProperty {
    std::string group, name;
    std::map<std::string, std::vector<std::string>> params;
    std::string value;

    // "NAME;PARAM=value,value:VALUE", without the group.
    [[nodiscard]] std::string text() const;
};

// The lines of one property, or of the properties of a group or an ALTID, sorted and joined by '|'. The names of group and ALTID are left
// out.
using CardUnit = std::string;
using CardUnits = std::multiset<CardUnit>;

// Splits bytes into lines. Each has the line breaks of its folds, its end, and the blank lines after it.
std::vector<std::string> foldedLines(std::string_view bytes);

CardProperty parseProperty(std::string_view text);                             // as text() writes it
CardProperty readProperty(const std::string& foldedLine, CardVersion version); // as a card holds it

// One card: the bytes of its lines, and what they mean.
class CardLines {
public:
    explicit CardLines(std::vector<std::string> folded);

    [[nodiscard]] CardVersion version() const { return version_; }
    [[nodiscard]] std::string only(const std::string& name) const; // the value of the first property of this name
    [[nodiscard]] CardUnits units() const;                         // apart from FN, N, UID, VERSION, REV and PRODID
    [[nodiscard]] std::vector<std::string> linesOf(const CardUnit& unit) const;
    [[nodiscard]] std::string bytes() const;
    [[nodiscard]] bool usesGroup(const std::string& name) const; // or an ALTID of this name

    // Returns where the first line of the unit was.
    std::size_t remove(const CardUnit& unit);
    void insert(std::size_t at, const std::vector<std::string>& folded);
    [[nodiscard]] std::size_t end() const { return folded_.size() - 1; } // of the line END:VCARD

private:
    struct Found {
        CardUnit unit;
        std::vector<std::size_t> lines;
    };
    [[nodiscard]] std::vector<Found> found() const;

    std::vector<std::string> folded_;
    CardVersion version_;
};

// Spells lines in ways in which programs do. `below` returns a random number that is less than its argument.
class CardSpeller {
public:
    CardSpeller(CardVersion version, std::string lineEnd, std::function<int(int)> below)
        : version_(version), lineEnd_(std::move(lineEnd)), below_(std::move(below))
    {
    }
    [[nodiscard]] std::vector<std::string> spelled(const CardUnit& unit, const std::string& group, const std::string& altId) const;

private:
    [[nodiscard]] std::string spelled(CardProperty property, const std::string& group) const;
    [[nodiscard]] std::string cased(std::string text) const;
    [[nodiscard]] std::string types(const std::vector<std::string>& words) const;
    [[nodiscard]] std::string folded(const std::string& line) const;

    CardVersion version_;
    std::string lineEnd_;
    std::function<int(int)> below_;
};

} // namespace mbtest
