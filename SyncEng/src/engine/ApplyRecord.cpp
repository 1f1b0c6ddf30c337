#include "engine/ApplyRecord.h"

#include "engine/details/DetailsFiles.h"
#include "engine/details/FindCounterparts.h"
#include "engine/details/PictureLines.h"
#include "engine/details/SyncDetails.h"
#include "engine/HostUnits.h"
#include "foundation/ImageValue.h"
#include "foundation/PhoneNumber.h"
#include "text.h"
#include "translators/ImageFields.h"
#include "translators/TranslatorIds.h"
#include "whole_details.h"
#include <algorithm>

namespace mb {
namespace {

constexpr LONG unknownType = -1;

struct ImageState {
    bool has = false;
    std::int64_t size = -1; // as far as known
};

// The two images of a record, by field type.
class ImageStates {
public:
    ImageState& operator[](LONG imageType) noexcept { return imageType == ftImage1 ? first_ : second_; }

private:
    ImageState first_, second_;
};

void rememberImage(FieldValueMap& data, LONG type, const ImageState& image)
{
    data[type] = imageFlagText(image.has);
    data[sizeTypeOf(type)] = imageSizeText(image.size);
}

const std::u16string* valueIn(const FieldValueMap* values, LONG type)
{
    if (!values) return nullptr;
    const auto at = values->find(type);
    return at == values->end() ? nullptr : &at->second;
}

class RecordApply {
public:
    RecordApply(PipelinePass& pass, PerSide<SidePlan>& plans, Side target, Reference turn, const PlanItem& item, const PlanItem* waiting,
                std::optional<std::u16string>& targetId, LinkGuard& guard, RecordWrites& writes)
        : pass_(pass), plans_(plans), run_(pass.run), turn_(turn), sourceSide_(otherSide(target)), targetSide_(target),
          source_(pass.side(sourceSide_)), target_(pass.side(target)), recordId_(item.sourceId), item_(item), waiting_(waiting),
          targetIdOut_(targetId), guard_(guard), writes_(writes), sourceKey_(recordId_), isNew_(!targetId),
          matched_(item.kind == PlannedMatch)
    {
        if (targetId) targetKey_ = com::Bstr(*targetId);
        hostUpdate_ = target == Side::One && run_.side(Side::One).id == hostTranslator && target_.store.hasFields() && targetId;
    }

    void run()
    {
        if (pass_.details && turn_ != Reference::None && !findCounterparts()) return;
        sourceCaps_ = source_.store.caps();
        targetCaps_ = target_.store.caps();
        if (hostUpdate_) units_.readBefore(pass_, targetSide_, targetKey_.get());
        if (pass_.details)
            targetDetails_ = isNew_ ? std::optional(std::u16string()) : OpenAndReadDetails(pass_, targetSide_, targetKey_.text());
        {
            const OpenReading reading(source_.store, sourceKey_.get());
            reading.require();
            if (pass_.details && turn_ == Reference::None) {
                sourceDetails_ = ReadDetails(pass_, sourceSide_, sourceKey_);
                if (sourceDetails_) writes_.waitsFor = lastReference(*sourceDetails_);
                if (writes_.waitsFor != Reference::None) return;
            }
            if (pass_.details) mergeDetails();
            copyAndRestore();
            save();
        }
        try {
            readBack();
        } catch (const RunFailure&) {
            storeValues();
            throw;
        }
        storeValues();
    }

private:
    // One mapped pair that is being copied.
    struct FieldStep {
        std::size_t index = 0; // of the mapped pair
        GUID sourceField{}, targetField{};
        LONG sourceType = 0, targetType = 0;
        bool WriteIt = false, written = false;
        com::Variant value;
        [[nodiscard]] std::u16string_view text() const noexcept { return value.text(); }
    };

    // No record is open yet: those that the details refer to are read. False for a new record that has to wait: once it is created, it is
    // not offered the UID by which others know it.
    bool findCounterparts()
    {
        sourceDetails_ = OpenAndReadDetails(pass_, sourceSide_, recordId_);
        counterparts_ = sourceDetails_ ? FindCounterparts(pass_, plans_, sourceSide_, *sourceDetails_) : std::nullopt;
        writes_.nextRun = isNew_ && !counterparts_;
        return !writes_.nextRun;
    }

    // The host's units are restored also where a field was refused.
    void copyAndRestore()
    {
        try {
            beginTarget();
            copyFields();
            if (pass_.details) writeDetails();
        } catch (const RunFailure&) {
            restoreUnits();
            throw;
        }
        restoreUnits();
    }

