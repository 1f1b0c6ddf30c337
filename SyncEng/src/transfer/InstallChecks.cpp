#include "transfer/InstallChecks.h"

#include "foundation/AppPaths.h"
#include "foundation/ClassTable.h"
#include "foundation/Strings.h"
#include "interfaces.h"
#include "translators/TranslatorIds.h"

namespace mb {
namespace {

constexpr HRESULT noProduct = static_cast<HRESULT>(0x80040201);

InstallCheck missing(Text id) { return {false, LoadText(id)}; }

com::Ptr<ITranslator> created(const GUID& target)
{
    com::Ptr<ITranslator> translator;
    if (FAILED(createClass(target, translator))) (void)translator.detach();
    return translator;
}

// Returns the translator's first error message, or the second if the first is empty.
std::u16string messageOf(const com::Ptr<ITranslator>& translator)
{
    const auto info = translator.tryAs<ITranslatorInfo>();
    com::Variant code;
    com::Bstr message1, message2;
    if (!info || FAILED(com::call(info, &ITranslatorInfo::GetLastError, code.put(), message1.put(), message2.put()))) return {};
    return message1.empty() ? message2.text() : message1.text();
}

// Asks the translator whether it supports the installed version of the product.
InstallCheck checkProduct(const GUID& target)
{
    const auto translator = created(target);
    if (!translator) return missing(Text::ActMissing);
    const auto matcher = translator.tryAs<IProductMatcher>();
    if (!matcher) return {false, {}};
    VARIANT_BOOL match = VARIANT_FALSE;
    const HRESULT hr = com::call(matcher, &IProductMatcher::MatchInstalledProduct, &match);
    if (hr != noProduct && match != VARIANT_FALSE) return {};
    return {false, messageOf(translator)};
}

bool isGoldMine(const GUID& target)
{
    return target == goldMineTranslator || target == goldMineOtherTranslator || target == goldMineCorporateTranslator ||
           target == goldMineCorporateOtherTranslator;
}

} // namespace

InstallCheck CheckTranslatorInstalled(const GUID& target, bool lotusNotesAvailable)
{
    if (target == lotusNotesTranslator) return lotusNotesAvailable ? InstallCheck{} : missing(Text::NotesMissing);
    if (isGoldMine(target)) {
        std::u16string program;
        return FindGoldMine(program) ? InstallCheck{} : missing(Text::GoldMineMissing);
    }
    if (target == actTranslator) return checkProduct(target);
    if (target == secondActTranslator) return created(target) ? InstallCheck{} : missing(Text::ActMissing);
    return {};
}

} // namespace mb
