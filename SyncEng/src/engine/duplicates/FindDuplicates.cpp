#include "engine/duplicates/FindDuplicates.h"

#include "engine/duplicates/MatchRules.h"
#include "engine/duplicates/PairDuplicates.h"
#include "engine/duplicates/RankCandidates.h"
#include "engine/duplicates/RecordIndex.h"
#include "engine/FailureReport.h"
#include "engine/StageProgress.h"
#include "foundation/ImageValue.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/ImageFields.h"

namespace mb {
namespace {

// Fields that take no part in the digest of a record's content.
bool isKeyField(LONG type)
{
    switch (type) {
    case ftNotes:
    case ftLastName:
    case ftFirstName:
    case ftEmail1:
    case ftCategories:
    case ftRecordStatus: return true;
    default: return false;
    }
}

void appendNumber(std::u16string& text, std::size_t number)
{
    const std::string digits = std::to_string(number);
    text.append(digits.begin(), digits.end());
}

// No new record on one of the sides: there is nothing to search for.
bool nothingToSearch(const PipelinePass& pass)
{
    for (const Side side : {Side::One, Side::Two})
        if (pass.sides[side].tasks.empty() || !pass.sides[side].hasAdditions) return true;
    return false;
}

void dropTasks(PipelinePass& pass, const std::u16string& id1, const std::u16string& id2, const DroppedTasks& dropped)
{
    TaskList &tasks1 = pass.side(Side::One).tasks, &tasks2 = pass.side(Side::Two).tasks;
    if (dropped.drop1)
        if (auto at = FindTask(tasks1, id1); at != tasks1.end()) DropTask(at, tasks1);
    if (dropped.drop2)
        if (auto at = FindTask(tasks2, id2); at != tasks2.end()) DropTask(at, tasks2);
}

// Runs the search. However it ends, the log says where it found nothing.
template <class Search> void runLogged(Search&& search)
{
    const auto log = [&] {
        if (!search.foundAny()) WriteLogResource(logProgress, Text::NoDuplicates);
    };
    try {
        search.run();
    } catch (...) {
        log();
        throw;
    }
    log();
}

// Each of the three passes of the search has its own label. The two rounds of the third pass share their label and their progress.
class DuplicateSearch {
    using Question = RecordIndex::Question;

public:
    DuplicateSearch(PipelinePass& pass, RecordIndex& index1, RecordIndex& index2)
        : pass_(pass), run_(pass.run), one_(pass.side(Side::One)), two_(pass.side(Side::Two)), index1_(index1), index2_(index2),
          rows_(BuildMatchRows(pass))
    {
    }

    void run()
    {
        WriteLogText(logProgress, u"\r");
        indexSideOne();
        findExact();
        findConflicting();
    }
    [[nodiscard]] bool foundAny() const noexcept { return FoundAny; }

private:
    struct Keys {
        std::u16string lastName, firstName, email, digest;
        bool complete = true, lastNameRead = true; // every field could be read; that of the last name could
    };

    StageProgress progressOf(Text contacts, Text categories) const
    {
        return {run_.EventSink, LoadText(run_.CategoryPass ? categories : contacts)};
    }

    void indexSideOne()
    {
        StageProgress progress = progressOf(Text::PreparingDuplicates, Text::PreparingCategoryDuplicates);
        const LONG count = one_.store.countOrZero();
        for (LONG i = 0; i < count; ++i) {
            com::Bstr id;
            if (one_.store.identifierAt(i, id)) indexOne(FindTask(one_.tasks, id.text()));
            progress.advance(100.0 / count);
        }
        // A record that the store did not list this time is known by its task.
        for (auto at = one_.tasks.begin(); at != one_.tasks.end(); ++at) indexOne(at);
    }

    void indexOne(TaskList::iterator task)
    {
        if (task == one_.tasks.end() || !isOpenNew(task->second) || !indexed_.insert(task->first).second) return;
        addRecord(Side::One, task, index1_);
    }

