#include "engine/FindDuplicates.h"

#include "engine/FailureReport.h"
#include "engine/HoldBack.h"
#include "engine/MatchRules.h"
#include "engine/PairDuplicates.h"
#include "engine/RankCandidates.h"
#include "engine/RecordIndex.h"
#include "engine/ResolveConflicts.h"
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

HRESULT closeSearch(PipelinePass& pass, HRESULT hr, bool foundAny)
{
    if (!foundAny) WriteLogResource(logProgress, Text::NoDuplicates);
    if (SUCCEEDED(hr)) HoldBackUnreadable(pass);
    if (SUCCEEDED(hr)) hr = ResolveConflicts(pass);
    pass.run.FieldMapRebuilt = false;
    return hr;
}

// A pass of the search has its own label; the two rounds of the third share one and go on counting.
class DuplicateSearch {
    using Question = RecordIndex::Question;

public:
    DuplicateSearch(PipelinePass& pass, RecordIndex& index1, RecordIndex& index2)
        : pass_(pass), run_(pass.run), one_(pass.side(Side::One)), two_(pass.side(Side::Two)), index1_(index1), index2_(index2),
          rows_(BuildMatchRows(pass))
    {
    }

    HRESULT run()
    {
        WriteLogText(logProgress, u"\r");
        HRESULT hr = indexSideOne();
        if (SUCCEEDED(hr)) hr = findExact();
        if (SUCCEEDED(hr)) hr = findConflicting();
        return hr;
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

    HRESULT indexSideOne()
    {
        StageProgress progress = progressOf(Text::PreparingDuplicates, Text::PreparingCategoryDuplicates);
        LONG count = 0;
        (void)one_.store.count(count);
        for (LONG i = 0; i < count; ++i) {
            com::Bstr id;
            if (SUCCEEDED(one_.store.identifierAt(i, id))) {
                const HRESULT hr = indexOne(FindTask(one_.tasks, id.text()));
                if (FAILED(hr)) return hr;
            }
            if (progress.advance(100.0 / count) == E_ABORT) return E_ABORT;
        }
        // A record that the store did not list this time is known by its task.
        for (auto at = one_.tasks.begin(); at != one_.tasks.end(); ++at) {
            const HRESULT hr = indexOne(at);
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }

    HRESULT indexOne(TaskList::iterator task)
    {
        if (task == one_.tasks.end() || !isOpenNew(task->second) || !indexed_.insert(task->first).second) return S_OK;
        std::optional<std::size_t> position;
        return addRecord(Side::One, task, index1_, position);
    }

    // Reads a new record into its values and its side's index. A record whose begin answers E_ABORT is passed over; any other failure to
    // begin ends the search. Quirk kept on purpose: it is charged to translator 1 on both sides.
    HRESULT addRecord(Side side, TaskList::iterator task, RecordIndex& index, std::optional<std::size_t>& position)
    {
        PassSide& own = pass_.side(side);
        const com::Bstr id(task->first);
        const HRESULT hr = own.store.beginReadForSearch(id.get());
        if (hr == E_ABORT) {
            pass_.unreadable.push_back({side, task->first, std::nullopt});
            return S_OK;
        }
        if (FAILED(hr)) {
            chargeFailure(pass_, Side::One);
            return hr;
        }
        values_.clear();
        const Keys keys = readKeys(side, id.get(), values_);
        task->second.Values = std::make_unique<RecordValues>(values_); // the copy has no room to spare
        own.store.endRead(id.get());
        // By the little that could be read of it a contact would pass for another one.
        if (!keys.complete)
            pass_.unreadable.push_back({side, task->first, keys.lastNameRead ? std::optional(keys.lastName) : std::nullopt});
        else
            position = index.AddToRecordIndex(task->first, keys.lastName, keys.firstName, keys.email, keys.digest);
        return S_OK;
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
            const HRESULT hr = pass_.side(side).store.read(id, fields[row.index], read);
            if (FAILED(hr)) { // so that it is read again when it is to be written, and not written as empty
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

    // A picture is known by its presence and by the size it would have as a JPEG file, which makes two stores comparable.
    void readImage(Side side, BSTR id, std::size_t row, RecordValues& values, std::u16string& digest)
    {
        const LONG type = fieldOf(rows_.rows[row], side).type;
        const GUID& field = pass_.fields(side)[rows_.rows[row].index];
        StoreClient& store = pass_.side(side).store;
        bool has = false;
        if (!run_.imagesUsable() || !store.hasImages() || FAILED(store.hasImage(id, field, has))) return;
        const std::u16string flag = imageFlagText(has);
        std::u16string size;
        com::Variant image;
        if (has) (void)store.read(id, field, image);
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

    // A part, and its row's number, which keeps one text in two fields apart.
    static void appendPart(std::u16string& digest, const std::u16string& part, std::size_t row)
    {
        digest += AlnumOnly(part);
        appendNumber(digest, row);
    }

    HRESULT findExact()
    {
        StageProgress progress = progressOf(Text::FindingExactDuplicates, Text::FindingExactCategoryDuplicates);
        const double step = 100.0 / static_cast<double>(two_.tasks.size());
        for (auto at = two_.tasks.begin(); at != two_.tasks.end();) {
            const auto task2 = at++;
            if (isOpenNew(task2->second)) {
                std::optional<std::size_t> position;
                const HRESULT hr = addRecord(Side::Two, task2, index2_, position);
                if (FAILED(hr)) return hr;
                if (position)
                    if (const auto id1 = firstOpenRecord(Question::ContentAlone, {{}, {}, {}, index2_.keys(*position).digest}))
                        pair(*id1, task2->first);
            }
            if (progress.advance(step) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    HRESULT findConflicting()
    {
        StageProgress progress = progressOf(Text::FindingConflictingDuplicates, Text::FindingConflictingCategoryDuplicates);
        const std::vector<std::size_t> open = index2_.open();
        if (open.empty()) return S_OK;
        // One step for both rounds: each record is found at most once, so that the two never pass 100 together.
        const double step = 100.0 / static_cast<double>(open.size());
        HRESULT hr = round(progress, step, open, [&](std::size_t position) { return byDigest(index2_.keys(position)); });
        if (SUCCEEDED(hr)) hr = round(progress, step, index2_.open(), [&](std::size_t position) { return byRule(position); });
        return SUCCEEDED(hr) ? progress.reach(100.0) : hr;
    }

    template <class Search> HRESULT round(StageProgress& progress, double step, const std::vector<std::size_t>& open, Search&& search)
    {
        for (const std::size_t position : open) {
            const auto task2 = FindTask(two_.tasks, index2_.id(position));
            bool found = false;
            if (task2 != two_.tasks.end() && isOpenNew(task2->second))
                if (const auto id1 = search(position)) {
                    pair(*id1, index2_.id(position));
                    found = true;
                }
            if (progress.advance(found ? step : 0.0) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    // A first name and no e-mail: the record is never looked up by an empty e-mail.
    static bool mayAskByEmail(const RecordIndex::Keys& keys) { return keys.firstName.empty() || !keys.email.empty(); }

    std::optional<std::u16string> byDigest(const RecordIndex::Keys& keys)
    {
        auto found = firstOpenRecord(Question::NameAndContent, keys);
        if (!found && mayAskByEmail(keys)) found = firstOpenRecord(Question::EmailAndContent, keys);
        return found;
    }

    std::optional<std::u16string> byRule(std::size_t position)
    {
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
        (void)index1_.find(question, keys, [&](std::size_t candidate) {
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
        dropTasks(id1, id2, dropped);
    }

    void dropTasks(const std::u16string& id1, const std::u16string& id2, const DroppedTasks& dropped)
    {
        if (dropped.drop1)
            if (auto at = FindTask(one_.tasks, id1); at != one_.tasks.end()) (void)DropTask(at, one_.tasks);
        if (dropped.drop2)
            if (auto at = FindTask(two_.tasks, id2); at != two_.tasks.end()) (void)DropTask(at, two_.tasks);
    }

    PipelinePass& pass_;
    RunState& run_;
    PassSide &one_, &two_;
    RecordIndex &index1_, &index2_;
    MatchRows rows_;
    RecordValues values_;                             // of the record that is being read
    std::unordered_set<std::u16string_view> indexed_; // of side 1
    bool FoundAny = false;
};

} // namespace

HRESULT FindDuplicates(PipelinePass& pass)
{
    RecordIndex index1, index2;
    if (!index1.create() || !index2.create()) return FindDuplicatesInMemory(pass);
    if (nothingToSearch(pass)) {
        WriteLogResource(logProgress, Text::NoDuplicates);
        return S_OK;
    }
    DuplicateSearch search(pass, index1, index2);
    const HRESULT hr = search.run();
    return closeSearch(pass, hr, search.foundAny());
}

HRESULT FindDuplicatesInMemory(PipelinePass& pass)
{
    if (nothingToSearch(pass)) {
        WriteLogResource(logProgress, Text::NoDuplicates);
        return S_OK;
    }
    const MatchRows rows = BuildMatchRows(pass);
    PassSide &one = pass.side(Side::One), &two = pass.side(Side::Two);
    // False if a field could not be read: by what is left its record would pass for another one.
    const auto readAll = [&](Side side, BSTR id, RecordTask& task) {
        bool complete = true;
        task.Values = std::make_unique<RecordValues>();
        const auto fields = pass.fields(side);
        for (std::size_t j = 0; j < rows.rows.size(); ++j) {
            const LONG type = fieldOf(rows.rows[j], side).type;
            std::u16string value;
            const bool isRead = isImageType(type) || SUCCEEDED(pass.side(side).store.readText(id, fields[rows.rows[j].index], value));
            if (isRead)
                task.Values->set(type, value);
            else
                task.Values->erase(type);
            complete = complete && isRead;
        }
        pass.side(side).store.endRead(id);
        if (!complete) {
            const auto lastName = task.Values->find(side == Side::One ? LONG{ftLastName} : rows.lastName2);
            pass.unreadable.push_back({side, com::textOf(id), lastName ? std::optional(platform::lowered(*lastName)) : std::nullopt});
        }
        return complete;
    };
    // False if the record cannot be read at all: it is passed over.
    const auto begin = [&](Side side, BSTR id) {
        if (SUCCEEDED(pass.side(side).store.beginRead(id))) return true;
        pass.unreadable.push_back({side, com::textOf(id), std::nullopt});
        return false;
    };

    std::vector<std::u16string> candidates;
    const auto addCandidate = [&](TaskList::iterator task) {
        if (task == one.tasks.end() || !isOpenNew(task->second) || task->second.Values) return;
        const com::Bstr id(task->first);
        if (begin(Side::One, id.get()) && readAll(Side::One, id.get(), task->second)) candidates.push_back(task->first);
    };
    LONG count = 0;
    (void)one.store.count(count);
    for (LONG i = 0; i < count; ++i) {
        com::Bstr id;
        if (SUCCEEDED(one.store.identifierAt(i, id))) addCandidate(FindTask(one.tasks, id.text()));
    }
    // A record that the store did not list this time is known by its task.
    for (auto at = one.tasks.begin(); at != one.tasks.end(); ++at) addCandidate(at);

    StageProgress progress(pass.run.EventSink, LoadText(pass.run.CategoryPass ? Text::FindingCategoryDuplicates : Text::FindingDuplicates));
    const double step = 100.0 / static_cast<double>(two.tasks.size());
    bool foundAny = false;
    HRESULT hr = S_OK;
    for (auto at = two.tasks.begin(); SUCCEEDED(hr) && at != two.tasks.end();) {
        const auto task2 = at++;
        const com::Bstr id(task2->first);
        if (!isOpenNew(task2->second) || !begin(Side::Two, id.get())) continue;
        const bool complete = readAll(Side::Two, id.get(), task2->second);
        const MatchKeys keys{std::u16string(valueOf(task2->second, rows.lastName2)),
                             std::u16string(valueOf(task2->second, rows.firstName.type2)),
                             std::u16string(valueOf(task2->second, rows.email.type2))};
        const std::u16string id2 = task2->first;
        if (const auto id1 = complete ? RankCandidates(pass, id2, keys, candidates, rows) : std::nullopt) {
            foundAny = true;
            const DroppedTasks dropped = PairDuplicates(pass, *id1, id2, rows);
            if (auto task = FindTask(one.tasks, *id1); dropped.drop1 && task != one.tasks.end()) (void)DropTask(task, one.tasks);
            if (auto task = FindTask(two.tasks, id2); dropped.drop2 && task != two.tasks.end()) (void)DropTask(task, two.tasks);
        }
        hr = progress.advance(step) == E_ABORT ? E_ABORT : S_OK;
    }
    return closeSearch(pass, hr, foundAny);
}

} // namespace mb
