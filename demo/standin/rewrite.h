#pragma once

#include <string>

#include "server.h"
#include "tokens.h"

namespace standin {

struct Rewritten {
    std::string sql;
    std::string hints;  // of its tables, in upper case, joined by commas
};

/// Rewrites one SELECT, INSERT, UPDATE or DELETE, or the condition of an IF as a query for 1 or 0.
/// @throws SqlError for what T-SQL or the stand-in does not know, 207, 208, 942.
Rewritten RewriteStatement(Session& session, TokenReader& in);
std::string RewriteTest(Session& session, TokenReader& in);

/// Runs one statement that defines something or steers the session: CREATE, ALTER, DROP, USE, SET, ROLLBACK.
void RunCommand(Session& session, TokenReader& in);

}  // namespace standin
