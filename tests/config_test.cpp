#include <doctest/doctest.h>
#include <windows.h>

#include "discovery/config_text.h"
#include "discovery/server_config.h"
#include "tests/support/error_of.h"
#include "tests/support/temp_directory.h"
#include "tests/support/wide_text.h"

TEST_CASE("a JSON string is found by its quoted key") {
    struct Row {
        const char* json;
        std::wstring_view value;
    };
    const Row rows[] = {{"{\"key\" \r\n:\t\v \"Game\"}", L"Game"},
                        {R"({"key":"a\"b"})", L"a\"b"},
                        {R"({"key":"a\\","x":"y"})", L"a\\"},
                        {R"({"key2":"a","key":"b"})", L"b"},
                        {R"({"x":{"key":"inner"},"key":"b"})", L"inner"},
                        {R"({"key":12,"x":"y"})", L""},
                        {R"({"x":"key","y":"wrong","key":"b"})", L"wrong"},
                        {R"({"Key":"a"})", L""},
                        {R"({"key":"abc\")", L""},
                        {R"({"key")", L""},
                        {"{\"key\": \n", L""}};
    for (const Row& row : rows) {
        CAPTURE(row.json);
        CHECK(JsonString(row.json, "key") == row.value);
    }
}

TEST_CASE("a JSON integer takes its leading digits or falls back") {
    struct Row {
        const char* json;
        std::int32_t value;
    };
    const Row rows[] = {
        {R"("key":2433})", 2433}, {R"("key": -5,)", -5},   {R"("key":12ab)", 12},
        {R"("key":12.9)", 12},    {R"("key":007)", 7},     {R"("key":2147483647)", 2147483647},
        {R"("key":"2433")", -1},  {R"("key":-)", -1},      {R"("key":- 5)", -1},
        {R"("key":+5)", -1},      {R"("key":true)", -1},   {R"("key":)", -1},
        {R"("other":5)", -1},     {R"("key":0,"x":7)", 0}, {"", -1}};
    for (const Row& row : rows) {
        CAPTURE(row.json);
        CHECK(JsonInt(row.json, "key", -1) == row.value);
    }
}

TEST_CASE("a JSON object ends at its own brace") {
    CHECK(JsonObject(R"({"key": {"a":{},"b":{}} ,"x":{}})", "key") == R"({"a":{},"b":{}})");
    CHECK(JsonObject(R"("key":{"a":"}}{","b":"\"}"},1)", "key") == R"({"a":"}}{","b":"\"}"})");
    for (const char* json :
         {R"("key":{"a":{})", R"("key":{"a":"}})", R"("key":["a",{}])", R"({"other":{}})"}) {
        CHECK(JsonObject(json, "key") == "");
    }
}

TEST_CASE("JSON escapes are resolved") {
    CHECK(UnescapeJsonString(R"(\"\\\/\b\f\n\r\t\q)") == L"\"\\/\b\f\n\r\tq");
    CHECK(UnescapeJsonString(R"(a\u6E38\u620f\uD842\uDFB7z)") == L"a游戏\xD842\xDFB7z");
    CHECK(UnescapeJsonString("\xE5\x8C\xBA\\n\xE6\x9C\x8D\\") == L"区\n服");
    CHECK(UnescapeJsonString(R"(a\u12G4\n\u)") == L"a12G4\n");
}

TEST_CASE("an INI text is split into sections and keys") {
    const IniText ini = ParseIni(
        L"early = 1\r\n[ Config ]\r\n\r\n  ;Hidden=1\n#Hidden=2\n GameName = a = b \r\nno value here\n"
        L"ServerID=1\nserverid=low\nServerID = 2\n[Other]\nGameName=x\n[Config]\nLate=3");
    struct Row {
        std::wstring_view section, key, value;
    };
    const Row rows[] = {{L"", L"early", L"1"},          {L"Config", L"GameName", L"a = b"},
                        {L"Config", L"ServerID", L"2"}, {L"Config", L"serverid", L"low"},
                        {L"Config", L"Late", L"3"},     {L"Other", L"GameName", L"x"},
                        {L"config", L"GameName", L""},  {L"Config", L";Hidden", L""},
                        {L"Config", L"#Hidden", L""},   {L"Config", L"no value here", L""}};
    for (const Row& row : rows) CHECK(IniValue(ini, row.section, row.key) == row.value);
}

