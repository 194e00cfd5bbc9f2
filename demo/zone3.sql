-- Rows of Game_玄武三区, a third zone on the same server, not merged: it holds the largest character ID of all.
-- Run it in that database: sqlcmd -f 65001 -d NAME -i FILE, or load_sql.

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
