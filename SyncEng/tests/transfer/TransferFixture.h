// Fixture with a SyncTransfer over two fakes: the host's card file and a target.
#pragma once
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace mbtest {

inline constexpr GUID hostClass{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

struct LastError {
    com::Variant code;
    std::u16string message1, message2;
};

class TransferTest : public ::testing::Test {
protected:
    explicit TransferTest(const GUID& target = fakeClass2);

    // Adds a card for each name, with the identifiers card-1, card-2 and so on.
    std::vector<std::u16string> addCards(std::initializer_list<const char16_t*> lastNames);
    HRESULT transfer(const std::vector<std::u16string>& cards, VARIANT_BOOL reverse = VARIANT_FALSE);
    HRESULT transferTo(std::u16string_view target, SAFEARRAY* cards, VARIANT_BOOL reverse = VARIANT_FALSE);
    LastError takeError();
    [[nodiscard]] std::u16string targetText() const { return com::guidText(target_); }
    // Returns the last names in a store.
    static std::multiset<std::u16string> namesIn(const FakeStore& store);
    std::pair<GUID, GUID> translatorsOf(const GUID& map);
    // Returns the stored option; nullopt if it was never stored.
    std::optional<LONG> option(_SyncOptions id);
    std::vector<GUID> listedMaps();
    static void setRegistryText(std::u16string_view path, std::u16string_view name, std::u16string_view value);

    SyncScenario scenario;
    com::Ptr<ISyncTransfer> transferer;

private:
    GUID target_;
};

} // namespace mbtest