    void restoreUnits()
    {
        if (hostUpdate_ && !isNew_) units_.restore(target_.store, targetKey_.get());
    }

    // A target that cannot be opened fails the record later: see failure_.
    void beginTarget()
    {
        try {
            if (isNew_)
                target_.store.beginAdd(targetKey_);
            else
                target_.store.beginEdit(targetKey_.get());
        } catch (const RunFailure& failure) {
            failure_ = failure;
        }
    }

    void copyFields()
    {
        const auto sourceFields = pass_.fields(sourceSide_), targetFields = pass_.fields(targetSide_);
        TargetTypes.assign(sourceFields.size(), unknownType);
        EmptyValues.assign(sourceFields.size(), false);
        SourceData.reserve(sourceFields.size());
        for (std::size_t i = 0; i < sourceFields.size(); ++i) {
            const auto sourceType = source_.fieldType(i);
            const auto targetType = sourceType ? target_.fieldType(i) : std::nullopt;
            if (!targetType) continue;
            TargetTypes[i] = *targetType;
            FieldStep step;
            step.index = i;
            step.sourceField = sourceFields[i];
            step.targetField = targetFields[i];
            step.sourceType = *sourceType;
            step.targetType = *targetType;
            step.WriteIt = writes(step.sourceType);
            findValue(step);
            if (failure_) throw *failure_;
            EmptyValues[i] = step.text().empty();
            if (step.WriteIt) write(step); // a refused field ends the record, or the record would stay without the field for good
            if (!step.written && isImageType(step.targetType)) lookAtTargetImage(step);
            remember(step);
        }
        if (failure_) throw *failure_;
    }

    // The merge knows by the history what the source changed; a change set need not name details.
    void mergeDetails()
    {
        if (!sourceDetails_ || !targetDetails_ || !counterparts_) return leaveDetails();
        const auto base = isNew_ ? std::nullopt : StoredDetailsBase(pass_, sourceSide_, recordId_, targetKey_.text());
        auto pictures = isNew_ ? PicturesOfNew(pass_, *sourceDetails_)
                               : ReadPictures(pass_, sourceSide_, item_, waiting_, *sourceDetails_, *targetDetails_, !base, true);
        if (!pictures) return leaveDetails();
        details_.emplace(DetailsMergeInput{
            .source = *sourceDetails_,
            .target = *targetDetails_,
            .base = base.value_or(DetailsBase()),
            .firstMeeting = !isNew_ && !base,
            .bothWays = pass_.send[targetSide_],
            .types = AnnotationTypes(pass_, sourceSide_),
            .givesFiles = GivesFiles(pass_, sourceSide_, *sourceDetails_),
            .counterparts = *counterparts_,
            .newTarget = isNew_,
            .version = run_.options.cardVersion,
            .pictures = std::move(*pictures),
            .sourceWins = [this](const DetailsUnit& unit) { return SourceWinsDetails(pass_, sourceSide_, item_, waiting_, unit); }});
        if (details_->fileStaysHome()) NoteUnreadDetails(pass_, sourceSide_, recordId_);
        if (matched_ && details_->changesTarget()) leaveDetails(); // a link writes nothing
    }

    // A refused text ends the record, as a refused field does.
    void writeDetails()
    {
        if (!details_) return;
        // An annotation of an emptied field goes with the text, or the target would keep what it says as a property.
        const bool changes = details_->changesTarget();
        if (!changes && !(emptied_ && details_->keepsAnnotation())) return;
        // A line is not removed in favour of an image that could not be written.
        const auto missing = [&](const PictureDecision& picture) {
            return picture.must && !written_.contains(imageTypeOf(picture.property));
        };
        if (std::ranges::any_of(details_->pictures(), missing)) return leaveDetails();
        const auto added = wholeLines(details_->added());
        if (!added) return leaveDetails();
        target_.store.write(targetKey_.get(), (*pass_.details)[targetSide_], com::Variant(details_->text(*added)));
        writes_.details = changes;
        for (const std::u16string_view line : details_->overwritten()) writes_.overwritten.push_back(shownLine(line));
        for (const PictureDecision& picture : details_->pictures())
            if (picture.clear) clearImage(picture);
    }

