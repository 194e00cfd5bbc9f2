#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "discovery/files.h"

/// The directories that may hold a game server's configuration, in the order of trying and without duplicates
/// (ignoring letter case): the parent first when the image is in a directory named Mir200, then the image's
/// directory and at most four levels above it. Empty for an empty path. Does not access the disk.
std::vector<std::wstring> ConfigDirectoryCandidates(std::wstring_view imagePath);

/// The two configuration files of one directory, opened: whether they are there and what they say is one
/// question each to the file system.
struct ServerConfigFiles {
    ServerConfigFiles() = default;
    /// Opens Config.Json and, if that is there, Config.ini.
    explicit ServerConfigFiles(const std::wstring& path);

    std::wstring directory;
    InputFile json, ini;
};

/// True when the directory holds both configuration files as regular files, also ones that cannot be read.
bool HasServerConfigFiles(const ServerConfigFiles& files) noexcept;

/// Finds the directory with a game server's configuration files, walking upward from its image.
/// @return true and the files (their directory is a prefix of the path) when there is one; `found` is
/// unchanged otherwise.
bool FindServerConfigDirectory(std::wstring_view imagePath, ServerConfigFiles& found);
