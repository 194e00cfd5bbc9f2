#include "db/odbc_transaction.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/wide_text.h"

// after windows.h, which it needs
#include <commctrl.h>

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
    CHECK(GetWindow(box.window, GW_OWNER) == story.window);
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

TEST_CASE("the repair window without a zone has its controls and columns and nothing filled in") {
    Desk desk;
    desk.StartTool();
    const HWND window = desk.OpenRepairTool();
    // ID, initial of the class, lower half of the style, "+" for a sunken edge, text.
    std::wstring controls, columns;
    for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        controls += std::to_wstring(GetDlgCtrlID(child)) + desk::ClassName(child).substr(0, 1) +
                    std::to_wstring(desk::Style(child) & 0xFFFF) +
                    (desk::ExStyle(child) & WS_EX_CLIENTEDGE ? L"+ " : L" ") + desk::Text(child) + L";";
    }
    CHECK(
        controls ==
        L"3101S12 服务器：;3001E128+ ;3102S12 端口：;3002E8320+ 1433;3103S12 用户：;3003E128+ ;"
        L"3104S12 密码：;3004E160+ ;3105S12 库 A：;3005E128+ ;3106S12 库 B：;3006E128+ ;"
        L"3007B0 检测重复唯一 ID;3016B0 自动修复全部重复 ID;3008S5+ ;3017S5+ ;3107S12 选中 ID：;3015E2176+ ;"
        L"3108S12 修复库：;3009C3 ;3109S12 新 ID：;3010E8320+ ;3011B0 分析关联数据;3013B0 执行修复;3012S5+ ;"
        L"3014S12 默认只读；检测和分析不会修改数据库。;");
    for (const int id : {kRoleList, kGuildList, kFieldList}) {
        constexpr LRESULT kStyles = LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER;
        CHECK((desk::Send(desk::Child(window, id), LVM_GETEXTENDEDLISTVIEWSTYLE) & kStyles) == kStyles);
        for (const auto& [title, width] : desk::ListColumns(desk::Child(window, id)))
            columns += title + L" " + std::to_wstring(width) + L";";
    }
    CHECK(columns ==
          L"重复唯一 ID 210;库 A 角色 160;库 B 角色 160;库 A 账号 150;库 B 账号 150;"
          L"重复行会 ID 280;库 A 行会 220;库 B 行会 220;表 260;字段 180;类型 100;命中行数 100;");
}

TEST_CASE("the repair window opens once prefilled and stands in its place") {
    const RepairDesk story;
    CHECK(GetWindow(story.window, GW_OWNER) == story.desk.Window());
    CHECK(story.Text(kServerEdit) + story.Text(kPortEdit) + story.Text(kUserEdit) +
              story.Text(kDatabaseAEdit) + story.Text(kDatabaseBEdit) ==
          Server().host + std::to_wstring(Server().port) + Server().user + story.zones.A());
    // As it opens, below its smallest size, and above.
    for (const auto& [width, height, w, h] :
         {std::tuple(0, 0, 1160, 860), {600, 400, 1000, 860}, {1301, 900, 1301, 900}}) {
        if (width > 0) desk::Resize(story.window, width, height);
        const RECT outer = desk::ScreenRect(story.window);
        CHECK((outer.right - outer.left == w && outer.bottom - outer.top == h));
        CheckPlaces(story.window, RepairLayout(desk::ClientSize(story.window).cx));
    }
    const auto check = [&](int button, const wchar_t* status) {
        story.Press(button);
        CHECK(story.Status() == status);
        CHECK(story.Off().empty());
    };
    check(kAnalyzeButton, L"请先在重复列表中选择一个角色。");
    check(kRepairButton, L"请先在重复列表中选择一个角色。");
    check(kRepairAllButton, L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。");
    desk::SetText(story.Child(kPortEdit), L"");
    check(kDetectButton, L"检测失败：端口必须是数字");
    desk::BringToFront(story.desk.Window());
    desk::Press(story.desk.Child(1010));
    desk::WaitUntil("in front", [&] { return GetForegroundWindow() == story.window; });
    CHECK(story.Text(kPortEdit).empty());  // what was typed stays
    desk::Close(story.window);
    desk::WaitUntilGone(story.window);
    CHECK(IsWindow(story.desk.Window()));
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
    if (!CanInjectFaults()) return;
    // Half a detection: the rows of before stand for nothing any more.
    const Faults second("execute\t2\tHY000\t1\tx\n");
    desk::SetText(story.Child(kDatabaseBEdit), story.zones.Third());
    story.Press(kDetectButton);
    CHECK(story.Status() == L"检测失败：HY000: x");
    desk::SelectListRow(roles, 1);
    story.Press(kAnalyzeButton);
    CHECK(shown() == L",,0,请先在重复列表中选择一个角色。");
}

TEST_CASE("one ID is repaired after a question and then everything is detected again") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.Detect();
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    const std::wstring failed = L"修复失败，已尝试回滚：";
    for (const auto& [id, error] : {std::pair(L"", std::wstring(L"新角色唯一 ID必须是纯数字唯一 ID")),
                                    {L"1001", L"新旧角色唯一 ID 不能相同"},
                                    {L"100234", L"新 ID 已存在于数据库：" + story.zones.Third()}}) {
        desk::SetText(story.Child(kNewIdEdit), id);
        story.Press(kRepairButton);
        CHECK(story.Status() == failed + error);
    }
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    Repair(story, kRepairButton,
           L"确认修复角色唯一 ID|即将修改数据库：" + story.zones.B() +
               L"\n旧 ID：1001\n新 ID：200001\n关联字段：12 个，预计更新 13 "
               L"行。\n\n此操作会写入数据库，确认继续吗？",
           L"修复完成|修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。",
           Detected(L"2", L"2"));
    const Content changed = Difference(before.b, story.zones.Contents().b);
    CHECK(changed.size() == 13);
    for (const auto& [cell, value] : changed) CHECK(Trim(before.b.at(cell)) + Trim(value) == L"1001200001");
}

