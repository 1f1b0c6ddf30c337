// A named mutex for each lock; the file of its name tells who holds it.
#include "process_lock.h"

#include "lock_holder.h"
#include <windows.h>

namespace platform {

namespace fs = std::filesystem;

struct ProcessLock::Held {
    Held(fs::path path, HANDLE taken) : name(std::move(path)), mutex(taken) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held()
    {
        if (!again) DeleteFileW(name.c_str());
        ReleaseMutex(mutex);
        CloseHandle(mutex);
    }
    fs::path name;
    HANDLE mutex;
    bool again = false; // the thread held it before, and the file is that one's
};

namespace {

// One name for all spellings of a path in upper and lower case. The path is hashed, since the name of a mutex holds no separator.
std::wstring mutexName(const fs::path& file)
{
    const std::u16string path = lowered(textOf(file));
    std::uint64_t hash = 14695981039346656037u;
    for (const char16_t c : path) hash = (hash ^ c) * 1099511628211u;
    wchar_t digits[20];
    std::swprintf(digits, std::size(digits), L"%016llx", static_cast<unsigned long long>(hash));
    return L"Global\\MBSync " + file.filename().native() + L" " + digits;
}

std::error_code lastError() noexcept { return {static_cast<int>(GetLastError()), std::system_category()}; }

void writeHolder(const fs::path& file, std::string_view note) noexcept
{
    try {
        const HANDLE opened = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (opened == INVALID_HANDLE_VALUE) return;
        const std::string text = lockFileText(note);
        DWORD written = 0;
        (void)WriteFile(opened, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        CloseHandle(opened);
    } catch (...) { // it is told to people only
    }
}

} // namespace

ProcessLock::ProcessLock() noexcept = default;
ProcessLock::ProcessLock(ProcessLock&&) noexcept = default;
ProcessLock& ProcessLock::operator=(ProcessLock&&) noexcept = default;
ProcessLock::~ProcessLock() { release(); }

std::error_code ProcessLock::take(const fs::path& file, std::chrono::milliseconds patience, std::string_view note)
{
    release();
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, mutexName(file).c_str());
    if (!mutex) return lastError();
    // A mutex whose holder ended without releasing it is taken as any other.
    const DWORD waited = WaitForSingleObject(mutex, static_cast<DWORD>(patience.count()));
    if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
        const std::error_code error = waited == WAIT_TIMEOUT ? std::make_error_code(std::errc::device_or_resource_busy) : lastError();
        CloseHandle(mutex);
        return error;
    }
    const std::string own = ownHolderText();
    held_ = std::make_shared<Held>(file, mutex);
    held_->again = lockHolder(file) == utf16(own);
    if (!held_->again) writeHolder(file, note);
    return {};
}

void ProcessLock::release() noexcept { held_.reset(); }

} // namespace platform
