#include "bench/merge_zones.h"

namespace {

constexpr std::wstring_view kMainTables =
    L"CREATE TABLE dbo.TBL_CHARACTER (FLD_USERID varchar(50) NOT NULL PRIMARY KEY, FLD_CHARACTER "
    L"nvarchar(50) NULL, "
    L"FLD_ACCOUNT nvarchar(50) NULL, FLD_SERVERID int NULL); "
    L"CREATE TABLE dbo.TBL_GUILD_INFO (sGuildID varchar(50) NOT NULL PRIMARY KEY, sGuildName nvarchar(50) "
    L"NULL)";

constexpr std::wstring_view kRole = L"CONVERT(varchar(50), 10000000 + #)";
constexpr std::wstring_view kGuild = L"'{GUILD-' + CONVERT(varchar(50), 100000 + #) + '}'";

constexpr int kReferringTables = 5;

std::wstring Text(std::wstring_view prefix) {
    return L"N'" + std::wstring(prefix) + L"' + CONVERT(nvarchar(20), #)";
}

void Insert(const TestDatabase& database, const std::wstring& target, const std::wstring& values, int count) {
    if (count > 0) database.Run({L"INSERT INTO " + target + L" " + SelectNumbered(values, count)});
}

void FillMainTables(const TestDatabase& database, int roles, int guilds) {
    const std::wstring role(kRole), guild(kGuild);
    database.Run({kMainTables});
    Insert(database, L"dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID)",
           role + L", " + Text(L"角色") + L", " + Text(L"account") + L", 1", roles);
    Insert(database, L"dbo.TBL_GUILD_INFO (sGuildID, sGuildName)", guild + L", " + Text(L"行会"), guilds);
}

void AddReferences(const TestDatabase& database, int roles, int guilds) {
    const std::wstring role(kRole), guild(kGuild);
    for (int i = 1; i <= kReferringTables; ++i) {
        const std::wstring table = L"dbo.TBL_ITEM" + std::to_wstring(i);
        database.Run(
            {L"CREATE TABLE " + table + L" (FirstUserID varchar(50) NULL, OTHER_ROLE_ID nvarchar(50) NULL)"});
        Insert(database, table + L" (FirstUserID, OTHER_ROLE_ID)", role + L", " + role, roles);
    }
    database.Run(
        {L"CREATE TABLE dbo.TBL_MEMBER (MemberRoleID char(30) NULL); "
         L"CREATE TABLE dbo.TBL_TOWN (OwnerGuild_ID nchar(60) NULL)"});
    Insert(database, L"dbo.TBL_MEMBER (MemberRoleID)", role, roles);
    Insert(database, L"dbo.TBL_TOWN (OwnerGuild_ID)", guild, guilds);
}

}  // namespace

void MergeZones::Renew() {
    third_.reset();
    b_.reset();
    a_.reset();
    a_.emplace(L"A");
    FillMainTables(*a_, roles_, guilds_);
    b_.emplace(L"B");
    FillMainTables(*b_, roles_, guilds_);
    if (guilds_ > 0) AddReferences(*b_, roles_, guilds_);
    third_.emplace(L"C");
    FillMainTables(*third_, 0, 0);
    third_->Run({L"INSERT INTO dbo.TBL_CHARACTER (FLD_USERID) VALUES ('90000000')"});
}

std::wstring SelectNumbered(std::wstring_view expression, int count) {
    constexpr std::wstring_view kDigits = L"(VALUES (0), (1), (2), (3), (4), (5), (6), (7), (8), (9)) ";
    std::wstring number = L"(d1.i", tables = std::wstring(kDigits) + L"d1(i)";
    for (int power = 10; power < count; power *= 10) {
        const std::wstring name = L"d" + std::to_wstring(power);
        number += L" + " + std::to_wstring(power) + L" * " + name + L".i";
        tables += L" CROSS JOIN " + std::wstring(kDigits) + name + L"(i)";
    }
    number += L")";
    std::wstring sql = L"SELECT ";
    for (const wchar_t unit : expression) sql += unit == L'#' ? number : std::wstring(1, unit);
    return sql + L" FROM " + tables + L" WHERE " + number + L" < " + std::to_wstring(count);
}
