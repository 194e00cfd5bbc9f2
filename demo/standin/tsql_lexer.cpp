#include "tsql_lexer.h"

#include "error.h"
#include "text.h"

namespace standin {
namespace {

class Lexer {
public:
    explicit Lexer(std::string_view sql) : sql_(sql) {}

    std::vector<Token> Run() {
        std::vector<Token> tokens;
        while (SkipBlanks(), at_ < sql_.size()) {
            tokens.push_back(Next());
            const bool more = at_ < sql_.size();
            tokens.back().gluedToNext = more && (IsWordPart(at_) || sql_[at_] == '.');
        }
        tokens.emplace_back();
        return tokens;
    }

private:
    char Peek(std::size_t ahead = 0) const { return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : '\0'; }

    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

    bool IsWordStart(std::size_t at) const { return sql_[at] == '_' || IsLetter(NextCodePoint(sql_, at)); }

    bool IsWordPart(std::size_t at) const {
        const char c = sql_[at];
        return IsDigit(c) || c == '@' || c == '$' || c == '#' || IsWordStart(at);
    }

    void SkipBlanks() {
        while (at_ < sql_.size()) {
            if (Peek() == ' ' || (Peek() >= '\t' && Peek() <= '\r')) {
                ++at_;
            } else if (Peek() == '-' && Peek(1) == '-') {
                while (at_ < sql_.size() && Peek() != '\n') ++at_;
            } else if (Peek() == '/' && Peek(1) == '*') {
                SkipComment();
            } else {
                return;
            }
        }
    }

    void SkipComment() {  // T-SQL's block comments nest
        int depth = 0;
        do {
            if (at_ >= sql_.size()) Fail("42000", 113, "Missing end comment mark '*/'.");
            const bool opens = Peek() == '/' && Peek(1) == '*';
            const bool closes = Peek() == '*' && Peek(1) == '/';
            depth += opens ? 1 : closes ? -1 : 0;
            at_ += opens || closes ? 2 : 1;
        } while (depth > 0);
    }

    Token Next() {
        const char c = Peek();
        if ((c == 'N' || c == 'n') && Peek(1) == '\'') return ++at_, Quoted('\'', TokenKind::kUnicodeString);
        if (c == '\'') return Quoted('\'', TokenKind::kString);
        if (c == '[') return Quoted(']', TokenKind::kQuotedName);
        if (c == '"') return Quoted('"', TokenKind::kQuotedName);
        if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) return Number();
        if (IsWordStart(at_)) return Word();
        return Symbol();
    }

    Token Quoted(char close, TokenKind kind) {
        std::string text;
        const std::size_t start = at_++;
        while (true) {
            if (at_ >= sql_.size()) {
                Fail("42000", 105,
                     "Unclosed quotation mark after the character string '" +
                         std::string(sql_.substr(start + 1)) + "'.");
            }
            if (Peek() == close && Peek(1) != close) break;
            if (Peek() == close) ++at_;
            text.push_back(sql_[at_++]);
        }
        ++at_;
        if (kind == TokenKind::kQuotedName && text.empty()) FailSyntax("[]");
        return {kind, std::move(text)};
    }

    Token Number() {
        const std::size_t start = at_;
        while (IsDigit(Peek())) ++at_;
        if (Peek() == '.') ++at_;
        while (IsDigit(Peek())) ++at_;
        return {TokenKind::kNumber, std::string(sql_.substr(start, at_ - start))};
    }

    Token Word() {
        const std::size_t start = at_;
        while (at_ < sql_.size() && IsWordPart(at_)) NextCodePoint(sql_, at_);
        return {TokenKind::kWord, std::string(sql_.substr(start, at_ - start))};
    }

    Token Symbol() {
        for (const std::string_view pair : {"<>", "!=", "<=", ">="}) {
            if (sql_.substr(at_, 2) == pair) return at_ += 2, Token{TokenKind::kSymbol, std::string(pair)};
        }
        const std::size_t start = at_;
        NextCodePoint(sql_, at_);
        std::string text(sql_.substr(start, at_ - start));
        if (std::string_view("(),.;=<>+-*/%?").find(text) == std::string_view::npos) FailSyntax(text);
        return {TokenKind::kSymbol, std::move(text)};
    }

    std::string_view sql_;
    std::size_t at_ = 0;
};

}  // namespace

std::vector<Token> Tokenize(std::string_view sql) {
    return Lexer(sql).Run();
}

void FailSyntax(const std::string& near) {
    Fail("42000", 102, "Incorrect syntax near '" + near + "'.");
}

}  // namespace standin
