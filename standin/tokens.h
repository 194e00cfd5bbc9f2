#pragma once

#include <algorithm>
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

/// A name of one to three parts: [[database.]schema.]table.
using Name = std::vector<std::string>;

/// Splits T-SQL at its semicolons into statements, each ended by a token of the kind kEnd.
/// @throws SqlError 105 for a text or name that is not closed, 102 for what is no token.
std::vector<Tokens> SplitStatements(std::string_view sql);

/// Reads a statement from left to right. Keys are bare words in upper case, or symbols.
/// @throws SqlError 102 from every Take that does not find what it takes.
class TokenReader {
public:
    explicit TokenReader(const Tokens& tokens) : tokens_(tokens) {}

    std::size_t At() const { return at_; }
    void MoveTo(std::size_t at) { at_ = at; }
    const Token& Peek(std::size_t ahead = 0) const {
        return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
    }
    bool Is(std::string_view key, std::size_t ahead = 0) const { return Peek(ahead).key == key; }
    bool IsEnd() const { return Peek().kind == TokenKind::kEnd; }

    /// A name in brackets or quotation marks, or a word that T-SQL does not reserve.
    bool IsName() const;

    bool TakeIf(std::string_view key);
    void Take(std::string_view key) { TakeWhere(Is(key)); }
    std::string TakeAny() { return TakeWhere(!IsEnd()); }
    std::string TakeName() { return TakeWhere(IsName()); }
    std::string TakeNumber() { return TakeWhere(Peek().kind == TokenKind::kNumber); }
    Name TakeDottedName();
    void TakeEnd();

    /// What `item` makes of the items that follow, joined by commas; in brackets: "(a,b)".
    template <class Item>
    std::string TakeList(Item item) {
        std::string list = item();
        while (TakeIf(",")) list += "," + item();
        return list;
    }
    template <class Item>
    std::string TakeBrackets(Item item) {
        Take("(");
        const std::string list = TakeList(item);
        Take(")");
        return "(" + list + ")";
    }

private:
    std::string TakeWhere(bool good);

    const Tokens& tokens_;
    std::size_t at_ = 0;
};

}  // namespace standin
