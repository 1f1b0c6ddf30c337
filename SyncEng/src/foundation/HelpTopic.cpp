#include "foundation/HelpTopic.h"

#include "files.h"
#include "foundation/LanguageModule.h"
#include "ui.h"

namespace mb {

bool ShowHelpTopic(HWND window, HelpTopic topic)
{
    const auto folder = GetHelpFolder();
    return folder && platform::showHelp(window, platform::pathOf(*folder + u"Mirabook.chm"), topic);
}

} // namespace mb