    // The lines that were written are the picture now.
    void clearImage(const PictureDecision& picture)
    {
        const LONG type = imageTypeOf(picture.property);
        const auto at = std::ranges::find(TargetTypes, type);
        if (at == TargetTypes.end()) return;
        const auto index = static_cast<std::size_t>(at - TargetTypes.begin());
        target_.store.write(targetKey_.get(), pass_.fields(targetSide_)[index], com::Variant(u""));
        writes_.fields.push_back(index);
        written_.insert({type, sizeTypeOf(type)});
        if (hostUpdate_) units_.noteWritten(type);
        ImageState& image = targetImageStates_[type];
        if (picture.lost) writes_.overwritten.push_back(shownPicture(picture.property, image.size));
        image = {.has = false, .size = 0};
    }

    // What the merge needs of the image field; null for a field about which it needs nothing.
    const PictureDecision* decisionOf(LONG sourceType) const
    {
        if (!details_ || !isImageType(sourceType)) return nullptr;
        const auto& all = details_->pictures();
        const auto at = std::ranges::find(all, sourceType, [](const PictureDecision& each) { return imageTypeOf(each.property); });
        return at == all.end() ? nullptr : &*at;
    }

    // Whether the item writes the field.
    bool writes(LONG sourceType)
    {
        const PictureDecision* picture = matched_ ? nullptr : decisionOf(sourceType);
        if (!picture || !picture->keep) return !matched_ && (selected(sourceType) || (picture && picture->write));
        source_.lostImages.emplace(recordId_, sourceType);
        source_.unread[recordId_].fields.push_back(sourceType); // if it is not replaced in this run, the next one compares it again
        return false;
    }

    // The lines with their files, which are read for this record alone; nullopt where the source's store cannot give one.
    std::optional<std::vector<std::u16string>> wholeLines(std::vector<std::u16string> lines)
    {
        std::u16string whole;
        std::optional<WholeFiles> files;
        for (std::u16string& line : lines) {
            const std::u16string_view file = hashedFile(line);
            if (file.empty() || targetDetails_->find(file) != std::u16string::npos) continue; // the target keeps what it holds
            if (!files) {
                if (!source_.store.readText(sourceKey_.get(), wholeDetailsField, whole)) return std::nullopt;
                files.emplace(*sourceDetails_, whole);
            }
            auto found = files->lineOf(line);
            if (!found) return std::nullopt;
            line = std::move(*found);
        }
        return lines;
    }

    // The next run compares both records again.
    void leaveDetails()
    {
        details_.reset();
        NoteUnreadDetails(pass_, sourceSide_, recordId_);
        if (!isNew_) NoteUnreadDetails(pass_, targetSide_, targetKey_.text());
    }

    // A change set that is not empty names the fields to write; images outside of it stay out only while images are usable.
    bool selected(LONG type) const
    {
        if (!run_.imagesUsable() && isImageType(type)) return true;
        return !item_.Changes || item_.Changes->empty() || item_.Changes->contains(type);
    }

    void findValue(FieldStep& step)
    {
        const bool image = isImageType(step.sourceType);
        const std::u16string* changed = valueIn(item_.Changes.get(), step.sourceType);
        const auto cached = image || !item_.Values ? std::nullopt : item_.Values->find(step.sourceType);
        if (changed && !image) {
            step.value = com::Variant(*changed);
        } else if (changed && !step.WriteIt) {
            images_[step.sourceType].has = *changed == u"1";
            if (const auto* size = valueIn(item_.Changes.get(), sizeTypeOf(step.sourceType)))
                images_[step.sourceType].size = platform::toInt64(*size);
        } else if (cached) {
            step.value = com::Variant(*cached);
        } else if (step.WriteIt || !image || !source_.store.hasImages()) {
            readValue(step);
            if (image) images_[step.sourceType].has = !step.text().empty();
            if (image && (sourceCaps_.value_or(0) & imageFileCaps)) imageFiles_.add(step.value);
        } else {
            images_[step.sourceType].has = source_.store.hasImage(sourceKey_.get(), step.sourceField).value_or(false);
        }
        if (image && images_[step.sourceType].size < 0 && source_.store.hasImages())
            images_[step.sourceType].size = source_.store.imageSize(sourceKey_.get(), step.sourceField).value_or(-1);
    }

    // Replaces the failure to open the target, if there was one.
    void readValue(FieldStep& step)
    {
        HRESULT code = S_OK;
        failure_.reset();
        if (source_.store.read(sourceKey_.get(), step.sourceField, step.value, &code)) return;
        step.value = com::Variant();
        failure_.emplace(code);
    }

