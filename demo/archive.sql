-- Rows of GameArchive, a zone that was shut down: its database is offline, so the tool ignores it.
-- Run it in that database: sqlcmd -f 65001 -d NAME -i FILE, or load_sql.

INSERT INTO dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES
    ('900001', N'旧梦', 'old_times', 9);
GO
USE master;
GO
ALTER DATABASE GameArchive SET OFFLINE WITH ROLLBACK IMMEDIATE;
GO
