#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

enum class TokenKind { kWord, kQuotedName, kString, kUnicodeString, kNumber, kSymbol, kEnd };

struct Token {
    TokenKind kind = TokenKind::kEnd;
    std::string text;          // names and strings without their quotes
    bool gluedToNext = false;  // no blank behind it: tells 1e5 from 1 e5
};

/// Cuts a batch into tokens; the last one is always kEnd.
/// @throws SqlError 102 or 105 for a character or quote that T-SQL cannot contain.
std::vector<Token> Tokenize(std::string_view sql);

/// "Incorrect syntax near 'x'."
[[noreturn]] void FailSyntax(const std::string& near);

}  // namespace standin