TEST_CASE("all IDs are repaired after a question also when there are only characters or only guilds") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    const OdbcSession a = Connect(story.zones.A());
    const auto repair = [&](const wchar_t* roles, const wchar_t* guilds, int target, const wchar_t* hits) {
        story.Detect();
        CHECK(story.Status() == Detected(roles, guilds));
        desk::ChooseComboItem(story.Child(kTargetCombo), target);
        Repair(story, kRepairAllButton,
               L"确认批量修复全部重复 ID|即将批量修复全部重复角色和行会 ID。\n\n目标库：" +
                   (target == 1 ? story.zones.B() : story.zones.A()) + L"\n重复角色数量：" + roles +
                   L"\n重复行会数量：" + guilds + L"\n关联字段命中行数：" + hits +
                   L"\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
                   L"并在目标库的主表及关联字段中同步替换。\n"
                   L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？",
               L"批量修复完成|批量修复完成，事务已提交。程序将重新检测两个库。", Detected(L"0", L"0"));
        CHECK(desk::ListRowCount(story.Child(kRoleList)) + desk::ListRowCount(story.Child(kGuildList)) == 0);
    };
    RunSql(a, {L"UPDATE TBL_GUILD_INFO SET sGuildName = sGuildID, sGuildID = NULL"});
    repair(L"3", L"0", 1, L"21");
    RunSql(a, {L"UPDATE TBL_GUILD_INFO SET sGuildID = sGuildName"});
    const AllContents between = story.zones.Contents();
    CHECK(Difference(before.b, between.b).size() == 21);
    repair(L"0", L"2", 0, L"2");
    CHECK(story.zones.Contents().b == between.b);
    CHECK(Difference(between.a, story.zones.Contents().a).size() == 2);
}

