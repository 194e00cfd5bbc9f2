#include "discovery/paths.h"

namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool IsSeparator(wchar_t unit) noexcept {
    return kSeparators.find(unit) != std::wstring_view::npos;
}

// The length of "C:" or "\\server", which has no parent.
size_t RootNameLength(std::wstring_view path) noexcept {
    if (path.size() >= 2 && path[1] == L':') return 2;
    if (path.size() >= 3 && IsSeparator(path[0]) && IsSeparator(path[1]) && !IsSeparator(path[2])) {
        const size_t end = path.find_first_of(kSeparators, 2);
        return end == std::wstring_view::npos ? path.size() : end;
    }
    return 0;
}

}  // namespace

std::wstring_view ParentPath(std::wstring_view path) noexcept {
    size_t first = RootNameLength(path);
    while (first < path.size() && IsSeparator(path[first])) ++first;
    size_t end = path.size();
    while (end > first && !IsSeparator(path[end - 1])) --end;
    while (end > first && IsSeparator(path[end - 1])) --end;
    return path.substr(0, end);
}

std::wstring_view LastComponent(std::wstring_view path) noexcept {
    const size_t separator = path.find_last_of(kSeparators);
    return separator == std::wstring_view::npos ? path : path.substr(separator + 1);
}

std::wstring_view WithoutTrailingSeparators(std::wstring_view path) noexcept {
    while (!path.empty() && IsSeparator(path.back())) path.remove_suffix(1);
    return path;
}

std::wstring JoinPath(std::wstring_view directory, std::wstring_view name) {
    std::wstring path(directory);
    if (!path.empty() && !IsSeparator(path.back())) path += L'\\';
    return path += name;
}