    void write(FieldStep& step)
    {
        if (isNew_ && step.text().empty()) { // a new record gets no empty value
            if (isImageType(step.sourceType)) targetImageStates_[step.targetType].has = false;
            return;
        }
        if (step.value.vt == VT_EMPTY) step.value = com::Variant(u"");
        if (isImageType(step.sourceType)) {
            if (!sourceCaps_ || !targetCaps_) throw RunFailure(E_FAIL); // the form of the image is not known
            const bool hadImage = !step.text().empty();
            convertImage(step);
            if (hadImage && step.text().empty()) return leaveImage(step);
        }
        const com::Variant* value = &step.value;
        com::Variant canonical;
        if (isPhoneForAct(step)) {
            canonical = com::Variant(NormalizePhoneNumber(step.text(), 0));
            if (!canonical.text().empty()) value = &canonical; // else nothing could split it, and the number must not be lost
        }
        target_.store.write(targetKey_.get(), step.targetField, *value);
        step.written = true;
        emptied_ = emptied_ || step.text().empty();
        writes_.fields.push_back(step.index);
        written_.insert(step.targetType);
        if (isImageType(step.targetType)) written_.insert(sizeTypeOf(step.targetType));
        if (isImageType(step.targetType)) targetImageStates_[step.targetType].has = !step.text().empty();
        if (hostUpdate_ && !isNew_) units_.noteWritten(step.targetType);
    }

    // The engine owns the image file, which the source gave or the conversion made. It is deleted when the record is done.
    void convertImage(FieldStep& step)
    {
        const std::int64_t size = ConvertImageValue(step.value, *sourceCaps_, *targetCaps_, true);
        if (isImageType(step.targetType)) targetImageStates_[step.targetType].size = size;
        if (NamesImageFile(*sourceCaps_, *targetCaps_)) imageFiles_.add(step.value);
    }

    // An image that cannot be read must not replace the image of the other side. The next run compares it again.
    void leaveImage(FieldStep& step)
    {
        step.WriteIt = false;
        source_.unread[recordId_].fields.push_back(step.sourceType);
        targetImageStates_[step.targetType] = {};
    }

    // These two stores take phone numbers in one form only.
    bool isPhoneForAct(const FieldStep& step)
    {
        const GUID& target = run_.side(Side::Two).id;
        if (targetSide_ != Side::Two || (target != actTranslator && target != secondActTranslator)) return false;
        const auto sourceFlags = source_.store.fieldFlags(step.sourceField);
        const auto targetFlags = sourceFlags ? target_.store.fieldFlags(step.targetField) : std::nullopt;
        return targetFlags && (*sourceFlags & *targetFlags & ffPhoneNumber) != 0;
    }

    void lookAtTargetImage(const FieldStep& step)
    {
        ImageState& image = targetImageStates_[step.targetType];
        if (matched_)
            image.has = images_[step.sourceType].has;
        else if (target_.store.hasImages())
            image.has = target_.store.hasImage(targetKey_.get(), step.targetField).value_or(false);
        if (image.size < 0 && target_.store.hasImages())
            image.size = target_.store.imageSize(targetKey_.get(), step.targetField).value_or(-1);
    }

    void remember(const FieldStep& step)
    {
        if (isImageType(step.sourceType)) {
            rememberImage(SourceData, step.sourceType, images_[step.sourceType]);
            return;
        }
        SourceData[step.sourceType] = step.text();
        if (!step.WriteIt) KeptValues[step.targetType] = step.text();
    }

    void save()
    {
        target_.store.save(targetKey_);
        guard_.engage();
        targetIdOut_ = targetKey_.text();
        keepUnread(sourceSide_, recordId_, SourceData);
    }

    // The history of a field that the scan could not read stays as it was, so that the next run finds its change.
    void keepUnread(Side side, const std::u16string& id, FieldValueMap& values)
    {
        const auto unread = pass_.side(side).unread.find(id);
        FieldValueMap stored;
        if (unread == pass_.side(side).unread.end() || !run_.history.readFieldData(side, id, stored)) return;
        const auto keep = [&](LONG type) {
            if (side == targetSide_ && written_.contains(type)) return;
            if (const auto at = stored.find(type); at != stored.end())
                values[type] = at->second;
            else
                values.erase(type);
        };
        const auto keepField = [&](LONG type) {
            keep(type);
            if (isImageType(type)) keep(sizeTypeOf(type));
        };
        if (!unread->second.all) {
            for (const LONG type : unread->second.fields) keepField(type);
            return;
        }
        std::vector<LONG> types;
        for (const auto& [type, text] : values) types.push_back(type);
        for (const LONG type : types) keep(type);
    }

