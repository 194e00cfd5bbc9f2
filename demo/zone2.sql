-- Game database of zone two (白虎二区): shares three character IDs and two guild IDs with zone one.
-- Plain T-SQL for SQL Server 2016 or later: sqlcmd -f 65001 -i FILE, or load_sql.

IF DB_ID(N'GameZone2') IS NOT NULL
    ALTER DATABASE GameZone2 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameZone2') IS NOT NULL
    DROP DATABASE GameZone2;
GO
CREATE DATABASE GameZone2 COLLATE Chinese_PRC_CI_AS;
GO
USE GameZone2;
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
    ('white_tiger', 'demo-01', 'player01@example.com', '13000012345'),
    ('tiger01', 'demo-02', 'player02@example.com', NULL),
    ('tiger02', 'demo-03', 'player03@example.com', NULL),
    ('tigerlily', 'demo-04', NULL, '13000036102'),
    ('dragon01', 'demo-05', 'player05@example.com', NULL),
    ('dragonking', 'demo-06', 'player06@example.com', NULL),
    ('snowdragon', 'demo-07', 'player07@example.com', '13000059859'),
    ('night_owl', 'demo-08', 'player08@example.com', NULL),
    ('stone_lion', 'demo-09', 'player09@example.com', NULL),
    ('swiftrain', 'demo-10', 'player10@example.com', '13000083616'),
    ('coldlake', 'demo-11', NULL, NULL),
    ('jade.ring', 'demo-12', 'player12@example.com', NULL),
    ('ironwall', 'demo-13', 'player13@example.com', '13000107373'),
    ('wine_master', 'demo-14', 'player14@example.com', NULL),
    ('lotus99', 'demo-15', 'player15@example.com', NULL),
    ('winter3', 'demo-16', 'player16@example.com', '13000131130'),
    ('lightning', 'demo-17', 'player17@example.com', NULL),
    ('silverfish', 'demo-18', NULL, NULL),
    ('panda_li', 'demo-19', 'player19@example.com', '13000154887'),
    ('li_lei', 'demo-20', 'player20@example.com', NULL),
    ('hanmeimei', 'demo-21', 'player21@example.com', NULL),
    ('chen_san', 'demo-22', 'player22@example.com', '13000178644'),
    ('liu_si', 'demo-23', 'player23@example.com', NULL),
    ('yang_wu', 'demo-24', 'player24@example.com', NULL),
    ('huang_liu', 'demo-25', NULL, '13000202401'),
    ('xu_qi', 'demo-26', 'player26@example.com', NULL),
    ('zhu_ba', 'demo-27', 'player27@example.com', NULL),
    ('ma_jiu', 'demo-28', 'player28@example.com', '13000226158'),
    ('hu_shi', 'demo-29', 'player29@example.com', NULL),
    ('guan_yu', 'demo-30', 'player30@example.com', NULL),
    ('zhang_fei', 'demo-31', 'player31@example.com', '13000249915'),
    ('zhao_yun', 'demo-32', NULL, NULL),
    (N'白虎使者', 'demo-33', 'player33@example.com', NULL),
    (N'虎啸山林', 'demo-34', 'player34@example.com', '13000273672'),
    (N'玩家四五六', 'demo-35', 'player35@example.com', NULL),
    (N'侠客', 'demo-36', 'player36@example.com', NULL),
    (N'百晓生', 'demo-37', 'player37@example.com', '13000297429'),
    ('D''Arcy', 'demo-38', 'player38@example.com', NULL),
    ('cd', 'demo-39', NULL, NULL),
    ('sunlight', 'demo-40', 'player40@example.com', '13000321186');
INSERT INTO dbo.TBL_CHARACTER
    (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID, FLD_LEVEL, FLD_GOLD)
VALUES
    ('000777', N'白衣卿相', 'white_tiger', 2, 20, 0),
    ('100005', N'虎啸风', 'tiger02', 2, 33, 7907),
    ('100012', N'雪中行', 'dragon01', 2, 46, 15814),
    ('100101', N'双龙', 'snowdragon', 2, 59, 23721),
    ('100102', N'醉卧沙场', 'stone_lion', 2, 72, 31628),
    ('100103', N'夜枭', 'coldlake', 2, 25, 39535),
    ('100104', N'石敢当', 'ironwall', 2, 38, 47442),
    ('100105', N'听雨', 'lotus99', 2, 51, 55349),
    ('100106', N'寒潭影', 'lightning', 2, 64, 63256),
    ('100107', N'铁壁', 'panda_li', 2, 77, 71163),
    ('100108', N'酒中仙', 'hanmeimei', 2, 30, 79070),
    ('100109', N'莲生', 'liu_si', 2, 43, 86977),
    ('100110', N'冬至', 'huang_liu', 2, 56, 4884),
    ('100111', N'闪电貂', 'zhu_ba', 2, 69, 12791),
    ('100112', N'银鲤', 'hu_shi', 2, 22, 20698),
    ('100113', N'韩梅梅', 'zhang_fei', 2, 35, 28605),
    ('100114', N'陈近南', N'白虎使者', 2, 48, 36512),
    ('100115', N'刘伯温', N'玩家四五六', 2, 61, 44419),
    ('GM-01', N'黄药师', N'百晓生', 2, 74, 52326);
