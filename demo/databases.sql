-- Drops the four sample databases and creates them again, empty.
-- Plain T-SQL for SQL Server 2016 or later: sqlcmd -f 65001 -i FILE, or load_sql.

-- Online first: dropping an offline database does not delete its files.
IF DB_ID(N'GameArchive') IS NOT NULL
    ALTER DATABASE GameArchive SET ONLINE;
GO
IF DB_ID(N'GameZone1') IS NOT NULL
    ALTER DATABASE GameZone1 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameZone1') IS NOT NULL
    DROP DATABASE GameZone1;
GO
CREATE DATABASE GameZone1 COLLATE Chinese_PRC_CI_AS;
GO
IF DB_ID(N'GameZone2') IS NOT NULL
    ALTER DATABASE GameZone2 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameZone2') IS NOT NULL
    DROP DATABASE GameZone2;
GO
CREATE DATABASE GameZone2 COLLATE Chinese_PRC_CI_AS;
GO
IF DB_ID(N'Game_玄武三区') IS NOT NULL
    ALTER DATABASE Game_玄武三区 SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'Game_玄武三区') IS NOT NULL
    DROP DATABASE Game_玄武三区;
GO
CREATE DATABASE Game_玄武三区 COLLATE Chinese_PRC_CI_AS;
GO
IF DB_ID(N'GameArchive') IS NOT NULL
    ALTER DATABASE GameArchive SET SINGLE_USER WITH ROLLBACK IMMEDIATE;
GO
IF DB_ID(N'GameArchive') IS NOT NULL
    DROP DATABASE GameArchive;
GO
CREATE DATABASE GameArchive COLLATE Chinese_PRC_CI_AS;
GO
