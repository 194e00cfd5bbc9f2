#include "discovery/files.h"

#include <algorithm>

#include "discovery/kernel_handle.h"
#include "text/text.h"

namespace {

FileHandle Open(const std::wstring& path, DWORD access, DWORD flags) noexcept {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return FileHandle(CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr));
}

}  // namespace

bool IsRegularFile(const std::wstring& path) noexcept {
    BY_HANDLE_FILE_INFORMATION info = {};
    info.dwFileAttributes = GetFileAttributesW(path.c_str());
    if (info.dwFileAttributes == INVALID_FILE_ATTRIBUTES) return false;
    if (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
        // Opening follows links and junctions; directories can be opened only with BACKUP_SEMANTICS.
        const FileHandle file = Open(path, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
        if (!file || !GetFileInformationByHandle(file.Get(), &info)) return false;
    }
    return !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
}

InputFile::InputFile(const std::wstring& path) noexcept
    : file_(Open(path, GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN)), exists_(file_) {
    // A directory is refused like a file that may not be read, so only "not found" needs no second question.
    if (exists_) return;
    const DWORD error = GetLastError();
    exists_ = error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND && IsRegularFile(path);
}

std::string ReadWholeFile(const InputFile& file) {
    LARGE_INTEGER size;
    if (!file.file_ || !GetFileSizeEx(file.file_.Get(), &size)) throw RuntimeError("read failed");
    std::string bytes(static_cast<size_t>(size.QuadPart), '\0');
    constexpr size_t kLargestRead = 1u << 30;  // ReadFile counts in 32 bits
    size_t filled = 0;
    while (filled < bytes.size()) {
        const DWORD wanted = static_cast<DWORD>(std::min(bytes.size() - filled, kLargestRead));
        DWORD read = 0;
        if (!ReadFile(file.file_.Get(), bytes.data() + filled, wanted, &read, nullptr)) {
            throw RuntimeError("read failed");
        }
        if (read == 0) break;  // the file shrank while it was read
        filled += read;
    }
    bytes.resize(filled);
    return bytes;
}
