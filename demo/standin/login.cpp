#include "login.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "collation.h"
#include "text.h"

namespace standin {
namespace {

constexpr std::string_view kKnownKeywords[] = {
    "DRIVER", "SERVER", "DATABASE", "UID", "PWD", "ENCRYPT", "TRUSTSERVERCERTIFICATE"};

/// Reads "{a}}b}" or the plain text up to the next semicolon.
std::string TakeValue(std::string_view text, std::size_t& at) {
    if (at >= text.size() || text[at] != '{') {
        const std::size_t start = at;
        at = std::min(text.find(';', at), text.size());
        return std::string(TrimBlanks(text.substr(start, at - start)));
    }
    std::string value;
    for (++at;; ++at) {
        if (at >= text.size()) Fail(Err::kConnectionString, "a brace is never closed");
        if (text[at] == '}' && (at + 1 >= text.size() || text[at + 1] != '}')) break;
        if (text[at] == '}') ++at;
        value.push_back(text[at]);
    }
    const std::size_t end = std::min(text.find(';', at), text.size());
    if (!TrimBlanks(text.substr(at + 1, end - at - 1)).empty()) {
        Fail(Err::kConnectionString, "text behind a closing brace");
    }
    at = end;
    return value;
}

}  // namespace

Login ReadConnectionString(std::string_view text, std::vector<DiagRecord>& warnings) {
    std::map<std::string, std::string> values;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t end = std::min(text.find_first_of("=;", at), text.size());
        const std::string keyword = UpperAscii(TrimBlanks(text.substr(at, end - at)));
        const bool hasValue = end < text.size() && text[end] == '=';
        if (!hasValue && !keyword.empty()) Fail(Err::kConnectionString, "a keyword without a value");
        at = end;
        if (!hasValue) continue;
        values.emplace(keyword, TakeValue(text, ++at));
        if (std::ranges::count(kKnownKeywords, keyword) == 0)
            warnings.push_back(MakeRecord(Err::kUnknownKeyword));
    }
    return {values["DRIVER"], values["SERVER"], values["DATABASE"],
            values["UID"],    values["PWD"],    values["CONNECTION TIMEOUT"]};
}

std::string FindServer(const std::string& server) {
    const char* root = std::getenv("SQLSTANDIN_ROOT");
    const bool plain = !server.empty() && server.front() != '.' && server.find('/') == std::string::npos;
    if (root != nullptr && plain) {
        std::string directory = std::string(root) + "/" + server;
        if (std::filesystem::exists(directory + "/server.conf")) return directory;
    }
    throw SqlError({MakeRecord(Err::kServerMissing), MakeRecord(Err::kServerUnreachable, server)});
}

void CheckLogin(const std::string& directory, const Login& login) {
    std::ifstream file(directory + "/server.conf");
    std::string user, password;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("user=")) user = line.substr(5);
        if (line.starts_with("password=")) password = line.substr(9);
    }
    if (user.empty() || CompareText(user, login.user) != 0 || password != login.password) {
        Fail(Err::kLoginFailed, login.user);
    }
}

}  // namespace standin
