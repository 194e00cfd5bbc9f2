#include "expressions.h"

namespace standin {
namespace {

/// Rewrites one statement that reads or changes rows.
class Rewriter {
public:
    Rewriter(Session& session, TokenReader& in) : session_(session), in_(in), expressions_(session, in) {}

    Rewritten Rewrite() {
        std::string sql = in_.Is("SELECT")   ? Select()
                          : in_.Is("INSERT") ? Insert()
                          : in_.Is("UPDATE") ? Update()
                                             : Delete();
        in_.TakeEnd();
        return {std::move(sql), std::move(hints_)};
    }

private:
    std::string Select() {
        in_.Take("SELECT");
        std::string sql = in_.TakeIf("DISTINCT") ? "SELECT DISTINCT " : "SELECT ";
        std::string limit;
        if (in_.TakeIf("TOP")) limit = " LIMIT " + in_.TakeBrackets([this] { return in_.TakeNumber(); });
        // The tables first: the types of their columns decide how the list is written.
        const std::size_t list = in_.At();
        for (int depth = 0; !in_.IsEnd() && (depth > 0 || !in_.Is("FROM")); in_.TakeAny()) {
            depth += in_.Is("(") ? 1 : in_.Is(")") ? -1 : 0;
        }
        const std::string from = in_.TakeIf("FROM") ? " FROM " + Sources() : "";
        const std::size_t rest = in_.At();
        in_.MoveTo(list);
        sql += expressions_.SelectList() + from;
        if (!from.empty()) {
            in_.Take("FROM");
            in_.MoveTo(rest);
        }
        sql += Where();
        if (in_.TakeIf("ORDER")) {
            in_.Take("BY");
            sql += " ORDER BY " + in_.TakeList([this] {
                const std::string value = expressions_.SortKey();
                if (in_.TakeIf("DESC")) return value + " DESC";
                in_.TakeIf("ASC");
                return value;
            });
        }
        return sql + limit;
    }

    std::string Sources() {
        std::string sql = Source();
        while (in_.Is("CROSS") || in_.Is("JOIN")) {
            const bool crosses = in_.TakeIf("CROSS");
            in_.Take("JOIN");
            sql += (crosses ? " CROSS JOIN " : " JOIN ") + Source();
            if (crosses) continue;
            in_.Take("ON");
            sql += " ON " + expressions_.Condition();
        }
        return sql;
    }

    std::string Source() {
        if (in_.TakeIf("(")) return Rows();
        const Name name = in_.TakeDottedName();
        const auto view = session_.View(name);
        const std::string table = view ? "" : session_.Table(name);
        const std::string alias = in_.TakeIf("AS") || in_.IsName() ? in_.TakeName() : name.back();
        if (in_.TakeIf("WITH")) TakeHints();
        expressions_.AddSource(alias, table);
        return (view ? *view : QuoteName(table)) + " AS " + QuoteName(alias);
    }

    void TakeHints() {
        in_.Take("(");
        hints_ += (hints_.empty() ? "" : ",") + in_.TakeList([this] {
            const std::string hint = UpperAscii(in_.TakeName());
            if (hint != "UPDLOCK" && hint != "HOLDLOCK") Fail(kUnknownHint, hint);
            return hint;
        });
        in_.Take(")");
    }

    /// (VALUES (..), (..)) AS name(column, ..), whose first bracket is taken already.
    std::string Rows() {
        in_.Take("VALUES");
        const std::string rows = in_.TakeList([this] { return expressions_.Values(); });
        in_.Take(")");
        in_.TakeIf("AS");
        const std::string alias = QuoteName(in_.TakeName());
        const std::string columns = in_.TakeBrackets([this] { return QuoteName(in_.TakeName()); });
        return "(WITH d" + columns + " AS (VALUES " + rows + ") SELECT * FROM d) AS " + alias;
    }

    std::string Where() { return in_.TakeIf("WHERE") ? " WHERE " + expressions_.Condition() : ""; }

    /// The stored name of the table that is changed.
    std::string Target() {
        const Name name = in_.TakeDottedName();
        std::string table = session_.Table(name);
        expressions_.AddSource(name.back(), table);
        return table;
    }

    /// The value as the column's type stores it.
    std::string Stored(const std::string& table, const std::string& column, const std::string& value) const {
        const auto type = session_.Db().ColumnType(table, column);
        if (!type) Fail(kUnknownColumn, column);
        return type->Call("ms_store", value);
    }

    std::string Insert() {
        in_.Take("INSERT");
        in_.Take("INTO");
        const std::string table = Target();
        std::string values;
        const std::string columns = in_.TakeBrackets([&] {
            const std::string column = in_.TakeName(), name = QuoteName(column);
            values += (values.empty() ? "" : ",") + Stored(table, column, name);
            return name;
        });
        const bool listed = in_.TakeIf("VALUES");
        const std::string rows = listed ? "VALUES " + in_.TakeList([this] { return expressions_.Values(); })
                                        : Rewriter(session_, in_).Select();
        return "WITH v" + columns + " AS (" + rows + ") INSERT INTO " + QuoteName(table) + columns +
               " SELECT " + values + " FROM v";
    }

