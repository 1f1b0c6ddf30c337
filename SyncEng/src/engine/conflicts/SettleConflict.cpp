#include "engine/conflicts/SettleConflict.h"

namespace mb {
namespace {

class Settlement {
public:
    Settlement(PipelinePass& pass, ConflictPair& pair) : pass_(pass), run_(pass.run), pair_(pair) {}

    // Both records are separate contacts from now on. Their link is dropped before records are written: if the run ended between the two
    // sides, the next run would take the unwritten record for a change of the other.
    void dissolve()
    {
        pass_.side(Side::One).historyRemovals.push_back(entry(Side::One)->first);
        for (const Side side : {Side::One, Side::Two}) {
            close(task(side));
            task(side).Changes.reset();
        }
    }

    void deleteBoth()
    {
        for (const Side side : {Side::One, Side::Two}) {
            close(task(side));
            makeDeletion(side);
        }
    }

    void letWin(Side winner)
    {
        const Side loser = otherSide(winner);
        if (task(winner).Kind == TaskDelete) {
            // The deletion travels to the other side.
            const std::u16string gone = entry(winner)->first;
            close(task(loser));
            makeDeletion(loser);
            pass_.side(winner).historyRemovals.push_back(gone);
            takeOut(winner);
        } else if (task(loser).Kind == TaskDelete) {
            // The winner goes to the other side as a new record.
            close(task(winner));
            pass_.side(loser).historyRemovals.push_back(entry(loser)->first);
        } else {
            dropLostChanges(loser);
        }
    }

    void merge()
    {
        keepMerged(Side::One, pair_.Scratch1);
        keepMerged(Side::Two, pair_.Scratch2);
    }

private:
    TaskList::iterator& entry(Side side) { return side == Side::One ? pair_.task1 : pair_.task2; }
    RecordTask& task(Side side) { return entry(side)->second; }

    static void close(RecordTask& task)
    {
        task.MappedId.reset();
        task.Settled = true;
    }

    void makeDeletion(Side side)
    {
        task(side).Kind = TaskDelete;
        pass_.side(side).hasDeletions = true;
    }

    void takeOut(Side side) { DropTask(entry(side), pass_.side(side).tasks); }

    void dropLostChanges(Side loser)
    {
        if (!pair_.fields && task(Side::One).Changes && task(Side::Two).Changes)
            pair_.fields = ListConflictFields(run_.imagesUsable(), *task(Side::One).Changes, *task(Side::Two).Changes, pass_.fieldTypes);
        const ConflictFields fields = pair_.fields.value_or(ConflictFields());
        const std::vector<LONG>& lost = loser == Side::One ? fields.side1 : fields.side2;
        FieldValueMap* changes = task(loser).Changes.get();
        if (lost.size() == (changes ? changes->size() : 0)) return takeOut(loser);
        if (changes)
            for (const LONG type : lost) changes->erase(type);
    }

    void keepMerged(Side side, const FieldValueMap& merged)
    {
        const bool details = task(side).Changes && task(side).Changes->contains(ftDetails);
        if (merged.empty() && !details) return takeOut(side);
        task(side).Changes = std::make_unique<FieldValueMap>(merged);
        if (details) (*task(side).Changes)[ftDetails];
        task(side).Settled = true;
    }

    PipelinePass& pass_;
    RunState& run_;
    ConflictPair& pair_;
};

} // namespace

void SettleConflict(PipelinePass& pass, ConflictPair& pair, LONG resolution)
{
    pair.task1->second.conflict = pair.task2->second.conflict = resolution;
    Settlement settlement(pass, pair);
    switch (resolution) {
    case croAddAll: return settlement.dissolve();
    case croDeleteAll: return settlement.deleteBoth();
    case croTrans1Wins: return settlement.letWin(Side::One);
    case croTrans2Wins: return settlement.letWin(Side::Two);
    case croMerge: return settlement.merge();
    default: return; // not settled: the dialog was answered for all conflicts before
    }
}

} // namespace mb
