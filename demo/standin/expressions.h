#pragma once

#include <string>
#include <vector>

#include "server.h"
#include "tokens.h"

namespace standin {

/// Rewrites the expressions of one statement for SQLite: texts and parameters under the collation MS, CAST,
/// CONVERT and the operators + - * as functions, names in quotation marks. Only what is known here passes, so
/// that SQLite's own words are names at most.
class Expressions {
public:
    Expressions(Session& session, TokenReader& in) : session_(session), in_(in) {}

    /// A table whose columns can be named; `table` is its stored name, empty for anything but a table.
    void AddSource(std::string name, std::string table);

    std::string Value();
    std::string Condition();
    std::string Values();  // in brackets

    /// The values of a select list, with their names. @throws SqlError 8120 where it mixes columns and
    /// aggregates.
    std::string SelectList();

private:
    struct Source {
        std::string name, table;
    };
    struct Column {
        std::size_t start = 0, end = 0;  // its tokens
        std::string source, name;
    };

    std::string Product();
    std::string Factor();
    std::string Operand();
    std::string Case();
    std::string Cast(bool isConvert);
    std::string Call();
    std::string ColumnName();
    bool FitsColumn(const Type& to) const;

    Session& session_;
    TokenReader& in_;
    std::vector<Source> sources_;
    Column lastColumn_;
    bool inAggregate_ = false;
    bool sawAggregate_ = false;
    std::string bareColumn_;  // a column outside every aggregate
};

/// Reads a type: nvarchar(50), int, decimal(38,0). @param defaultLength  of a text type without a length.
Type TakeType(TokenReader& in, int defaultLength);

/// Reads COLLATE and its name, if it follows. @throws SqlError 448 for any but Chinese_PRC_CI_AS and
/// DATABASE_DEFAULT.
bool TakeCollation(TokenReader& in);

}  // namespace standin
