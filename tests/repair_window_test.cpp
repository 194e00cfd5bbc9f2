#include "support/desk_fixture.h"

using Texts = std::vector<std::wstring>;
static const std::string kEveryButton = "3007 3011 3013 3016 ";

static std::wstring Detected(const std::wstring& roles, const std::wstring& guilds) {
    return L"分析完成：重复角色 " + roles + L" 个，重复行会 " + guilds +
           L" 个。默认未修改数据库。请选择目标库后可批量修复。";
}

// Presses a button that repairs, answers its question with Yes and waits for the detection behind it. Both
// boxes are given as their title, "|" and their text.
static void Repair(const RepairDesk& story, int button, const std::wstring& question,
                   const std::wstring& done, const std::wstring& detected) {
    const desk::MessageBoxView box = story.PressForBox(button);
    CHECK(box.title + L"|" + box.text == question);
    desk::WaitUntil("a warning", [&] { return desk::Yellowness(box.icon) > 0; });
    desk::Answer(box, IDYES);
    const desk::MessageBoxView end = desk::WaitForMessageBox(story.window);
    CHECK(end.title + L"|" + end.text == done);
    CHECK((end.hasIcon && end.buttons.size() == 1));
    desk::WaitUntil("an information", [&] { return desk::Yellowness(end.icon) < 0; });
    CHECK(story.Off() == kEveryButton);
    desk::Answer(end, IDOK);
    story.WaitForStatus(detected);
    CHECK(story.Off().empty());
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
}

static void RepairAll(const RepairDesk& story, const std::wstring& target, const std::wstring& roles,
                      const std::wstring& guilds, const std::wstring& hits, const std::wstring& detected) {
    Repair(story, kRepairAllButton,
           L"确认批量修复全部重复 ID|即将批量修复全部重复角色和行会 ID。\n\n目标库：" + target +
               L"\n重复角色数量：" + roles + L"\n重复行会数量：" + guilds + L"\n关联字段命中行数：" + hits +
               L"\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
               L"并在目标库的主表及关联字段中同步替换。\n"
               L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？",
           L"批量修复完成|批量修复完成，事务已提交。程序将重新检测两个库。", detected);
}

TEST_CASE("lists and boxes follow every detection selection and analysis") {
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList), guilds = story.Child(kGuildList);
    const HWND fields = story.Child(kFieldList), target = story.Child(kTargetCombo);
    // The selected ID and its new one, the number of fields, and what the status line says.
    const auto shown = [&] {
        return story.Text(kSelectedIdEdit) + L"," + story.Text(kNewIdEdit) + L"," +
               std::to_wstring(desk::ListRowCount(fields)) + L"," + story.Status();
    };
    std::wstring refused;
    for (const int button : {kAnalyzeButton, kRepairButton, kRepairAllButton}) {
        story.Press(button);
        refused += story.Status();
    }
    CHECK(refused ==
          L"请先在重复列表中选择一个角色。请先在重复列表中选择一个角色。请先点击“检测重复唯一 "
          L"ID”，当前没有可批量修复的角色或行会记录。");
    desk::BringToFront(story.window);
    const std::string blank = desk::Pixels(roles);
    story.Detect();
    CHECK(shown() == L",,0," + Detected(L"3", L"2"));
    desk::WaitUntil("painted rows", [&] { return desk::Pixels(roles) != blank; });
    CHECK(desk::ComboItems(target) == Texts{story.zones.A(), story.zones.B()});
    CHECK(desk::ListRows(roles).at(1) == Texts{L"1001", L"张三", L"李四", L"zhang", L"li"});
    CHECK(desk::ListRows(guilds).at(1) == Texts{L"{BBBB}", L"青龙会", L"白虎会"});
    desk::SelectListRow(roles, 1);
    CHECK(shown() == L"1001,,0,已选择重复 ID，请点击“分析选中 ID”。");
    desk::ChooseComboItem(target, 1);
    desk::SetText(story.Child(kSelectedIdEdit), L"");
    story.Press(kAnalyzeButton);
    const std::wstring analysed =
        L"1001,100235,12,目标库关联字段 12 个，命中总行数 13；建议新 ID 已填入，确认目标库后才可执行修复。";
    CHECK(shown() == analysed);
    CHECK(desk::ListRows(fields).at(7) == Texts{L"mail.信件", L"收件ROLEID", L"nvarchar", L"2"});
    desk::SelectListRow(guilds, 1);
    desk::SelectListRow(fields, 1);
    CHECK(shown() == analysed);
    desk::SelectListRow(roles, 2);
    CHECK(shown() == L"1002,,0,已选择重复 ID，请点击“分析选中 ID”。");
    story.Press(kAnalyzeButton);
    CHECK(shown().starts_with(L"1002,100235,5,"));
    story.Detect();
    CHECK(shown() == L",,0," + Detected(L"3", L"2"));
    CHECK((desk::ComboSelection(target) == 0 && desk::ComboItems(target).size() == 2));
}