    // Reads what the target holds now. Details that cannot be read back leave the base as it was: of lines whose fate is unknown none may
    // read as removed.
    void readBack()
    {
        const OpenReading reading(target_.store, targetKey_.get());
        FieldValueMap held;
        if (!reading || !readTargetFields(held)) return;
        keepUnread(targetSide_, targetKey_.text(), held);
        targetData_ = std::move(held);
        if (!details_) return;
        if (const auto now = ReadDetails(pass_, targetSide_, targetKey_)) base_ = details_->nextBase(*now);
    }

    // Stores the values of both records in the history. After a failure to read back, the target's history stays as it was.
    void storeValues()
    {
        storeValues(sourceSide_, recordId_, SourceData);
        if (targetData_) storeValues(targetSide_, targetKey_.text(), *targetData_);
    }

    void storeValues(Side side, const std::u16string& id, FieldValueMap& values)
    {
        if (base_)
            values[ftDetails] = composeDetailsBase(side == sourceSide_ ? *base_ : mirrored(*base_));
        else if (pass_.details)
            CarryDetailsBase(pass_, side, id, values);
        run_.history.tryWriteFieldData(side, id, values);
    }

    // What the history knows of the target's fields. They keep it where they are not written: two stores may read one text in two ways. A
    // pass without details remembers the source's text instead.
    FieldValueMap knownValues() const
    {
        FieldValueMap known;
        if (pass_.details && !isNew_) (void)run_.history.readFieldData(targetSide_, targetKey_.text(), known);
        return known;
    }

    bool readTargetFields(FieldValueMap& held)
    {
        const auto fields = pass_.fields(targetSide_);
        const FieldValueMap known = knownValues();
        held.reserve(fields.size());
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const LONG type = TargetTypes[i];
            if (type < 0) continue;
            if (isImageType(type)) {
                rememberImage(held, type, targetImageStates_[type]);
                continue;
            }
            std::u16string& text = held[type];
            if (const auto at = known.find(type); at != known.end() && !written_.contains(type)) {
                text = at->second;
            } else if (EmptyValues[i]) {
                text.clear();
            } else if (const auto kept = KeptValues.find(type); kept != KeptValues.end()) {
                text = kept->second;
            } else if (!target_.store.readText(targetKey_.get(), fields[i], text)) {
                return false;
            }
        }
        return true;
    }

    PipelinePass& pass_;
    PerSide<SidePlan>& plans_;
    RunState& run_;
    Reference turn_;
    Side sourceSide_, targetSide_;
    PassSide &source_, &target_;
    const std::u16string& recordId_;
    const PlanItem& item_;
    const PlanItem* waiting_;
    std::optional<std::u16string>& targetIdOut_;
    LinkGuard& guard_;
    RecordWrites& writes_;
    com::Bstr sourceKey_, targetKey_;
    // Of opening the target, until a value is read from the source; then of the last read. Quirk kept on purpose: a target that could not
    // be opened fails the record only where the first value needs no read.
    std::optional<RunFailure> failure_;
    bool isNew_, matched_, hostUpdate_ = false;
    std::optional<ULONG> sourceCaps_, targetCaps_;
    std::set<LONG> written_;                                      // types of the target's fields
    bool emptied_ = false;                                        // a field of the target
    std::optional<std::u16string> sourceDetails_, targetDetails_; // as they were read; the merge points into them
    std::optional<Counterparts> counterparts_{std::in_place};     // of the records that the source's details refer to; none if unknown
    std::optional<MergedDetails> details_;
    ImageFiles imageFiles_;
    HostUnits units_;
    ImageStates images_, targetImageStates_;
    FieldValueMap SourceData, KeptValues;
    std::optional<FieldValueMap> targetData_; // what the target holds, once it was read back
    std::optional<DetailsBase> base_;         // the next base of the details, as the source has it
    std::vector<LONG> TargetTypes;
    std::vector<bool> EmptyValues;
};

} // namespace

void ApplyRecord(PipelinePass& pass, PerSide<SidePlan>& plans, Side target, Reference turn, const PlanItem& item, const PlanItem* waiting,
                 std::optional<std::u16string>& targetId, LinkGuard& guard, RecordWrites& writes)
{
    RecordApply(pass, plans, target, turn, item, waiting, targetId, guard, writes).run();
}

} // namespace mb
