#pragma once

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "discovery/paths.h"
#include "text/text.h"

/// What the build has made, from the folder of the test program.
inline std::wstring Built(std::wstring_view relativePath) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return JoinPath(ParentPath(ParentPath(path)), relativePath);
}

/// The program that the tests start: the build's own, or the file that MERGE_TEST_PROGRAM names by its full
/// path.
inline std::wstring ProgramToStart() {
    std::wstring path(32768, L'\0');
    path.resize(GetEnvironmentVariableW(L"MERGE_TEST_PROGRAM", path.data(), static_cast<DWORD>(path.size())));
    return path.empty() ? Built(L"MergeAccountQuery.exe") : path;
}

/// A new empty directory, deleted with everything in it at the end of its scope. Its name is Chinese, as the
/// operators' own folders are. Paths given to it are relative to it, with "\" between their parts.
class TempDirectory {
public:
    TempDirectory() {
        static int number = 0;  // no path twice: the settings reader may remember a file by its path
        do path_ = (std::filesystem::temp_directory_path() / L"合区").wstring() + std::to_wstring(++number);
        while (!std::filesystem::create_directory(path_));
    }
    ~TempDirectory() {
        std::error_code error;
        std::filesystem::current_path("\\", error);  // the current one could not be deleted
        // The system may keep the files of a program that has just been ended open for a moment.
        for (int i = 0; std::filesystem::remove_all(path_, error), error && i < 60; ++i) Sleep(50);
        if (error) std::printf("left behind (error %d): %s\n", error.value(), WideToUtf8(path_).c_str());
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    std::wstring At(std::wstring_view relative) const { return path_ + L"\\" + std::wstring(relative); }
    /// Makes a directory and those above it.
    void Make(std::wstring_view relative) const { std::filesystem::create_directories(At(relative)); }
    /// Writes a file of exactly these bytes, in a directory that is made when it is missing.
    void Write(std::wstring_view relative, std::string_view bytes) const {
        Make(ParentPath(relative));
        std::ofstream(std::filesystem::path(At(relative)), std::ios::binary) << bytes;
    }

private:
    std::wstring path_;
};
