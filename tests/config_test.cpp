#include "discovery/config_text.h"
#include "discovery/kernel_handle.h"
#include "discovery/server_config.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"

TEST_CASE("a JSON value is found by its quoted key") {
    struct Row {
        const char *name, *json;
        std::wstring text;
        int number = -1;
    };
    for (const Row& row : {Row{"white space", "{\"key\" \r\n:\t\v\f\r\n \"Game\"}", L"Game"},
                           {"an escaped quotation mark", R"({"key":"a\"b"})", L"a\"b"},
                           {"a backslash at the end", R"({"key":"a\\","x":"y"})", L"a\\"},
                           {"longer keys", R"({"key2":"a","xkey":"c","key":"b"})", L"b"},
                           {"the first one", R"({"x":{"key":"inner"},"key":"b"})", L"inner"},
                           {"a value of that text", R"({"x":"key","y":"wrong","key":"b"})", L"wrong"},
                           {"letter case", R"({"Key":"a"})", L""},
                           {"no closing quotation mark", R"({"key":"abc\")", L""},
                           {"no value", R"({"key")", L""},
                           {"digits in a text", R"({"key":"2433"})", L"2433"},
                           {"below zero", R"({"key": -5,"x":"y"})", L"", -5},
                           {"a fraction", R"("key":12.9)", L"", 12},
                           {"a blank behind the sign", R"("key":- 5)", L""},
                           {"a plus sign", R"("key":+5)", L""},
                           {"the largest", R"("key":2147483647)", L"", 2147483647}}) {
        CAPTURE(row.name);
        CHECK(JsonString(row.json, "key") == row.text);
        CHECK(JsonInt(row.json, "key", -1) == row.number);
    }
}

TEST_CASE("a JSON object ends at its own brace") {
    struct Row {
        const char* name;
        std::string json, object;
    };
    for (const Row& row :
         {Row{"objects inside", R"({"key": {"a":{},"b":{}} ,"x":{}})", R"({"a":{},"b":{}})"},
          {"braces in texts", R"("key":{"a":"}}{","b":"\"}"},1)", R"({"a":"}}{","b":"\"}"})"},
          {"no end", R"("key":{"a":{})", ""},
          {"no end of a text", R"("key":{"a":"}})", ""},
          {"no value", R"({"x":{},"key"})", ""},
          {"an array", R"("key":["a",{}])", ""}}) {
        CAPTURE(row.name);
        CHECK(std::string(JsonObject(row.json, "key")) == row.object);
    }
}

TEST_CASE("JSON escapes are resolved") {
    CHECK(UnescapeJsonString("\\\"\\\\\\/\\b\\f\\n\\r\\t\\q") == L"\"\\/\b\f\n\r\tq");
    CHECK(UnescapeJsonString(R"(a\u6E38\u620f\uD842\uDFB7z\u09aA\ufF41)") ==
          L"a游戏\xD842\xDFB7z\u09AA\uFF41");
    for (const std::string bad : {"12g4", "/000", ":000", "@000", "G000", "`000", "123", ""}) {
        CAPTURE(bad);
        CHECK(UnescapeJsonString("\\u" + bad) == Utf8ToWide(bad));
    }
    CHECK(UnescapeJsonString("\xE5\x8C\xBA\\n\xE6\x9C\x8D\\") == L"区\n服");
}

TEST_CASE("an INI text is split into sections and keys") {
    const IniText ini = ParseIni(
        L"early = 1\r\n[ Config ]\r\n\r\n  ;Hidden=1\n#Hidden=2\n GameName = a = b \r\nnovalue\n"
        L"ServerID=1\nserverid=low\nServerID = 2\n[odd]=x\n[Other]\nGameName=x\n[Config]\nLate=3");
    CHECK(IniValue(ini, L"", L"early") == L"1");
    for (const auto& [key, value] : {std::pair(L"GameName", L"a = b"),
                                     {L"ServerID", L"2"},
                                     {L"serverid", L"low"},
                                     {L"Late", L"3"},
                                     {L"[odd]", L"x"},
                                     {L";Hidden", L""},
                                     {L"#Hidden", L""},
                                     {L"novalue", L""}}) {
        CAPTURE(key);
        CHECK(IniValue(ini, L"Config", key) == value);
    }
    CHECK(IniValue(ini, L"config", L"Late") == L"");
}

// Both files of a zone, and what is read from them.
struct ZoneFiles {
    const char* name;
    std::string json, ini;
    std::wstring serverName, host, database, user, password, id, directory;
    int port = 1433;
};

TEST_CASE("a zone is read from its two files") {
    const std::wstring local = L"127.0.0.1";
    for (
        const ZoneFiles& row :
        {ZoneFiles{
             "all in the JSON file",
             R"({"DBInfo":{"sDBIpAddr":"10.0.0.5","nDBPort":2433,"sDBName":"G1","sDBUser":"sa","sDBPsw":"p\"1"},)"
             R"("ServerInfo":{"sServerName":"\u6E38\u620F","Dir":"D:\\Game","nServerID":-7}})",
             "[Config]\nGameName=x\nGameDirectory=y\nServerID=12", L"游戏", L"10.0.0.5", L"G1", L"sa",
             L"p\"1", L"-7", L"D:\\Game", 2433},
         {"gaps that the INI file fills", "\xEF\xBB\xBF{\"ServerInfo\":{\"nServerID\":0}}",
          "\xEF\xBB\xBF[Config]\r\nGameName=\xE5\x8C\xBA\r\nGameDirectory=D:\\G\r\nServerID=s 01", L"区",
          local, L"", L"", L"", L"s 01", L"D:\\G"},
         {"the database's name", R"({"DBInfo":{"sDBName":"G2"}})", "", L"G2", local, L"G2", L"", L"", L"",
          L""},
         {"keys elsewhere",
          R"({"sDBPsw":"x","ServerInfo":{"sDBIpAddr":"x","nDBPort":1,"sDBName":"x","sDBUser":"x","sDBPsw":"x"},)"
          R"("DBInfo":{"sServerName":"x","Dir":"x","nServerID":1},"sDBPsw":"x","nDBPort":1})",
          "\xEF\xBB\xBF[Config]\nGameName=\xC7\xE0", L"青龙一区", local, L"", L"", L"", L"", L""},
         {"Chinese of code page 936", "", "[Config]\nGameName=\xC7\xE0\xC1\xFA", L"青龙", local, L"", L"",
          L"", L"", L""}}) {
        CAPTURE(row.name);
        if (row.serverName == L"青龙" && GetACP() != 936) continue;
        const TempDirectory place;
        const std::wstring folder = place.At(L"青龙一区"), file = folder + L"\\Config.Json";
        place.Write(L"青龙一区\\Config.Json", row.json);
        place.Write(L"青龙一区\\Config.ini", row.ini);
        const FileHandle inUse(CreateFileW(file.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
        const GameServerInfo zone = ReadServerConfig({42, L"", L"D:\\M2.exe"}, ServerConfigFiles(folder));
        CHECK(zone.configDirectory == folder);
        CHECK(zone.imagePath == L"D:\\M2.exe");
        CHECK(zone.processId == 42);
        CHECK(zone.serverName == row.serverName);
        CHECK(zone.dbHost == row.host);
        CHECK(zone.dbPort == row.port);
        CHECK(zone.dbName == row.database);
        CHECK(zone.dbUser == row.user);
        CHECK(zone.dbPassword == row.password);
        CHECK(zone.serverId == row.id);
        CHECK(zone.gameDirectory == row.directory);
    }
}