    // Reads a new record into its values and its side's index. Returns its position there; nullopt for a record that could not be read. A
    // record whose opening answers E_ABORT is left out; any other failure to open it ends the search. Quirk kept on purpose: that failure
    // is charged to translator 1 on both sides.
    std::optional<std::size_t> addRecord(Side side, TaskList::iterator task, RecordIndex& index)
    {
        PassSide& own = pass_.side(side);
        const com::Bstr id(task->first);
        if (!charging(pass_, Side::One, [&] { return own.store.beginReadForSearch(id.get()); })) {
            pass_.unreadable.push_back({side, task->first, std::nullopt});
            return std::nullopt;
        }
        values_.clear();
        const Keys keys = readKeys(side, id.get(), values_);
        task->second.Values = std::make_unique<RecordValues>(values_); // the copy has no room to spare
        own.store.endRead(id.get());
        // By its readable fields alone the record could be taken for another contact.
        if (!keys.complete) {
            pass_.unreadable.push_back({side, task->first, keys.lastNameRead ? std::optional(keys.lastName) : std::nullopt});
            return std::nullopt;
        }
        if (side == Side::One && isGroupTask(task->second)) groups_.push_back(task->first);
        return index.AddToRecordIndex(task->first, keys.lastName, keys.firstName, keys.email, keys.digest);
    }

    Keys readKeys(Side side, BSTR id, RecordValues& values)
    {
        Keys keys;
        const auto fields = pass_.fields(side);
        const bool one = side == Side::One;
        const LONG lastName = one ? LONG{ftLastName} : rows_.lastName2, firstName = one ? LONG{ftFirstName} : rows_.firstName.type2,
                   email = one ? LONG{ftEmail1} : rows_.email.type2;
        for (std::size_t j = 0; j < rows_.rows.size(); ++j) {
            const MatchRow& row = rows_.rows[j];
            const LONG type = fieldOf(row, side).type;
            if (isImageType(type)) {
                values.set(type, {});
                readImage(side, id, j, values, keys.digest);
                continue;
            }
            com::Variant read;
            // The value of a field that cannot be read is not stored: it is read again when it is to be written, and not written as empty.
            if (!pass_.side(side).store.read(id, fields[row.index], read)) {
                values.erase(type);
                keys.complete = false;
                if (type == lastName) keys.lastNameRead = false;
                continue;
            }
            const std::u16string_view value = read.text();
            values.set(type, value);
            if (read.vt != VT_BSTR || !read.bstrVal) continue; // it leaves no trace in the digest
            if (type == lastName) keys.lastName = value;
            if (type == firstName) keys.firstName = value;
            if (type == email) keys.email = value;
            if (!isKeyField(type)) appendPart(keys.digest, partOf(value, row, side), j);
        }
        for (std::u16string* text : {&keys.lastName, &keys.firstName, &keys.email, &keys.digest}) *text = platform::lowered(*text);
        return keys;
    }

    // An image is compared by its presence and its size as a JPEG file, which is the same for two stores.
    void readImage(Side side, BSTR id, std::size_t row, RecordValues& values, std::u16string& digest)
    {
        const LONG type = fieldOf(rows_.rows[row], side).type;
        const GUID& field = pass_.fields(side)[rows_.rows[row].index];
        StoreClient& store = pass_.side(side).store;
        if (!run_.imagesUsable() || !store.hasImages()) return;
        const std::optional<bool> has = store.hasImage(id, field);
        if (!has) return;
        const std::u16string flag = imageFlagText(*has);
        std::u16string size;
        com::Variant image;
        if (*has) store.read(id, field, image); // an image that cannot be read counts as one without a size
        if (!image.text().empty()) {
            const ULONG caps = store.caps().value_or(0);
            ImageFiles files; // the one that is given, and the one it becomes
            if (caps & imageFileCaps) files.add(image);
            size = imageSizeText(ConvertImageValue(image, caps, capJPEGFile, true));
            files.add(image);
        }
        values.set(type, flag);
        values.set(sizeTypeOf(type), size);
        appendPart(digest, partOf(flag, rows_.rows[row], side) + size, row);
    }

    // The value as the other side's field could hold it.
    static std::u16string partOf(std::u16string_view value, const MatchRow& row, Side side)
    {
        const MatchField& other = fieldOf(row, otherSide(side));
        return value.empty() ? std::u16string() : FitForTarget(value, row.field1.type, other.flags, other.maxLength);
    }

    // Appends a part with its row number, so that one text in two different fields makes two different digests.
    static void appendPart(std::u16string& digest, const std::u16string& part, std::size_t row)
    {
        digest += AlnumOnly(part);
        appendNumber(digest, row);
    }

