#include "support/merge_fixture.h"

#include "text/text.h"

namespace {

constexpr std::wstring_view kMainTables =
    LR"(CREATE TABLE dbo.TBL_CHARACTER (n int NOT NULL, FLD_USERID varchar(50) NULL, FLD_CHARACTER nvarchar(50) NULL,
    FLD_ACCOUNT nvarchar(50) NULL, FLD_SERVERID int NULL);
CREATE TABLE dbo.TBL_GUILD_INFO (n int NOT NULL, sGuildID nvarchar(60) NULL, sGuildName nvarchar(50) NULL))";

constexpr std::wstring_view kRestOfB =
    LR"(CREATE TABLE dbo.TBL_HERO (n int NOT NULL, HeroMasterUserID char(30) NULL, HeroUserID int NULL);
CREATE TABLE dbo.TBL_BAG (n int NOT NULL, USER_ID varchar(50) NULL, OwnerRoleID nvarchar(50) NULL,
    OTHERUSERID nchar(60) NULL, item nvarchar(50) NULL);
CREATE TABLE dbo.TBL_FRIEND (n int NOT NULL, UserIdA varchar(50) NULL, UserIdB varchar(50) NULL);
CREATE TABLE mail.[信件] (n int NOT NULL, [收件ROLEID] nvarchar(50) NULL, [寄件ROLE_ID] varchar(50) NULL);
CREATE TABLE trade.TBL_TRADE (n int NOT NULL, SellerUserID nvarchar(80) NULL, BuyerUser_ID varchar(80) NULL,
    BrokerRoleID nvarchar(50) NULL);
CREATE TABLE trade.TBL_MEMBER (n int NOT NULL, GUILD_ID nchar(60) NULL, MemberRoleID varchar(50) NULL);
INSERT INTO dbo.TBL_CHARACTER (n, FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES
    (1, '1001', N'李四', N'li', 2), (2, '1002', NULL, N'wang', 2), (3, '0012', N'赵六', N'zhao', 2),
    (4, '12x', N'怪', N'x', 2), (5, NULL, N'无', NULL, NULL), (6, '  ', N'空', N'y', 2),
    (7, '3001', N'双一', N'd', 2), (8, '3001', N'双二', N'd', 2), (9, '1001x', N'近', N'z', 2),
    (11, '77', N'钱七', N'qian', 2);
INSERT INTO dbo.TBL_GUILD_INFO (n, sGuildID, sGuildName) VALUES (1, N'{A''1}', N'朱雀会'),
    (2, N'{bbbb}', N'白虎会'), (3, N'{ONLY-B}', N'独'), (4, NULL, N'无');
INSERT INTO dbo.TBL_HERO (n, HeroMasterUserID, HeroUserID) VALUES (1, '1001', 1001), (2, '7777', 1002);
INSERT INTO dbo.TBL_BAG (n, USER_ID, OwnerRoleID, OTHERUSERID, item) VALUES
    (1, '1001', N'1001', N'1001', N'1001'), (2, '1002', NULL, N'0012', N'剑'), (3, '11001', N'10010', NULL, N'刀');
INSERT INTO dbo.TBL_FRIEND (n, UserIdA, UserIdB) VALUES (1, '1001', '1002'), (2, '0012', '1001');
INSERT INTO mail.[信件] (n, [收件ROLEID], [寄件ROLE_ID]) VALUES (1, N'1001', '1001'), (2, N'1001', NULL),
    (3, N'1001', NULL), (4, N'1001', NULL), (5, N'1001', NULL), (6, N'1001', NULL);
INSERT INTO trade.TBL_TRADE (n, SellerUserID, BuyerUser_ID, BrokerRoleID) VALUES (1, N'1001', '1001', N'1001'),
    (2, N'12', '1002', NULL);
INSERT INTO trade.TBL_MEMBER (n, GUILD_ID, MemberRoleID) VALUES (1, N'{A''1}', '1001'), (2, N'{BBBB}', '1002'),
    (3, N'{ONLY-B}', NULL), (4, N'{A''1}', NULL), (5, N'{A''1}', NULL), (6, N'{A''1}', NULL), (7, N'{A''1}', NULL),
    (8, N'{A''1}', NULL), (9, N'{BBBB}', NULL), (10, N'{BBBB}', NULL), (11, N'{BBBB}', NULL),
    (12, N'{BBBB}', NULL), (13, N'{BBBB}', NULL), (14, N'{bbbb}', NULL), (15, N'{bbbb}', NULL))";

constexpr std::wstring_view kRowsOfA =
    LR"(INSERT INTO dbo.TBL_CHARACTER (n, FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES
    (1, '1001', N'张三', N'zhang', 1), (2, '1002', N'王五', N'wang', 1), (3, '0012', N'赵六', N'zhao', 1),
    (4, '12', N'十二', N's', 1), (5, NULL, N'无', NULL, NULL), (6, '  ', N'空', N'y', 1), (7, '-5', N'负', N'f', 1),
    (8, '77', N'陈七', N'chen', 1);
INSERT INTO dbo.TBL_GUILD_INFO (n, sGuildID, sGuildName) VALUES (1, N'{A''1}', N'玄武会'),
    (2, N'{BBBB}', N'青龙会'), (3, NULL, N'无'), (4, N' ', N'空'))";

}  // namespace

MergeFixture::MergeFixture()
    : a_(L"A", {kMainTables, kRowsOfA}),
      b_(L"B", {kMainTables, L"CREATE SCHEMA mail", L"CREATE SCHEMA trade", kRestOfB}),
      third_(L"C三区", {kMainTables, L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (1, '100234')"}) {}

std::wstring MergeFixture::ChangeSince(const Content& before) const {
    const Content after = Contents(), changed = Difference(before, after);
    if (changed.empty()) return L"";
    const std::wstring& cell = changed.begin()->first;
    const auto valueIn = [&](const Content& content) {
        return content.contains(cell) ? L"\"" + Trim(content.at(cell)) + L"\"" : L"missing";
    };
    return cell + L" is " + valueIn(after) + L", was " + valueIn(before);
}

BatchPlan MergeFixture::Plan() const {
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    BatchPlan plan = {PlanRoleIdBatch(on, B(), A(), FindDuplicateRoles(on, A(), B()).ToVector()),
                      PlanGuildIdBatch(on, B(), A(), FindDuplicateGuilds(on, A(), B()))};
    if (plan.roles.size() != kDuplicateRoles || plan.guilds.size() != kDuplicateGuilds)
        throw RuntimeError("the plan is not about the fixture's duplicates");
    return plan;
}
