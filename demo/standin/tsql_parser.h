#pragma once

#include <initializer_list>
#include <string_view>

#include "tsql_ast.h"
#include "tsql_lexer.h"

namespace standin {

/// Reads a whole batch. @throws SqlError 102 for everything outside the supported subset.
Batch ParseBatch(std::string_view sql);

/// Splits a name as it stands in DB_ID or OBJECT_ID, e.g. "Db.dbo.[T]".
Name ParseName(std::string_view text);

/// Recursive descent: one method per rule. Queries and changes are in tsql_parser.cpp, expressions in
/// tsql_parser_expr.cpp, the statements that define or switch things in tsql_parser_ddl.cpp.
class Parser {
public:
    explicit Parser(std::string_view sql) : tokens_(Tokenize(sql)) {}

    Batch ParseAll();
    Name ParseWholeName();

private:
    // Tokens
    const Token& Peek(std::size_t ahead = 0) const;
    Token Take() { return tokens_[at_ + 1 < tokens_.size() ? at_++ : at_]; }
    bool IsKeyword(std::string_view word, std::size_t ahead = 0) const;
    bool IsSymbol(std::string_view symbol, std::size_t ahead = 0) const;
    bool Accept(std::string_view word);                             // one keyword or symbol
    bool AcceptAll(std::initializer_list<std::string_view> words);  // all of them or none
    void Expect(std::string_view word);
    [[noreturn]] void FailHere() const;
    bool IsIdentifier() const;
    std::string Identifier();
    Name DottedName(std::size_t maxParts);
    std::vector<std::string> NameList();  // (a, b ASC, c)
    std::int64_t Integer();

    // Statements
    Statement ParseStatement();
    SelectStatement ParseSelect();
    SelectItem ParseSelectItem();
    TableRef ParseTable();
    void ParseValuesTable(TableRef& table);
    void ParseAlias(std::string& alias);
    void ParseHints();
    bool ParseJoin(TableRef& table);
    std::vector<std::vector<ExprPtr>> ParseRows();
    Statement ParseInsert();
    Statement ParseUpdate();
    Statement ParseDelete();
    ExprPtr ParseWhere();
    Statement ParseIf();

    // Definitions and settings
    Statement ParseCreate();
    Statement ParseCreateTable();
    void ParseColumn(CreateTableStatement& table);
    bool ParseColumnOption(CreateTableStatement& table, ColumnDefinition& column);
    void ParseTableConstraint(CreateTableStatement& table);
    bool AcceptKeyKind(bool& primary);
    Statement ParseCreateIndex(bool unique);
    Statement ParseDrop();
    Statement ParseAlter();
    Statement ParseSet();
    Statement ParseTransaction();
    Statement ParseWait();
    void ParseCollationName();

    // Expressions: conditions and values share one ladder and are told apart where one of them is needed
    ExprPtr Value();
    ExprPtr Condition();
    ExprPtr ParseOr();
    ExprPtr ParseAnd();
    ExprPtr ParseNot();
    ExprPtr ParsePredicate();
    ExprPtr ParseSum();
    ExprPtr ParseProduct();
    ExprPtr ParseUnary();
    ExprPtr ParsePrimary();
    ExprPtr ParseLiteral();
    ExprPtr ParseCase();
    ExprPtr ParseCast(bool typeFirst);
    ExprPtr ParseCall();
    Type ParseType(int defaultLength);

    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    int parameters_ = 0;
};

}  // namespace standin
