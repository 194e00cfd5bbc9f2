#include <cstdio>

#include "error.h"
#include "text.h"
#include "tsql_parser.h"

namespace standin {
namespace {

void CheckLength(const Type& type, const std::string& name) {
    const int longest = IsWide(type.id) ? 4000 : 8000;
    if (type.length == 0 || type.length > longest) {
        Fail("42000", 131,
             "The size (" + std::to_string(type.length) + ") given to the type '" + name +
                 "' exceeds the maximum allowed or is zero.");
    }
}

}  // namespace

Type Parser::ParseType(int defaultLength) {
    const std::string name = Identifier();
    Type type{FindType(name)};
    if (type.id == TypeId::kNull) {
        Fail("42000", 243, "Type " + name + " is not a defined system type.");
    }
    const bool isText = IsText(type) && !IsLongText(type.id);
    const bool isDecimal = type.id == TypeId::kDecimal || type.id == TypeId::kNumeric;
    if (isText) type.length = defaultLength;
    if (isDecimal) type.length = 18;
    if (IsLongText(type.id)) type.length = kMaxLength;
    if (type.id == TypeId::kMoney) type = {TypeId::kMoney, 19, 4};
    if ((isText || isDecimal || type.id == TypeId::kDateTime2) && Accept("(")) {
        if (isText && !IsPadded(type.id) && Accept("MAX")) {
            type.length = kMaxLength;
        } else {
            const std::int64_t length = Integer();
            type.length = length >= 0 && length <= 8000 ? static_cast<int>(length) : 8001;
        }
        if (isDecimal && Accept(",")) type.scale = static_cast<int>(Integer());
        Expect(")");
    }
    if (isText && type.length != kMaxLength) CheckLength(type, name);
    if (isDecimal && (type.length < 1 || type.length > 38 || type.scale < 0 || type.scale > type.length)) {
        Fail("42000", 1007, "The precision or scale given to the type '" + name + "' is out of range.");
    }
    if (type.id == TypeId::kDateTime2) type.length = 0;  // all seven places are always kept
    return type;
}

void Parser::ParseCollationName() {
    const std::string name = Identifier();
    if (CompareText(name, "DATABASE_DEFAULT") != 0 && CompareText(name, "Chinese_PRC_CI_AS") != 0) {
        Fail("42000", 448, "Invalid collation '" + name + "'.");
    }
}

Statement Parser::ParseCreate() {
    if (Accept("DATABASE")) {
        Command command{CommandKind::kCreateDatabase, {Identifier()}};
        if (Accept("COLLATE")) ParseCollationName();
        return command;
    }
    if (Accept("SCHEMA")) return Command{CommandKind::kCreateSchema, {Identifier()}};
    if (Accept("TABLE")) return ParseCreateTable();
    const bool unique = Accept("UNIQUE");
    if (!Accept("CLUSTERED")) Accept("NONCLUSTERED");
    if (Accept("INDEX")) return ParseCreateIndex(unique);
    FailHere();
}

Statement Parser::ParseCreateTable() {
    CreateTableStatement table;
    table.table = DottedName(3);
    Expect("(");
    do {
        if (IsKeyword("CONSTRAINT") || IsKeyword("PRIMARY") || IsKeyword("UNIQUE")) {
            ParseTableConstraint(table);
        } else {
            ParseColumn(table);
        }
    } while (Accept(",") && !IsSymbol(")"));
    Expect(")");
    for (const KeyDefinition& key : table.keys) {
        for (ColumnDefinition& column : table.columns) {
            for (const std::string& name : key.columns) {
                if (key.primary && CompareText(name, column.name) == 0) column.nullable = false;
            }
        }
    }
    return table;
}

void Parser::ParseColumn(CreateTableStatement& table) {
    ColumnDefinition column;
    column.name = Identifier();
    column.type = ParseType(1);
    while (ParseColumnOption(table, column)) {
    }
    table.columns.push_back(std::move(column));
}

bool Parser::ParseColumnOption(CreateTableStatement& table, ColumnDefinition& column) {
    if (Accept("COLLATE")) return ParseCollationName(), true;
    if (AcceptAll({"NOT", "NULL"})) return column.nullable = false, true;
    if (Accept("NULL")) return true;
    if (Accept("CONSTRAINT")) {
        Identifier();
        if (!IsKeyword("DEFAULT") && !IsKeyword("PRIMARY") && !IsKeyword("UNIQUE")) FailHere();
        return true;
    }
    if (Accept("DEFAULT")) {
        const bool bracketed = Accept("(");
        column.defaultValue = Accept("NULL") ? nullptr : ParseUnary();
        if (bracketed) Expect(")");
        return true;
    }
    if (Accept("IDENTITY")) {
        if (Accept("(")) {
            if (Integer() != 1) FailHere();
            Expect(",");
            if (Integer() != 1) FailHere();
            Expect(")");
        }
        column.nullable = false;
        return column.identity = true, true;
    }
    bool primary = false;
    if (!AcceptKeyKind(primary)) return false;
    table.keys.push_back({{column.name}, primary});
    return true;
}

bool Parser::AcceptKeyKind(bool& primary) {
    primary = AcceptAll({"PRIMARY", "KEY"});
    if (!primary && !Accept("UNIQUE")) return false;
    if (!Accept("CLUSTERED")) Accept("NONCLUSTERED");
    return true;
}

void Parser::ParseTableConstraint(CreateTableStatement& table) {
    if (Accept("CONSTRAINT")) Identifier();
    KeyDefinition key;
    if (!AcceptKeyKind(key.primary)) FailHere();
    key.columns = NameList();
    table.keys.push_back(std::move(key));
}

Statement Parser::ParseCreateIndex(bool unique) {
    CreateIndexStatement index;
    index.unique = unique;
    index.index = Identifier();
    Expect("ON");
    index.table = DottedName(3);
    index.columns = NameList();
    return index;
}

Statement Parser::ParseDrop() {
    const bool isTable = Accept("TABLE");
    if (!isTable) Expect("DATABASE");
    Command command{isTable ? CommandKind::kDropTable : CommandKind::kDropDatabase};
    command.ifExists = AcceptAll({"IF", "EXISTS"});
    command.name = DottedName(isTable ? 3 : 1);
    return command;
}

Statement Parser::ParseAlter() {
    if (Accept("TABLE")) {
        AddColumnStatement add;
        add.table = DottedName(3);
        Expect("ADD");
        CreateTableStatement shape;
        do {
            ParseColumn(shape);
        } while (Accept(","));
        if (!shape.keys.empty()) FailHere();
        add.columns = std::move(shape.columns);
        return add;
    }
    Expect("DATABASE");
    Command command{CommandKind::kNothing, {Identifier()}};
    Expect("SET");
    if (Accept("OFFLINE")) {
        command.kind = CommandKind::kSetOffline;
    } else if (Accept("ONLINE")) {
        command.kind = CommandKind::kSetOnline;
    } else if (!Accept("MULTI_USER")) {
        Expect("SINGLE_USER");
    }
    if (Accept("WITH")) {
        Expect("ROLLBACK");
        Expect("IMMEDIATE");
    }
    return command;
}

Statement Parser::ParseSet() {
    if (Accept("LOCK_TIMEOUT")) {
        Command command{CommandKind::kSetLockTimeout};
        command.number = Integer();
        return command;
    }
    Expect("NOCOUNT");
    if (!Accept("ON")) {
        if (!IsKeyword("OFF")) FailHere();
        Take();
    }
    return Command{};
}

Statement Parser::ParseTransaction() {
    if (Accept("BEGIN")) {
        if (!Accept("TRANSACTION")) Expect("TRAN");
        return Command{CommandKind::kBegin};
    }
    const bool commits = Accept("COMMIT");
    if (!commits) Expect("ROLLBACK");
    if (!Accept("TRANSACTION") && !Accept("TRAN")) Accept("WORK");
    return Command{commits ? CommandKind::kCommit : CommandKind::kRollback};
}

Statement Parser::ParseWait() {
    Expect("DELAY");
    if (Peek().kind != TokenKind::kString && Peek().kind != TokenKind::kUnicodeString) FailHere();
    int hours = 0, minutes = 0, seconds = 0, thousandths = 0;
    if (std::sscanf(Peek().text.c_str(), "%2d:%2d:%2d.%3d", &hours, &minutes, &seconds, &thousandths) < 3) {
        FailHere();
    }
    Take();
    Command command{CommandKind::kWait};
    command.number = ((hours * 60 + minutes) * 60 + seconds) * 1000 + thousandths;
    return command;
}

}  // namespace standin
