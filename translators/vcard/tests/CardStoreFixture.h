// A folder of cards for one test, and helpers for the tests of CardStore.
#pragma once
#include "CardCategories.h"
#include "CardStore.h"
#include "interfaces.h"
#include "Samples.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

namespace mb::vcard {

namespace fs = std::filesystem;

inline std::string cardText(const std::string& name, const std::string& uid = {})
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + (uid.empty() ? "" : "UID:" + uid + "\r\n") + "N:" + name + ";;;;\r\nFN:" + name +
           "\r\nX-OTHER:kept\r\nEND:VCARD\r\n";
}

class CardStoreTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::random_device random;
        root = fs::temp_directory_path() / ("vcard-" + std::to_string(random()) + std::to_string(random()));
        folder = root / "cards";
        fs::create_directories(folder);
        fs::create_directories(root / "cache");
    }
    void TearDown() override
    {
        fs::permissions(folder, fs::perms::owner_all);
        fs::remove_all(root);
    }
    CardStore open() { return open(folder); }
    CardStore open(const fs::path& database)
    {
        reports.clear();
        return CardStore(database.string(), (root / "cache").string(), report, recent);
    }
    CardCategories categories() { return {folder.string(), (root / "cache").string(), report, recent}; }
    void put(const std::string& name, const std::string& bytes) { writeBytes(folder / name, bytes); }
    std::string get(const std::string& name) { return readBytes(folder / name); }
    // Moves the date of the file, as an edit does; `seconds` may be negative.
    void age(const std::string& name, int seconds)
    {
        fs::last_write_time(folder / name, fs::last_write_time(folder / name) + std::chrono::seconds(seconds));
    }
    static std::vector<std::string> ids(const CardStore& store)
    {
        std::vector<std::string> all;
        for (std::size_t i = 0; i < store.count(); ++i) all.push_back(store.idAt(i));
        return all;
    }
    static std::u16string read(CardStore& store, const std::string& id, int type)
    {
        store.beginRead(id);
        const std::u16string text = store.read(id, type);
        store.endRead(id);
        return text;
    }
    static std::string edit(CardStore& store, const std::string& id, int type, std::u16string_view text)
    {
        store.beginEdit(id);
        store.write(id, type, text);
        return store.save(id);
    }
    static std::string add(CardStore& store, std::u16string_view lastName)
    {
        const std::string id = store.beginAdd();
        store.write(id, ftLastName, lastName);
        return store.save(id);
    }
    template <class F> static void expectFailure(Step step, const std::string& words, F&& body)
    {
        try {
            body();
            ADD_FAILURE() << "expected a failure: " << words;
        } catch (const StoreError& e) {
            EXPECT_EQ(e.step(), step) << e.what();
            EXPECT_NE(std::string(e.what()).find(words), std::string::npos) << e.what();
        }
    }
    std::size_t strayFiles() const
    {
        std::size_t n = 0;
        for (const auto& e : fs::directory_iterator(folder)) n += e.path().filename().string().starts_with('.');
        return n;
    }

    fs::path root, folder;
    std::string reports;
    const plugin::Report report = [this](plugin::Finding, const std::string& text) { reports += text + "\n"; };
    RecentIndexes recent;
};

using VCardFolder = CardStoreTest;
using ManyCardFile = CardStoreTest;

} // namespace mb::vcard
