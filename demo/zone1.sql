-- Game database of zone one (青龙一区): library A of the merge.
-- Plain T-SQL for SQL Server 2016 or later: sqlcmd -f 65001 -i FILE, or load_sql.

IF DB_ID(N'GameZone1') IS NOT NULL
    ALTER DATABASE GameZone1 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameZone1') IS NOT NULL
    DROP DATABASE GameZone1;
GO
CREATE DATABASE GameZone1 COLLATE Chinese_PRC_CI_AS;
GO
USE GameZone1;
GO
CREATE TABLE dbo.TBL_ACCOUNT (
    FLD_ACCOUNT    nvarchar(50)  NOT NULL PRIMARY KEY,
    FLD_PASSWORD   varchar(64)   NOT NULL,
    FLD_EMAIL      nvarchar(100) NULL,
    FLD_PHONE      varchar(20)   NULL,
    FLD_CREATED    datetime      NOT NULL DEFAULT '2024-05-01T00:00:00'
);
CREATE TABLE dbo.TBL_CHARACTER (
    FLD_USERID     varchar(50)   NOT NULL PRIMARY KEY,
    FLD_CHARACTER  nvarchar(40)  NOT NULL,
    FLD_ACCOUNT    nvarchar(50)  NOT NULL,
    FLD_SERVERID   int           NOT NULL,
    FLD_LEVEL      int           NOT NULL DEFAULT 1,
    FLD_GOLD       bigint        NOT NULL DEFAULT 0
);
CREATE TABLE dbo.TBL_GUILD_INFO (
    sGuildID       varchar(50)   NOT NULL PRIMARY KEY,
    sGuildName     nvarchar(40)  NOT NULL,
    MASTER_USER_ID varchar(50)   NULL,
    nLevel         int           NOT NULL DEFAULT 1
);
CREATE TABLE dbo.TBL_GUILD_MEMBER (
    nID            int           NOT NULL IDENTITY(1, 1) PRIMARY KEY,
    sGuildID       char(40)      NOT NULL,
    FLD_USERID     varchar(50)   NOT NULL,
    sTitle         nvarchar(20)  NULL
);
CREATE TABLE dbo.TBL_ITEM (
    nItemID        bigint        NOT NULL PRIMARY KEY,
    FLD_USERID     char(20)      NOT NULL,
    sItemName      nvarchar(40)  NOT NULL,
    nCount         int           NOT NULL DEFAULT 1
);
-- HeroUserID numbers the hero itself: an int, no reference to a character.
CREATE TABLE dbo.TBL_HERO (
    HeroUserID       int          NOT NULL PRIMARY KEY,
    HeroMasterUserID nvarchar(50) NULL,
    sHeroName        nvarchar(40) NOT NULL
);
CREATE INDEX IX_ITEM_OWNER ON dbo.TBL_ITEM (FLD_USERID);
GO
CREATE SCHEMA mail;
GO
CREATE SCHEMA log;
GO
CREATE TABLE mail.TBL_MAIL (
    nMailID        int           NOT NULL PRIMARY KEY,
    SENDER_ROLE_ID nchar(20)     NULL,
    OwnerRoleID    nvarchar(50)  NOT NULL,
    sTitle         nvarchar(100) NOT NULL
);
CREATE TABLE log.TBL_TRADE (
    nTradeID       int           NOT NULL PRIMARY KEY,
    SellerUserID   varchar(50)   NULL,
    BuyerUserID    varchar(50)   NULL,
    GUILD_ID       nvarchar(50)  NULL,
    nPrice         int           NOT NULL
);
GO
INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT, FLD_PASSWORD, FLD_EMAIL, FLD_PHONE) VALUES
    ('azure_dragon', 'demo-01', 'player01@example.com', '13000012345'),
    ('dragon01', 'demo-02', 'player02@example.com', NULL),
    ('dragon02', 'demo-03', 'player03@example.com', NULL),
    ('dragonfly', 'demo-04', NULL, '13000036102'),
    ('reddragon', 'demo-05', 'player05@example.com', NULL),
    ('gold%dragon', 'demo-06', 'player06@example.com', NULL),
    ('silver_moon', 'demo-07', 'player07@example.com', '13000059859'),
    ('night_wolf', 'demo-08', 'player08@example.com', NULL),
    ('stone_bear', 'demo-09', 'player09@example.com', NULL),
    ('swiftwind', 'demo-10', 'player10@example.com', '13000083616'),
    ('coldriver', 'demo-11', NULL, NULL),
    ('jade.blade', 'demo-12', 'player12@example.com', NULL),
    ('ironfist', 'demo-13', 'player13@example.com', '13000107373'),
    ('tea_master', 'demo-14', 'player14@example.com', NULL),
    ('lotus88', 'demo-15', 'player15@example.com', NULL),
    ('autumn7', 'demo-16', 'player16@example.com', '13000131130'),
    ('thunder', 'demo-17', 'player17@example.com', NULL),
    ('goldfish', 'demo-18', NULL, NULL),
    ('panda_wu', 'demo-19', 'player19@example.com', '13000154887'),
    ('li_wei', 'demo-20', 'player20@example.com', NULL),
    ('zhangsan', 'demo-21', 'player21@example.com', NULL),
    ('wangwu', 'demo-22', 'player22@example.com', '13000178644'),
    ('zhaoliu', 'demo-23', 'player23@example.com', NULL),
    ('sunqi', 'demo-24', 'player24@example.com', NULL),
    ('zhouba', 'demo-25', NULL, '13000202401'),
    ('wujiu', 'demo-26', 'player26@example.com', NULL),
    ('zhengshi', 'demo-27', 'player27@example.com', NULL),
    ('feng_xing', 'demo-28', 'player28@example.com', '13000226158'),
    ('yun_hai', 'demo-29', 'player29@example.com', NULL),
    ('xue_shan', 'demo-30', 'player30@example.com', NULL),
    ('hua_rong', 'demo-31', 'player31@example.com', '13000249915'),
    ('lin_chong', 'demo-32', NULL, NULL),
    (N'玩家一二三', 'demo-33', 'player33@example.com', NULL),
    (N'龙行天下', 'demo-34', 'player34@example.com', '13000273672'),
    (N'青龙使者', 'demo-35', 'player35@example.com', NULL),
    (N'剑客', 'demo-36', 'player36@example.com', NULL),
    (N'江湖路远', 'demo-37', 'player37@example.com', '13000297429'),
    ('O''Neil', 'demo-38', 'player38@example.com', NULL),
    ('ab', 'demo-39', NULL, NULL),
    ('moonlight', 'demo-40', 'player40@example.com', '13000321186');
