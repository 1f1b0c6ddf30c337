#include "dialogs/MergeConflict.h"

#include "dialogs/MergedFields.h"
#include "dialogs/TranslatorFields.h"
#include "files.h"
#include "foundation/ClassTable.h"
#include "foundation/FieldValue.h"
#include "foundation/HelpTopic.h"
#include "foundation/LanguageModule.h"
#include "foundation/Strings.h"
#include "translators/Cancelled.h"
#include "translators/ImageFields.h"
#include "ui.h"
#include <algorithm>

namespace mb {
namespace {

constexpr char16_t helpFile[] = u"Mirabook.chm";

com::Ptr<IMergeDialog> createComponent()
{
    CLSID clsid{};
    com::Ptr<IMergeDialog> component;
    com::check(SUCCEEDED(CLSIDFromProgID(com::ole(mergeProgId), &clsid)) && SUCCEEDED(createClass(clsid, component)) && component ? S_OK
                                                                                                                                  : E_FAIL);
    return component;
}

// A temporary image file that the merge shows; deleted with this object.
class ShownImage {
public:
    ShownImage() = default;
    ShownImage(const ShownImage&) = delete;
    ShownImage& operator=(const ShownImage&) = delete;
    ~ShownImage()
    {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove(platform::pathOf(path), ignored);
    }
    void make(std::u16string_view value, ULONG caps, ImageConverter convert)
    {
        com::Variant image(value);
        (void)convert(image, caps, capJPEGFile, false);
        path = image.text();
    }
    std::u16string path; // empty for no image
};

// One image of the contact in this merge.
struct MergeImage {
    LONG type = 0;
    bool takesPart = false;
    std::u16string value1, value2;
    ShownImage file1, file2;
};

class Merge {
public:
    Merge(ConflictQuestion& question, HWND parent, const MergeNames& names, ImageConverter convert)
        : question_(question), parent_(parent), names_(names), convert_(convert), fields1_(question.side1.translator),
          fields2_(question.side2.translator)
    {
    }

    HRESULT run()
    {
        const platform::WaitCursor wait;
        if (!fields1_.usable() || !fields2_.usable()) return E_FAIL;
        (void)unlessCancelled(com::call(question_.side1.translator, &ITranslator::GetTranslatorCaps, &caps1_));
        (void)unlessCancelled(com::call(question_.side2.translator, &ITranslator::GetTranslatorCaps, &caps2_));
        component_ = createComponent();
        if (const std::u16string language = GetUserLanguage(); language != u"en")
            com::check(com::call(component_, &IMergeDialog::SetLanguage, com::Bstr(language).get()));
        offerRecords();
        fields1_.throwIfCancelled();
        fields2_.throwIfCancelled();
        const LONG result = ask();
        if (result == 0) apply();
        return result;
    }

private:
    struct Values {
        std::u16string value1, value2;
    };

    // Keeps both records open until their images have been written to files.
    void offerRecords()
    {
        const RecordReading record1(fields1_, question_.side1.recordId);
        const RecordReading record2(fields2_, question_.side2.recordId);
        com::check(record1 && record2 ? S_OK : E_FAIL);
        addFields(record1, record2);
        showImages(front_, &IMergeDialog::SetFrontImages);
        showImages(back_, &IMergeDialog::SetBackImages);
    }

    void addFields(const RecordReading& record1, const RecordReading& record2)
    {
        std::optional<std::pair<std::u16string, Values>> notes, categories; // added last
        for (const TranslatorFields::Item& item : fields1_.items()) {
            if (!question_.FieldTypes || !question_.FieldTypes->contains(item.type)) continue;
            if (isImageType(item.type)) {
                addImage(item.type, record1, record2);
                continue;
            }
            std::u16string label = fields1_.nameOf(item.guid);
            labels_[item.type] = label;
            Values values = valuesOf(item, record1, record2);
            if (item.type == ftNotes)
                notes.emplace(std::move(label), std::move(values));
            else if (item.type == ftCategories)
                categories.emplace(std::move(label), std::move(values));
            else
                addField(label, values);
        }
        if (notes) addField(notes->first, notes->second);
        if (categories) addField(categories->first, categories->second);
    }

    // If only one side changed the value, the change is offered for both sides; otherwise both values are read again. A value that cannot
    // be read fails the merge: shown as empty, it could be chosen and written.
    Values valuesOf(const TranslatorFields::Item& item, const RecordReading& record1, const RecordReading& record2) const
    {
        const LONG type2 = mappedType(question_.FieldTypes, item.type);
        const auto change1 = question_.ChangeMap1.find(item.type), change2 = question_.ChangeMap2.find(type2);
        const bool changed1 = change1 != question_.ChangeMap1.end(), changed2 = change2 != question_.ChangeMap2.end();
        Values values;
        if (changed1 != changed2) {
            values.value1 = values.value2 = changed1 ? change1->second : change2->second;
        } else {
            com::check(fields1_.read(record1, item.guid, values.value1));
            if (fields2_.ofType(type2)) com::check(fields2_.read(record2, type2, values.value2));
        }
        if (item.type == ftCategories) values.value1 = CategoriesForDisplay(values.value1);
        if (type2 == ftCategories) values.value2 = CategoriesForDisplay(values.value2);
        return values;
    }

