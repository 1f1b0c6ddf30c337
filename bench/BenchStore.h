// A contact store in memory that adds as little as possible to the time of a run: nothing is logged or checked, and a record is found by
// its hash. The fake store of the tests logs and checks every call.
#pragma once
#include "interfaces.h"
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mbbench {

using Values = std::vector<std::pair<LONG, std::u16string>>; // by field type

struct BenchRecord {
    std::vector<std::u16string> values; // by the field's place in the store's list
    DATE created = 0, modified = 0;
};

class BenchStore {
public:
    // The prefix of the records' identifiers, which tells the fields of two stores apart by its first letter.
    explicit BenchStore(std::u16string idPrefix) : database(u"store of " + idPrefix), prefix_(std::move(idPrefix)) {}

    std::u16string database;
    std::vector<std::u16string> order; // identifiers in the order in which the records came
    void add(const Values& values);
    void set(const std::u16string& id, LONG type, std::u16string text);

    // What a translator does.
    [[nodiscard]] std::u16string newId();
    // Null if there is none.
    [[nodiscard]] const BenchRecord* find(std::u16string_view id) const;
    // Requires: each place is below fieldCount().
    void put(const std::u16string& id, const std::vector<std::pair<std::size_t, std::u16string>>& changes);
    bool erase(std::u16string_view id);

    struct Field {
        LONG type;
        const char16_t* name;
        ULONG flags;
    };
    [[nodiscard]] static std::size_t fieldCount() noexcept;
    [[nodiscard]] static const Field& fieldAt(std::size_t place);
    [[nodiscard]] GUID guidAt(std::size_t place) const;
    // The place of a field; throws E_INVALIDARG if it is none of this store's.
    [[nodiscard]] std::size_t placeOf(const GUID& field) const;

private:
    struct Hash {
        using is_transparent = void;
        // Without noexcept the library keeps each record's hash, and compares hashes before it compares identifiers.
        std::size_t operator()(std::u16string_view id) const { return std::hash<std::u16string_view>{}(id); }
    };
    DATE tick() { return clock_ += 1.0 / 1024; }
    std::u16string prefix_;
    int next_ = 1;
    DATE clock_ = 46000.0; // each change is later than the one before
    std::unordered_map<std::u16string, BenchRecord, Hash, std::equal_to<>> records_;
};

// Makes a translator over the store, as IClassFactory::CreateInstance. The store must outlive it.
HRESULT createTranslator(BenchStore& store, IUnknown* outer, REFIID riid, void** out) noexcept;

} // namespace mbbench