INSERT INTO dbo.TBL_CHARACTER
    (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID, FLD_LEVEL, FLD_GOLD)
VALUES
    ('000777', N'青衫客', 'azure_dragon', 1, 20, 0),
    ('100001', N'龙战于野', 'dragon02', 1, 33, 7907),
    ('100002', N'云中鹤', 'reddragon', 1, 46, 15814),
    ('100003', N'红龙', 'silver_moon', 1, 59, 23721),
    ('100004', N'月下独酌', 'stone_bear', 1, 72, 31628),
    ('100005', N'夜行狼', 'coldriver', 1, 25, 39535),
    ('100006', N'磐石', 'ironfist', 1, 38, 47442),
    ('100007', N'御风', 'lotus88', 1, 51, 55349),
    ('100008', N'寒江雪', 'thunder', 1, 64, 63256),
    ('100009', N'铁拳', 'panda_wu', 1, 77, 71163),
    ('100010', N'茶博士', 'zhangsan', 1, 30, 79070),
    ('100011', N'莲心', 'zhaoliu', 1, 43, 86977),
    ('100012', N'秋水', 'zhouba', 1, 56, 4884),
    ('100013', N'雷震子', 'zhengshi', 1, 69, 12791),
    ('100014', N'锦鲤', 'yun_hai', 1, 22, 20698),
    ('100015', N'熊猫侠', 'hua_rong', 1, 35, 28605),
    ('100016', N'李慕白', N'玩家一二三', 1, 48, 36512),
    ('100017', N'张三丰', N'青龙使者', 1, 61, 44419);
INSERT INTO dbo.TBL_GUILD_INFO (sGuildID, sGuildName, MASTER_USER_ID, nLevel) VALUES
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', N'青龙会', '100005', 5),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', N'天下盟', '100012', 3),
    ('{0A1D2C3B-5E6F-4718-92A3-B4C5D6E7F801}', N'逍遥派', '100003', 2);
