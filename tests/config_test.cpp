#include "discovery/config_text.h"
#include "discovery/kernel_handle.h"
#include "discovery/server_config.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"

TEST_CASE("a JSON value is found by its quoted key") {
    for (const auto& [name, json, text, number] :
         Table<std::tuple<const char*, const char*, std::wstring, int>>{
             {"white space", "{\"key\" \r\n:\t\v\f\r\n \"Game\"}", L"Game", -1},
             {"an escaped quotation mark", R"({"key":"a\"b"})", L"a\"b", -1},
             {"a backslash at the end", R"({"key":"a\\","x":"y"})", L"a\\", -1},
             {"longer keys", R"({"key2":"a","xkey":"c","key":"b"})", L"b", -1},
             {"the first one", R"({"x":{"key":"inner"},"key":"b"})", L"inner", -1},
             {"a value of that text", R"({"x":"key","y":"wrong","key":"b"})", L"wrong", -1},
             {"letter case", R"({"Key":"a"})", L"", -1},
             {"no closing quotation mark", R"({"key":"abc\")", L"", -1},
             {"no value", R"({"key")", L"", -1},
             {"digits in a text", R"({"key":"2433"})", L"2433", -1},
             {"below zero", R"({"key": -5,"x":"y"})", L"", -5},
             {"a fraction", R"("key":12.9)", L"", 12},
             {"a blank behind the sign", R"("key":- 5)", L"", -1},
             {"a plus sign", R"("key":+5)", L"", -1},
             {"the largest", R"("key":2147483647)", L"", 2147483647}}) {
        CHECK(JsonString(json, "key") == text);
        CHECK(JsonInt(json, "key", -1) == number);
    }
}

TEST_CASE("a JSON object ends at its own brace") {
    for (const auto& [name, json, object] :
         Table({std::tuple("objects inside", R"({"key": {"a":{},"b":{}} ,"x":{}})", R"({"a":{},"b":{}})"s),
                {"braces in texts", R"("key":{"a":"}}{","b":"\"}"},1)", R"({"a":"}}{","b":"\"}"})"},
                {"no end", R"("key":{"a":{})", ""},
                {"no end of a text", R"("key":{"a":"}})", ""},
                {"no value", R"({"x":{},"key"})", ""},
                {"an array", R"("key":["a",{}])", ""}}))
        CHECK(std::string(JsonObject(json, "key")) == object);
}

TEST_CASE("JSON escapes are resolved") {
    CHECK(UnescapeJsonString("\\\"\\\\\\/\\b\\f\\n\\r\\t\\q") == L"\"\\/\b\f\n\r\tq");
    CHECK(UnescapeJsonString(R"(a\u6E38\u620f\uD842\uDFB7z\u09aA\ufF41)") ==
          L"a游戏\xD842\xDFB7z\u09AA\uFF41");
    for (const char* bad : Table{"12g4", "/000", ":000", "@000", "G000", "`000", "123", ""})
        CHECK(UnescapeJsonString("\\u"s + bad) == Utf8ToWide(bad));
    CHECK(UnescapeJsonString("\xE5\x8C\xBA\\n\xE6\x9C\x8D\\") == L"区\n服");
}

TEST_CASE("an INI text is split into sections and keys") {
    const IniText ini = ParseIni(
        L"early = 1\r\n[ Config ]\r\n\r\n  ;Hidden=1\n#Hidden=2\n GameName = a = b \r\nnovalue\n"
        L"ServerID=1\nserverid=[low]\nServerID = 2\n[odd]=x\n[Other]\nGameName=x\n[Config]\nLate=3");
    CHECK(IniValue(ini, L"", L"early") == L"1");
    for (const auto& [key, value] : Table({std::pair(L"GameName", L"a = b"),
                                           {L"ServerID", L"2"},
                                           {L"serverid", L"[low]"},
                                           {L"Late", L"3"},
                                           {L"[odd]", L"x"},
                                           {L";Hidden", L""},
                                           {L"#Hidden", L""},
                                           {L"novalue", L""}}))
        CHECK(IniValue(ini, L"Config", key) == value);
    CHECK(IniValue(ini, L"config", L"Late") == L"");
}

// Both files of a zone, and what is read from them.
struct ZoneFiles {
    const char* name;
    std::string json, ini;
    std::wstring serverName, host, database = {}, user = {}, password = {}, id = {}, directory = {};
    int port = 1433;
};

TEST_CASE("a zone is read from its two files") {
    const std::wstring local = L"127.0.0.1";
    for (
        const ZoneFiles& row : Table<ZoneFiles>{
            {"all in the JSON file",
             R"({"DBInfo":{"sDBIpAddr":"10.0.0.5","nDBPort":2433,"sDBName":"G1","sDBUser":"sa","sDBPsw":"p\"1"},)"
             R"("ServerInfo":{"sServerName":"\u6E38\u620F","Dir":"D:\\Game","nServerID":-7}})",
             "[Config]\nGameName=x\nGameDirectory=y\nServerID=12", L"游戏", L"10.0.0.5", L"G1", L"sa",
             L"p\"1", L"-7", L"D:\\Game", 2433},
            {"gaps that the INI file fills", "\xEF\xBB\xBF{\"ServerInfo\":{\"nServerID\":0}}",
             "\xEF\xBB\xBF[Config]\r\nGameName=\xE5\x8C\xBA\r\nGameDirectory=D:\\G\r\nServerID=s 01", L"区",
             local, L"", L"", L"", L"s 01", L"D:\\G"},
            {"the database's name", R"({"DBInfo":{"sDBName":"G2"}})", "", L"G2", local, L"G2"},
            {"keys elsewhere",
             R"({"sDBPsw":"x","ServerInfo":{"sDBIpAddr":"x","nDBPort":1,"sDBName":"x","sDBUser":"x","sDBPsw":"x"},)"
             R"("DBInfo":{"sServerName":"x","Dir":"x","nServerID":1},"sDBPsw":"x","nDBPort":1})",
             "\xEF\xBB\xBF[Config]\nGameName=\xC7\xE0", L"青龙一区", local},
            {"Chinese of code page 936", "", "[Config]\nGameName=\xC7\xE0\xC1\xFA", L"青龙", local}}) {
        if (row.serverName == L"青龙" && GetACP() != 936) continue;
        const TempDirectory place;
        const std::wstring folder = place.At(L"青龙一区");
        place.Write(L"青龙一区\\Config.Json", row.json);
        place.Write(L"青龙一区\\Config.ini", row.ini);
        const FileHandle inUse(CreateFileW((folder + L"\\Config.Json").c_str(), GENERIC_WRITE | DELETE,
                                           FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        const GameServerInfo zone = ReadServerConfig({42, L"", L"D:\\M2.exe"}, ServerConfigFiles(folder));
        for (const auto& [field, is, expected] :
             Table({std::tuple("folder", zone.configDirectory, folder),
                    {"image", zone.imagePath, L"D:\\M2.exe"},
                    {"process", std::to_wstring(zone.processId), L"42"},
                    {"name", zone.serverName, row.serverName},
                    {"host", zone.dbHost, row.host},
                    {"port", std::to_wstring(zone.dbPort), std::to_wstring(row.port)},
                    {"database", zone.dbName, row.database},
                    {"user", zone.dbUser, row.user},
                    {"password", zone.dbPassword, row.password},
                    {"id", zone.serverId, row.id},
                    {"directory", zone.gameDirectory, row.directory}}))
            CHECK(is == expected);
    }
}
