// Merges the details of two linked records by unit, in one direction: only what the source changed since the last run is applied to the
// target. What the target changed stays, and travels when the other direction is written. Reads and writes no store.
#pragma once
#include "engine/details/DetailsBase.h"
#include "engine/details/References.h"
#include "interfaces.h"
#include "store/FieldData.h"
#include <deque>
#include <functional>

namespace mb {

// The picture of one kind, which a record has in an image field, in lines of a property, or in both: it is one picture.
struct DetailsPicture {
    std::u16string_view property;                                // of the lines: PHOTO or LOGO
    bool travels = true;                                         // false: lines of the property are neither added nor removed
    bool fieldTravels = true;                                    // false: the image fields of the two sides are not a mapped pair
    bool sourceField = false, targetField = false;               // whether the records hold the image
    bool sourceFieldChanged = false, targetFieldChanged = false; // since the last run
};

// What a merge needs of the image field of a kind.
struct PictureDecision {
    std::u16string_view property;
    bool write = false; // the source's image has to be written, whatever else is
    bool must = false;  // ... or the merged text must not be written: lines are removed in its favour
    bool keep = false;  // the target's picture wins: the source's image must not be written
    bool clear = false; // the source has lines instead: the target's image has to be removed
    bool lost = false;  // ... which the target's user had changed
};

struct DetailsMergeInput {
    std::u16string_view source, target;
    DetailsBase base{};        // as the source has it; empty at a first meeting
    bool firstMeeting = false; // of two records that both exist
    bool bothWays = false;     // the target's details travel to the source too
    const FieldTypeMap& types; // for each mapped pair, the source's field type to the target's: an annotation of any other field stays home
    bool givesFiles = true;    // the source's store gives files whole; else a line with a file that the target does not hold stays home
    Counterparts counterparts{};            // of the records that the source's lines refer to
    bool newTarget = false;                 // the target record is being created: it is offered the source's UID and VERSION
    LONG version = cvAsStore;               // what the map demands of a new record: soCardVersion
    std::vector<DetailsPicture> pictures{}; // lines of any other property travel by themselves
    // Of a unit that a record has once and that is new on both sides: whether the source's replaces the target's.
    std::function<bool(const DetailsUnit&)> sourceWins{};
};

class MergedDetails {
public:
    // The texts and the types must outlive this object.
    explicit MergedDetails(const DetailsMergeInput& input);

    // Whether the target's text has to be written.
    [[nodiscard]] bool changesTarget() const noexcept { return !added_.empty() || !removed_.empty() || !ownLines_.empty(); }
    // Whether the target's new text has an annotation that the target had before.
    [[nodiscard]] bool keepsAnnotation() const;
    // The target's new text: its lines without the removed ones, and then the added ones.
    [[nodiscard]] std::u16string text() const { return text(added_); }
    // The same with these lines in place of the added ones.
    [[nodiscard]] std::u16string text(const std::vector<std::u16string>& added) const;
    [[nodiscard]] const std::vector<std::u16string>& added() const noexcept { return added_; }
    // Of the kinds of pictures of which the merge needs something.
    [[nodiscard]] const std::vector<PictureDecision>& pictures() const noexcept { return pictures_; }
    // Whether a line of the source stays home because of its file.
    [[nodiscard]] bool fileStaysHome() const noexcept { return fileStaysHome_; }
    [[nodiscard]] const std::vector<std::u16string_view>& removed() const noexcept { return removed_; }
    // The removed lines that the target's user had changed too.
    [[nodiscard]] const std::vector<std::u16string_view>& overwritten() const noexcept { return overwritten_; }
    // The next base, as the source has it, from what the target holds now. What the target did not keep of a text that was written is
    // recorded as not kept, and what it made of it as its own: neither travels.
    [[nodiscard]] DetailsBase nextBase(std::u16string_view targetNow) const;

private:
    // New: not in the base. Gone: in the base, and the other side lacks it now. Half: in the base without a counterpart.
    enum class State { New, Gone, Half, Paired };
    struct SourceUnit {
        const DetailsUnit* unit = nullptr;
        const DetailsUnit* rewritten = nullptr; // with the references of the target; null where they are the same
        std::optional<LONG> targetField{};      // of an annotation that travels
        bool travels = true;
        DetailsHash targetHash = 0; // of the unit as the target would hold it
        State state = State::New;
        std::optional<DetailsHash> baseOther{}; // of the pair of a unit that is Gone on the target
    };
    struct TargetUnit {
        const DetailsUnit* unit = nullptr;
        bool mapped = true; // false for an annotation that no field of the source is mapped to
        State state = State::New;
        std::optional<DetailsHash> sourceHash{}; // of its partner; of a unit that is Gone, as it was
        bool kept = true;
        bool held = false; // a removal that waits: the unit stays in the base
    };
    // A unit that the target should hold.
    struct Expected {
        std::u16string key;
        std::u16string_view name, line;
        DetailsHash hash = 0;
        std::optional<DetailsHash> sourceHash{};
        bool inBase = false;
    };

