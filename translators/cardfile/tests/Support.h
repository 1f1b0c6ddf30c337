// A folder for each test with a card file in it, and work in another process.
#pragma once
#include "CardFile.h"

#include "interfaces.h"
#include "TestFolder.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace mb::cardfile {

namespace fs = std::filesystem;

class CardFileTest : public testing::Test {
protected:
    CardFileTest() { CardFile::make(file.string()); }
    [[nodiscard]] std::unique_ptr<CardFile> open(FreeSpace space = {}) const
    {
        return std::make_unique<CardFile>(file.string(), nullptr, std::move(space));
    }
    // Runs SQL on the file, bypassing CardFile.
    void sql(const char* text) const { Database(file.string()).execute(text); }
    [[nodiscard]] std::string sqlText(const char* text) const { return Database(file.string()).text(text); }

    mbtest::TestFolder own;
    fs::path folder = own.path() / "data", file = folder / "cards.mbcard";
};

inline std::string addCard(CardFile& cards, std::u16string_view lastName, std::u16string_view notes = {})
{
    const std::string id = cards.beginAdd();
    cards.write(id, ftLastName, lastName);
    if (!notes.empty()) cards.write(id, ftNotes, notes);
    return cards.save(id);
}

inline std::u16string readValue(CardFile& cards, const std::string& id, int type)
{
    cards.beginRead(id);
    std::u16string value = cards.read(id, type);
    cards.endRead(id);
    return value;
}

// Returns the message of the StoreError that the work throws. Expects the error to be of this step.
inline std::string failureOf(plugin::Step step, const std::function<void()>& work)
{
    try {
        work();
    } catch (const plugin::StoreError& e) {
        EXPECT_EQ(e.step(), step) << e.what();
        return e.what();
    } catch (const std::exception& e) {
        ADD_FAILURE() << "not an error of the store: " << e.what();
        return {};
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

// Starts the work in another process. The returned function waits for it and returns whether it succeeded. Requires: no file is open in
// this process.
inline std::function<bool()> start(const std::function<bool()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        bool good = false;
        try {
            good = work() && !testing::Test::HasFailure();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
        _exit(good ? 0 : 1);
    }
    return [child] {
        int status = 0;
        return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
}

} // namespace mb::cardfile
