#pragma once

#include <string>
#include <vector>

#include "session.h"
#include "tokens.h"

namespace standin {

/// Rewrites the expressions of one statement for SQLite: texts and parameters under the collation MS, CAST
/// and CONVERT and the operators + - * as functions, names in quotation marks. Only what is known here
/// passes; SQLite's own words are names at most.
class Expressions {
public:
    Expressions(Session& session, TokenReader& in) : session_(session), in_(in) {}

    /// A table whose columns can be named; `table` is its stored name, empty for anything but a table.
    void AddSource(std::string name, std::string table);

    std::string Value();
    std::string Condition();

    /// Values parted by commas, up to the closing bracket, which is taken too.
    std::string ValuesUpToBracket();

    /// Starts a select list, and ends it. @throws SqlError 8120 where it mixes columns and aggregates.
    void BeginList();
    void EndList() const;

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
    std::string Cast(const std::string& value, std::size_t valueStart, std::size_t valueEnd,
                     const Type& to) const;
    std::string CastCall();
    std::string ConvertCall();
    std::string Call();
    std::string ColumnName();

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

/// Reads the name of a collation. @throws SqlError 448 for any but Chinese_PRC_CI_AS and DATABASE_DEFAULT.
void TakeCollation(TokenReader& in);

}  // namespace standin