INSERT INTO dbo.TBL_GUILD_INFO (sGuildID, sGuildName, MASTER_USER_ID, nLevel) VALUES
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', N'白虎堂', '100005', 4),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', N'风云阁', '000777', 6),
    ('{C7D8E9FA-1B2C-4D3E-8F40-516273849501}', N'听雪楼', NULL, 1);
INSERT INTO dbo.TBL_GUILD_MEMBER (sGuildID, FLD_USERID, sTitle) VALUES
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '000777', NULL),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100005', N'长老'),
    ('{C7D8E9FA-1B2C-4D3E-8F40-516273849501}', '100012', N'成员'),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100101', N'护法'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100102', NULL),
    ('{C7D8E9FA-1B2C-4D3E-8F40-516273849501}', '100103', N'长老'),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100104', N'成员'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100105', N'护法'),
    ('{C7D8E9FA-1B2C-4D3E-8F40-516273849501}', '100106', NULL),
    ('{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', '100107', N'长老'),
    ('{9B6E1F52-7C0D-4E0A-8F11-52A4D0C7B8E4}', '100108', N'成员'),
    ('{C7D8E9FA-1B2C-4D3E-8F40-516273849501}', '100109', N'护法');
INSERT INTO dbo.TBL_ITEM (nItemID, FLD_USERID, sItemName, nCount) VALUES
    (2001, '000777', N'屠龙刀', 1),
    (2002, '100103', N'倚天剑', 4),
    (2003, '100108', N'玄铁重剑', 7),
    (2004, '100113', N'金创药', 1),
    (2005, '100005', N'回城卷', 4),
    (2006, '100104', N'传送戒指', 7),
    (2007, '100109', N'麻痹戒指', 1),
    (2008, '100114', N'屠龙刀', 4),
    (2009, '100012', N'倚天剑', 7),
    (2010, '100105', N'玄铁重剑', 1),
    (2011, '100110', N'金创药', 4),
    (2012, '100115', N'回城卷', 7),
    (2013, '100101', N'传送戒指', 1),
    (2014, '100106', N'麻痹戒指', 4),
    (2015, '100111', N'屠龙刀', 7),
    (2016, 'GM-01', N'倚天剑', 1),
    (2017, '100102', N'玄铁重剑', 4),
    (2018, '100107', N'金创药', 7),
    (2019, '100112', N'回城卷', 1),
    (2020, '000777', N'传送戒指', 4),
    (2021, '100103', N'麻痹戒指', 7),
    (2022, '100108', N'屠龙刀', 1),
    (2023, '100113', N'倚天剑', 4),
    (2024, '100005', N'玄铁重剑', 7);
INSERT INTO dbo.TBL_HERO (HeroUserID, HeroMasterUserID, sHeroName) VALUES
    (100005, '000777', N'小龙女'),
    (100012, '100005', N'郭靖'),
    (777, '100012', N'黄蓉'),
    (4, NULL, N'杨过'),
    (5, '100103', N'令狐冲'),
    (6, '100110', N'任盈盈'),
    (7, '100107', N'乔峰');
INSERT INTO mail.TBL_MAIL (nMailID, SENDER_ROLE_ID, OwnerRoleID, sTitle) VALUES
    (1, NULL, '000777', N'系统补偿'),
    (2, '100101', '100012', N'合区公告'),
    (3, '100104', '100102', N'行会邀请'),
    (4, '100107', '100104', N'好友来信'),
    (5, NULL, '100106', N'系统补偿'),
    (6, '100113', '100108', N'合区公告'),
    (7, 'GM-01', '100110', N'行会邀请'),
    (8, '100012', '100112', N'好友来信'),
    (9, NULL, '100114', N'系统补偿'),
    (10, '100106', 'GM-01', N'合区公告'),
    (11, '100109', '100005', N'行会邀请'),
    (12, '100112', '100101', N'好友来信'),
    (13, NULL, '100103', N'系统补偿'),
    (14, '100005', '100105', N'合区公告');
INSERT INTO log.TBL_TRADE (nTradeID, SellerUserID, BuyerUserID, GUILD_ID, nPrice) VALUES
    (1, NULL, '100005', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 100),
    (2, '100005', '100106', NULL, 200),
    (3, '100012', '100113', NULL, 300),
    (4, '100101', '100101', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 400),
    (5, '100102', '100108', NULL, 500),
    (6, NULL, '100115', NULL, 600),
    (7, '100104', '100103', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 700),
    (8, '100105', '100110', NULL, 800),
    (9, '100106', '000777', NULL, 900),
    (10, '100107', '100105', '{3F2504E0-4F89-41D3-9A0C-0305E82C3301}', 1000),
    (11, NULL, '100112', NULL, 1100),
    (12, '100109', '100012', NULL, 1200);
GO
