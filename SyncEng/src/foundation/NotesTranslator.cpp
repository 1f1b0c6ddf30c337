#include "foundation/NotesTranslator.h"

#include "com.h"
#include "files.h"
#include "foundation/Paths.h"
#include "host.h"
#include "library.h"
#include "registry.h"
#include "text.h"

namespace mb {
namespace {

namespace fs = std::filesystem;

// Changes the process's current folder while it lives.
class OtherFolder {
public:
    explicit OtherFolder(const fs::path& folder) : former_(fs::current_path(error_)) { fs::current_path(folder, error_); }
    OtherFolder(const OtherFolder&) = delete;
    OtherFolder& operator=(const OtherFolder&) = delete;
    ~OtherFolder() { fs::current_path(former_, error_); }

private:
    std::error_code error_;
    fs::path former_;
};

} // namespace

void AddNotesFolderToPath()
{
    const auto key =
        platform::RegistryKey::open(platform::Root::LocalMachine, u"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\notes.exe");
    const auto program = key ? key->text(u"") : std::nullopt;
    if (!program) return;
    const std::u16string folder = program->substr(0, program->find_last_of(u"\\/"));
    const std::u16string former = platform::environment(u"PATH").value_or(u"");
    platform::setEnvironment(u"PATH", former.empty() ? folder : former + platform::searchPathSeparator + folder);
}

std::u16string RegisterNotesTranslator()
{
    const std::u16string name = platform::utf16(platform::libraryFileName("LNTrans"));
    const auto folder = HostFolder();
    if (!folder) return name;
    const std::u16string path = *folder + name;
    const OtherFolder hostFolder(platform::pathOf(*folder)); // the library loads its dependencies from the current folder
    const platform::Library library(platform::pathOf(path));
    if (const auto registerServer = library.function<HRESULT STDMETHODCALLTYPE()>("DllRegisterServer"))
        (void)com::guarded([&] { return registerServer(); });
    return path;
}

} // namespace mb
