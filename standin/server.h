#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sqlite.h"
#include "tokens.h"

namespace standin {

/// What a connection string says; a value that is missing is empty.
struct Login {
    std::string driver, server, database, user, password;
    bool hasUnknownKeyword = false;
};

/// Reads a connection string by ODBC's brace rules; the first of several equal keywords counts.
/// @throws SqlError 08001 for a string that cannot be read.
Login ReadConnectionString(const std::string& text);

/// The folder of a server under SQLSTANDIN_ROOT; of a server that has none, that folder itself.
std::string FindServer(const std::string& server);

/// One login on one server: a connection to the server's file, the current database and the transaction.
///
/// What this stand-in does differently from SQL Server and its driver, as far as it is known:
/// - It knows the statements of the tool, its samples, tests and measurements; all others are errors.
/// - Semicolons part statements, an INSERT lists its columns, most mistakes that are not 207 or 208 are 102.
/// - One transaction at a time writes on a server, every statement in it locks; others read what was before.
/// - Table hints only go into the trace. A schema exists without CREATE SCHEMA.
/// - Databases can be made and dropped in a transaction, and dropped while somebody uses them.
/// - A batch has results of its queries alone; an error is told by the call that reaches its statement.
/// - The collation is ICU's; names of tables and columns fold A to Z alone; a lone surrogate becomes U+FFFD.
/// - Values of two types compare as in SQLite, text and ntext like other text; varchar takes any character.
/// - Columns beside an aggregate, and values in the place of conditions, are accepted.
/// - datetime keeps its text; DEFAULT is stored as written; numbers have 64 bits; decimals no places.
/// - A lock that is not got in time is HYT00.
/// - Nothing is encrypted, and the login tells of the database alone, not of the language.
/// - A lost connection refuses allocating and binding as well; one that is lost in manual mode counts as lost
///   inside a transaction, even before its first statement.
/// - unixODBC sorts records by state, and by itself answers HY010 to a fetch behind a failed execution.
///
/// All databases of a server lie in one SQLite file: SQLite admits few attached files, and none inside a
/// transaction. A table is stored under the names of its database, its schema and itself, joined with U+001F,
/// declared with T-SQL's own type words.
class Session {
public:
    /// @throws SqlError 18456 for a wrong login, 4060 for a database that is missing or offline.
    Session(const std::string& directory, const Login& login);

    Sqlite& Db() { return db_; }

    /// Without manual mode every statement commits; switching it off commits what is open.
    bool IsManual() const { return manual_; }
    void SetManual(bool manual);

    /// In manual mode the first statement begins the transaction, with the write lock that holds to its end.
    void EnterStatement();

    /// Ends the transaction, if there is one. @param how  "commit" or "rollback"
    void End(const char* how);

    /// The database that names without a database part belong to.
    const std::string& Current() const { return current_; }

    /// @throws SqlError 911 for a missing database, 942 for an offline one.
    void Use(const std::string& name);

    /// The stored name of a table. @throws SqlError 208, 942.
    std::string Table(const Name& name);

    /// The stored name for a new table. @throws SqlError 208, 942, 2714.
    std::string NewTable(const Name& name);

    /// What stands for sys.databases or INFORMATION_SCHEMA.COLUMNS behind FROM; nothing for any other name.
    std::optional<std::string> View(const Name& name);

    void CreateDatabase(const std::string& name);
    void DropDatabase(const std::string& name);
    void SetOffline(const std::string& name, bool offline);

private:
    struct Database {
        std::string id, name;
        bool offline = false;
    };
    std::optional<Database> Find(const std::string& name);
    Database Open(const Name& name);
    std::string Stored(const Name& name);

    Sqlite db_;
    SqliteStmt find_;
    std::string current_ = "master";
    bool manual_ = false;
};

struct Rewritten {
    std::string sql;
    std::string hints;  // of its tables, in upper case: "UPDLOCK,HOLDLOCK"
};

/// Rewrites one SELECT, INSERT, UPDATE or DELETE, or the condition of an IF as a query for 1 or 0.
/// @throws SqlError for what T-SQL or the stand-in does not know, 207, 208, 942.
Rewritten RewriteStatement(Session& session, TokenReader& in);
std::string RewriteTest(Session& session, TokenReader& in);

/// Runs one statement that defines something or steers the session: CREATE, ALTER, DROP, USE, SET, ROLLBACK.
void RunCommand(Session& session, TokenReader& in);

}  // namespace standin