TEST_CASE("a zone is read from its two files") {
    struct Row {
        const char* name;
        std::string json, ini;
        std::wstring zone;  // name, host, port, database, user, password, ID, game directory
    };
    const Row rows[] = {
        {"everything in the JSON file",
         R"({"DBInfo":{"sDBIpAddr":"10.0.0.5","nDBPort":2433,"sDBName":"G1","sDBUser":"sa","sDBPsw":"p\"1"},)"
         R"("ServerInfo":{"sServerName":"\u6E38\u620F","Dir":"D:\\Game","nServerID":-7}})",
         "[Config]\nGameName=x\nGameDirectory=y\nServerID=12", L"游戏|10.0.0.5|2433|G1|sa|p\"1|-7|D:\\Game"},
        {"the INI file fills the gaps", "\xEF\xBB\xBF{\"ServerInfo\":{\"nServerID\":0}}",
         "\xEF\xBB\xBF[Config]\r\nGameName=\xE5\x8C\xBA\r\nGameDirectory=D:\\G\r\nServerID=s 01",
         L"区|127.0.0.1|1433||||s 01|D:\\G"},
        {"quoted port and no name but the database's", R"({"DBInfo":{"nDBPort":"2433","sDBName":"G2"}})",
         "[config]\nGameName=a\n[Config]\nServerID=", L"G2|127.0.0.1|1433|G2||||"},
        {"no name and keys of the wrong object",
         R"({"ServerInfo":{"sDBName":"G","nServerID":1},"DBInfo":{"Dir":"D"}})",
         "\xEF\xBB\xBF[Config]\nGameName=\xC7\xE0", L"青龙一区|127.0.0.1|1433||||1|"},
        {"INI file in the code page", R"({"ServerInfo":{"nServerID":1}})",
         "[Config]\nGameName=\xC7\xE0\xC1\xFA", L"青龙|127.0.0.1|1433||||1|"}};
    for (const Row& row : rows) {
        CAPTURE(row.name);
        if (row.zone.starts_with(L"青龙|") && GetACP() != 936) {
            MESSAGE("skipped: the code page of this system is not 936");
            continue;
        }
        const TempDirectory place;
        place.Write(L"青龙一区\\Config.Json", row.json);
        place.Write(L"青龙一区\\Config.ini", row.ini);
        const GameServerInfo zone =
            ReadServerConfig({42, L"M2Server.exe", L"D:\\M2.exe"}, place.At(L"青龙一区"));
        CHECK(zone.serverName + L"|" + zone.dbHost + L"|" + std::to_wstring(zone.dbPort) + L"|" +
                  zone.dbName + L"|" + zone.dbUser + L"|" + zone.dbPassword + L"|" + zone.serverId + L"|" +
                  zone.gameDirectory ==
              row.zone);
        CHECK(zone.configDirectory == place.At(L"青龙一区"));
        CHECK(zone.imagePath + std::to_wstring(zone.processId) == L"D:\\M2.exe42");
    }
}

TEST_CASE("a configuration file that cannot be read fails the zone") {
    const TempDirectory place;
    place.Write(L"G\\Config.Json", "{}");
    CHECK(ErrorOf([&] { ReadServerConfig({}, place.At(L"G")); }) == L"read failed");
    place.Make(L"G\\Config.ini");
    CHECK(ErrorOf([&] { ReadServerConfig({}, place.At(L"G")); }) == L"read failed");
}
