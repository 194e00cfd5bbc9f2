#include "discovery/config_directory.h"

#include <algorithm>
#include <utility>

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

ServerConfigFiles::ServerConfigFiles(const std::wstring& path)
    : directory(path), json(JoinPath(path, L"Config.Json")) {
    if (json.Exists()) ini = InputFile(JoinPath(path, L"Config.ini"));
}

bool HasServerConfigFiles(const ServerConfigFiles& files) noexcept {
    return files.json.Exists() && files.ini.Exists();
}

bool FindServerConfigDirectory(std::wstring_view imagePath, ServerConfigFiles& found) {
    for (const std::wstring& candidate : ConfigDirectoryCandidates(imagePath)) {
        // What holds files is a directory; the empty path would stand for the current one.
        if (candidate.empty()) continue;
        ServerConfigFiles files(candidate);
        if (!HasServerConfigFiles(files)) continue;
        found = std::move(files);
        return true;
    }
    return false;
}
