// Runs the built mb with the real engine and plug-ins in a temporary home folder.
#pragma once
#include "RunProgram.h"
#include "StoryFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace mbtest {

using Json = nlohmann::json;

std::filesystem::path binFolder();
std::string cardFilePlugin();
std::string vCardPlugin();

class EndToEnd : public testing::Test {
protected:
    EndToEnd();
    ~EndToEnd() override;

    Result mb(const std::vector<std::string>& arguments);
    Result samples(const std::vector<std::string>& arguments);
    Json json(std::vector<std::string> arguments);
    void registerPlugins();
    std::string addMap(const std::string& first, const std::string& second);
    // Registers the plug-ins, fills the card file with `contacts` sample contacts, and returns a new map of the card file and the empty
    // folder.
    std::string makeMap(int contacts);
    [[nodiscard]] std::string cards() const { return home_ / "cards.db"; }
    [[nodiscard]] std::filesystem::path folder() const { return home_ / "Contacts"; }
    [[nodiscard]] std::filesystem::path dataFolder() const { return home_ / "data" / "Zorel" / "MBSync"; }
    [[nodiscard]] std::size_t cardCount() const { return mbtest::cardCount(folder()); }
    [[nodiscard]] std::filesystem::path cardWith(const std::string& text) const { return mbtest::cardWith(folder(), text); }

    std::filesystem::path home_;
    RunOptions run_;
};

} // namespace mbtest
