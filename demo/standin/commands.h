#pragma once

#include "session.h"
#include "tokens.h"

namespace standin {

/// Runs one statement that defines something or steers the session: CREATE, ALTER and DROP DATABASE, CREATE
/// SCHEMA, TABLE and INDEX, USE, SET LOCK_TIMEOUT, ROLLBACK TRANSACTION.
/// @throws SqlError 102 for any other statement, and what SQL Server says of these.
void RunCommand(Session& session, TokenReader& in);

}  // namespace standin
