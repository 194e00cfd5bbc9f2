#include "id_repair/repair_sql.h"

#include "db/sql_text.h"

namespace {

struct MainTable {
    std::wstring_view table;
    std::wstring_view idColumn;
    std::wstring_view duplicateColumns;  // of both sides, a and b
    std::wstring_view referencePatterns;
};

constexpr MainTable kRoles = {
    L".[dbo].[TBL_CHARACTER]", L"FLD_USERID",
    L"a.FLD_USERID, a.FLD_CHARACTER, a.FLD_ACCOUNT, a.FLD_SERVERID, "
    L"b.FLD_CHARACTER, b.FLD_ACCOUNT, b.FLD_SERVERID",
    L"(COLUMN_NAME LIKE N'%USERID%' OR COLUMN_NAME LIKE N'%USER_ID%' OR COLUMN_NAME LIKE N'%ROLEID%' "
    L"OR COLUMN_NAME LIKE N'%ROLE_ID%' OR COLUMN_NAME LIKE N'%HEROMASTERUSERID%' "
    L"OR COLUMN_NAME LIKE N'%HEROUSERID%')"};
constexpr MainTable kGuilds = {L".[dbo].[TBL_GUILD_INFO]", L"sGuildID",
                               L"a.sGuildID, a.sGuildName, b.sGuildName",
                               L"(COLUMN_NAME LIKE N'%GUILDID%' OR COLUMN_NAME LIKE N'%GUILD_ID%')"};

const MainTable& MainTableOf(IdKind kind) noexcept {
    return kind == IdKind::Role ? kRoles : kGuilds;
}

// Pieces of a statement, joined in one allocation.
template <class... Pieces>
std::wstring Join(const Pieces&... pieces) {
    std::wstring text;
    text.reserve((std::wstring_view(pieces).size() + ...));
    (text.append(std::wstring_view(pieces)), ...);
    return text;
}

}  // namespace

std::wstring OnlineDatabasesSql() {
    return L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name";
}

std::wstring DuplicateIdsSql(IdKind kind, std::wstring_view databaseA, std::wstring_view databaseB) {
    const MainTable& main = MainTableOf(kind);
    const std::wstring quotedA = QuoteSqlIdentifier(databaseA);
    const std::wstring quotedB = QuoteSqlIdentifier(databaseB);
    return Join(L"SELECT DISTINCT ", main.duplicateColumns, L" FROM ", quotedA, main.table, L" a JOIN ",
                quotedB, main.table, L" b ON a.", main.idColumn, L" COLLATE DATABASE_DEFAULT = b.",
                main.idColumn, L" COLLATE DATABASE_DEFAULT WHERE a.", main.idColumn,
                L" IS NOT NULL AND LTRIM(RTRIM(a.", main.idColumn, L")) <> N'' ORDER BY a.", main.idColumn);
}

std::wstring CountIdRowsSql(IdKind kind, std::wstring_view database, std::wstring_view id, bool withLock) {
    const MainTable& main = MainTableOf(kind);
    return Join(L"SELECT COUNT_BIG(*) FROM ", QuoteSqlIdentifier(database), main.table,
                withLock ? L" WITH (UPDLOCK, HOLDLOCK)" : L"", L" WHERE ", main.idColumn, L" = ",
                SqlUnicodeLiteral(id));
}

std::wstring ReferringColumnsSql(IdKind kind, std::wstring_view database) {
    return Join(
        L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM ", QuoteSqlIdentifier(database),
        L".INFORMATION_SCHEMA.COLUMNS WHERE DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND ",
        MainTableOf(kind).referencePatterns, L" ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
}

std::wstring LargestRoleIdSql(std::wstring_view database) {
    return Join(
        L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' "
        L"THEN CONVERT(DECIMAL(38,0), FLD_USERID) END) FROM ",
        QuoteSqlIdentifier(database), kRoles.table);
}

QuotedColumn QuoteColumn(std::wstring_view database, std::wstring_view schema, std::wstring_view table,
                         std::wstring_view column) {
    return {
        Join(QuoteSqlIdentifier(database), L".", QuoteSqlIdentifier(schema), L".", QuoteSqlIdentifier(table)),
        QuoteSqlIdentifier(column)};
}

std::wstring HoldsIdCondition(const QuotedColumn& field, std::wstring_view id) {
    return Join(L" WHERE CAST(", field.column, L" AS NVARCHAR(256)) = ", SqlUnicodeLiteral(id));
}

std::wstring CountHitsSql(const QuotedColumn& field, std::wstring_view id) {
    return Join(L"SELECT COUNT_BIG(*) FROM ", field.table, HoldsIdCondition(field, id));
}
