-- A third zone on the same server, not merged: it holds the largest character ID of all.
-- Plain T-SQL for SQL Server 2016 or later: sqlcmd -f 65001 -i FILE, or load_sql.

IF DB_ID(N'Game_玄武三区') IS NOT NULL
    ALTER DATABASE Game_玄武三区 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'Game_玄武三区') IS NOT NULL
    DROP DATABASE Game_玄武三区;
GO
CREATE DATABASE Game_玄武三区 COLLATE Chinese_PRC_CI_AS;
GO
USE Game_玄武三区;
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
GO
INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT, FLD_PASSWORD, FLD_EMAIL, FLD_PHONE) VALUES
    ('xuanwu01', 'demo-01', 'player01@example.com', '13000012345'),
    ('turtle_dragon', 'demo-02', 'player02@example.com', NULL),
    (N'北冥有鱼', 'demo-03', 'player03@example.com', NULL);
INSERT INTO dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID, FLD_LEVEL) VALUES
    ('100200', N'玄武使', 'xuanwu01', 3, 55),
    ('100234', N'龟寿', 'turtle_dragon', 3, 61),
    ('OLD-7', N'北冥', N'北冥有鱼', 3, 12);
INSERT INTO dbo.TBL_GUILD_INFO (sGuildID, sGuildName, MASTER_USER_ID) VALUES
    ('{5D4C3B2A-1908-4F7E-A6B5-C4D3E2F10923}', N'玄武门', '100200');
GO
