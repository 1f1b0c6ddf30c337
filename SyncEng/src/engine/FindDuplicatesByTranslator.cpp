#include "engine/DescribeRecord.h"
#include "engine/FindDuplicates.h"
#include "engine/MatchRows.h"
#include "engine/MatchRules.h"
#include "engine/StageProgress.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/ImageFields.h"
#include "translators/ReadText.h"
#include <unordered_set>

namespace mb {
namespace {

// An array that is destroyed when it is done with; null for none.
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
    TranslatorSearch(PipelinePass& pass, com::Ptr<IDuplicateFinder> finder)
        : pass_(pass), run_(pass.run), one_(pass.side(Side::One)), two_(pass.side(Side::Two)), finder_(std::move(finder)),
          rows_(BuildMatchRows(pass)), synched_(synchedRecords(pass))
    {
    }

    HRESULT run()
    {
        WriteLogText(1, u"\r");
        WriteLogResource(1, 156);
        HRESULT hr = S_OK;
        if (SUCCEEDED(com::call(finder_, &IDuplicateFinder::BeginFindDuplicate, run_.CurrentMap, one_.translator.get(), synched_.get())))
            hr = walk();
        (void)com::call(finder_, &IDuplicateFinder::EndFindDuplicate);
        return hr;
    }

private:
    static std::vector<std::u16string> synchedRecords(const PipelinePass& pass)
    {
        std::vector<std::u16string> ids;
        for (const HistoryEntry& entry : pass.sides[Side::Two].HistoryList) ids.push_back(entry.Id);
        return ids;
    }

    HRESULT walk()
    {
        StageProgress progress(run_.EventSink, LoadText(156));
        const double step = 100.0 / static_cast<double>(one_.Tasks.size());
        for (auto at = one_.Tasks.begin(); at != one_.Tasks.end();) {
            const auto current = at++; // a match may take it out
            if (isOpenNew(current->second)) search(current);
            if (progress.advance(step) == E_ABORT) return E_ABORT;
        }
        return S_OK;
    }

    void search(TaskList::iterator e1)
    {
        const com::Bstr id(e1->first);
        com::Bstr id2;
        if (FAILED(com::call(finder_, &IDuplicateFinder::FindDuplicate, one_.translator.get(), id.get(), synched_.get(), id2.put())) ||
            id2.empty())
            return;
        if (!named_.insert(platform::lowered(id2.view())).second) return; // it has its partner
        // The translator may name a record that the analysis did not list.
        auto e2 = FindTask(two_.Tasks, id2.text());
        if (e2 == two_.Tasks.end()) {
            if (FAILED(com::call(two_.translator, &ITranslator::FindRecord, id2.get()))) return; // it is the finder's invention
            TaskAt(two_.Tasks, id2.text()).Kind = TaskNew;
            e2 = FindTask(two_.Tasks, id2.text());
        } else if (!isOpenNew(e2->second)) {
            return; // known to the history
        }
        readBoth(e1, e2);
        noteDifferences(e1->second, e2->second);
        decide(e1, e2);
    }

    // A value that cannot be read is read again when it is to be written, and not written as empty.
    static void readInto(RecordValues& values, LONG type, const PassSide& side, BSTR id, const GUID& field)
    {
        std::u16string text;
        if (SUCCEEDED(readText(side.translator.get(), id, field, text)))
            values.set(type, text);
        else
            values.erase(type);
    }

    void readBoth(TaskList::iterator e1, TaskList::iterator e2)
    {
        for (RecordTask* task : {&e1->second, &e2->second})
            if (!task->Values) task->Values = std::make_unique<RecordValues>();
        const com::Bstr id1(e1->first), id2(e2->first);
        if (FAILED(com::call(one_.translator, &ITranslator::BeginReadRecord, id1.get()))) return;
        if (SUCCEEDED(com::call(two_.translator, &ITranslator::BeginReadRecord, id2.get()))) {
            const auto fields1 = pass_.fields(Side::One), fields2 = pass_.fields(Side::Two);
            for (std::size_t i = 0; i < rows_.rows.size(); ++i) {
                const MatchRow& row = rows_.rows[i];
                if (isImageType(row.field1.type) || isImageType(row.field2.type)) continue;
                readInto(*e1->second.Values, row.field1.type, one_, id1.get(), fields1[i]);
                readInto(*e2->second.Values, row.field2.type, two_, id2.get(), fields2[i]);
            }
            (void)com::call(two_.translator, &ITranslator::EndReadRecord, id2.get());
        }
        (void)com::call(one_.translator, &ITranslator::EndReadRecord, id1.get());
    }

    void noteDifferences(RecordTask& e1, RecordTask& e2) const
    {
        if (!pass_.Send[Side::One] || !pass_.Send[Side::Two]) return;
        for (const MatchRow& row : rows_.rows) {
            const std::u16string a(valueOf(e1, row.field1.type)), b(valueOf(e2, row.field2.type));
            if (sameAlnum(a, b)) continue;
            changesOf(e1)[row.field1.type] = a;
            changesOf(e2)[row.field2.type] = b;
        }
    }

    void decide(TaskList::iterator e1, TaskList::iterator e2)
    {
        const bool send1 = pass_.Send[Side::One], send2 = pass_.Send[Side::Two];
        if (send1 && send2 && e1->second.Changes) {
            if (LogLevelMask & 1)
                WriteLogResource(1, 154, DescribeRecord(e1->second.Values.get(), one_.translator.get(), one_.names, e1->first));
            e1->second.MappedId = e2->first;
            e2->second.MappedId = e1->first;
        } else if (send1) {
            e1->second.Kind = TaskMatched;
            e1->second.MappedId = e2->first;
            (void)DropTask(e2, two_.Tasks);
        } else if (send2) {
            e2->second.Kind = TaskMatched;
            e2->second.MappedId = e1->first;
            (void)DropTask(e1, one_.Tasks);
        }
    }

    PipelinePass& pass_;
    RunState& run_;
    PassSide &one_, &two_;
    com::Ptr<IDuplicateFinder> finder_;
    std::unordered_set<std::u16string> named_; // folded
    MatchRows rows_;
    TextArray synched_;
};

} // namespace

HRESULT FindDuplicatesByTranslator(PipelinePass& pass)
{
    if (pass.side(Side::One).Tasks.empty() || pass.side(Side::Two).Tasks.empty()) return S_OK;
    auto finder = pass.side(Side::Two).translator.tryAs<IDuplicateFinder>();
    return finder ? TranslatorSearch(pass, std::move(finder)).run() : S_OK;
}

} // namespace mb
