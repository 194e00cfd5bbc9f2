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

}  // namespace

std::wstring OnlineDatabasesSql() {
    return L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name";
}

std::wstring DuplicateIdsSql(IdKind kind, std::wstring_view databaseA, std::wstring_view databaseB) {
    const MainTable& main = MainTableOf(kind);
    return SqlText(L"SELECT DISTINCT ", main.duplicateColumns, L" FROM ", SqlName{databaseA}, main.table,
                   L" a JOIN ", SqlName{databaseB}, main.table, L" b ON a.", main.idColumn,
                   L" COLLATE DATABASE_DEFAULT = b.", main.idColumn, L" COLLATE DATABASE_DEFAULT WHERE a.",
                   main.idColumn, L" IS NOT NULL AND LTRIM(RTRIM(a.", main.idColumn, L")) <> N'' ORDER BY a.",
                   main.idColumn);
}

std::wstring CountIdRowsSql(IdKind kind, std::wstring_view database, std::wstring_view id, bool withLock) {
    const MainTable& main = MainTableOf(kind);
    return SqlText(L"SELECT COUNT_BIG(*) FROM ", SqlName{database}, main.table,
                   withLock ? L" WITH (UPDLOCK, HOLDLOCK)" : L"", L" WHERE ", main.idColumn, L" = ",
                   SqlValue{id});
}

std::wstring ReferringColumnsSql(IdKind kind, std::wstring_view database) {
    return SqlText(
        L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM ", SqlName{database},
        L".INFORMATION_SCHEMA.COLUMNS WHERE DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND ",
        MainTableOf(kind).referencePatterns, L" ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
}

std::wstring LargestRoleIdSql(std::wstring_view database) {
    return SqlText(
        L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' "
        L"THEN CONVERT(DECIMAL(38,0), FLD_USERID) END) FROM ",
        SqlName{database}, kRoles.table);
}

void AppendSql(std::wstring& sql, const SqlTableOf& piece) {
    const ColumnName& column = piece.column;
    AppendSql(sql, SqlName{column.database});
    sql += L'.';
    AppendSql(sql, SqlName{column.schema});
    sql += L'.';
    AppendSql(sql, SqlName{column.table});
}

void AppendSql(std::wstring& sql, const SqlHoldsId& piece) {
    sql += L" WHERE CAST(";
    AppendSql(sql, SqlName{piece.column.column});
    sql += L" AS NVARCHAR(256)) = ";
    AppendSql(sql, SqlValue{piece.id});
}

std::wstring CountHitsSql(const ColumnName& column, std::wstring_view id) {
    return SqlText(L"SELECT COUNT_BIG(*) FROM ", SqlTableOf{column}, SqlHoldsId{column, id});
}
