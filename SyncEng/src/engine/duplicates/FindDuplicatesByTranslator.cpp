#include "engine/DescribeRecord.h"
#include "engine/details/SyncDetails.h"
#include "engine/duplicates/FindDuplicates.h"
#include "engine/duplicates/MatchRows.h"
#include "engine/duplicates/MatchRules.h"
#include "engine/StageProgress.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/ImageFields.h"
#include <unordered_set>

namespace mb {
namespace {

// Owns a text array; null for no texts.
class TextArray {
public:
    explicit TextArray(const std::vector<std::u16string>& texts) : array_(texts.empty() ? nullptr : com::makeTextArray(texts)) {}
    TextArray(const TextArray&) = delete;
    TextArray& operator=(const TextArray&) = delete;
    ~TextArray()
    {
        if (array_) SafeArrayDestroy(array_);
    }
    [[nodiscard]] SAFEARRAY* get() const noexcept { return array_; }

private:
    SAFEARRAY* array_;
};

class TranslatorSearch {
public:
    explicit TranslatorSearch(PipelinePass& pass)
        : pass_(pass), run_(pass.run), one_(pass.side(Side::One)), two_(pass.side(Side::Two)), rows_(BuildMatchRows(pass)),
          synched_(synchedRecords(pass))
    {
    }

    void run()
    {
        WriteLogText(logProgress, u"\r");
        WriteLogResource(logProgress, Text::FindingDuplicatesByTranslator);
        const FindEnd end(two_.store);
        if (two_.store.beginFind(run_.CurrentMap, one_.store.translator(), synched_.get())) walk();
    }

private:
    // Ends the search also after a failure or a cancel.
    struct FindEnd {
        explicit FindEnd(StoreClient& finder) : store(finder) {}
        FindEnd(const FindEnd&) = delete;
        FindEnd& operator=(const FindEnd&) = delete;
        ~FindEnd() { store.endFind(); }
        StoreClient& store;
    };

    static std::vector<std::u16string> synchedRecords(const PipelinePass& pass)
    {
        std::vector<std::u16string> ids;
        for (const HistoryEntry& entry : pass.sides[Side::Two].historyList) ids.push_back(entry.Id);
        return ids;
    }

    void walk()
    {
        StageProgress progress(run_.EventSink, LoadText(Text::FindingDuplicatesByTranslator));
        const double step = 100.0 / static_cast<double>(one_.tasks.size());
        for (auto at = one_.tasks.begin(); at != one_.tasks.end();) {
            const auto current = at++; // a match may take it out
            if (isOpenNew(current->second)) search(current);
            progress.advance(step);
        }
    }

    void search(TaskList::iterator task1)
    {
        const com::Bstr id(task1->first);
        com::Bstr id2;
        if (!two_.store.find(one_.store.translator(), id.get(), synched_.get(), id2) || id2.empty()) return;
        if (!named_.insert(platform::lowered(id2.view())).second) return; // it has its partner
        if (isLinked(id2.view()) || two_.leftOut.contains(id2.text())) return;
        // The translator may name a record that the analysis did not list.
        auto task2 = FindTask(two_.tasks, id2.text());
        if (task2 == two_.tasks.end()) {
            if (two_.store.contains(id2.get()) != Presence::Present) return; // the finder named a record that the store does not have
            TaskAt(two_.tasks, id2.text()).Kind = TaskNew;
            task2 = FindTask(two_.tasks, id2.text());
        } else if (!isOpenNew(task2->second)) {
            return; // known to the history
        }
        if (!readBoth(task1, task2) || isGroupTask(task1->second) != isGroupTask(task2->second)) {
            task1->second.Values.reset();
            task2->second.Values.reset();
            return; // the engine's own search judges what can be read
        }
        noteDifferences(task1->second, task2->second);
        decide(task1, task2);
    }

