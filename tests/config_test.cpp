#include "discovery/config_text.h"
#include "discovery/kernel_handle.h"
#include "discovery/server_config.h"
#include "support/temp_directory.h"
#include "support/wide_text.h"

TEST_CASE("a JSON value is found by its quoted key and an object ends at its own brace") {
    using Row = std::pair<const char*, const wchar_t*>;  // and the value as a text and as a number
    for (const auto& [json, values] :
         {Row{"{\"key\" \r\n:\t\v\f\r\n \"Game\"}", L"Game|-1"}, Row{R"({"key":"a\"b"})", L"a\"b|-1"},
          Row{R"({"key":"a\\","x":"y"})", L"a\\|-1"}, Row{R"({"key2":"a","xkey":"c","key":"b"})", L"b|-1"},
          Row{R"({"x":{"key":"inner"},"key":"b"})", L"inner|-1"},
          Row{R"({"x":"key","y":"wrong","key":"b"})", L"wrong|-1"}, Row{R"({"Key":"a"})", L"|-1"},
          Row{R"({"key":"abc\")", L"|-1"}, Row{R"({"key")", L"|-1"}, Row{R"({"key":"2433"})", L"2433|-1"},
          Row{R"({"key": -5,"x":"y"})", L"|-5"}, Row{R"("key":12.9)", L"|12"}, Row{R"("key":- 5)", L"|-1"},
          Row{R"("key":+5)", L"|-1"}, Row{R"("key":2147483647)", L"|2147483647"}}) {
        CHECK(JsonString(json, "key") + L"|" + std::to_wstring(JsonInt(json, "key", -1)) == values);
    }
    using Object = std::pair<const char*, const char*>;
    for (const auto& [json, object] :
         {Object{R"({"key": {"a":{},"b":{}} ,"x":{}})", R"({"a":{},"b":{}})"},
          Object{R"("key":{"a":"}}{","b":"\"}"},1)", R"({"a":"}}{","b":"\"}"})"},
          Object{R"("key":{"a":{})", ""}, Object{R"("key":{"a":"}})", ""}, Object{R"("key":["a",{}])", ""}})
        CHECK(JsonObject(json, "key") == object);
}

TEST_CASE("JSON escapes are resolved") {
    CHECK(UnescapeJsonString("\\\"\\\\\\/\\b\\f\\n\\r\\t\\q") == L"\"\\/\b\f\n\r\tq");
    CHECK(UnescapeJsonString(R"(a\u6E38\u620f\uD842\uDFB7z\u09aA\ufF41)") ==
          L"a游戏\xD842\xDFB7z\u09AA\uFF41");
    for (const std::string bad : {"12g4", "/000", ":000", "@000", "G000", "`000", "123", ""})
        CHECK(UnescapeJsonString("\\u" + bad) == Utf8ToWide(bad));
    CHECK(UnescapeJsonString("\xE5\x8C\xBA\\n\xE6\x9C\x8D\\") == L"区\n服");
}

TEST_CASE("an INI text is split into sections and keys") {
    const IniText ini = ParseIni(
        L"early = 1\r\n[ Config ]\r\n\r\n  ;Hidden=1\n#Hidden=2\n GameName = a = b \r\nnovalue\n"
        L"ServerID=1\nserverid=low\nServerID = 2\n[odd]=x\n[Other]\nGameName=x\n[Config]\nLate=3");
    std::wstring values = IniValue(ini, L"", L"early") + IniValue(ini, L"config", L"Late");
    for (const std::wstring& key : Words(L"GameName ServerID serverid Late [odd] ;Hidden #Hidden novalue"))
        values += L"|" + IniValue(ini, L"Config", key);
    CHECK(values == L"1|a = b|2|low|3|x|||");
}

TEST_CASE("a zone is read from its two files") {
    // Both files; name, host, port, database, user, password, ID, game directory.
    const std::tuple<std::string, std::string, std::wstring> rows[] = {
        {R"({"DBInfo":{"sDBIpAddr":"10.0.0.5","nDBPort":2433,"sDBName":"G1","sDBUser":"sa","sDBPsw":"p\"1"},)"
         R"("ServerInfo":{"sServerName":"\u6E38\u620F","Dir":"D:\\Game","nServerID":-7}})",
         "[Config]\nGameName=x\nGameDirectory=y\nServerID=12", L"游戏|10.0.0.5|2433|G1|sa|p\"1|-7|D:\\Game"},
        {"\xEF\xBB\xBF{\"ServerInfo\":{\"nServerID\":0}}",  // the INI file fills the gaps
         "\xEF\xBB\xBF[Config]\r\nGameName=\xE5\x8C\xBA\r\nGameDirectory=D:\\G\r\nServerID=s 01",
         L"区|127.0.0.1|1433||||s 01|D:\\G"},
        {R"({"DBInfo":{"sDBName":"G2"}})", "", L"G2|127.0.0.1|1433|G2||||"},
        {R"({"sDBPsw":"x","ServerInfo":{"sDBIpAddr":"x","nDBPort":1,"sDBName":"x","sDBUser":"x","sDBPsw":"x"},)"
         R"("DBInfo":{"sServerName":"x","Dir":"x","nServerID":1},"sDBPsw":"x","nDBPort":1})",
         "\xEF\xBB\xBF[Config]\nGameName=\xC7\xE0", L"青龙一区|127.0.0.1|1433|||||"},  // keys elsewhere
        {"", "[Config]\nGameName=\xC7\xE0\xC1\xFA", L"青龙|127.0.0.1|1433|||||"}};
    for (const auto& [json, ini, expected] : rows) {
        if (expected.starts_with(L"青龙|") && GetACP() != 936) continue;  // an INI file in that code page
        const TempDirectory place;
        const std::wstring folder = place.At(L"青龙一区"), file = folder + L"\\Config.Json";
        place.Write(L"青龙一区\\Config.Json", json);
        place.Write(L"青龙一区\\Config.ini", ini);
        const FileHandle inUse(CreateFileW(file.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
        const GameServerInfo zone = ReadServerConfig({42, L"", L"D:\\M2.exe"}, ServerConfigFiles(folder));
        CHECK((zone.configDirectory == folder && zone.imagePath == L"D:\\M2.exe" && zone.processId == 42));
        std::wstring values = zone.serverName;
        for (const std::wstring& value : {zone.dbHost, std::to_wstring(zone.dbPort), zone.dbName, zone.dbUser,
                                          zone.dbPassword, zone.serverId, zone.gameDirectory})
            values += L"|" + value;
        CHECK(values == expected);
    }
}