TEST_CASE("what has changed on the server since it was shown is refused and left as it is") {
    const RepairDesk story;
    const std::wstring &b = story.zones.B(), set = L"UPDATE TBL_CHARACTER SET FLD_USERID = ",
                       now = L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录";
    for (const auto& [zone, row, changed, back] :
         {std::tuple(story.zones.A(), L" WHERE n = 1", L"'5'", L"'1001'"),
          {b, L" WHERE n = 7", L"'1001'", L"'3001'"},
          {b, L" WHERE n = 1", L"NULL", L"'1001'"}}) {
        for (const auto& [button, status] :
             {std::pair(kAnalyzeButton, L"分析失败：" + now),
              {kRepairButton, L"修复失败，已尝试回滚：" + now},
              {kRepairAllButton,
               L"批量修复失败，已尝试回滚：重复 ID 在两个库中不再各有且只有一条主表记录：1001"}}) {
            story.DetectAndSelect();
            desk::SetText(story.Child(kNewIdEdit), L"200001");
            RunSql(Connect(zone), {set + changed + row});
            const AllContents before = story.zones.Contents();
            desk::PressWithoutWaiting(story.Child(button));
            const std::wstring end = status;
            desk::WaitUntil("end", [&] { return story.Status() == end || !desk::IsEnabled(story.window); });
            REQUIRE(story.Status() == end);  // and no question
            CHECK((story.Off().empty() && story.zones.Contents() == before));
            RunSql(Connect(zone), {set + back + row});
        }
    }
}

TEST_CASE("after half a detection the questions name what is stored and only that is repaired") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList), databaseB = story.Child(kDatabaseBEdit);
    const std::wstring &b = story.zones.B(), &third = story.zones.Third();
    RunSql(Connect(third), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (2, '1002')"});
    const AllContents before = story.zones.Contents();
    story.Detect();
    desk::SetText(databaseB, third);
    {
        const Faults noGuilds("execute\t'TBL_GUILD_INFO'\t1\tHY000\t1\tx\n");
        story.Press(kDetectButton);
    }
    CHECK(story.Status() == L"检测失败：HY000: x");
    desk::SelectListRow(roles, 1);
    story.Press(kRepairButton);
    CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    desk::SelectListRow(roles, 0);
    CHECK(desk::ListRows(roles).at(0).at(0) + story.Text(kSelectedIdEdit) == L"00121002");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    const desk::MessageBoxView question = story.PressForBox(kRepairButton);
    CHECK(question.text.starts_with(L"即将修改数据库：" + third +
                                    L"\n旧 ID：1002\n新 ID：200001\n关联字段：1 个，预计更新 1 行。"));
    desk::Answer(question, IDNO);
    desk::SetText(databaseB, b);
    CHECK(story.zones.Contents() == before);
    // The guilds are those of the detection before; duplicates that no detection has found stay.
    RunSql(Connect(story.zones.A()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = '12x' WHERE n = 5",
                                      L"UPDATE TBL_GUILD_INFO SET sGuildID = N'{ONLY-B}' WHERE n = 3"});
    RepairAll(story, b, L"1", L"2", L"9", Detected(L"3", L"1"));
    CHECK(Difference(before.b, ContentOf(b)).size() == 9);
}

TEST_CASE("one ID is repaired after a question and then everything is detected again") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    for (const auto& [newId, refused] : {std::pair(L"", L"新角色唯一 ID必须是纯数字唯一 ID"),
                                         {L"1001", L"新旧角色唯一 ID 不能相同"},
                                         {L"100234", L"新 ID 已存在于数据库："}}) {
        desk::SetText(story.Child(kNewIdEdit), newId);
        story.Press(kRepairButton);
        CHECK(story.Status().starts_with(std::wstring(L"修复失败，已尝试回滚：") + refused));
    }
    desk::SetText(story.Child(kNewIdEdit), L"2001");
    Repair(story, kRepairButton,
           L"确认修复角色唯一 ID|即将修改数据库：" + story.zones.B() +
               L"\n旧 ID：1001\n新 ID：2001\n关联字段：12 个，预计更新 13 "
               L"行。\n\n此操作会写入数据库，确认继续吗？",
           L"修复完成|修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。",
           Detected(L"2", L"2"));
    const Content changed = Difference(before.b, story.zones.Contents().b);
    CHECK(changed.size() == 13);
    for (const auto& [cell, value] : changed) CHECK(Trim(before.b.at(cell)) + Trim(value) == L"10012001");
}

