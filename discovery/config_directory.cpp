#include "discovery/config_directory.h"

#include <algorithm>

#include "discovery/files.h"
#include "discovery/paths.h"
#include "text/text.h"

std::vector<std::wstring> ConfigDirectoryCandidates(std::wstring_view imagePath) {
    constexpr int kMostLevels = 5;
    std::vector<std::wstring> candidates;
    if (imagePath.empty()) return candidates;
    const auto add = [&](std::wstring_view directory) {
        const auto same = [&](const std::wstring& tried) { return EqualsNoCase(tried, directory); };
        if (std::none_of(candidates.begin(), candidates.end(), same)) candidates.emplace_back(directory);
    };
    const std::wstring_view imageDirectory = ParentPath(imagePath);
    // A server installed in Mir200 keeps its configuration one level up, beside the other server programs.
    if (EqualsNoCase(LastComponent(imageDirectory), L"Mir200")) add(ParentPath(imageDirectory));
    std::wstring_view directory = imageDirectory;
    for (int level = 0; level < kMostLevels; ++level) {
        add(directory);
        const std::wstring_view parent = ParentPath(directory);
        if (parent.empty() || parent == directory) break;
        directory = parent;
    }
    return candidates;
}

bool HasServerConfigFiles(const std::wstring& directory) {
    return IsRegularFile(JoinPath(directory, L"Config.Json")) &&
           IsRegularFile(JoinPath(directory, L"Config.ini"));
}

bool FindServerConfigDirectory(std::wstring_view imagePath, std::wstring& directory) {
    for (std::wstring& candidate : ConfigDirectoryCandidates(imagePath)) {
        // What holds files is a directory; the empty path would stand for the current one.
        if (candidate.empty() || !HasServerConfigFiles(candidate)) continue;
        directory = std::move(candidate);
        return true;
    }
    return false;
}
