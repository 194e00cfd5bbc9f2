-- The tables of a game database: accounts, characters, guilds, and what refers to them from several schemas.
-- Run it in each database: sqlcmd -f 65001 -d NAME -i FILE, or load_sql.

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