    // A record that the history links has its partner, even if it has no task because nothing changed.
    bool isLinked(std::u16string_view id2)
    {
        if (linked_.empty())
            for (const HistoryEntry& entry : two_.historyList) linked_.insert(platform::lowered(entry.Id));
        return linked_.contains(platform::lowered(id2));
    }

    static bool readInto(RecordValues& values, LONG type, PassSide& side, BSTR id, const GUID& field)
    {
        std::u16string text;
        if (!side.store.readText(id, field, text)) return false;
        values.set(type, text);
        return true;
    }

    // False if a value could not be read: by the other fields alone two contacts could be taken for one.
    bool readBoth(TaskList::iterator task1, TaskList::iterator task2)
    {
        for (RecordTask* task : {&task1->second, &task2->second})
            if (!task->Values) task->Values = std::make_unique<RecordValues>();
        const com::Bstr id1(task1->first), id2(task2->first);
        const OpenReading reading1(one_.store, id1.get());
        if (!reading1) return false;
        const OpenReading reading2(two_.store, id2.get());
        if (!reading2) return false;
        const auto fields1 = pass_.fields(Side::One), fields2 = pass_.fields(Side::Two);
        for (const MatchRow& row : rows_.rows) {
            if (isImageType(row.field1.type) || isImageType(row.field2.type)) continue;
            if (!readInto(*task1->second.Values, row.field1.type, one_, id1.get(), fields1[row.index]) ||
                !readInto(*task2->second.Values, row.field2.type, two_, id2.get(), fields2[row.index]))
                return false;
        }
        task1->second.withoutDetails = task2->second.withoutDetails = neitherHasDetails(id1, id2);
        return true;
    }

    // The stores have both records at hand now, and would have to read them again for the plan.
    bool neitherHasDetails(const com::Bstr& id1, const com::Bstr& id2)
    {
        if (!pass_.details) return false;
        const auto own = ReadDetails(pass_, Side::One, id1);
        if (!own || !holdsOnlyOwnLines(*own)) return false;
        const auto other = ReadDetails(pass_, Side::Two, id2);
        return other && holdsOnlyOwnLines(*other);
    }

    void noteDifferences(RecordTask& task1, RecordTask& task2) const
    {
        if (!pass_.send[Side::One] || !pass_.send[Side::Two]) return;
        for (const MatchRow& row : rows_.rows) {
            const std::u16string_view a = valueOf(task1, row.field1.type), b = valueOf(task2, row.field2.type);
            if (a == b || sameAlnum(a, b)) continue;
            changesOf(task1)[row.field1.type] = a;
            changesOf(task2)[row.field2.type] = b;
        }
    }

    void decide(TaskList::iterator task1, TaskList::iterator task2)
    {
        const bool send1 = pass_.send[Side::One], send2 = pass_.send[Side::Two];
        if (send1 && send2 && task1->second.Changes) {
            if (LogLevelMask & 1)
                WriteLogResource(logProgress, Text::PossibleDuplicate,
                                 DescribeRecord(task1->second.Values.get(), one_.store, task1->first));
            task1->second.MappedId = task2->first;
            task2->second.MappedId = task1->first;
        } else if (send1) {
            task1->second.Kind = TaskMatched;
            task1->second.MappedId = task2->first;
            DropTask(task2, two_.tasks);
        } else if (send2) {
            task2->second.Kind = TaskMatched;
            task2->second.MappedId = task1->first;
            DropTask(task1, one_.tasks);
        }
    }

    PipelinePass& pass_;
    RunState& run_;
    PassSide &one_, &two_;
    std::unordered_set<std::u16string> named_, linked_; // folded
    MatchRows rows_;
    TextArray synched_;
};

} // namespace

void FindDuplicatesByTranslator(PipelinePass& pass)
{
    if (pass.side(Side::One).tasks.empty() || pass.side(Side::Two).tasks.empty()) return;
    if (pass.side(Side::Two).store.hasFinder()) TranslatorSearch(pass).run();
}

} // namespace mb
