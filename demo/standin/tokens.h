#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

enum class TokenKind { kWord, kName, kText, kNumber, kSymbol, kEnd };

struct Token {
    TokenKind kind = TokenKind::kEnd;
    std::string text;  // without its quotation marks or brackets; of a parameter its number
    std::string key;   // of a bare word in upper case, of a symbol itself; empty for everything else
};
using Tokens = std::vector<Token>;

/// Splits T-SQL into its statements, each ended by a token of the kind kEnd; statements are parted by
/// semicolons.
/// @throws SqlError 105 for a text or name that is not closed, 102 for what is no token.
std::vector<Tokens> SplitStatements(std::string_view sql);

/// The statement's table hints in upper case, joined by commas: "UPDLOCK,HOLDLOCK".
std::string HintsOf(const Tokens& tokens);

/// Reads a statement from left to right. Keys are bare words in upper case, or symbols.
class TokenReader {
public:
    explicit TokenReader(const Tokens& tokens) : tokens_(tokens) {}

    std::size_t At() const { return at_; }
    void MoveTo(std::size_t at) { at_ = at; }
    const Token& Peek(std::size_t ahead = 0) const;
    const Token& Take();
    bool Is(std::string_view key, std::size_t ahead = 0) const { return Peek(ahead).key == key; }
    bool TakeIf(std::string_view key);
    void Expect(std::string_view key);

    /// A name in brackets or quotation marks, or a word that T-SQL does not reserve.
    bool IsName() const;
    std::string TakeName();
    std::vector<std::string> TakeDottedName();

    /// A whole number without sign.
    std::string TakeNumber();

    /// @throws SqlError 102 naming the next token.
    [[noreturn]] void FailHere() const;
    void ExpectEnd() const;

private:
    const Tokens& tokens_;
    std::size_t at_ = 0;
};

}  // namespace standin
