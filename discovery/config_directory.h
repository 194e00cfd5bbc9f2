#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The directories that may hold a game server's configuration, in the order of trying and without duplicates
/// (ignoring letter case): the parent first when the image is in a directory named Mir200, then the image's
/// directory and at most four levels above it. Empty for an empty path. Does not access the disk.
std::vector<std::wstring> ConfigDirectoryCandidates(std::wstring_view imagePath);

/// True when the directory holds both configuration files, Config.Json and Config.ini, as regular files.
bool HasServerConfigFiles(const std::wstring& directory);

/// Finds the directory with a game server's configuration files, walking upward from its image.
/// @return true and the directory (a prefix of the path) when there is one; `directory` is unchanged
/// otherwise.
bool FindServerConfigDirectory(std::wstring_view imagePath, std::wstring& directory);
