// Checks the layers: a file includes only files of its own layer and of lower layers, and the stores of the plug-ins do without components.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
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

// Returns the names that a text includes in quotation marks.
std::vector<std::string> includesOf(std::istream& text)
{
    std::vector<std::string> found;
    for (std::string line; std::getline(text, line);) {
        const auto hash = line.find_first_not_of(" \t");
        if (hash == std::string::npos || line.compare(hash, 8, "#include") != 0) continue;
        const auto open = line.find('"'), close = line.rfind('"');
        if (open != std::string::npos && close != open) found.push_back(line.substr(open + 1, close - open - 1));
    }
    return found;
}

// Returns the includes that lead from `layer` to a higher layer.
std::vector<std::string> arrowsBack(std::istream& text, const std::string& layer, const Homes& homes)
{
    std::vector<std::string> found;
    for (const std::string& included : includesOf(text)) {
        const std::string target = layerOf(included, homes);
        // transfer and autotest are on one level: neither includes the other.
        const bool sideways = (layer == "transfer" && target == "autotest") || (layer == "autotest" && target == "transfer");
        if (sideways || rankOf(target) > rankOf(layer)) found.push_back(included);
    }
    return found;
}

bool isSource(const fs::path& file) { return file.extension() == ".h" || file.extension() == ".cpp" || file.extension() == ".inc"; }

// The names that each header includes, by the header's name.
using Headers = std::map<std::string, std::vector<std::string>>;

void addHeaders(Headers& headers, const fs::path& folder)
{
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".h") continue;
        std::ifstream text(entry.path());
        headers[entry.path().filename().string()] = includesOf(text);
    }
}

// Returns whether the header declares components, or includes one that does.
bool leadsToComponents(const std::string& header, const Headers& headers, std::set<std::string>& seen)
{
    const std::string name = fs::path(header).filename().string();
    if (name == "com.h" || name == "com_abi.h" || name == "SyncEngLib.h") return true;
    const auto known = headers.find(name);
    if (!seen.insert(name).second || known == headers.end()) return false;
    for (const std::string& included : known->second)
        if (leadsToComponents(included, headers, seen)) return true;
    return false;
}

// Returns what the source takes from components: the includes that lead to them, and the words of their interfaces outside of comments.
std::vector<std::string> componentsIn(const std::string& source, const Headers& headers)
{
    std::vector<std::string> found;
    std::istringstream text(source);
    for (const std::string& included : includesOf(text)) {
        std::set<std::string> seen;
        if (leadsToComponents(included, headers, seen)) found.push_back(included);
    }
    std::istringstream again(source);
    for (std::string line; std::getline(again, line);)
        for (const std::string word : {"HRESULT", "BSTR", "VARIANT", "IUnknown", "CoCreateGuid", "com::"})
            if (line.substr(0, line.find("//")).find(word) != std::string::npos) found.push_back(word);
    return found;
}

std::string contentOf(const fs::path& file)
{
    std::ifstream text(file);
    return {std::istreambuf_iterator<char>(text), {}};
}

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

TEST(IncludeDirection, TheStoresOfThePlugInsKnowNoComponents)
{
    const fs::path translators = fs::path(MB_SOURCE_FOLDER) / ".." / ".." / "translators";
    const std::vector<fs::path> folders = {translators / "vcard" / "core", translators / "vcard" / "store",
                                           translators / "cardfile" / "store"};
    Headers headers;
    addHeaders(headers, fs::path(MB_SOURCE_FOLDER) / "platform");
    addHeaders(headers, translators / "common");
    for (const auto& folder : folders) addHeaders(headers, folder);
    for (const auto& folder : folders) {
        int read = 0;
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (!isSource(entry.path())) continue;
            ++read;
            for (const auto& found : componentsIn(contentOf(entry.path()), headers)) ADD_FAILURE() << entry.path() << " uses " << found;
        }
        EXPECT_GT(read, 0) << "no sources in " << folder;
    }
}

// The codecs have no component in them: TheStoresOfThePlugInsKnowNoComponents covers this folder too.
TEST(IncludeDirection, TheCardsOfVCardIncludeOnlyEachOtherAndTheCodecs)
{
    const std::set<std::string> codecs{"base64.h", "text.h", "utf8.h", "DetailsBytes.h", "DetailsText.h"};
    const fs::path core = fs::path(MB_SOURCE_FOLDER) / ".." / ".." / "translators" / "vcard" / "core";
    int read = 0;
    for (const auto& entry : fs::directory_iterator(core)) {
        if (!isSource(entry.path())) continue;
        ++read;
        std::ifstream text(entry.path());
        for (const auto& included : includesOf(text))
            EXPECT_TRUE(codecs.contains(included) || fs::exists(core / included)) << entry.path() << " includes " << included;
    }
    EXPECT_GT(read, 0) << "no sources in " << core;
}

TEST(IncludeDirection, AComponentIsFoundBehindAnotherHeaderAndByItsWords)
{
    const Headers headers{
        {"interfaces.h", {"com.h"}}, {"Translator.h", {"interfaces.h"}}, {"Plain.h", {"Other.h"}}, {"Other.h", {"Plain.h"}}};
    EXPECT_EQ(componentsIn("#include \"Translator.h\"\n", headers), std::vector<std::string>{"Translator.h"});
    EXPECT_EQ(componentsIn("#include \"../platform/com.h\"\n", headers), std::vector<std::string>{"../platform/com.h"});
    EXPECT_EQ(componentsIn("BSTR text; // HRESULT\n", headers), std::vector<std::string>{"BSTR"});
    EXPECT_TRUE(componentsIn("#include \"Plain.h\"\nint n; // no BSTR\n", headers).empty());
}