    void addImage(LONG type, const RecordReading& record1, const RecordReading& record2)
    {
        if (!question_.SyncImages || !convert_) return;
        MergeImage& image = type == ftImage1 ? front_ : back_;
        const LONG type2 = mappedType(question_.FieldTypes, type);
        image.type = type;
        image.takesPart = question_.ChangeMap1.contains(type) || question_.ChangeMap1.contains(sizeTypeOf(type)) ||
                          question_.ChangeMap2.contains(type2) || question_.ChangeMap2.contains(sizeTypeOf(type2));
        if (!image.takesPart) return;
        (void)fields1_.read(record1, type, image.value1);
        (void)fields2_.read(record2, type2, image.value2);
    }

    void addField(const std::u16string& label, const Values& values)
    {
        com::check(com::call(component_, &IMergeDialog::AddField, com::Bstr(label).get(), com::Bstr(values.value2).get(),
                             com::Bstr(u"").get(), com::Bstr(values.value1).get()));
    }

    void showImages(MergeImage& image, HRESULT (STDMETHODCALLTYPE IMergeDialog::*set)(BSTR, BSTR))
    {
        if (!image.takesPart) return;
        image.file1.make(image.value1, caps1_, convert_);
        image.file2.make(image.value2, caps2_, convert_);
        com::check(com::call(component_, set, com::Bstr(image.file2.path).get(), com::Bstr(image.file1.path).get()));
    }

    LONG ask() const
    {
        const auto folder = GetHelpFolder();
        const com::Bstr title(LoadText(Text::MergeTitle)), names(names_.name2 + u"\t" + names_.name1),
            help(folder ? *folder + helpFile : u""), none(u"");
        const VARIANT_BOOL images = front_.takesPart || back_.takesPart ? VARIANT_TRUE : VARIANT_FALSE;
        LONG result = 1;
        com::check(com::call(component_, &IMergeDialog::ShowMergeDialog, static_cast<LONG>(reinterpret_cast<intptr_t>(parent_)),
                             title.get(), names.get(), static_cast<LONG>(helpMergeDialog), 0, images, help.get(), none.get(), none.get(),
                             none.get(), &result));
        return result;
    }

    // Replaces both change maps at the end, so that a failure leaves them unchanged.
    void apply()
    {
        FieldValueMap changes1 = question_.ChangeMap1, changes2 = question_.ChangeMap2;
        com::Bstr text;
        com::check(com::call(component_, &IMergeDialog::GetMergedFields, text.put()));
        if (!text.empty()) applyFields(ParseMergedFields(text.view()), changes1, changes2);
        settleImage(front_, &IMergeDialog::GetFrontImage, changes1, changes2);
        settleImage(back_, &IMergeDialog::GetBackImage, changes1, changes2);
        question_.ChangeMap1 = std::move(changes1);
        question_.ChangeMap2 = std::move(changes2);
    }

    void applyFields(MergedFields merged, FieldValueMap& changes1, FieldValueMap& changes2) const
    {
        std::map<std::u16string, LONG> typeOf; // the first field with a label counts
        for (const auto& [type, label] : labels_) {
            typeOf.emplace(label, type);
            std::u16string& value = merged[label]; // a label that is missing from the result gets an empty value
            if (type == ftCategories) value = CategoriesFromDisplay(value);
        }
        if (merged.empty()) return;
        const RecordReading record1(fields1_, question_.side1.recordId);
        const RecordReading record2(fields2_, question_.side2.recordId);
        com::check(record1 && record2 ? S_OK : E_FAIL);
        for (auto& [label, value] : merged) {
            const auto known = typeOf.find(label);
            if (known == typeOf.end()) continue;
            MergedField field;
            field.type1 = known->second;
            field.type2 = mappedType(question_.FieldTypes, field.type1);
            field.merged = value;
            if (FAILED(fields1_.read(record1, field.type1, field.value1)) || FAILED(fields2_.read(record2, field.type2, field.value2)))
                continue;
            restoreTabs(field);
            ApplyMergedField(field, changes1, changes2);
        }
    }

    // Tabs separate the merged texts, so the tabs inside a value come back as blanks. That is not a change by the user.
    static void restoreTabs(MergedField& field)
    {
        for (const std::u16string* value : {&field.value1, &field.value2}) {
            std::u16string blanks = *value;
            std::ranges::replace(blanks, u'\t', u' ');
            if (field.merged == blanks) field.merged = *value;
        }
    }

    void settleImage(const MergeImage& image, HRESULT (STDMETHODCALLTYPE IMergeDialog::*get)(BSTR*), FieldValueMap& changes1,
                     FieldValueMap& changes2) const
    {
        if (!image.takesPart) return;
        com::Bstr chosen;
        com::check(com::call(component_, get, chosen.put()));
        const LONG type2 = mappedType(question_.FieldTypes, image.type);
        SettleMergedImage({image.type, type2, sizeTypeOf(image.type), sizeTypeOf(type2), chosen.text(), image.file1.path}, changes1,
                          changes2);
    }

    ConflictQuestion& question_;
    HWND parent_;
    const MergeNames& names_;
    ImageConverter convert_;
    TranslatorFields fields1_, fields2_;
    com::Ptr<IMergeDialog> component_;
    ULONG caps1_ = 0, caps2_ = 0;
    std::map<LONG, std::u16string> labels_; // of the fields of side 1, without images
    MergeImage front_, back_;
};

} // namespace

bool MergeIsAvailable(const ConflictQuestion& question)
{
    const TranslatorFields fields1(question.side1.translator), fields2(question.side2.translator);
    return fields1.usable() && fields2.usable() && SUCCEEDED(com::guarded([] { (void)createComponent(); }));
}

HRESULT MergeConflict(ConflictQuestion& question, HWND parent, const MergeNames& names, ImageConverter convert)
{
    return Merge(question, parent, names, convert).run();
}

} // namespace mb
