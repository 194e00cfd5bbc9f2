#pragma once

#include <string>

/// True when the path names an existing regular file; links are followed. A path whose state cannot be
/// determined counts as missing.
bool IsRegularFile(const std::wstring& path) noexcept;

/// All bytes of a file. It may be open elsewhere, also for writing: a game server keeps its files open.
/// @throws RuntimeError "read failed" when it cannot be opened or read to its end.
std::string ReadWholeFile(const std::wstring& path);
