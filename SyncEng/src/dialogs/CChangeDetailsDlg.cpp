#include "dialogs/CChangeDetailsDlg.h"

#include "dialogs/DialogTexts.h"
#include "foundation/Format.h"
#include "foundation/Strings.h"
#include "text.h"
#include "translators/Cancelled.h"
#include "translators/ImageFields.h"
#include <algorithm>

namespace mb {
namespace {

bool isImageSize(LONG type) noexcept { return type == ftImageSize1 || type == ftImageSize2; }

// Reads a text, or a 64-bit number as decimal text.
HRESULT readPlain(const TranslatorFields& fields, const RecordReading& record, const GUID& field, std::u16string& text)
{
    com::Variant value;
    fields.throwIfCancelled();
    const HRESULT hr = unlessCancelled(com::call(fields.translator(), &ITranslator::ReadField, record.id(), field, value.put()));
    if (FAILED(hr)) return hr;
    text = value.vt == VT_I8 || value.vt == VT_UI8 ? imageSizeText(value.llVal) : std::u16string(value.text());
    return hr;
}

// Reads a value as the list shows it. Of an image the list shows only its presence and size.
HRESULT currentValue(const TranslatorFields& fields, IImageSupport* images, const RecordReading& record, LONG type, std::u16string& text)
{
    const LONG imageType = type == ftImageSize1 ? LONG{ftImage1} : type == ftImageSize2 ? LONG{ftImage2} : type;
    const GUID* field = fields.ofType(imageType);
    if (!field) return E_FAIL;
    if (!isImageType(imageType)) return readPlain(fields, record, *field, text);
    if (!images) return E_FAIL;
    bool has = false;
    const HRESULT hr = unlessCancelled(hasImage(images, record.id(), *field, has));
    if (FAILED(hr)) return hr;
    if (isImageSize(type))
        text = imageSizeText(has ? readImageSize(images, record.id(), *field) : 0);
    else
        text = imageFlagText(has);
    return S_OK;
}

// The name of a line of details: its property, or the field of an annotation.
std::u16string detailName(const TranslatorFields& fields, std::u16string_view line)
{
    if (line.starts_with(u'@')) return fields.nameOfType(platform::toInt(line.substr(1)));
    std::u16string_view name = line.substr(0, line.find_first_of(u";:"));
    if (const std::size_t dot = name.find(u'.'); dot != std::u16string_view::npos) name.remove_prefix(dot + 1);
    return std::u16string(name);
}

// Adds a row for each line, which begins with "-" where it goes and with "+" where it comes.
void addDetails(const TranslatorFields& fields, std::u16string_view lines, std::vector<ListRow>& rows)
{
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find(u'\n'), lines.size());
        const std::u16string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 1, lines.size()));
        const std::u16string cell = CellText(line);
        const bool goes = line.starts_with(u'-');
        rows.push_back({{detailName(fields, line.substr(1)), goes ? cell : std::u16string(), goes ? std::u16string() : cell}});
    }
}

} // namespace

void CChangeDetailsDlg::prepare()
{
    const TranslatorFields fields(change_.translator);
    contact_ = ReadContactName(fields, change_.recordId, ftFirstName, ftLastName);
    model_.layout = DialogLayout::ChangeDetails;
    model_.caption = u"Contact Changes";
    model_.help = LoadText(Text::HelpChangeDetails);
    model_.add(idMessage, ControlKind::Text,
               Format(LoadText(Text::ChangeDetailsMessage), contact_.joined(), StoreNameOf(change_.storeName, change_.clsid)));
    model_.add(idList, ControlKind::List).columns = {
        {LoadText(Text::FieldNameColumn)}, {LoadText(Text::CurrentValueColumn)}, {LoadText(Text::NewValueColumn)}};
    model_.addButton(idOk, u"OK", ButtonRole::Default);
    model_.addButton(idCancel, u"Cancel", ButtonRole::Cancel).visible = false;
    model_.focus = idOk;
    fillList(fields);
    fields.throwIfCancelled();
}

void CChangeDetailsDlg::fillList(const TranslatorFields& fields)
{
    const RecordReading record(fields, change_.recordId);
    if (!record || !change_.values) return;
    const auto images = com::Ptr<ITranslator>(change_.translator).tryAs<IImageSupport>();
    for (const auto& [type, value] : *change_.values) {
        if (isImageType(type) && (!change_.SyncImages || !images)) continue;
        if (type == ftDetails) {
            addDetails(fields, value, model_[idList].rows);
            continue;
        }
        const LONG target = mappedType(change_.FieldTypes, type);
        const std::u16string name =
            isImageSize(type) ? LoadText(type == ftImageSize1 ? Text::FrontImageSize : Text::BackImageSize) : fields.nameOfType(target);
        std::u16string current;
        if (FAILED(currentValue(fields, images.get(), record, target, current))) continue;
        if (isImageType(type) && value == current) continue;
        model_[idList].rows.push_back({{name, CellText(current), CellText(value)}});
    }
}

void CChangeDetailsDlg::onPress(int button)
{
    if (button == idOk || button == idCancel) end(button);
}

} // namespace mb
