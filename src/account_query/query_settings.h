#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The operator's settings for the account query, stored in QuerySettings.ini.
struct QuerySettings {
    std::wstring path;                             // of the file itself; not stored
    std::wstring m2ProcessName = L"M2Server.exe";  // [Query] M2ProcessName
    std::wstring accountTable = L"AUTO";           // [Query] AccountTable: a table, or a word for detection
    std::wstring accountField = L"AUTO";           // [Query] AccountField: a column, or a word for detection
    std::wstring driver;   // [ODBC] Driver: tried first; empty for the default drivers alone
    int maxResults = 100;  // [Query] MaxResults: rows of one search, 1 to 500
};

inline constexpr int kFewestResults = 1;
inline constexpr int kMostResults = 500;

/// The row limit, clamped to the range above.
int ClampMaxResults(int maxResults) noexcept;

/// True for the words that ask for detection: trimmed and lower-cased, nothing, "auto", "自动" or "自动识别".
bool IsAutoValue(std::wstring_view text);

/// The possible paths of the file in the order of the search: beside the program, in the current directory
/// (listed twice), in its four nearest ancestors. Does not access the disk.
std::vector<std::wstring> SettingsPathCandidates(std::wstring_view programPath,
                                                 std::wstring_view currentDirectory);

/// The first candidate that is a regular file; the one beside the program when there is none.
std::wstring QuerySettingsPath();

/// Reads the file at `QuerySettingsPath()`: the defaults above wherever it says nothing. A key that is
/// present but empty gives an empty text; texts are cut after 1,023 UTF-16 units and trimmed.
QuerySettings LoadQuerySettings();

/// Writes the values back to `settings.path`, creating the file when it is missing. A failure to write is not
/// reported: the settings stay in force for this run.
void SaveQuerySettings(const QuerySettings& settings);