    void readSource(const FieldTypeMap& types, const Counterparts& counterparts);
    const DetailsUnit* rewritten(const DetailsUnit& unit, const Counterparts& counterparts);
    void readTarget(const FieldTypeMap& types);
    void setOwnMarksApart();
    void matchBase(const DetailsBase& base);
    void pairEqual();
    void applyRemovals();
    struct Picture;
    void decidePicture(const DetailsPicture& picture, const std::function<bool(const DetailsUnit&)>& sourceWins);
    void stayHome(const DetailsPicture& picture);
    static void hold(const Picture& units);
    void replacePicture(const DetailsPicture& picture, const Picture& units, bool bothChanged);
    void addNew(const std::function<bool(const DetailsUnit&)>& sourceWins);
    bool canGive(const SourceUnit& own);
    bool mayAdd(const SourceUnit& own, const std::function<bool(const DetailsUnit&)>& sourceWins);
    void remove(TargetUnit& target);
    void add(SourceUnit& own);
    [[nodiscard]] std::u16string freeGroup(const std::u16string& wanted) const;
    using PropertyNames = std::vector<std::pair<std::u16string, std::u16string>>; // of a property
    std::u16string freeName(const DetailsUnit& unit, std::u16string DetailsUnit::*which, PropertyNames& added) const;
    std::u16string bringClient(const std::u16string& number);
    std::u16string clientNumber(const std::u16string& number);
    [[nodiscard]] bool isNamed(const std::u16string& client) const;
    [[nodiscard]] std::vector<Expected> expected() const;

    DetailsText source_, target_;
    std::deque<std::u16string> rewrittenLines_;
    std::deque<DetailsUnit> rewrittenUnits_;
    std::vector<SourceUnit> sourceUnits_;
    std::vector<TargetUnit> targetUnits_;
    std::vector<Expected> addedUnits_;
    std::vector<std::u16string> added_, addedGroups_;
    PropertyNames addedAltIds_, addedPropIds_;
    ClientNumbers clientNumbers_; // in the target, by URI
    std::vector<std::u16string_view> removed_, overwritten_;
    std::vector<std::u16string> ownLines_; // of a new target
    std::vector<PictureDecision> pictures_;
    bool givesFiles_, unites_, fileStaysHome_ = false;
};

// Whether all lines of the unit are of the picture's property, or label it.
bool isPictureUnit(const DetailsUnit& unit, std::u16string_view property);

// Whether the record holds the details that its base has. `types`: as above, from this side to the other. `home`: properties of pictures
// that do not travel.
bool detailsAsInBase(std::u16string_view text, const DetailsBase& base, const FieldTypeMap& types,
                     const std::vector<std::u16string_view>& home = {});

} // namespace mb