    std::string Update() {
        in_.Take("UPDATE");
        const std::string table = Target();
        in_.Take("SET");
        const std::string changes = in_.TakeList([&] {
            const std::string column = in_.TakeName();
            in_.Take("=");
            return QuoteName(column) + "=" + Stored(table, column, expressions_.Value());
        });
        return "UPDATE " + QuoteName(table) + " SET " + changes + Where();
    }

    std::string Delete() {
        in_.Take("DELETE");
        in_.Take("FROM");
        const std::string table = Target();
        return "DELETE FROM " + QuoteName(table) + Where();
    }

    Session& session_;
    TokenReader& in_;
    Expressions expressions_;
    std::string hints_;
};

std::string TakeColumn(Session& session, TokenReader& in) {
    constexpr int kDefaultLength = 1;
    const std::string name = in.TakeName();
    const Type type = TakeType(in, kDefaultLength);
    std::string declared = type.Declaration() + (type.word->family == Family::kText ? " COLLATE MS" : "");
    std::string rules;
    while (!in.Is(",") && !in.Is(")")) {
        if (in.TakeIf("IDENTITY")) {
            in.TakeBrackets([&] { return in.TakeNumber(); });
            declared = "INTEGER";  // SQLite numbers such a key by itself
        } else if (in.TakeIf("PRIMARY")) {
            in.Take("KEY");
            rules += " PRIMARY KEY";
        } else if (in.TakeIf("DEFAULT")) {
            rules += " DEFAULT (" + Expressions(session, in).Value() + ")";
        } else if (!TakeCollation(in)) {
            if (in.TakeIf("NOT")) rules += " NOT NULL";
            in.Take("NULL");
        }
    }
    return QuoteName(name) + " " + declared + rules;
}

void CreateTable(Session& session, TokenReader& in) {
    const std::string table = QuoteName(session.NewTable(in.TakeDottedName()));
    session.Db().Run("CREATE TABLE " + table + in.TakeBrackets([&] { return TakeColumn(session, in); }));
}

void CreateIndex(Session& session, TokenReader& in, const std::string& create) {
    in.Take("INDEX");
    const std::string index = in.TakeName();
    in.Take("ON");
    const std::string table = session.Table(in.TakeDottedName());
    session.Db().Run(create + QuoteName(table + "\x1F" + index) + " ON " + QuoteName(table) +
                     in.TakeBrackets([&] { return QuoteName(in.TakeName()); }));
}

void AlterDatabase(Session& session, TokenReader& in) {
    const std::string name = in.TakeName();
    in.Take("SET");
    const bool offline = in.TakeIf("OFFLINE");
    if (offline || in.TakeIf("ONLINE")) {
        session.SetOffline(name, offline);
    } else {
        in.Take("SINGLE_USER");  // nobody else is on a server of a test
    }
    if (!in.TakeIf("WITH")) return;
    in.Take("ROLLBACK");
    in.Take("IMMEDIATE");
}

/// Runs CREATE, ALTER or DROP, whose word is taken already.
void Define(Session& session, TokenReader& in, const std::string& verb) {
    if (in.TakeIf("DATABASE")) {
        if (verb == "ALTER") return AlterDatabase(session, in);
        const std::string name = in.TakeName();
        if (verb == "DROP") return session.DropDatabase(name);
        TakeCollation(in);
        return session.CreateDatabase(name);
    }
    if (verb != "CREATE") in.Take("DATABASE");
    if (in.TakeIf("SCHEMA")) return static_cast<void>(in.TakeName());  // a table may name any schema
    if (in.TakeIf("TABLE")) return CreateTable(session, in);
    CreateIndex(session, in, in.TakeIf("UNIQUE") ? "CREATE UNIQUE INDEX " : "CREATE INDEX ");
}

}  // namespace

Rewritten RewriteStatement(Session& session, TokenReader& in) {
    return Rewriter(session, in).Rewrite();
}

std::string RewriteTest(Session& session, TokenReader& in) {
    return "SELECT CASE WHEN " + Expressions(session, in).Condition() + " THEN 1 ELSE 0 END";
}

void RunCommand(Session& session, TokenReader& in) {
    const std::string verb = in.Peek().key;
    if (in.TakeIf("CREATE") || in.TakeIf("ALTER") || in.TakeIf("DROP")) {
        session.EnterStatement();
        session.Db().RunAtomically([&] {
            Define(session, in, verb);
            in.TakeEnd();
        });
    } else if (in.TakeIf("USE")) {
        const std::string name = in.TakeName();
        in.TakeEnd();
        session.Use(name);
    } else if (in.TakeIf("SET")) {
        in.Take("LOCK_TIMEOUT");
        const int milliseconds = std::stoi(in.TakeNumber());
        in.TakeEnd();
        session.Db().SetLockTimeout(milliseconds);
    } else {
        in.Take("ROLLBACK");
        in.Take("TRANSACTION");
        in.TakeEnd();
        if (!session.Db().InTransaction()) Fail(kNoTransaction);
        session.End("rollback");
    }
}

}  // namespace standin
