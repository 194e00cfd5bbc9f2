#include "tsql_parser.h"

#include <charconv>

#include "error.h"
#include "text.h"

namespace standin {
namespace {

/// Words that cannot be a name without brackets. GO is a word of the client tools: taken as a name it would
/// silently become an alias of whatever stands before it.
constexpr std::string_view kReserved[] = {
    "ADD",      "ALL",     "ALTER",      "AND",     "AS",       "ASC",         "BEGIN",    "BETWEEN",
    "BY",       "CASE",    "COLLATE",    "COLUMN",  "COMMIT",   "CONSTRAINT",  "CREATE",   "CROSS",
    "DATABASE", "DECLARE", "DEFAULT",    "DELETE",  "DESC",     "DISTINCT",    "DROP",     "ELSE",
    "END",      "ESCAPE",  "EXEC",       "EXECUTE", "EXISTS",   "FOR",         "FROM",     "FULL",
    "GO",       "GRANT",   "GROUP",      "HAVING",  "IDENTITY", "IF",          "IN",       "INDEX",
    "INNER",    "INSERT",  "INTO",       "IS",      "JOIN",     "KEY",         "LIKE",     "MERGE",
    "NOT",      "NULL",    "ON",         "OPTION",  "OR",       "ORDER",       "OUTER",    "OVER",
    "PRIMARY",  "PRINT",   "REFERENCES", "RETURN",  "ROLLBACK", "SAVE",        "SCHEMA",   "SELECT",
    "SET",      "TABLE",   "THEN",       "TOP",     "TRAN",     "TRANSACTION", "TRUNCATE", "UNION",
    "UNIQUE",   "UPDATE",  "USE",        "VALUES",  "WAITFOR",  "WHEN",        "WHERE",    "WHILE",
    "WITH"};

/// Hints that change how rows are locked or read. Rows are not locked one by one here: a transaction holds
/// the whole server from its first statement on, which is what every one of these hints asks for at most.
constexpr std::string_view kHints[] = {"UPDLOCK", "HOLDLOCK",      "SERIALIZABLE",  "XLOCK",
                                       "ROWLOCK", "PAGLOCK",       "TABLOCK",       "TABLOCKX",
                                       "NOLOCK",  "READCOMMITTED", "REPEATABLEREAD"};

template <class Words>
bool Contains(const Words& words, std::string_view word) {
    for (const std::string_view candidate : words) {
        if (CompareText(candidate, word) == 0) return true;
    }
    return false;
}

}  // namespace

Batch ParseBatch(std::string_view sql) {
    return Parser(sql).ParseAll();
}
Name ParseName(std::string_view text) {
    return Parser(text).ParseWholeName();
}

// ---- tokens ------------------------------------------------------------------------------------

const Token& Parser::Peek(std::size_t ahead) const {
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

bool Parser::IsKeyword(std::string_view word, std::size_t ahead) const {
    return Peek(ahead).kind == TokenKind::kWord && CompareText(Peek(ahead).text, word) == 0;
}

bool Parser::IsSymbol(std::string_view symbol, std::size_t ahead) const {
    return Peek(ahead).kind == TokenKind::kSymbol && Peek(ahead).text == symbol;
}

bool Parser::Accept(std::string_view word) {
    if (!IsKeyword(word) && !IsSymbol(word)) return false;
    Take();
    return true;
}

bool Parser::AcceptAll(std::initializer_list<std::string_view> words) {
    std::size_t ahead = 0;
    for (const std::string_view word : words) {
        if (!IsKeyword(word, ahead) && !IsSymbol(word, ahead)) return false;
        ++ahead;
    }
    at_ += ahead;
    return true;
}

void Parser::Expect(std::string_view word) {
    if (!Accept(word)) FailHere();
}

void Parser::FailHere() const {
    const bool atEnd = Peek().kind == TokenKind::kEnd;
    FailSyntax(!atEnd ? Peek().text : at_ > 0 ? tokens_[at_ - 1].text : "");
}

bool Parser::IsIdentifier() const {
    if (Peek().kind == TokenKind::kQuotedName) return true;
    return Peek().kind == TokenKind::kWord && !Contains(kReserved, Peek().text);
}

std::string Parser::Identifier() {
    if (!IsIdentifier()) FailHere();
    if (TextLength(Peek().text, true) > 128) {
        Fail("42000", 103,
             "The identifier that starts with '" + Peek().text + "' is too long. Maximum length is 128.");
    }
    return Take().text;
}

Name Parser::DottedName(std::size_t maxParts) {
    Name name{Identifier()};
    while (Accept(".")) {
        const bool leftOut = IsSymbol(".") && name.size() + 1 < maxParts;
        name.push_back(leftOut ? std::string() : Identifier());
        if (name.size() > maxParts) FailSyntax(name.back());
    }
    return name;
}

std::vector<std::string> Parser::NameList() {
    std::vector<std::string> names;
    Expect("(");
    do {
        names.push_back(Identifier());
        if (!Accept("ASC")) Accept("DESC");
    } while (Accept(","));
    Expect(")");
    return names;
}

std::int64_t Parser::Integer() {
    const bool negative = Accept("-");
    std::int64_t value = 0;
    const std::string& text = Peek().text;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (Peek().kind != TokenKind::kNumber || result.ec != std::errc() ||
        result.ptr != text.data() + text.size()) {
        FailHere();
    }
    Take();
    return negative ? -value : value;
}

// ---- statements --------------------------------------------------------------------------------

Batch Parser::ParseAll() {
    Batch batch;
    while (Accept(";")) {
    }
    while (Peek().kind != TokenKind::kEnd) {
        batch.statements.push_back(ParseStatement());
        while (Accept(";")) {
        }
    }
    batch.parameters = parameters_;
    return batch;
}

Name Parser::ParseWholeName() {
    Name name = DottedName(3);
    if (Peek().kind != TokenKind::kEnd) FailHere();
    return name;
}

Statement Parser::ParseStatement() {
    if (IsKeyword("SELECT")) return ParseSelect();
    if (Accept("INSERT")) return ParseInsert();
    if (Accept("UPDATE")) return ParseUpdate();
    if (Accept("DELETE")) return ParseDelete();
    if (Accept("CREATE")) return ParseCreate();
    if (Accept("DROP")) return ParseDrop();
    if (Accept("ALTER")) return ParseAlter();
    if (Accept("SET")) return ParseSet();
    if (Accept("USE")) return Command{CommandKind::kUse, {Identifier()}};
    if (Accept("IF")) return ParseIf();
    if (Accept("WAITFOR")) return ParseWait();
    return ParseTransaction();
}

Statement Parser::ParseIf() {
    auto statement = std::make_unique<IfStatement>();
    statement->condition = Condition();
    statement->body = ParseStatement();
    return statement;
}

SelectStatement Parser::ParseSelect() {
    SelectStatement select;
    Expect("SELECT");
    select.distinct = Accept("DISTINCT");
    if (!select.distinct) Accept("ALL");
    if (Accept("TOP")) {
        const bool bracketed = Accept("(");
        select.top = Integer();
        if (bracketed) Expect(")");
        if (*select.top < 0) FailSyntax("-");
    }
    do {
        select.items.push_back(ParseSelectItem());
    } while (Accept(","));
    if (Accept("FROM")) {
        select.from.push_back(ParseTable());
        TableRef joined;
        while (ParseJoin(joined)) select.from.push_back(std::exchange(joined, {}));
    }
    select.where = ParseWhere();
    if (Accept("ORDER")) {
        Expect("BY");
        do {
            OrderItem item{Value(), Accept("DESC")};
            if (!item.descending) Accept("ASC");
            select.orderBy.push_back(std::move(item));
        } while (Accept(","));
    }
    return select;
}

SelectItem Parser::ParseSelectItem() {
    SelectItem item;
    if (Accept("*")) return item;
    if (IsIdentifier() && IsSymbol(".", 1) && IsSymbol("*", 2)) {
        item.starOf = Identifier();
        at_ += 2;
        return item;
    }
    item.expr = Value();
    ParseAlias(item.alias);
    return item;
}

void Parser::ParseAlias(std::string& alias) {
    static constexpr std::string_view kJoinWords[] = {"LEFT", "RIGHT"};  // they are function names as well
    if (Accept("AS") ||
        (IsIdentifier() && !(Peek().kind == TokenKind::kWord && Contains(kJoinWords, Peek().text)))) {
        alias = Identifier();
    }
}

TableRef Parser::ParseTable() {
    TableRef table;
    if (IsSymbol("(")) {
        ParseValuesTable(table);
        return table;
    }
    table.name = DottedName(3);
    ParseAlias(table.alias);
    ParseHints();
    return table;
}

void Parser::ParseValuesTable(TableRef& table) {
    Expect("(");
    Expect("VALUES");
    table.rows = ParseRows();
    Expect(")");
    Accept("AS");
    table.alias = Identifier();
    table.rowColumns = NameList();
}

void Parser::ParseHints() {
    if (!Accept("WITH")) return;
    Expect("(");
    do {
        if (!Contains(kHints, Peek().text)) FailHere();
        Take();
    } while (Accept(","));
    Expect(")");
}

bool Parser::ParseJoin(TableRef& table) {
    if (AcceptAll({"CROSS", "JOIN"})) {
        table = ParseTable();
        table.join = "CROSS JOIN";
        return true;
    }
    const bool left = AcceptAll({"LEFT", "JOIN"}) || AcceptAll({"LEFT", "OUTER", "JOIN"});
    if (!left && !Accept("JOIN") && !AcceptAll({"INNER", "JOIN"})) return false;
    table = ParseTable();
    table.join = left ? "LEFT JOIN" : "JOIN";
    Expect("ON");
    table.on = Condition();
    return true;
}

std::vector<std::vector<ExprPtr>> Parser::ParseRows() {
    std::vector<std::vector<ExprPtr>> rows;
    do {
        Expect("(");
        auto& row = rows.emplace_back();
        do {
            row.push_back(Value());
        } while (Accept(","));
        Expect(")");
        if (row.size() != rows.front().size()) {
            Fail("42000", 10709,
                 "The number of columns for each row in a table value constructor must be the same.");
        }
    } while (Accept(","));
    return rows;
}

Statement Parser::ParseInsert() {
    InsertStatement insert;
    Accept("INTO");
    insert.table = DottedName(3);
    if (IsSymbol("(")) insert.columns = NameList();
    if (Accept("VALUES")) {
        insert.rows = ParseRows();
    } else {
        insert.select = ParseSelect();
    }
    return insert;
}

Statement Parser::ParseUpdate() {
    UpdateStatement update;
    update.table = DottedName(3);
    ParseHints();
    Expect("SET");
    do {
        std::string column = Identifier();
        Expect("=");
        update.sets.emplace_back(std::move(column), Value());
    } while (Accept(","));
    update.where = ParseWhere();
    return update;
}

Statement Parser::ParseDelete() {
    DeleteStatement statement;
    Accept("FROM");
    statement.table = DottedName(3);
    ParseHints();
    statement.where = ParseWhere();
    return statement;
}

ExprPtr Parser::ParseWhere() {
    return Accept("WHERE") ? Condition() : nullptr;
}

}  // namespace standin
