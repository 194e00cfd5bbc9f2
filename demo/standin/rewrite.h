#pragma once

#include <string>

#include "expressions.h"

namespace standin {

/// Rewrites one statement that reads or changes rows as SQLite SQL. Serves one statement.
class Rewriter {
public:
    Rewriter(Session& session, TokenReader& in) : session_(session), in_(in), expressions_(session, in) {}

    /// @throws SqlError for what T-SQL or the stand-in does not know, 208, 207, 942.
    std::string Select();
    std::string Insert();
    std::string Update();
    std::string Delete();

    /// SELECT 1 or SELECT 0 for the condition of an IF.
    std::string Test();

private:
    std::string List();
    std::string Sources();
    std::string Source();
    std::string Rows();
    std::string Target();
    std::string Where();
    std::string OrderBy();
    std::string Stored(const std::string& table, const std::string& column, const std::string& value) const;

    Session& session_;
    TokenReader& in_;
    Expressions expressions_;
};

}  // namespace standin
