#include "dialogs/win32/WindowFrontEnd.h"

#include "dialogs/DefaultFrontEnd.h"
#include "dialogs/win32/DialogWindow.h"
#include "dialogs/win32/OwnModule.h"
#include "foundation/LanguageModule.h"
#include "unattended.h"

namespace mb {
namespace {

// Finds the template of a dialog: in the language module of the user's language if it has one, else in the engine's own resources.
class Templates {
public:
    explicit Templates(DialogLayout layout)
    {
        const auto file = LocalizedModulePath(u"mbsync.dat");
        if (file.empty()) return;
        translated_ = LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
        if (translated_ && FindResourceW(translated_, MAKEINTRESOURCEW(static_cast<int>(layout)), reinterpret_cast<LPCWSTR>(RT_DIALOG)))
            module_ = translated_;
    }
    Templates(const Templates&) = delete;
    Templates& operator=(const Templates&) = delete;
    ~Templates()
    {
        if (translated_) FreeLibrary(translated_);
    }
    [[nodiscard]] HINSTANCE module() const noexcept { return module_; }

private:
    HMODULE translated_ = nullptr;
    HINSTANCE module_ = ownModule();
};

} // namespace

void WindowFrontEnd::run(Dialog& dialog, HWND parent)
{
    if (platform::isUnattended()) return dialog.closeUnanswered();
    platform::prepareListViews();
    const Templates templates(dialog.model().layout);
    DialogWindow(dialog).run(templates.module(), IsWindow(parent) ? parent : nullptr);
    if (!dialog.ending()) dialog.closeUnanswered(); // the window could not be created, or was destroyed
}

DialogFrontEnd& DefaultFrontEnd()
{
    static WindowFrontEnd frontEnd;
    return frontEnd;
}

} // namespace mb
