#include "CardList.h"
#include "Commands.h"
#include "Failure.h"
#include "files.h"
#include "MapName.h"
#include "Outcome.h"
#include "RunRecord.h"
#include "RunSink.h"
#include "StoreName.h"
#include "text.h"
#include <chrono>
#include <optional>
#include <set>
#include <tuple>

namespace mbhost {
namespace {

struct Target {
    TranslatorInfo translator;
    std::string program;
    bool configurable = false, images = false;
};

// Owns an array that the engine returned.
class HandedArray {
public:
    HandedArray() noexcept = default;
    HandedArray(const HandedArray&) = delete;
    HandedArray& operator=(const HandedArray&) = delete;
    ~HandedArray()
    {
        if (array_) (void)SafeArrayDestroy(array_);
    }
    SAFEARRAY** put() noexcept { return &array_; }
    [[nodiscard]] SAFEARRAY* get() const noexcept { return array_; }
    [[nodiscard]] bool flagAt(LONG index) const
    {
        VARIANT_BOOL flag = VARIANT_FALSE;
        return array_ && SUCCEEDED(SafeArrayGetElement(array_, &index, &flag)) && flag != VARIANT_FALSE;
    }

private:
    SAFEARRAY* array_ = nullptr;
};

std::vector<Target> listTargets(const Engine& engine)
{
    HandedArray guids, names, paths, configurable, images;
    const HRESULT hr = engine.create<ISyncTransfer>(__uuidof(SyncTransfer))
                           ->GetTranslatorsEx(guids.put(), names.put(), paths.put(), configurable.put(), images.put());
    if (hr == E_FAIL) return {}; // the engine's result for no target
    if (FAILED(hr)) throw Failure("The targets cannot be listed: " + describe(hr));
    const auto guidTexts = com::textArray(guids.get()), nameTexts = com::textArray(names.get()), pathTexts = com::textArray(paths.get());
    const auto maps = engine.maps();
    std::vector<Target> targets;
    for (std::size_t i = 0; i < guidTexts.size(); ++i) {
        GUID clsid{};
        com::check(com::parseGuid(guidTexts[i], &clsid));
        Target target{describeTranslator(maps.get(), clsid), platform::utf8(pathTexts.at(i)), false, false};
        target.translator.longName = platform::utf8(nameTexts.at(i));
        target.configurable = configurable.flagAt(static_cast<LONG>(i));
        target.images = images.flagAt(static_cast<LONG>(i));
        targets.push_back(std::move(target));
    }
    return targets;
}

void showTargets(bool json)
{
    const Engine engine;
    Json out = Json::array();
    std::vector<std::vector<std::string>> rows;
    const std::vector<Target> targets = listTargets(engine);
    for (const Target& t : targets) {
        const TranslatorInfo& info = t.translator;
        out.push_back({{"name", info.name},
                       {"long_name", info.longName},
                       {"class", guidName(info.clsid)},
                       {"available", info.available},
                       {"program", t.program},
                       {"configurable", t.configurable},
                       {"images", t.images}});
        rows.push_back({printable(info.name), info.available ? "yes" : "no", t.images ? "yes" : "no",
                        t.program.empty() ? "-" : printable(t.program), printable(info.longName)});
    }
    if (json) return printJson(out);
    if (rows.empty()) return print("There is no target yet. mb register PLUGIN registers a plug-in.\n");
    print(table({"NAME", "READY", "IMAGES", "PROGRAM", "STORE"}, rows));
    const auto maps = engine.maps();
    for (const Target& t : targets)
        if (const std::string missing = missingPlugin(maps.get(), t.translator); !missing.empty()) print(missing + "\n");
}

struct TransferArguments {
    std::string to, from, cardFile, password;
    std::vector<std::string> cards;
    bool all = false, json = false;

    [[nodiscard]] bool reverse() const noexcept { return !from.empty(); }
};

// The settings of a target's hidden map. Without a call of keep() the destructor restores them: it deletes a map that this transfer
// created, and gives an older map its former stores.
class KeptSettings {
public:
    explicit KeptSettings(const Engine& engine) : engine_(engine) {}
    KeptSettings(const KeptSettings&) = delete;
    KeptSettings& operator=(const KeptSettings&) = delete;
    ~KeptSettings()
    {
        if (map_) (void)com::guarded([&] { restore(); });
    }
    void ofNewMap(const GUID& map) { map_ = map; }
    void ofMap(const GUID& map, const std::string& cardFile, const std::string& database)
    {
        map_ = map;
        former_ = Former{cardFile, database, {}};
        com::Bstr password;
        if (SUCCEEDED(cardFileSettings(engine_, map)->GetString(passwordKey.get(), password.put()))) former_->password = password.text();
    }
    void keep() noexcept { map_.reset(); }

private:
    void restore() const
    {
        if (!former_) return com::check(engine_.manager()->DeleteMap(*map_));
        const auto maps = engine_.maps();
        (void)maps->SetDatabase(*map_, idTrans1, com::Bstr(platform::utf16(former_->cardFile)).get());
        (void)maps->SetDatabase(*map_, idTrans2, com::Bstr(platform::utf16(former_->database)).get());
        const auto settings = cardFileSettings(engine_, *map_);
        if (former_->password)
            (void)settings->SetString(passwordKey.get(), com::Bstr(*former_->password).get());
        else
            (void)settings->DeleteKey(passwordKey.get());
    }

