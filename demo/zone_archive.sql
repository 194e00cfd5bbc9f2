-- A zone that was shut down: its database is offline and takes no part in anything.
-- Plain T-SQL for SQL Server 2016 or later: sqlcmd -f 65001 -i FILE, or load_sql.

-- Back online first: the files of an offline database stay behind when it is dropped.
IF DB_ID(N'GameArchive') IS NOT NULL
    ALTER DATABASE GameArchive SET ONLINE;
GO
IF DB_ID(N'GameArchive') IS NOT NULL
    ALTER DATABASE GameArchive SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameArchive') IS NOT NULL
    DROP DATABASE GameArchive;
GO
CREATE DATABASE GameArchive COLLATE Chinese_PRC_CI_AS;
GO
USE GameArchive;
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
INSERT INTO dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES
    ('900001', N'旧梦', 'old_times', 9);
GO
USE master;
GO
ALTER DATABASE GameArchive SET OFFLINE WITH ROLLBACK IMMEDIATE;
GO
