#include "account_query/query_settings.h"

#include <algorithm>

#include "discovery/files.h"
#include "discovery/kernel_handle.h"
#include "discovery/paths.h"
#include "text/text.h"

namespace {

constexpr wchar_t kQuerySection[] = L"Query";
constexpr wchar_t kOdbcSection[] = L"ODBC";
constexpr wchar_t kByteOrderMark = 0xFEFF;
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

bool SurvivesAnsi(const std::wstring& text) {
    return AnsiToWide(WideToAnsi(text)) == text;
}

// Atomic: a reader sees the old content or the new one.
void ReplaceFileContent(const std::wstring& path, std::wstring_view text) {
    const std::wstring draft = path + L".new";
    const DWORD size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    DWORD written = 0;
    {
        const FileHandle file(CreateFileW(draft.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file) WriteFile(file.Get(), text.data(), size, &written, nullptr);
    }
    const bool replaced =
        written == size && MoveFileExW(draft.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
    if (!replaced) DeleteFileW(draft.c_str());
}

// The profile functions write a file in the ANSI code page unless it begins with the byte order mark of
// UTF-16: on a system of another language the Chinese name of a table would be stored as question marks. The
// file is then converted to UTF-16 first, completely or not at all.
void ConvertToUtf16IfNeeded(const QuerySettings& settings) {
    if (SurvivesAnsi(settings.m2ProcessName) && SurvivesAnsi(settings.accountTable) &&
        SurvivesAnsi(settings.accountField) && SurvivesAnsi(settings.driver)) {
        return;
    }
    std::string bytes;
    if (const InputFile file(settings.path); file.Exists()) bytes = ReadWholeFile(file);
    if (bytes.starts_with("\xFF\xFE")) return;
    const std::wstring text = kByteOrderMark + AnsiToWide(bytes);
    ReplaceFileContent(settings.path, text);
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
    try {
        ConvertToUtf16IfNeeded(settings);
    } catch (const std::exception&) {
        // A file that cannot be rewritten cannot be written below either.
    }
    WriteText(settings, kQuerySection, L"M2ProcessName", settings.m2ProcessName);
    WriteText(settings, kQuerySection, L"AccountTable", settings.accountTable);
    WriteText(settings, kQuerySection, L"AccountField", settings.accountField);
    WriteText(settings, kQuerySection, L"MaxResults", std::to_wstring(settings.maxResults));
    WriteText(settings, kOdbcSection, L"Driver", settings.driver);
}
