#include "account_query/query_settings.h"
#include "discovery/files.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"

static constexpr wchar_t kFile[] = L"QuerySettings.ini";

static std::wstring LoadedIn(const TempDirectory& place) {
    std::filesystem::current_path(place.At(L""));
    const QuerySettings settings = LoadQuerySettings();
    return settings.m2ProcessName + L"|" + settings.accountTable + L"|" + settings.accountField + L"|" +
           settings.driver + L"|" + std::to_wstring(settings.maxResults);
}

TEST_CASE("the settings file is looked for beside the program and upward from the current directory") {
    std::wstring places;
    for (const std::wstring& path : SettingsPathCandidates(L"D:\\t\\m.exe", L"C:\\1\\2\\3\\4\\5\\"))
        places += path.substr(0, path.find(kFile)) + L"|";
    CHECK(places == LR"(D:\t\|C:\1\2\3\4\5\|C:\1\2\3\4\5\|C:\1\2\3\4\|C:\1\2\3\|C:\1\2\|C:\1\|)");
    CHECK(SettingsPathCandidates(L"D:\\m.exe", L"C:\\1").back() == L"C:\\QuerySettings.ini");
    const TempDirectory place;
    place.Write(kFile, "");
    place.Make(L"1\\2\\QuerySettings.ini");  // a directory of that name is passed over
    place.Make(L"1\\2\\3\\4\\5");
    std::filesystem::current_path(place.At(L"1\\2\\3\\4"));
    CHECK(QuerySettingsPath() == place.At(kFile));
    std::filesystem::current_path(place.At(L"1\\2\\3\\4\\5"));
    CHECK(QuerySettingsPath() == Built(L"tests\\QuerySettings.ini"));  // none there: beside the program
}

TEST_CASE("settings are read with defaults for what is missing and limits for what is not") {
    const std::wstring kDefaults = L"M2Server.exe|AUTO|AUTO||";
    for (const auto& [name, query, expected] :
         Table({std::tuple("keys of other sections", "Driver=x\n[ODBC]\nMaxResults=7"s, kDefaults + L"100"),
                {"all keys",
                 "M2ProcessName= Z.exe \nAccountTable=d.T\nAccountField=F\nMaxResults=7\n[ODBC]\n"
                 "Driver=\" My D \"",
                 L"Z.exe|d.T|F|My D|7"},
                {"empty values", "M2ProcessName=\nAccountTable=\nAccountField=  \n", L"||||100"},
                {"too few rows", "MaxResults=-5", kDefaults + L"1"},
                {"no number", "MaxResults=many", kDefaults + L"1"},
                {"too many rows", "MaxResults=501", kDefaults + L"500"},
                {"a long text", "AccountTable=" + std::string(1030, 'x'),
                 L"M2Server.exe|" + std::wstring(1023, L'x') + L"|AUTO||100"}})) {
        const TempDirectory place;
        place.Write(kFile, "[Query]\n" + query + "\n");
        CHECK(LoadedIn(place) == expected);
    }
}

TEST_CASE("detection is asked for by nothing or one of three words") {
    for (const auto& [word, isAuto] : Table({std::pair(L"  \t", true),
                                             {L" Auto  ", true},
                                             {L"自动", true},
                                             {L" 自动识别\r\n", true},
                                             {L"auto1", false},
                                             {L"au to", false},
                                             {L"识别", false},
                                             {L"ＡＵＴＯ", false}}))
        CHECK(IsAutoValue(word) == isAuto);
}

TEST_CASE("saved settings have their order in a new file") {
    const TempDirectory place;
    const QuerySettings settings = {place.At(kFile), L"Z.exe", L"表", L"F", L"My D", 7};
    SaveQuerySettings(settings);
    CHECK(AnsiToWide(ReadWholeFile(InputFile(settings.path))) ==
          L"[Query]\r\nM2ProcessName=Z.exe\r\nAccountTable=表\r\nAccountField=F\r\nMaxResults=7\r\n"
          L"[ODBC]\r\nDriver=My D\r\n");
    CHECK_NOTHROW(SaveQuerySettings({place.At(L"missing\\QuerySettings.ini"), L"계정", L"", L"", L"", 7}));
}

TEST_CASE("saved settings are read back whatever their names and what else stands in the file stays") {
    const TempDirectory place;
    const std::string before = "; \xB1\xB8\xD7\xA2\r\n[Other]\r\nKey=1\r\n";  // Chinese on a Chinese system
    // Names beyond the system's code page, each alone.
    for (const auto& [expected, text] : Table({std::pair(L"계정|表|F|My D|7", &QuerySettings::m2ProcessName),
                                               {L"Z.exe|계정|F|My D|7", &QuerySettings::accountTable},
                                               {L"Z.exe|表|계정|My D|7", &QuerySettings::accountField},
                                               {L"Z.exe|表|F|계정|7", &QuerySettings::driver}})) {
        place.Write(kFile, before);
        QuerySettings settings = {place.At(kFile), L"Z.exe", L"表", L"F", L"My D", 7};
        settings.*text = L"계정";
        for (int twice = 0; twice < 2; ++twice) SaveQuerySettings(settings);
        CHECK(LoadedIn(place) == expected);
        const std::string bytes = ReadWholeFile(InputFile(settings.path));
        const std::wstring kept = L'\uFEFF' + AnsiToWide(before),
                           units(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
        CHECK(units.substr(0, kept.size()) == kept);
    }
    CHECK_FALSE(IsRegularFile(place.At(kFile) + L".new"));
}
