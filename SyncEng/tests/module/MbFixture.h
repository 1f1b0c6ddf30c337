// mb as a user of Windows runs it: the module and the vCard plug-in registered, and two folders of cards.
#pragma once
#include "Installation.h"
#include "StoryFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace mbtest {

using Json = nlohmann::json;

// Writes a card with an e-mail address made from the name.
void putCard(const std::filesystem::path& folder, const std::string& firstName, const std::string& lastName);

class MbTest : public testing::Test {
protected:
    MbTest();
    static Ended mb(const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns = {});
    // Runs a command with --json, expects success, and returns its output.
    static Json json(std::vector<std::wstring> arguments);
    // Creates a map of two stores and returns its identifier.
    static std::wstring addMap(const std::wstring& first, const std::wstring& second);
    [[nodiscard]] std::wstring addMap() const { return addMap(L"vCard=" + one.native(), L"vCard=" + two.native()); }
    // Puts the given number of contacts into the first folder, and creates a map of both folders.
    [[nodiscard]] std::wstring makeMap(int contacts) const;
    // Returns the bytes of every file in both folders, and of the map's history.
    [[nodiscard]] std::map<std::filesystem::path, std::string> everything(const std::wstring& map) const;

    Installation installation;
    const std::filesystem::path one = installation.folder() / L"one", two = installation.folder() / L"zw\u00F6lf";
};

} // namespace mbtest
