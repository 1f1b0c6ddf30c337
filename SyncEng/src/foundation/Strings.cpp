#include "foundation/Strings.h"

#include "foundation/LanguageModule.h"
#include "string_module.h"

namespace mb {

std::u16string LoadText(int id)
{
    if (auto translated = TextOfLanguageModule(id)) return *std::move(translated);
    return platform::ownText(id).value_or(u"");
}

} // namespace mb
