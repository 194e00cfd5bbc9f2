#include "tokens.h"

#include <algorithm>
#include <iterator>

#include "errors.h"
#include "text.h"

namespace standin {
namespace {

/// T-SQL's reserved words as far as they can stand where a name could.
constexpr std::string_view kReserved[] = {
    "ADD",      "ALL",       "ALTER",    "AND",      "ANY",      "AS",       "ASC",    "BEGIN",  "BETWEEN",
    "BY",       "CASE",      "CHECK",    "COLLATE",  "COMMIT",   "CONVERT",  "CREATE", "CROSS",  "CURSOR",
    "DATABASE", "DECLARE",   "DEFAULT",  "DELETE",   "DESC",     "DISTINCT", "DROP",   "ELSE",   "END",
    "ESCAPE",   "EXCEPT",    "EXEC",     "EXECUTE",  "EXISTS",   "FETCH",    "FOR",    "FROM",   "FULL",
    "GO",       "GRANT",     "GROUP",    "HAVING",   "IDENTITY", "IF",       "IN",     "INDEX",  "INNER",
    "INSERT",   "INTERSECT", "INTO",     "IS",       "JOIN",     "KEY",      "LEFT",   "LIKE",   "MERGE",
    "NOT",      "NULL",      "OF",       "ON",       "OPTION",   "OR",       "ORDER",  "OUTER",  "OVER",
    "PRIMARY",  "RETURN",    "RIGHT",    "ROLLBACK", "SCHEMA",   "SELECT",   "SET",    "TABLE",  "THEN",
    "TO",       "TOP",       "TRUNCATE", "UNION",    "UNIQUE",   "UPDATE",   "USE",    "VALUES", "VIEW",
    "WHEN",     "WHERE",     "WHILE",    "WITH"};

constexpr std::string_view kHints[] = {"HOLDLOCK", "UPDLOCK"};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// A letter of an unquoted name, every character beyond ASCII included.
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '#' || c == '@' ||
           static_cast<unsigned char>(c) >= 0x80;
}

class Lexer {
public:
    explicit Lexer(std::string_view sql) : sql_(sql) {}

    /// The next token; kEnd at the end of the text.
    Token Next() {
        SkipBlanks();
        const char c = At(0);
        if (at_ >= sql_.size()) return {};
        if ((c == 'N' || c == 'n') && At(1) == '\'') ++at_;
        if (At(0) == '\'') return {TokenKind::kText, TakeQuoted('\''), {}};
        if (c == '[') return {TokenKind::kName, TakeQuoted(']'), {}};
        if (c == '"') return {TokenKind::kName, TakeQuoted('"'), {}};
        if (IsDigit(c)) return TakeNumber();
        if (IsLetter(c)) {
            std::string word = TakeWhile([](char x) { return IsLetter(x) || IsDigit(x) || x == '$'; });
            std::string key = UpperAscii(word);
            return {TokenKind::kWord, std::move(word), std::move(key)};
        }
        const std::string_view two = sql_.substr(at_, 2);
        const bool isPair = two == "<>" || two == "<=" || two == ">=" || two == "!=";
        const std::string symbol(two.substr(0, isPair ? 2 : 1));
        if (std::string_view("()<>=!+-*,.;?").find(c) == std::string_view::npos) Fail(Err::kSyntax, symbol);
        at_ += symbol.size();
        return {TokenKind::kSymbol, symbol, symbol};
    }

private:
    char At(std::size_t ahead) const { return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : '\0'; }

    template <class Test>
    std::string TakeWhile(Test test) {
        const std::size_t start = at_;
        while (at_ < sql_.size() && test(sql_[at_])) ++at_;
        return std::string(sql_.substr(start, at_ - start));
    }

    void SkipBlanks() {
        for (;;) {
            TakeWhile([](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
            const std::string_view rest = sql_.substr(at_);
            const bool isLine = rest.starts_with("--");
            if (!isLine && !rest.starts_with("/*")) return;
            const std::size_t end = rest.find(isLine ? "\n" : "*/", 2);
            if (end == std::string_view::npos && !isLine) Fail(Err::kSyntax, rest);
            at_ = end == std::string_view::npos ? sql_.size() : at_ + end + (isLine ? 1 : 2);
        }
    }

    /// From the opening sign to the closing one, which is doubled where it is meant.
    std::string TakeQuoted(char close) {
        std::string text;
        for (++at_; at_ < sql_.size(); ++at_) {
            if (sql_[at_] == close && At(1) != close) {
                ++at_;
                return text;
            }
            if (sql_[at_] == close) ++at_;
            text += sql_[at_];
        }
        Fail(Err::kOpenText, text);
    }

    Token TakeNumber() {
        Token token{TokenKind::kNumber, TakeWhile(IsDigit), {}};
        constexpr std::size_t kDigitsOfBigInt = 18;
        if (IsLetter(At(0)) || At(0) == '.' || token.text.size() > kDigitsOfBigInt)
            Fail(Err::kSyntax, token.text);
        return token;
    }

    std::string_view sql_;
    std::size_t at_ = 0;
};

}  // namespace

std::vector<Tokens> SplitStatements(std::string_view sql) {
    std::vector<Tokens> statements(1);
    Lexer lexer(sql);
    int parameters = 0;
    for (Token token = lexer.Next(); token.kind != TokenKind::kEnd; token = lexer.Next()) {
        if (token.key == "?") token.text = std::to_string(++parameters);
        if (token.key != ";") {
            statements.back().push_back(std::move(token));
        } else if (!statements.back().empty()) {
            statements.emplace_back();
        }
    }
    if (statements.back().empty()) statements.pop_back();
    for (Tokens& tokens : statements) tokens.emplace_back();
    return statements;
}

std::string HintsOf(const Tokens& tokens) {
    std::string hints;
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
        if (tokens[i].key != "WITH" || tokens[i + 1].key != "(") continue;
        for (i += 2; tokens[i].kind == TokenKind::kWord || tokens[i].key == ","; ++i) {
            const Token& token = tokens[i];
            if (token.kind != TokenKind::kWord) continue;
            if (std::ranges::count(kHints, token.key) == 0) Fail(Err::kUnknownHint, token.text);
            hints += (hints.empty() ? "" : ",") + token.key;
        }
    }
    return hints;
}

const Token& TokenReader::Peek(std::size_t ahead) const {
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

const Token& TokenReader::Take() {
    const Token& token = Peek();
    if (token.kind != TokenKind::kEnd) ++at_;
    return token;
}

bool TokenReader::TakeIf(std::string_view key) {
    const bool is = Is(key);
    if (is) Take();
    return is;
}

void TokenReader::Expect(std::string_view key) {
    if (!TakeIf(key)) FailHere();
}

bool TokenReader::IsName() const {
    const Token& token = Peek();
    return token.kind == TokenKind::kName || (token.kind == TokenKind::kWord && token.key[0] != '@' &&
                                              std::ranges::count(kReserved, token.key) == 0);
}

std::string TokenReader::TakeName() {
    if (!IsName()) FailHere();
    return Take().text;
}

std::vector<std::string> TokenReader::TakeDottedName() {
    std::vector<std::string> parts{TakeName()};
    while (parts.size() < 3 && TakeIf(".")) parts.push_back(TakeName());
    return parts;
}

std::string TokenReader::TakeNumber() {
    if (Peek().kind != TokenKind::kNumber) FailHere();
    return Take().text;
}

void TokenReader::FailHere() const {
    Fail(Err::kSyntax, Peek().text);
}

void TokenReader::ExpectEnd() const {
    if (Peek().kind != TokenKind::kEnd) FailHere();
}

}  // namespace standin
