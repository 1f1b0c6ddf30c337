// mb as a user of Windows runs it: the module and the vCard plug-in registered, and two folders of cards.
#pragma once
#include "Installation.h"
#include "StoryFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace mbtest {

using Json = nlohmann::json;

// A contact with an e-mail address of its name.
void putCard(const std::filesystem::path& folder, const std::string& firstName, const std::string& lastName);

class MbTest : public testing::Test {
protected:
    MbTest();
    static Ended mb(const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns = {});
    // What a command tells with --json that ends well.
    static Json json(std::vector<std::wstring> arguments);
    // A map of the two stores, by its identifier.
    static std::wstring addMap(const std::wstring& first, const std::wstring& second);
    [[nodiscard]] std::wstring addMap() const { return addMap(L"vCard=" + one.native(), L"vCard=" + two.native()); }
    // The first folder with so many contacts, and a map of both.
    [[nodiscard]] std::wstring makeMap(int contacts) const;
    // Every byte of both folders and of the map's history.
    [[nodiscard]] std::map<std::filesystem::path, std::string> everything(const std::wstring& map) const;

    Installation installation;
    const std::filesystem::path one = installation.folder() / L"one", two = installation.folder() / L"zw\u00F6lf";
};

} // namespace mbtest