    void findExact()
    {
        StageProgress progress = progressOf(Text::FindingExactDuplicates, Text::FindingExactCategoryDuplicates);
        const double step = 100.0 / static_cast<double>(two_.tasks.size());
        for (auto at = two_.tasks.begin(); at != two_.tasks.end();) {
            const auto task2 = at++;
            if (isOpenNew(task2->second)) {
                if (const auto position = addRecord(Side::Two, task2, index2_))
                    if (const auto id1 = firstOpenRecord(Question::ContentAlone, {{}, {}, {}, index2_.keys(*position).digest}))
                        pair(*id1, task2->first);
            }
            progress.advance(step);
        }
    }

    void findConflicting()
    {
        StageProgress progress = progressOf(Text::FindingConflictingDuplicates, Text::FindingConflictingCategoryDuplicates);
        const std::vector<std::size_t> open = index2_.open();
        if (open.empty()) return;
        // Both rounds have one step: each record is found at most once, so the sum does not exceed 100.
        const double step = 100.0 / static_cast<double>(open.size());
        round(progress, step, open, [&](std::size_t position) { return byDigest(index2_.keys(position)); });
        round(progress, step, index2_.open(), [&](std::size_t position) { return byRule(position); });
        progress.reach(100.0);
    }

    template <class Search> void round(StageProgress& progress, double step, const std::vector<std::size_t>& open, Search&& search)
    {
        for (const std::size_t position : open) {
            const auto task2 = FindTask(two_.tasks, index2_.id(position));
            bool found = false;
            if (task2 != two_.tasks.end() && isOpenNew(task2->second))
                if (const auto id1 = search(position)) {
                    pair(*id1, index2_.id(position));
                    found = true;
                }
            progress.advance(found ? step : 0.0);
        }
    }

    // A record with a first name and no e-mail is not looked up by its empty e-mail.
    static bool mayAskByEmail(const RecordIndex::Keys& keys) { return keys.firstName.empty() || !keys.email.empty(); }

    std::optional<std::u16string> byDigest(const RecordIndex::Keys& keys)
    {
        auto found = firstOpenRecord(Question::NameAndContent, keys);
        if (!found && mayAskByEmail(keys)) found = firstOpenRecord(Question::EmailAndContent, keys);
        return found;
    }

    std::optional<std::u16string> byRule(std::size_t position)
    {
        const auto task2 = FindTask(two_.tasks, index2_.id(position));
        if (task2 != two_.tasks.end() && isGroupTask(task2->second)) return RankCandidates(pass_, index2_.id(position), {}, groups_, rows_);
        auto found = pickFromNodes(Question::NameAndEmail, position);
        if (!found) found = pickFromNodes(Question::Name, position);
        if (!found && mayAskByEmail(index2_.keys(position))) found = pickFromNodes(Question::Email, position);
        return found;
    }

    std::optional<std::u16string> firstOpenRecord(Question question, const RecordIndex::Keys& keys)
    {
        const auto found = index1_.find(question, keys, [&](std::size_t position) {
            const auto task = FindTask(one_.tasks, index1_.id(position));
            return task != one_.tasks.end() && !task->second.MappedId;
        });
        return found ? std::optional(index1_.id(*found)) : std::nullopt;
    }

    std::optional<std::u16string> pickFromNodes(Question question, std::size_t position)
    {
        const RecordIndex::Keys keys = index2_.keys(position);
        std::vector<std::u16string> candidates;
        index1_.find(question, keys, [&](std::size_t candidate) {
            candidates.push_back(index1_.id(candidate));
            return false;
        });
        if (candidates.empty()) return std::nullopt;
        const MatchKeys texts{platform::utf16(keys.lastName), platform::utf16(keys.firstName), platform::utf16(keys.email)};
        return RankCandidates(pass_, index2_.id(position), texts, candidates, rows_);
    }

    void pair(const std::u16string& id1, const std::u16string& id2)
    {
        FoundAny = true;
        const DroppedTasks dropped = PairDuplicates(pass_, id1, id2, rows_);
        index1_.MarkRecordMapped(id1, id2);
        index2_.MarkRecordMapped(id2, id1);
        dropTasks(pass_, id1, id2, dropped);
    }

    PipelinePass& pass_;
    RunState& run_;
    PassSide &one_, &two_;
    RecordIndex &index1_, &index2_;
    MatchRows rows_;
    RecordValues values_;                             // of the record that is being read
    std::unordered_set<std::u16string_view> indexed_; // of side 1
    std::vector<std::u16string> groups_;              // of side 1
    bool FoundAny = false;
};

} // namespace

bool FindDuplicates(PipelinePass& pass)
{
    RecordIndex index1, index2;
    if (!index1.create() || !index2.create()) return FindDuplicatesInMemory(pass);
    if (nothingToSearch(pass)) {
        WriteLogResource(logProgress, Text::NoDuplicates);
        return false;
    }
    runLogged(DuplicateSearch(pass, index1, index2));
    return true;
}

namespace {

// The search without a document.
class MemorySearch {
public:
    explicit MemorySearch(PipelinePass& pass)
        : pass_(pass), one_(pass.side(Side::One)), two_(pass.side(Side::Two)), rows_(BuildMatchRows(pass))
    {
    }

