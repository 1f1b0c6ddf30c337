// Checks the layers: a file includes only files of its own layer and of lower layers.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// Lowest first.
const std::vector<std::string> kLayers = {"platform", "foundation", "store", "translators", "dialogs", "engine", "transfer", "autotest"};

int rankOf(const std::string& layer)
{
    for (std::size_t i = 0; i < kLayers.size(); ++i)
        if (kLayers[i] == layer) return static_cast<int>(i);
    return -1;
}

// The lowest layer that has a file of the name. An include leads to the layer in its path, otherwise to this layer.
using Homes = std::map<std::string, std::string>;

std::string layerOf(const std::string& included, const Homes& homes)
{
    const fs::path path = fs::path(included).lexically_normal();
    for (const auto& part : path)
        if (rankOf(part.string()) >= 0) return part.string();
    const auto home = homes.find(path.filename().string());
    return home == homes.end() ? std::string() : home->second;
}

// Returns the includes that lead from `layer` to a higher layer.
std::vector<std::string> arrowsBack(std::istream& text, const std::string& layer, const Homes& homes)
{
    std::vector<std::string> found;
    for (std::string line; std::getline(text, line);) {
        const auto hash = line.find_first_not_of(" \t");
        if (hash == std::string::npos || line.compare(hash, 8, "#include") != 0) continue;
        const auto open = line.find('"'), close = line.rfind('"');
        if (open == std::string::npos || close == open) continue;
        const std::string included = line.substr(open + 1, close - open - 1);
        const std::string target = layerOf(included, homes);
        // transfer and autotest are on one level: neither includes the other.
        const bool sideways = (layer == "transfer" && target == "autotest") || (layer == "autotest" && target == "transfer");
        if (sideways || rankOf(target) > rankOf(layer)) found.push_back(included);
    }
    return found;
}

bool isSource(const fs::path& file) { return file.extension() == ".h" || file.extension() == ".cpp" || file.extension() == ".inc"; }

} // namespace

TEST(IncludeDirection, NoFileIncludesAHigherLayer)
{
    const fs::path src = MB_SOURCE_FOLDER;
    Homes homes;
    for (const auto& layer : kLayers)
        if (fs::is_directory(src / layer))
            for (const auto& entry : fs::recursive_directory_iterator(src / layer)) homes.emplace(entry.path().filename().string(), layer);
    int read = 0;
    for (const auto& layer : kLayers) {
        if (!fs::is_directory(src / layer)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(src / layer)) {
            if (!isSource(entry.path())) continue;
            ++read;
            std::ifstream text(entry.path());
            for (const auto& arrow : arrowsBack(text, layer, homes)) ADD_FAILURE() << entry.path() << " includes " << arrow;
        }
    }
    EXPECT_GT(read, 0) << "no sources below " << src;
}

TEST(IncludeDirection, AnIncludeOfAHigherLayerIsFound)
{
    const Homes homes{{"Pipeline.h", "engine"}, {"StoreFile.h", "store"}};
    std::istringstream byFolder("#include \"../engine/Pipeline.h\"\n"), byName("  #include \"Pipeline.h\"\n"),
        down("#include \"StoreFile.h\"\n"), sideways("#include \"autotest/Script.h\"\n"), system("#include <engine/x>\n");
    EXPECT_EQ(arrowsBack(byFolder, "store", homes).size(), 1u);
    EXPECT_EQ(arrowsBack(byName, "store", homes).size(), 1u);
    EXPECT_TRUE(arrowsBack(down, "engine", homes).empty());
    EXPECT_EQ(arrowsBack(sideways, "transfer", homes).size(), 1u);
    EXPECT_TRUE(arrowsBack(system, "store", homes).empty());
}
