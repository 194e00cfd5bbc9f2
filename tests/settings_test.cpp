#include <windows.h>

#include "account_query/query_settings.h"
#include "discovery/paths.h"
#include "tests/support/temp_directory.h"
#include "tests/support/wide_text.h"

static constexpr wchar_t kFile[] = L"QuerySettings.ini";

// The result of a function that runs with another current directory.
template <class Result>
Result In(const std::wstring& directory, Result (*function)()) {
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(directory);
    const Result result = function();
    std::filesystem::current_path(previous);
    return result;
}

static std::wstring TextOf(const QuerySettings& settings) {
    return settings.m2ProcessName + L"|" + settings.accountTable + L"|" + settings.accountField + L"|" +
           settings.driver + L"|" + std::to_wstring(settings.maxResults);
}

TEST_CASE("four words ask for automatic detection") {
    for (const wchar_t* word : {L"  \t", L" Auto  ", L"自动", L" 自动识别\r\n"}) CHECK(IsAutoValue(word));
    for (const wchar_t* word : {L"auto1", L"au to", L"识别", L"ＡＵＴＯ"}) CHECK_FALSE(IsAutoValue(word));
}

TEST_CASE("the settings file is looked for beside the program and upward from the current directory") {
    std::wstring places;
    for (const std::wstring& path : SettingsPathCandidates(L"D:\\t\\m.exe", L"C:\\1\\2\\3\\4\\5\\")) {
        places += path.substr(0, path.find(kFile)) + L"|";
    }
    CHECK(places == LR"(D:\t\|C:\1\2\3\4\5\|C:\1\2\3\4\5\|C:\1\2\3\4\|C:\1\2\3\|C:\1\2\|C:\1\|)");
    CHECK(SettingsPathCandidates(L"D:\\m.exe", L"C:\\1").back() == L"C:\\QuerySettings.ini");
    const TempDirectory place;
    place.Write(kFile, "");
    place.Make(L"1\\2\\3\\4\\5");
    place.Make(L"1\\2\\QuerySettings.ini");  // a directory of that name is passed over
    CHECK(In(place.At(L"1\\2\\3\\4"), QuerySettingsPath) == place.At(kFile));
    CHECK(In(place.At(L"1\\2\\3\\4\\5"), QuerySettingsPath) != place.At(kFile));
}

TEST_CASE("settings are read with defaults for what is missing") {
    struct Row {
        std::string file;
        std::wstring settings;
    };
    const std::wstring kDefaults = L"M2Server.exe|AUTO|AUTO||";
    for (const Row& row :
         {Row{"", kDefaults + L"100"}, Row{"[ODBC]\nMaxResults=7\n[Query]\nDriver=x\n", kDefaults + L"100"},
          Row{"[Query]\nM2ProcessName=Z.exe\nAccountTable=dbo.T\nAccountField=F\nMaxResults=7\n[ODBC]"
              "\nDriver= My D \n",
              L"Z.exe|dbo.T|F|My D|7"},
          Row{"[Query]\nM2ProcessName=\nAccountTable=\nAccountField=  \n", L"||||100"},
          Row{"[Query]\nMaxResults=-5\n", kDefaults + L"1"},
          Row{"[Query]\nMaxResults=many\n", kDefaults + L"1"},
          Row{"[Query]\nMaxResults=501\n", kDefaults + L"500"},
          Row{"[Query]\nAccountTable=" + std::string(1030, 'x') + "\n",
              L"M2Server.exe|" + std::wstring(1023, L'x') + L"|AUTO||100"}}) {
        CAPTURE(row.file);
        const TempDirectory place;
        place.Write(kFile, row.file);
        CHECK(TextOf(In(place.At(L""), LoadQuerySettings)) == row.settings);
    }
}

TEST_CASE("saved settings have their order in a new file and are read back") {
    const TempDirectory place;
    QuerySettings settings;
    settings.path = place.At(kFile);
    settings.accountTable = GetACP() == 936 ? L"账号表" : L"accounts";
    settings.maxResults = 7;
    SaveQuerySettings(settings);
    CHECK(TextOf(In(place.At(L""), LoadQuerySettings)) == TextOf(settings));
    std::ifstream file{std::filesystem::path(settings.path)};
    std::string keys;
    for (std::string line; std::getline(file, line);) keys += line.substr(0, line.find_first_of("=\r")) + " ";
    CHECK(keys == "[Query] M2ProcessName AccountTable AccountField MaxResults [ODBC] Driver ");
    settings.path = place.At(L"missing\\QuerySettings.ini");
    CHECK_NOTHROW(SaveQuerySettings(settings));
}
