#include "commands.h"

#include "expressions.h"

namespace standin {
namespace {

std::string TakeColumn(Session& session, TokenReader& in) {
    constexpr int kDefaultLength = 1;
    const std::string name = in.TakeName();
    const Type type = TakeType(in, kDefaultLength);
    std::string declared = WriteType(type) + (IsText(type.kind) ? " COLLATE MS" : "");
    std::string rules;
    while (!in.Is(",") && !in.Is(")")) {
        if (in.TakeIf("IDENTITY")) {
            declared = "INTEGER";  // SQLite numbers such a key by itself
            in.Expect("(");
            in.TakeNumber();
            in.Expect(",");
            in.TakeNumber();
            in.Expect(")");
        } else if (in.TakeIf("NOT")) {
            in.Expect("NULL");
            rules += " NOT NULL";
        } else if (in.TakeIf("PRIMARY")) {
            in.Expect("KEY");
            rules += " PRIMARY KEY";
        } else if (in.TakeIf("DEFAULT")) {
            rules += " DEFAULT (" + Expressions(session, in).Value() + ")";
        } else if (in.TakeIf("COLLATE")) {
            TakeCollation(in);
        } else {
            in.Expect("NULL");
        }
    }
    return QuoteName(name) + " " + declared + rules;
}

void CreateTable(Session& session, TokenReader& in) {
    const std::string table = session.Names().NewTable(in.TakeDottedName());
    std::string columns;
    in.Expect("(");
    do {
        columns += (columns.empty() ? "" : ",") + TakeColumn(session, in);
    } while (in.TakeIf(","));
    in.Expect(")");
    in.ExpectEnd();
    session.Db().Run("CREATE TABLE " + QuoteName(table) + "(" + columns + ")");
}

void CreateIndex(Session& session, TokenReader& in, const std::string& kind) {
    const std::string index = in.TakeName();
    in.Expect("ON");
    const std::string table = session.Names().Table(in.TakeDottedName());
    std::string columns;
    in.Expect("(");
    do {
        const std::string column = in.TakeName();
        if (!session.Db().ColumnType(table, column)) Fail(Err::kUnknownColumn, column);
        columns += (columns.empty() ? "" : ",") + QuoteName(column);
    } while (in.TakeIf(","));
    in.Expect(")");
    in.ExpectEnd();
    session.Db().Run("CREATE " + kind + " " + QuoteName(table + "\x1F" + index) + " ON " + QuoteName(table) +
                     "(" + columns + ")");
}

void AlterDatabase(Session& session, TokenReader& in) {
    const std::string name = in.TakeName();
    in.Expect("SET");
    const std::string state = in.Take().key;
    if (in.TakeIf("WITH")) {
        in.Expect("ROLLBACK");
        in.Expect("IMMEDIATE");
    }
    in.ExpectEnd();
    if (state == "OFFLINE" || state == "ONLINE") {
        session.Names().SetOffline(name, state == "OFFLINE");
    } else if (state != "SINGLE_USER") {  // which closes nobody out here
        Fail(Err::kSyntax, state);
    }
}

void RunDatabaseCommand(Session& session, TokenReader& in, const std::string& verb) {
    if (session.IsManual() || session.Db().InTransaction()) Fail(Err::kNotInTransaction, verb);
    ChangeScope scope(session.Db());
    in.Expect("DATABASE");
    if (verb == "ALTER") {
        AlterDatabase(session, in);
    } else {
        const std::string name = in.TakeName();
        if (verb == "CREATE" && in.TakeIf("COLLATE")) TakeCollation(in);
        in.ExpectEnd();
        if (verb == "CREATE") {
            session.Names().CreateDatabase(name);
        } else {
            session.Names().DropDatabase(name);
        }
    }
    scope.Done();
}

void RunDefinition(Session& session, TokenReader& in) {
    session.EnterStatement();
    ChangeScope scope(session.Db());
    if (in.TakeIf("SCHEMA")) {
        const std::string name = in.TakeName();
        in.ExpectEnd();
        session.Names().CreateSchema(name);
    } else if (in.TakeIf("TABLE")) {
        CreateTable(session, in);
    } else {
        const std::string kind = in.TakeIf("UNIQUE") ? "UNIQUE INDEX" : "INDEX";
        in.Expect("INDEX");
        CreateIndex(session, in, kind);
    }
    scope.Done();
}

}  // namespace

void RunCommand(Session& session, TokenReader& in) {
    const std::string verb = in.Peek().key;
    if (verb == "CREATE" || verb == "ALTER" || verb == "DROP") {
        in.Take();
        return in.Is("DATABASE") || verb != "CREATE" ? RunDatabaseCommand(session, in, verb)
                                                     : RunDefinition(session, in);
    }
    if (in.TakeIf("USE")) {
        const std::string name = in.TakeName();
        in.ExpectEnd();
        session.Names().Use(name);
    } else if (in.TakeIf("SET")) {
        in.Expect("LOCK_TIMEOUT");
        const std::int64_t sign = in.TakeIf("-") ? -1 : 1;
        const std::int64_t milliseconds = std::stoll(in.TakeNumber());
        in.ExpectEnd();
        session.Db().SetLockTimeout(sign * milliseconds);
    } else {
        in.Expect("ROLLBACK");
        in.Expect("TRANSACTION");
        in.ExpectEnd();
        if (!session.Db().InTransaction()) Fail(Err::kNoTransaction);
        session.Rollback();
    }
}

}  // namespace standin
