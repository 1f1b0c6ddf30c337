#include "foundation/Strings.h"

#include "foundation/LanguageModule.h"
#include "string_module.h"

namespace mb {

std::u16string LoadText(Text id)
{
    const int number = static_cast<int>(id);
    if (auto translated = TextOfLanguageModule(number)) return *std::move(translated);
    return platform::ownText(number).value_or(u"");
}

} // namespace mb