INSERT INTO dbo.TBL_GUILD_MEMBER (sGuildID, FLD_USERID, sTitle) VALUES
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '000777', NULL),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100001', N'长老'),
    ('{0A1D2C3B-5E6F-4718-92A3-B4C5D6E7F801}', '100002', N'成员'),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100003', N'护法'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100004', NULL),
    ('{0A1D2C3B-5E6F-4718-92A3-B4C5D6E7F801}', '100005', N'长老'),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100006', N'成员'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100007', N'护法'),
    ('{0A1D2C3B-5E6F-4718-92A3-B4C5D6E7F801}', '100008', NULL),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100009', N'长老'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100010', N'成员'),
    ('{0A1D2C3B-5E6F-4718-92A3-B4C5D6E7F801}', '100011', N'护法');
INSERT INTO dbo.TBL_ITEM (nItemID, FLD_USERID, sItemName, nCount) VALUES
    (1001, '000777', N'屠龙刀', 1),
    (1002, '100005', N'倚天剑', 4),
    (1003, '100010', N'玄铁重剑', 7),
    (1004, '100015', N'金创药', 1),
    (1005, '100002', N'回城卷', 4),
    (1006, '100007', N'传送戒指', 7),
    (1007, '100012', N'麻痹戒指', 1),
    (1008, '100017', N'屠龙刀', 4),
    (1009, '100004', N'倚天剑', 7),
    (1010, '100009', N'玄铁重剑', 1),
    (1011, '100014', N'金创药', 4),
    (1012, '100001', N'回城卷', 7),
    (1013, '100006', N'传送戒指', 1),
    (1014, '100011', N'麻痹戒指', 4),
    (1015, '100016', N'屠龙刀', 7),
    (1016, '100003', N'倚天剑', 1),
    (1017, '100008', N'玄铁重剑', 4),
    (1018, '100013', N'金创药', 7),
    (1019, '000777', N'回城卷', 1),
    (1020, '100005', N'传送戒指', 4),
    (1021, '100010', N'麻痹戒指', 7),
    (1022, '100015', N'屠龙刀', 1),
    (1023, '100002', N'倚天剑', 4),
    (1024, '100007', N'玄铁重剑', 7);
INSERT INTO dbo.TBL_HERO (HeroUserID, HeroMasterUserID, sHeroName) VALUES
    (100005, '000777', N'小龙女'),
    (100012, '100001', N'郭靖'),
    (777, '100002', N'黄蓉'),
    (4, NULL, N'杨过'),
    (5, '100005', N'令狐冲'),
    (6, '100012', N'任盈盈'),
    (7, '100009', N'乔峰');
INSERT INTO mail.TBL_MAIL (nMailID, SENDER_ROLE_ID, OwnerRoleID, sTitle) VALUES
    (1, NULL, '000777', N'系统补偿'),
    (2, '100003', '100002', N'合区公告'),
    (3, '100006', '100004', N'行会邀请'),
    (4, '100009', '100006', N'好友来信'),
    (5, NULL, '100008', N'系统补偿'),
    (6, '100015', '100010', N'合区公告'),
    (7, '000777', '100012', N'行会邀请'),
    (8, '100003', '100014', N'好友来信'),
    (9, NULL, '100016', N'系统补偿'),
    (10, '100009', '000777', N'合区公告'),
    (11, '100012', '100002', N'行会邀请'),
    (12, '100015', '100004', N'好友来信'),
    (13, NULL, '100006', N'系统补偿'),
    (14, '100003', '100008', N'合区公告');
INSERT INTO log.TBL_TRADE (nTradeID, SellerUserID, BuyerUserID, GUILD_ID, nPrice) VALUES
    (1, NULL, '100001', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 100),
    (2, '100001', '100008', NULL, 200),
    (3, '100002', '100015', NULL, 300),
    (4, '100003', '100004', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 400),
    (5, '100004', '100011', NULL, 500),
    (6, NULL, '000777', NULL, 600),
    (7, '100006', '100007', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 700),
    (8, '100007', '100014', NULL, 800),
    (9, '100008', '100003', NULL, 900),
    (10, '100009', '100010', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 1000),
    (11, NULL, '100017', NULL, 1100),
    (12, '100011', '100006', NULL, 1200);
GO