    struct Former {
        std::string cardFile, database;
        std::optional<std::u16string> password; // of the card file
    };

    const Engine& engine_;
    const com::Bstr passwordKey{u"Password"};
    std::optional<GUID> map_;      // nullopt: nothing to restore
    std::optional<Former> former_; // of an older map
};

// One transfer: the target with its hidden map, the card file, and the cards to copy.
class Transfer {
public:
    explicit Transfer(const TransferArguments& given) : given_(given), maps_(engine_.maps()), settings_(engine_)
    {
        resolveTarget();
        expectPlugin(describeTranslator(maps_.get(), hostClass));
        ensureMap();
        cardFile_ = chooseCardFile();
        if (!given.reverse()) cards_ = chooseCards();
    }

    void run()
    {
        catchInterrupts();
        const auto transferer = engine_.create<ISyncTransfer>(__uuidof(SyncTransfer));
        const auto sink = com::make<RunSink>();
        sink->limit = DeleteLimit("none");
        sink->onRunBegin = [&] {
            recordStart(target_.clsid);
            outcome_.recorded = true;
        };
        com::Ptr<IConnectionPoint> point;
        DWORD cookie = 0;
        com::check(transferer.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point.put()));
        com::check(point->Advise(com::Ptr<ISyncEvents>(sink).get(), &cookie));
        const EngineMessages told;
        const auto start = std::chrono::steady_clock::now();
        const HRESULT hr = call(transferer.get());
        outcome_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        sink->finish();
        (void)point->Unadvise(cookie);
        outcome_.events = sink->events;
        outcome_.settle(
            hr, [&] { return lastError(transferer.get()); }, told);
        if (outcome_.end == Outcome::End::Done || !outcome_.events.nothing()) settings_.keep();
        recordEnd(target_.clsid, outcome_);
    }

    void tell() const
    {
        const std::string target = printable(target_.name);
        if (given_.json) {
            Json json{{"target", target_.name}, {"class", guidName(target_.clsid)}, {"direction", given_.reverse() ? "from" : "to"}};
            json["card_file"] = cardFile_;
            json["database"] = database_;
            if (!given_.reverse()) json["cards"] = cardNames();
            json.update(outcomeJson(outcome_));
            printJson(json);
        } else if (outcome_.end == Outcome::End::Done || !outcome_.events.nothing()) {
            tellCounts((given_.reverse() ? "from " : "to ") + target,
                       {"Mirabook=" + printable(cardFile_), target + "=" + printable(database_)}, outcome_);
        }
        if (outcome_.end == Outcome::End::Cancelled) throwCancelled(outcome_);
        if (outcome_.end == Outcome::End::InUse) throw Failure(outcome_.message, exitInUse);
        if (outcome_.end == Outcome::End::Failed)
            throw Failure("The transfer " + std::string(given_.reverse() ? "from " : "to ") + quote(target_.name) + " failed: " +
                          outcome_.message + (database_.empty() ? " The target has no database yet; give it as NAME=DATABASE." : ""));
    }

private:
    void resolveTarget()
    {
        const std::string& text = given_.reverse() ? given_.from : given_.to;
        StoreName name{text, {}};
        if (text.find('=') != std::string::npos) name = parseStore(text);
        std::vector<TranslatorInfo> targets;
        for (Target& target : listTargets(engine_)) targets.push_back(std::move(target.translator));
        target_ = resolveTranslator(targets, name.translator);
        expectPlugin(target_);
        if (!name.database.empty()) database_ = absolutePath(name.database);
    }

    void expectPlugin(const TranslatorInfo& translator) const
    {
        if (const std::string missing = missingPlugin(maps_.get(), translator); !missing.empty()) throw Failure(missing);
    }

    void ensureMap()
    {
        const GUID& map = target_.clsid;
        GUID first{}, second{};
        const HRESULT read = maps_->GetTranslators(map, &first, &second);
        if (read == E_FAIL) { // there is no map; after any other failure a new map would replace the old one
            settings_.ofNewMap(map);
            if (const HRESULT hr = maps_->CreateEx(map, hostClass, map); FAILED(hr))
                throw Failure("The transfer could not be set up: " + describe(hr));
        } else if (FAILED(read)) {
            throw Failure("The settings of the transfer cannot be read: " + describe(read));
        } else {
            const auto [cardFile, database] = databases();
            settings_.ofMap(map, cardFile, database);
        }
        if (!database_.empty())
            if (const HRESULT hr = maps_->SetDatabase(map, idTrans2, com::Bstr(platform::utf16(database_)).get()); FAILED(hr))
                throw Failure("The store " + quote(database_) + " cannot be used: " + describe(hr));
        std::tie(formerCardFile_, database_) = databases();
    }

