#include "tokens.h"

#include "errors.h"
#include "text.h"

namespace standin {
namespace {

/// T-SQL's reserved words, as far as one could be taken for a name by mistake.
constexpr std::string_view kReserved =
    " ALTER AND AS ASC BETWEEN BY CASE COLLATE COMMIT CONVERT CREATE CROSS DELETE DESC DROP ELSE END "
    "ESCAPE EXEC EXISTS FOR FROM FULL GROUP HAVING IDENTITY IF IN INNER INSERT INTO IS JOIN KEY LEFT LIKE "
    "NOT NULL ON OPTION OR ORDER OUTER OVER PRIMARY RIGHT SELECT SET TABLE THEN TOP UNION UPDATE VALUES "
    "WHEN WHERE WITH ";

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
        if (c == '[' || c == '"') return {TokenKind::kName, TakeQuoted(c == '[' ? ']' : c), {}};
        if (IsDigit(c)) return {TokenKind::kNumber, TakeNumber(), {}};
        if (IsLetter(c)) {
            std::string word = TakeWhile([](char x) { return IsLetter(x) || IsDigit(x) || x == '$'; });
            std::string key = UpperAscii(word);
            return {TokenKind::kWord, std::move(word), std::move(key)};
        }
        const std::string_view two = sql_.substr(at_, 2);
        const bool isPair = two == "<>" || two == "<=" || two == ">=" || two == "!=";
        const std::string symbol(two.substr(0, isPair ? 2 : 1));
        if (std::string_view("()<>=!+-*,.;?").find(c) == std::string_view::npos) Fail(kSyntax, symbol);
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
            if (end == std::string_view::npos && !isLine) Fail(kSyntax, rest);
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
        Fail(kOpenText, text);
    }

    std::string TakeNumber() {
        std::string number = TakeWhile(IsDigit);
        constexpr std::size_t kDigitsOfBigInt = 18;
        if (IsLetter(At(0)) || At(0) == '.' || number.size() > kDigitsOfBigInt) Fail(kSyntax, number);
        return number;
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

std::string TokenReader::TakeWhere(bool good) {
    if (!good) Fail(kSyntax, Peek().text);
    return tokens_[at_++].text;
}

bool TokenReader::TakeIf(std::string_view key) {
    const bool is = Is(key);
    if (is) ++at_;
    return is;
}

void TokenReader::TakeEnd() {
    if (!IsEnd()) TakeWhere(false);
}

bool TokenReader::IsName() const {
    const Token& token = Peek();
    if (token.kind != TokenKind::kWord) return token.kind == TokenKind::kName;
    return !token.key.starts_with('@') && kReserved.find(" " + token.key + " ") == kReserved.npos;
}

Name TokenReader::TakeDottedName() {
    Name parts{TakeName()};
    while (parts.size() < 3 && TakeIf(".")) parts.push_back(TakeName());
    return parts;
}

}  // namespace standin
