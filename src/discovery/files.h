#pragma once

#include <string>

#include "discovery/kernel_handle.h"

/// True when the path names an existing regular file; links are followed. A path whose state cannot be
/// determined counts as missing.
bool IsRegularFile(const std::wstring& path) noexcept;

/// A file that may be there: opened once, to learn whether it is and to read it. It may be open elsewhere,
/// also for writing: a game server keeps its files open.
class InputFile {
public:
    InputFile() = default;
    explicit InputFile(const std::wstring& path) noexcept;

    /// What IsRegularFile() says of the path: also true of a file that cannot be opened.
    bool Exists() const noexcept { return exists_; }

private:
    friend std::string ReadWholeFile(const InputFile& file);

    FileHandle file_;
    bool exists_ = false;
};

/// All bytes of a file.
/// @throws RuntimeError "read failed" when it could not be opened or cannot be read to its end.
std::string ReadWholeFile(const InputFile& file);
