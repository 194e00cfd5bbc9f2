#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "server.h"
#include "text.h"
#include "tokens.h"

namespace standin {

/// Between two operands of a condition.
constexpr std::string_view kConnectors[] = {"=",  "<>",  "!=", "<",    "<=",    ">",
                                            ">=", "AND", "OR", "LIKE", "ESCAPE"};

/// T-SQL's functions of one argument, and SQLite's.
constexpr std::pair<std::string_view, const char*> kFunctions[] = {
    {"COUNT", "count"}, {"COUNT_BIG", "count"}, {"MAX", "max"}, {"LTRIM", "ltrim"}, {"RTRIM", "rtrim"}};

constexpr int kCastLength = 30;  // of a CAST to text without a length

/// Reads a type: nvarchar(50), int, decimal(38,0). @param defaultLength  of a text type without a length.
inline Type TakeType(TokenReader& in, int defaultLength) {
    Type type = FindType(in.TakeName(), defaultLength);
    if (!type.word->hasLength || !in.TakeIf("(")) return type;
    type.length = std::stoi(in.TakeNumber());
    if (type.word->family == Family::kDecimal) {
        in.Take(",");
        if (in.TakeNumber() != "0") Fail(kUnknownType, "decimal with places behind the point");
    }
    in.Take(")");
    return type;
}

/// Reads COLLATE and the collation or DATABASE_DEFAULT, if it follows. @throws SqlError 448 for any other.
inline bool TakeCollation(TokenReader& in) {
    if (!in.TakeIf("COLLATE")) return false;
    const std::string name = in.TakeName(), key = UpperAscii(name);
    if (key != "CHINESE_PRC_CI_AS" && key != "DATABASE_DEFAULT") Fail(kUnknownCollation, name);
    return true;
}

/// Rewrites the expressions of one statement for SQLite: texts and parameters under the collation MS, CAST,
/// CONVERT and the operators + - * as functions, names in quotation marks. Only what is known here passes, so
/// that SQLite's own words are names at most.
class Expressions {
public:
    Expressions(Session& session, TokenReader& in) : session_(session), in_(in) {}

    /// A table whose columns can be named; `table` is its stored name, empty for anything but a table.
    void AddSource(std::string name, std::string table) {
        sources_.push_back({std::move(name), std::move(table)});
    }

    std::string SelectList() {
        return in_.TakeList([this] {
            std::string value = Value();
            if (in_.TakeIf("AS") || in_.IsName()) value += " AS " + QuoteName(in_.TakeName());
            return value;
        });
    }

    std::string Condition() {
        std::string sql;
        for (;;) {
            while (in_.TakeIf("NOT")) sql += "NOT ";
            sql += Value();
            if (in_.TakeIf("IS")) {
                sql += in_.TakeIf("NOT") ? " IS NOT NULL" : " IS NULL";
                in_.Take("NULL");
            }
            if ((in_.Is("IN", 1) || in_.Is("LIKE", 1)) && in_.TakeIf("NOT")) sql += " NOT";
            if (in_.TakeIf("IN")) sql += " IN " + Values();
            if (std::ranges::count(kConnectors, in_.Peek().key) == 0) return sql;
            sql += " " + in_.Peek().key + " ";
            in_.TakeAny();
        }
    }

    std::string Values() {
        return in_.TakeBrackets([this] { return Value(); });
    }

    std::string Value() {
        std::string sql = Product();
        while (in_.TakeIf("+")) sql = "ms_calc('+'," + sql + "," + Product() + ")";
        return sql;
    }

    /// A value to sort by. @throws SqlError 306 for a column of the types text and ntext.
    std::string SortKey() {
        const std::string value = Value();
        if (value == lastColumn_ && lastType_ && lastType_->IsLongText()) Fail(kSortedText);
        return value;
    }

private:
    struct Source {
        std::string name, table;
    };

    std::string Product() {
        std::string sql = Factor();
        while (in_.TakeIf("*")) sql = "ms_calc('*'," + sql + "," + Factor() + ")";
        return sql;
    }

    std::string Factor() {
        if (in_.TakeIf("-")) return "-" + in_.TakeNumber();
        std::string sql = Operand();
        while (TakeCollation(in_)) sql += " COLLATE MS";
        return sql;
    }

    std::string Operand() {
        const Token& token = in_.Peek();
        if (token.kind == TokenKind::kText) return "(" + QuoteText(in_.TakeAny()) + " COLLATE MS)";
        if (token.kind == TokenKind::kNumber) return in_.TakeAny();
        if (in_.TakeIf("?")) return "(?" + token.text + " COLLATE MS)";
        if (in_.TakeIf("NULL")) return "NULL";
        if (in_.TakeIf("@@TRANCOUNT")) return session_.Db().InTransaction() ? "1" : "0";
        if (in_.TakeIf("CASE")) return Case();
        if (in_.Is("CONVERT") || (in_.Is("CAST") && in_.Is("(", 1))) return Cast(in_.TakeAny().size() > 4);
        if (in_.Is("(")) return in_.TakeBrackets([this] { return Condition(); });
        return in_.Is("(", 1) ? Call() : ColumnName();
    }

    std::string Case() {
        std::string sql = "CASE";
        while (in_.TakeIf("WHEN")) {
            sql += " WHEN " + Condition();
            in_.Take("THEN");
            sql += " THEN " + Value();
        }
        if (in_.TakeIf("ELSE")) sql += " ELSE " + Value();
        in_.Take("END");
        return sql + " END";
    }

    /// CAST(value AS type) or CONVERT(type, value), whose word is taken already.
    std::string Cast(bool isConvert) {
        Type to{};
        in_.Take("(");
        if (isConvert) {
            to = TakeType(in_, kCastLength);
            in_.Take(",");
        }
        const std::string value = Value();
        if (!isConvert) {
            in_.Take("AS");
            to = TakeType(in_, kCastLength);
        }
        in_.Take(")");
        // A column that is its own CAST keeps its index when it is left alone.
        if (value == lastColumn_ && lastType_ && FitsUncut(*lastType_, to)) return value;
        const std::string call = to.Call("ms_cast", value);
        return to.word->family == Family::kText ? "(" + call + " COLLATE MS)" : call;
    }

    std::string Call() {
        const std::string name = in_.TakeName(), key = UpperAscii(name);
        in_.Take("(");
        if (key == "DB_NAME" && in_.TakeIf(")")) return "(" + QuoteText(session_.Current()) + " COLLATE MS)";
        const std::string argument = key.starts_with("COUNT") && in_.TakeIf("*") ? "*" : Value();
        in_.Take(")");
        if (key == "DB_ID") return "(SELECT id FROM \"~databases\" WHERE name = " + argument + ")";
        for (const auto& [function, sqlite] : kFunctions) {
            if (key == function) return "(" + std::string(sqlite) + "(" + argument + ") COLLATE MS)";
        }
        Fail(kUnknownFunction, name);
    }

    std::string ColumnName() {
        std::string name = in_.TakeName(), owner;
        if (in_.TakeIf(".")) owner = std::exchange(name, in_.TakeName());
        lastType_.reset();
        for (const Source& source : sources_) {
            if (!lastType_ && (owner.empty() || UpperAscii(owner) == UpperAscii(source.name)))
                lastType_ = session_.Db().ColumnType(source.table, name);
        }
        return lastColumn_ = (owner.empty() ? "" : QuoteName(owner) + ".") + QuoteName(name);
    }

    Session& session_;
    TokenReader& in_;
    std::vector<Source> sources_;
    std::string lastColumn_;        // as it was rewritten
    std::optional<Type> lastType_;  // its type
};

}  // namespace standin
