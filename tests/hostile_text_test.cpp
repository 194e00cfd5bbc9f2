#include <random>

#include "discovery/config_text.h"
#include "support/wide_text.h"

// A text that differs from a good one by a few hostile edits; the seed is fixed, so a failure comes back.
static std::string Mutated(std::string text) {
    using namespace std::string_view_literals;
    static constexpr std::string_view kPieces =
        "\" { } \\ : \0 \\u0000 \\uD842 \\u \\uZZZZ - 99999999999 [ ] = \n \r ; \xFF\xFE \xC7\xE0 \xE5\x8C "
        "\xED\xA0\x80 \xEF\xBB\xBF \"DBInfo\" \"nDBPort\": [Config] MaxResults= \xE3\x80\x80 "sv;
    static std::mt19937 random(20240607);
    const auto below = [](size_t limit) { return random() % limit; };
    for (auto edits = 1 + below(5); edits > 0; --edits) {
        const size_t at = below(text.size() + 1), kind = below(5);
        const size_t piece = kPieces.rfind(' ', below(kPieces.size())) + 1;
        if (kind == 0) text.resize(at);
        if (kind == 1) text.erase(at, below(20));
        if (kind == 2) text.insert(at, std::string(1 + below(3), static_cast<char>(below(256))));
        if (kind == 3) text.insert(at, text.substr(below(text.size() + 1), below(40)));
        if (kind == 4) text.insert(at, kPieces.substr(piece, kPieces.find(' ', piece) - piece));
    }
    return text;
}

TEST_CASE("a hundred thousand mutated configuration texts are read without harm") {
    for (int round = 0; round < 50'000; ++round) {
        for (const char* good :
             {R"({"DBInfo": {"sDBIpAddr": "10.0.0.5", "nDBPort": 2433, "sDBName": "G1", "sDBUser": "s\"a",)"
              R"( "sDBPsw": "p\u6E38\uD842\uDFB7\\"}, "ServerInfo": {"sServerName": "区", "nServerID": 7}})",
              "\xEF\xBB\xBF; z\r\n[Config]\r\nGameName = 区=服\r\nServerID=s 01\r\n[Other]\nx=1\n"}) {
            const std::string bytes = Mutated(good);
            CAPTURE(bytes);
            const std::string object(JsonObject(bytes, "DBInfo"));
            REQUIRE(object.substr(0, 1) == (object.empty() ? "" : "{"));
            for (const char* key : {"sDBIpAddr", "sDBPsw", "nDBPort"}) {
                REQUIRE(JsonString(object, key).size() <= object.size());
                if (!FindJsonKey(object, key)) REQUIRE(JsonInt(object, key, 1433) == 1433);
            }
            for (const auto& [name, section] : ParseIni(DecodeText(bytes)))
                for (const auto& [key, value] : section) REQUIRE(Trim(key) + Trim(value) == key + value);
        }
    }
}