    void run()
    {
        readSideOne();
        const RunState& run = pass_.run;
        StageProgress progress(run.EventSink, LoadText(run.CategoryPass ? Text::FindingCategoryDuplicates : Text::FindingDuplicates));
        const double step = 100.0 / static_cast<double>(two_.tasks.size());
        for (auto at = two_.tasks.begin(); at != two_.tasks.end();) {
            const auto task2 = at++;
            const com::Bstr id(task2->first);
            if (!isOpenNew(task2->second) || !begin(Side::Two, id.get())) continue;
            findPartner(task2, id.get());
            progress.advance(step);
        }
    }
    [[nodiscard]] bool foundAny() const noexcept { return FoundAny; }

private:
    void readSideOne()
    {
        const LONG count = one_.store.countOrZero();
        for (LONG i = 0; i < count; ++i) {
            com::Bstr id;
            if (one_.store.identifierAt(i, id)) addCandidate(FindTask(one_.tasks, id.text()));
        }
        // A record that the store did not list this time is known by its task.
        for (auto at = one_.tasks.begin(); at != one_.tasks.end(); ++at) addCandidate(at);
    }

    void addCandidate(TaskList::iterator task)
    {
        if (task == one_.tasks.end() || !isOpenNew(task->second) || task->second.Values) return;
        const com::Bstr id(task->first);
        if (begin(Side::One, id.get()) && readAll(Side::One, id.get(), task->second)) candidates_.push_back(task->first);
    }

    // False if the record cannot be opened: it is left out.
    bool begin(Side side, BSTR id)
    {
        if (pass_.side(side).store.beginRead(id)) return true;
        pass_.unreadable.push_back({side, com::textOf(id), std::nullopt});
        return false;
    }

    // False if a field could not be read: by the other fields its record could be taken for another contact.
    bool readAll(Side side, BSTR id, RecordTask& task)
    {
        StoreClient& store = pass_.side(side).store;
        bool complete = true;
        task.Values = std::make_unique<RecordValues>();
        const auto fields = pass_.fields(side);
        for (const MatchRow& row : rows_.rows) {
            const LONG type = fieldOf(row, side).type;
            std::u16string value;
            const bool isRead = isImageType(type) || store.readText(id, fields[row.index], value);
            if (isRead)
                task.Values->set(type, value);
            else
                task.Values->erase(type);
            complete = complete && isRead;
        }
        store.endRead(id);
        if (!complete) {
            const auto lastName = task.Values->find(side == Side::One ? LONG{ftLastName} : rows_.lastName2);
            pass_.unreadable.push_back({side, com::textOf(id), lastName ? std::optional(platform::lowered(*lastName)) : std::nullopt});
        }
        return complete;
    }

    // Requires: the record of side 2 is open. It is closed here.
    void findPartner(TaskList::iterator task2, BSTR id)
    {
        const bool complete = readAll(Side::Two, id, task2->second);
        const MatchKeys keys{std::u16string(valueOf(task2->second, rows_.lastName2)),
                             std::u16string(valueOf(task2->second, rows_.firstName.type2)),
                             std::u16string(valueOf(task2->second, rows_.email.type2))};
        const std::u16string id2 = task2->first;
        const auto id1 = complete ? RankCandidates(pass_, id2, keys, candidates_, rows_) : std::nullopt;
        if (!id1) return;
        FoundAny = true;
        dropTasks(pass_, *id1, id2, PairDuplicates(pass_, *id1, id2, rows_));
    }

    PipelinePass& pass_;
    PassSide &one_, &two_;
    MatchRows rows_;
    std::vector<std::u16string> candidates_; // of side 1
    bool FoundAny = false;
};

} // namespace

bool FindDuplicatesInMemory(PipelinePass& pass)
{
    if (nothingToSearch(pass)) {
        WriteLogResource(logProgress, Text::NoDuplicates);
        return false;
    }
    runLogged(MemorySearch(pass));
    return true;
}

} // namespace mb
