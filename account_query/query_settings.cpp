#include "account_query/query_settings.h"

#include <windows.h>

#include <algorithm>

#include "discovery/files.h"
#include "discovery/paths.h"
#include "text/text.h"

namespace {

constexpr wchar_t kQuerySection[] = L"Query";
constexpr wchar_t kOdbcSection[] = L"ODBC";
constexpr DWORD kLongestPath = 32768;  // UTF-16 units, the limit of Win32 paths

std::wstring ProgramPath() {
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), kLongestPath));
    return path;
}

std::wstring CurrentDirectory() {
    std::wstring path(kLongestPath, L'\0');
    const DWORD length = GetCurrentDirectoryW(kLongestPath, path.data());
    path.resize(length < kLongestPath ? length : 0);
    return path;
}

std::wstring ReadText(const QuerySettings& settings, const wchar_t* section, const wchar_t* key,
                      const wchar_t* defaultValue) {
    constexpr DWORD kUnits = 1024;
    wchar_t buffer[kUnits];
    const DWORD length =
        GetPrivateProfileStringW(section, key, defaultValue, buffer, kUnits, settings.path.c_str());
    return Trim(std::wstring_view(buffer, length));
}

void WriteText(const QuerySettings& settings, const wchar_t* section, const wchar_t* key,
               const std::wstring& value) {
    WritePrivateProfileStringW(section, key, value.c_str(), settings.path.c_str());
}

}  // namespace

int ClampMaxResults(int maxResults) noexcept {
    return std::clamp(maxResults, kFewestResults, kMostResults);
}

bool IsAutoValue(std::wstring_view text) {
    const std::wstring word = ToLower(TrimView(text));
    return word.empty() || word == L"auto" || word == L"自动" || word == L"自动识别";
}

std::vector<std::wstring> SettingsPathCandidates(std::wstring_view programPath,
                                                 std::wstring_view currentDirectory) {
    constexpr std::wstring_view kFileName = L"QuerySettings.ini";
    constexpr int kMostLevels = 5;
    std::vector<std::wstring> candidates = {JoinPath(ParentPath(programPath), kFileName),
                                            JoinPath(currentDirectory, kFileName)};
    std::wstring_view directory = currentDirectory;
    for (int level = 0; level < kMostLevels; ++level) {
        candidates.push_back(JoinPath(directory, kFileName));
        const std::wstring_view stripped = WithoutTrailingSeparators(directory);
        const std::wstring_view parent = ParentPath(stripped);
        if (parent.empty() || parent == stripped) break;
        directory = parent;
    }
    return candidates;
}

std::wstring QuerySettingsPath() {
    std::vector<std::wstring> candidates = SettingsPathCandidates(ProgramPath(), CurrentDirectory());
    const auto found = std::find_if(candidates.begin(), candidates.end(), IsRegularFile);
    return found == candidates.end() ? candidates.front() : *found;
}

QuerySettings LoadQuerySettings() {
    QuerySettings settings;
    settings.path = QuerySettingsPath();
    settings.m2ProcessName = ReadText(settings, kQuerySection, L"M2ProcessName", L"M2Server.exe");
    settings.accountTable = ReadText(settings, kQuerySection, L"AccountTable", L"AUTO");
    settings.accountField = ReadText(settings, kQuerySection, L"AccountField", L"AUTO");
    settings.driver = ReadText(settings, kOdbcSection, L"Driver", L"");
    const UINT maxResults = GetPrivateProfileIntW(kQuerySection, L"MaxResults", 100, settings.path.c_str());
    settings.maxResults = ClampMaxResults(static_cast<int>(maxResults));
    return settings;
}

void SaveQuerySettings(const QuerySettings& settings) {
    WriteText(settings, kQuerySection, L"M2ProcessName", settings.m2ProcessName);
    WriteText(settings, kQuerySection, L"AccountTable", settings.accountTable);
    WriteText(settings, kQuerySection, L"AccountField", settings.accountField);
    WriteText(settings, kQuerySection, L"MaxResults", std::to_wstring(settings.maxResults));
    WriteText(settings, kOdbcSection, L"Driver", settings.driver);
}