TEST_CASE("Enter Escape and the close box answer both questions with No") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.Detect();
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    for (const auto& [button, status] : {std::pair(kRepairButton, L"已取消修复，数据库未修改。"),
                                         {kRepairAllButton, L"已取消批量修复，数据库未修改。"}}) {
        for (const int key : {VK_RETURN, VK_ESCAPE, 0}) {
            CAPTURE(key);
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
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("each action tells what it does and takes its buttons away while it works") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const RepairDesk story;
    desk::SetText(story.Child(kDatabaseBEdit), story.zones.B());
    const Trace trace;
    desk::Click(story.window, 600, 110);
    const HWND line = story.Child(kRepairStatus);
    const HCURSOR arrow = desk::Cursor();
    const OdbcSession other = Connect(story.zones.B());
    const auto works = [&](const std::wstring& status, const std::string& off) {
        desk::WaitUntil(WideToUtf8(status), [&] {
            return desk::ShownText(line) == status && story.Off() == off && desk::Cursor() != arrow;
        });
    };
    const auto pressSlowly = [&](int button, const std::wstring& status, const std::string& off) {
        desk::SetText(line, L"");
        const Faults untilSeen("slow\tconnect\t*\t300\nslow\texecute\t*\t300\nslow\tfetch\t*\t300\n");
        desk::PressWithoutWaiting(story.Child(button));
        works(status, off);
    };
    const auto ends = [&](const std::wstring& status) {
        desk::WaitUntil(WideToUtf8(status), [&] {
            return story.Status().starts_with(status) && story.Off().empty() && desk::Cursor() == arrow;
        });
    };
    // Answers Yes while another connection keeps the repair waiting.
    const auto repairSlowly = [&](const std::wstring& status) {
        const desk::MessageBoxView box = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == arrow);
        RunInTransaction(other.Connection(), {}, [&] {
            RunSql(other, {L"UPDATE TBL_CHARACTER SET FLD_ACCOUNT = FLD_ACCOUNT"});
            desk::Answer(box, IDYES);
            works(status, kEveryButton);
        });
        const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == arrow);
        desk::Answer(done, IDOK);
        ends(L"分析完成：");
    };
    pressSlowly(kDetectButton, L"正在连接并分析两个数据库，请稍候...", kEveryButton);
    ends(L"分析完成：");
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    pressSlowly(kAnalyzeButton, L"正在分析目标库中这个角色的关联字段...", "3011 3013 3016 ");
    ends(L"目标库关联字段 12 个");
    pressSlowly(kRepairButton, L"", "");
    repairSlowly(L"正在事务中修复，请不要关闭窗口...");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    pressSlowly(kRepairAllButton, L"正在自动分析所有重复角色及关联字段，请稍候...", kEveryButton);
    repairSlowly(L"正在事务中批量修复，请不要关闭窗口...");
    // Every action reads on a connection to master; the repairs write on one to the target.
    std::wstring connections;
    for (const std::wstring& event : trace.Events())
        if (event.starts_with(L"connect ")) connections += event.substr(8) + L" ";
    const std::wstring repaired = L"master " + story.zones.B() + L" master ";
    CHECK(connections == story.zones.B() + L" master master " + repaired + repaired);
}

TEST_CASE("what the server refuses inside a repair reaches the status line and changes nothing") {
    const RepairDesk story;
    const OdbcSession b = Connect(story.zones.B());
    int number = 0;
    // A column too short for the new ID, and one that holds each ID only once.
    for (const auto& [button, column, type, rows, status] :
         {std::tuple(kRepairAllButton, L"sGuildID", L" nvarchar(20)", L"(1, N'{BBBB}')",
                     L"批量修复失败，已尝试回滚：22001: "),
          {kRepairButton, L"UserID", L" varchar(4)", L"(1, '1001')", L"修复失败，已尝试回滚：22001: "},
          {kRepairButton, L"UserID", L" varchar(9) NOT NULL PRIMARY KEY", L"(1, '1001'), (2, '200001')",
           L"修复失败，已尝试回滚：23000: "}}) {
        const std::wstring table = L"TBL_STRICT" + std::to_wstring(++number), expected = status;
        RunSql(b, {L"CREATE TABLE " + table + L" (n int, " + column + type + L")",
                   L"INSERT INTO " + table + L" (n, " + column + L") VALUES " + rows});
        const AllContents before = story.zones.Contents();
        story.Detect();
        desk::SelectListRow(story.Child(kRoleList), 1);
        desk::ChooseComboItem(story.Child(kTargetCombo), 1);
        desk::SetText(story.Child(kNewIdEdit), L"200001");
        desk::Answer(story.PressForBox(button), IDYES);
        desk::WaitUntil(WideToUtf8(expected), [&] { return story.Status().starts_with(expected); });
        CHECK(story.Off().empty());
        CHECK(story.zones.Contents() == before);
        RunSql(b, {L"DELETE FROM " + table});
    }
}

TEST_CASE("a program killed inside the transaction leaves nothing half applied") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    RepairDesk story;
    story.Detect();
    const AllContents before = story.zones.Contents();
    const desk::MessageBoxView question = story.PressForBox(kRepairAllButton);
    const Faults faults("slow\tcommit\t1\t60000\n");
    const Trace trace;
    desk::Answer(question, IDYES);
    desk::WaitUntil("an update", [&] { return trace.Told().find(L"execute UPDATE") != std::wstring::npos; });
    story.desk.Tool().Kill();
    CHECK(story.zones.Contents() == before);
}

TEST_CASE("closing the query window closes an open question unanswered") {
    RepairDesk story;
    story.Detect();
    const AllContents before = story.zones.Contents();
    story.PressForBox(kRepairAllButton);
    desk::Close(story.desk.Window());
    desk::WaitUntilGone(story.desk.Window());
    CHECK(story.desk.Tool().WaitForEnd() == 0);
    CHECK(story.zones.Contents() == before);
}