TEST_CASE("guilds alone are repaired and in the first zone as well") {
    const RepairDesk story;
    RunSql(Connect(story.zones.A()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = NULL"});
    const AllContents before = story.zones.Contents();
    story.Detect();
    CHECK(story.Status() == Detected(L"0", L"2"));
    RepairAll(story, story.zones.A(), L"0", L"2", L"2", Detected(L"0", L"0"));
    const AllContents after = story.zones.Contents();
    CHECK((after.b == before.b && Difference(before.a, after.a).size() == 2));
}

TEST_CASE("Enter Escape and the close box answer No and closing the program answers nothing") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    for (const auto& [button, status] : {std::pair(kRepairButton, L"已取消修复，数据库未修改。"),
                                         {kRepairAllButton, L"已取消批量修复，数据库未修改。"}}) {
        for (const int key : {VK_RETURN, VK_ESCAPE, 0}) {
            const desk::MessageBoxView box = story.PressForBox(button);
            CHECK((box.defaultButton == IDNO && box.buttons.size() == 2));
            const bool gone =
                key ? desk::AnswerByKey(box, static_cast<WORD>(key)) : desk::AnswerByCloseBox(box);
            CHECK((gone || key != VK_RETURN));
            if (!gone) desk::Answer(box, IDNO);  // Windows: a question without Cancel ignores the other two
            story.WaitForStatus(status);
            CHECK(story.Off().empty());
        }
    }
    story.PressForBox(kRepairAllButton);
    desk::Close(story.desk.window);
    CHECK(story.desk.tool->WaitForEnd() == 0);
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("each action tells what it does and takes its buttons away while it works") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    desk::SetText(story.Child(kDatabaseBEdit), story.zones.B());
    const Trace trace;
    const HWND line = story.Child(kRepairStatus);
    const HCURSOR arrow = ClickForArrow(story.window);
    // Presses under a slow server until the action is seen.
    const auto see = [&](HWND button, const std::wstring& status, const std::string& off) {
        desk::SetText(line, L"");
        const Faults untilSeen(kSlowServer);
        desk::PressWithoutWaiting(button);
        desk::WaitUntil(WideToUtf8(status), [&] {
            return desk::ShownText(line) == status && story.Off() == off && desk::Cursor() != arrow;
        });
    };
    const auto ends = [&](const std::wstring& status) {
        desk::WaitUntil(WideToUtf8(status), [&] {
            return story.Status().starts_with(status) && story.Off().empty() && desk::Cursor() == arrow;
        });
    };
    see(story.Child(kDetectButton), L"正在连接并分析两个数据库，请稍候...", kEveryButton);
    ends(L"分析完成：");
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    see(story.Child(kAnalyzeButton), L"正在分析目标库中这个角色的关联字段...", "3011 3013 3016 ");
    ends(L"目标库关联字段 12 个");
    for (const auto& [button, planning, off, repairing] :
         {std::tuple(kRepairButton, L"", std::string(), L"正在事务中修复，请不要关闭窗口..."),
          {kRepairAllButton, L"正在自动分析所有重复角色及关联字段，请稍候...", kEveryButton,
           L"正在事务中批量修复，请不要关闭窗口..."}}) {
        desk::ChooseComboItem(story.Child(kTargetCombo), 1);
        see(story.Child(button), planning, off);
        const desk::MessageBoxView question = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == arrow);
        see(desk::Child(question.window, IDYES), repairing, kEveryButton);
        const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == arrow);
        desk::Answer(done, IDOK);
        ends(L"分析完成：");
    }
    // Every action reads on a connection to master; the repairs write on one to the target.
    std::wstring used;
    for (const std::wstring& event : trace.Events())
        if (event.starts_with(L"connect ") || event.starts_with(L"manual ")) used += event + L" ";
    const std::wstring reads = L"connect master ", b = story.zones.B() + L" ";
    const std::wstring repairs = reads + L"connect " + b + L"manual " + b + reads;
    CHECK(used == reads + reads + repairs + repairs);
}

TEST_CASE("what the server refuses inside a repair reaches the status line and changes nothing") {
    const RepairDesk story;
    // Columns too short for the new ID and one that holds each ID once; the last table is the first to be
    // written.
    for (const auto& [button, sql, status] :
         {std::tuple(kRepairAllButton,
                     L"CREATE TABLE c (n int, sGuildID nvarchar(20)); INSERT INTO c (n, sGuildID) VALUES (1, "
                     L"N'{BBBB}')",
                     L"批量修复失败，已尝试回滚：22001: "),
          {kRepairButton,
           L"CREATE TABLE b (n int, UserID varchar(9) PRIMARY KEY); INSERT INTO b (n, UserID) VALUES (1, "
           L"'1001'), (2, '200001')",
           L"修复失败，已尝试回滚：23000: "}}) {
        RunSql(Connect(story.zones.B()), {sql});
        const AllContents before = story.zones.Contents();
        story.DetectAndSelect();
        desk::SetText(story.Child(kNewIdEdit), L"200001");
        desk::Answer(story.PressForBox(button), IDYES);
        const std::wstring expected = status;
        desk::WaitUntil(WideToUtf8(expected), [&] { return story.Status().starts_with(expected); });
        CHECK((story.Off().empty() && story.zones.Contents() == before));
    }
}
