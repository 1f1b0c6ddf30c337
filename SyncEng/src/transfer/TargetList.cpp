#include "transfer/TargetList.h"

#include "files.h"
#include "foundation/ClassTable.h"
#include "foundation/Paths.h"
#include "foundation/Strings.h"
#include "interfaces.h"
#include "text.h"
#include "transfer/ProgramLocations.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

constexpr std::u16string_view hostName = u"Mirabook";

HRESULT askName(const com::Ptr<ITrMap>& maps, const GUID& id, bool withImages, TransferTarget& target)
{
    com::Bstr name;
    VARIANT_BOOL images = VARIANT_FALSE;
    const HRESULT hr = withImages ? com::call(maps, &ITrMap::GetNameImageSupport, id, VARIANT_TRUE, name.put(), &images)
                                  : com::call(maps, &ITrMap::GetName, id, VARIANT_TRUE, name.put());
    target.name = name.text();
    target.images = images != VARIANT_FALSE;
    return hr;
}

bool isHost(std::u16string_view name) { return platform::equalNoCase(name.substr(0, hostName.size()), hostName); }

void offerNotes(const std::u16string& library, std::vector<TransferTarget>& targets)
{
    const std::u16string guid = com::guidText(lotusNotesTranslator);
    if (std::ranges::any_of(targets, [&](const TransferTarget& t) { return platform::equalNoCase(t.guid, guid); })) return;
    if (library.empty() || !FileHasContent(platform::pathOf(library))) return;
    targets.push_back({guid, LoadText(Text::SourceNotes), {}, true, true});
}

} // namespace

HRESULT ListTargets(bool withImages, const std::u16string& notesTranslatorPath, std::vector<TransferTarget>& targets)
{
    com::Ptr<ITrManager> manager;
    com::Ptr<ITrMap> maps;
    HRESULT hr = createClass(__uuidof(TrManager), manager);
    if (SUCCEEDED(hr)) hr = createClass(__uuidof(TrManager), maps);
    com::TaskArray<GUID> ids;
    if (SUCCEEDED(hr)) hr = com::call(manager, &ITrManager::EnumerateTranslators, ids.putCount(), ids.put());
    if (FAILED(hr)) return hr;
    for (const GUID& id : ids.items()) {
        TransferTarget target;
        if (FAILED(askName(maps, id, withImages, target)) || isHost(target.name)) continue;
        target.guid = com::guidText(id);
        target.path = FindTranslatorProgram(id);
        target.configurable = id != outlookExpressTranslator;
        targets.push_back(std::move(target));
    }
    if (targets.empty()) return E_FAIL;
    offerNotes(notesTranslatorPath, targets);
    return S_OK;
}

} // namespace mb