    // The databases of both sides of the hidden map.
    std::pair<std::string, std::string> databases() const
    {
        com::Bstr database1, database2;
        (void)maps_->GetCurrentDatabase(target_.clsid, database1.put(), database2.put());
        return {platform::utf8(database1.view()), platform::utf8(database2.view())};
    }

    std::string chooseCardFile() const
    {
        if (!given_.cardFile.empty()) return expectFile(absolutePath(given_.cardFile));
        if (!formerCardFile_.empty()) return expectFile(formerCardFile_);
        std::set<std::string> files;
        for (const GUID& guid : listMaps(engine_)) {
            const MapInfo map = describeMap(maps_.get(), guid);
            for (const int i : {0, 1})
                if (map.translators[i].clsid == hostClass && !map.databases[i].empty()) files.insert(map.databases[i]);
        }
        if (files.size() == 1) return expectFile(*files.begin());
        throw Failure(files.empty() ? "There is no card file yet; name one with --cards FILE."
                                    : "The maps have several card files; name one with --cards FILE.",
                      exitUsage);
    }

    // Only mb add creates a card file.
    static std::string expectFile(const std::string& file)
    {
        if (!platform::fileExists(pathOf(file))) throw Failure("The card file " + quote(file) + " does not exist; mb add creates one.");
        return file;
    }

    std::vector<std::u16string> chooseCards() const
    {
        CardList cards(engine_, target_.clsid, cardFile_, given_.password);
        return given_.all ? cards.all() : cards.resolve(given_.cards);
    }

    std::vector<std::string> cardNames() const
    {
        std::vector<std::string> names;
        for (const std::u16string& card : cards_) names.push_back(platform::utf8(card));
        return names;
    }

    HRESULT call(ISyncTransfer* transferer) const
    {
        const com::Bstr guid(com::guidText(target_.clsid)), file(platform::utf16(cardFile_)), password(platform::utf16(given_.password));
        HandedArray cards;
        *cards.put() = com::makeTextArray(cards_);
        return transferer->Transfer(0, guid.get(), file.get(), password.get(), cards.get(),
                                    given_.reverse() ? VARIANT_TRUE : VARIANT_FALSE);
    }

    static std::string lastError(ISyncTransfer* transferer)
    {
        com::Variant code;
        com::Bstr message1, message2;
        if (FAILED(transferer->GetLastError(code.put(), message1.put(), message2.put()))) return {};
        return joined(message1, message2);
    }

    const TransferArguments& given_;
    Engine engine_;
    com::Ptr<ITrMap> maps_;
    KeptSettings settings_;
    TranslatorInfo target_;
    std::string database_, formerCardFile_, cardFile_;
    std::vector<std::u16string> cards_;
    Outcome outcome_;
};

void transfer(const TransferArguments& given)
{
    if (given.to.empty() == given.from.empty()) throw Failure("Give either --to TARGET or --from TARGET.", exitUsage);
    if (given.reverse() && !given.cards.empty())
        throw Failure("--from copies all that is new or changed in the target; leave out the cards.", exitUsage);
    if (!given.reverse() && given.all != given.cards.empty()) throw Failure("Either name the cards to transfer or give --all.", exitUsage);
    Transfer one(given);
    one.run();
    one.tell();
}

} // namespace

void addTransferCommands(CLI::App& app)
{
    const auto given = std::make_shared<TransferArguments>();
    auto* targets = app.add_subcommand("targets", "List the stores that cards can be transferred to");
    targets->footer("Examples:\n  mb targets\n  mb targets --json");
    targets->add_flag("--json", given->json, jsonHelp);
    targets->callback([given] { showTargets(given->json); });

    auto* command = app.add_subcommand("transfer", "Copy cards between the card file and a target, without a map");
    command->footer(
        "mb targets lists the targets. Give the target's database the first time: NAME=DATABASE. mb remembers it, and the card\n"
        "file, unless the transfer fails before it writes anything. Cards that were transferred before are updated in the\n"
        "target if they changed. mb asks nothing. mb status shows how the last transfer ended.\n\n"
        "Examples:\n  mb transfer --to vCard=$HOME/Contacts --cards $HOME/cards.db \"Anna Lindqvist\" \"Jürgen Weiß\"\n"
        "  mb transfer --to vCard --all\n  mb transfer --from vCard");
    command->add_option("--to", given->to, "The target, NAME or NAME=DATABASE");
    command->add_option("--from", given->from, "The target to copy cards from");
    command->add_option("--cards", given->cardFile,
                        "The card file; without it that of the last transfer, or the only card file of the maps");
    command->add_option("--password", given->password, "The card file's password, where it has one");
    command->add_flag("--all", given->all, "All cards");
    command->add_flag("--json", given->json, jsonHelp);
    command->add_option("CARD", given->cards, "A card's identifier, or a name that only one card has");
    command->callback([given] { transfer(*given); });
}

} // namespace mbhost
