// StoreFile's functions for a file that several processes change.
#include "files.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/FileResult.h"
#include "store/StoreFile.h"

namespace mb {

HRESULT StoreFile::OpenShared(const std::filesystem::path& path)
{
    shared_ = true;
    return Open(path, true);
}

void StoreFile::beginChange() noexcept
{
    if (!shared_ || changes_++ > 0) return;
    changeResult_ = com::guarded([&] {
        const HRESULT hr = lock_.takeConfiguration(path_);
        if (SUCCEEDED(hr)) return Refresh();
        WriteLogText(logFailures, u"%s", lock_.failure());
        return hr;
    });
}

void StoreFile::endChange() noexcept
{
    if (!shared_ || --changes_ > 0) return;
    lock_.release();
    changeResult_ = S_OK;
}

HRESULT StoreFile::Refresh()
{
    if (!shared_ || !isOpen()) return S_OK;
    std::error_code error;
    std::string bytes = platform::readFile(path_, error);
    if (error == std::errc::no_such_file_or_directory) return S_OK; // the next save creates it
    if (error) return openFound({FileState::unreadable, readingResultOf(error)});
    if (bytes == lastBytes_) return S_OK;
    const std::string former = lastBytes_;
    const Found found = read(std::move(bytes), content_);
    if (found.state != FileState::loaded) {
        lastBytes_ = former; // so that the next change checks the file again
        return openFound(found);
    }
    dirty_ = false;
    return S_OK;
}

} // namespace mb
