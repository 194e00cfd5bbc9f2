#include <algorithm>

#include "db/odbc_transaction.h"
#include "tests/support/desk_fixture.h"
#include "tests/support/wide_text.h"

// after windows.h, which it needs
#include <commctrl.h>

using Texts = std::vector<std::wstring>;
static const std::string kEveryButton = "3007 3011 3013 3016 ";
static const std::wstring kDetected = L"。默认未修改数据库。请选择目标库后可批量修复。";

// The controls in their order, each as its ID, its kind and its text.
static std::wstring ControlsOf(HWND window) {
    constexpr std::tuple<std::wstring_view, DWORD, DWORD, std::wstring_view> kKinds[] = {
        {L"Static", SS_LEFTNOWORDWRAP, 0, L" "},
        {L"Button", BS_PUSHBUTTON, 0, L"button "},
        {L"ComboBox", CBS_DROPDOWNLIST, 0, L"choice "},
        {L"SysListView32", LVS_REPORT | LVS_SINGLESEL, WS_EX_CLIENTEDGE, L"list "},
        {L"Edit", ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, L"box "},
        {L"Edit", ES_AUTOHSCROLL | ES_NUMBER, WS_EX_CLIENTEDGE, L"number "},
        {L"Edit", ES_AUTOHSCROLL | ES_PASSWORD, WS_EX_CLIENTEDGE, L"hidden "},
        {L"Edit", ES_AUTOHSCROLL | ES_READONLY, WS_EX_CLIENTEDGE, L"fixed "}};
    std::wstring controls;
    for (HWND child = nullptr; (child = FindWindowExW(window, child, nullptr, nullptr)) != nullptr;) {
        controls += std::to_wstring(GetDlgCtrlID(child));
        for (const auto& [name, style, exStyle, kind] : kKinds) {
            if (desk::ClassName(child) == name && (desk::Style(child) & 0xFFFF) == style &&
                (desk::ExStyle(child) & WS_EX_CLIENTEDGE) == exStyle)
                controls += kind;
        }
        controls += desk::Text(child) + L";";
    }
    return controls;
}

static SIZE SizeOf(HWND window) {
    const RECT outer = desk::ScreenRect(window);
    return {outer.right - outer.left, outer.bottom - outer.top};
}

TEST_CASE("the repair window without a zone has its controls empty") {
    Desk desk;
    desk.StartTool();
    const HWND window = desk.OpenRepairTool();
    CHECK(ControlsOf(window) ==
          L"3101 服务器：;3001box ;3102 端口：;3002number 1433;3103 用户：;3003box ;3104 密码：;3004hidden ;"
          L"3105 库 A：;3005box ;3106 库 B：;3006box ;3007button 检测重复唯一 ID;"
          L"3016button 自动修复全部重复 ID;3008list ;3017list ;3107 选中 ID：;3015fixed ;3108 修复库：;"
          L"3009choice ;3109 新 ID：;3010number ;3011button 分析关联数据;3013button 执行修复;3012list ;"
          L"3014 默认只读；检测和分析不会修改数据库。;");
    std::wstring columns;
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
    RepairDesk story;
    CHECK(GetWindow(story.window, GW_OWNER) == story.desk.Window());
    CHECK(story.Text(kServerEdit) + story.Text(kPortEdit) + story.Text(kUserEdit) +
              story.Text(kDatabaseAEdit) + story.Text(kDatabaseBEdit) ==
          Server().host + std::to_wstring(Server().port) + Server().user + story.zones.A());
    CHECK((SizeOf(story.window).cx == 1160 && SizeOf(story.window).cy == 860));
    for (const SIZE size : {SIZE{600, 400}, SIZE{1301, 900}}) {
        desk::Resize(story.window, size.cx, size.cy);
        CHECK(SizeOf(story.window).cx == std::max(size.cx, 1000L));  // there is a smallest size
        CHECK(SizeOf(story.window).cy == std::max(size.cy, 860L));
        CheckPlaces(story.window, RepairLayout(desk::ClientSize(story.window).cx));
    }
    for (const int button : {kAnalyzeButton, kRepairButton}) {
        story.Press(button);
        CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    }
    story.Press(kRepairAllButton);
    CHECK(story.Status() == L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。");
    desk::SetText(story.Child(kPortEdit), L"");
    story.Press(kDetectButton);
    CHECK(story.Status() == L"检测失败：端口必须是数字");
    CHECK(story.Off().empty());
    desk::BringToFront(story.desk.Window());
    desk::Press(story.desk.Child(1010));
    desk::WaitUntil("in front", [&] { return GetForegroundWindow() == story.window; });
    CHECK(story.Text(kPortEdit).empty());  // what was typed stays
    desk::Close(story.window);
    desk::WaitUntilGone(story.window);
    CHECK(IsWindow(story.desk.Window()));
}

TEST_CASE("the lists and boxes follow every detection selection and analysis") {
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList), guilds = story.Child(kGuildList),
               target = story.Child(kTargetCombo);
    desk::BringToFront(story.window);
    const std::string blank = desk::Pixels(roles);
    story.Detect();
    CHECK(story.Status() == L"分析完成：重复角色 3 个，重复行会 2 个" + kDetected);
    desk::WaitUntil("painted rows", [&] { return desk::Pixels(roles) != blank; });
    CHECK(desk::ComboItems(target) == Texts{story.zones.A(), story.zones.B()});
    CHECK(desk::ListRows(roles).at(1) == Texts{L"1001", L"张三", L"李四", L"zhang", L"li"});
    CHECK(desk::ListRows(guilds).at(1) == Texts{L"{BBBB}", L"青龙会", L"白虎会"});

    // The analysed ID and its new one, with the number of fields and what the status line says.
    const auto shown = [&] {
        return story.Text(kSelectedIdEdit) + L"," + story.Text(kNewIdEdit) + L"," +
               std::to_wstring(desk::ListRowCount(story.Child(kFieldList))) + L"," + story.Status();
    };
    desk::SelectListRow(roles, 1);
    CHECK(shown() == L"1001,,0,已选择重复 ID，请点击“分析选中 ID”。");
    desk::ChooseComboItem(target, 1);
    desk::SetText(story.Child(kSelectedIdEdit), L"");
    story.Press(kAnalyzeButton);
    const std::wstring analysed =
        L"1001,100235,12,目标库关联字段 12 个，命中总行数 13；建议新 ID 已填入，确认目标库后才可执行修复。";
    CHECK(shown() == analysed);
    CHECK(desk::ListRows(story.Child(kFieldList)).at(7) ==
          Texts{L"mail.信件", L"收件ROLEID", L"nvarchar", L"2"});
    desk::SelectListRow(guilds, 1);
    desk::SelectListRow(story.Child(kFieldList), 1);
    CHECK(shown() == analysed);
    desk::SelectListRow(roles, 2);
    CHECK(shown() == L"1002,,0,已选择重复 ID，请点击“分析选中 ID”。");
    story.Press(kAnalyzeButton);
    CHECK(shown().starts_with(L"1002,100235,5,"));
    story.Detect();
    CHECK(shown() == L",,0,分析完成：重复角色 3 个，重复行会 2 个" + kDetected);
    CHECK(desk::ComboSelection(target) == 0);
    CHECK(desk::ComboItems(target).size() == 2);
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
    const desk::MessageBoxView box = story.PressForBox(kRepairButton);
    CHECK(box.title == L"确认修复角色唯一 ID");
    CHECK(box.text == L"即将修改数据库：" + story.zones.B() +
                          L"\n旧 ID：1001\n新 ID：200001\n关联字段：12 个，预计更新 13 行。\n\n"
                          L"此操作会写入数据库，确认继续吗？");
    CHECK(GetWindow(box.window, GW_OWNER) == story.window);
    CHECK(desk::LooksYellow(box.icon));
    desk::Answer(box, IDYES);
    const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
    CHECK(done.title + done.text ==
          L"修复完成修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。");
    CHECK((done.hasIcon && !desk::LooksYellow(done.icon) && done.buttons.size() == 1));
    CHECK(story.Off() == kEveryButton);
    desk::Answer(done, IDOK);
    story.WaitForStatus(L"分析完成：重复角色 2 个，重复行会 2 个" + kDetected);
    CHECK(story.Off().empty());
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    const Content changed = Difference(before.b, story.zones.Contents().b);
    CHECK(changed.size() == 13);
    for (const auto& [cell, value] : changed) CHECK(Trim(before.b.at(cell)) + Trim(value) == L"1001200001");
}

TEST_CASE("all IDs are repaired after a question also when there are only characters or only guilds") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    const OdbcSession a = Connect(story.zones.A());
    RunSql(a, {L"UPDATE TBL_GUILD_INFO SET sGuildName = sGuildID, sGuildID = NULL"});
    // Detects so many, asks, and repairs in the database of that index.
    const auto repair = [&](const wchar_t* roles, const wchar_t* guilds, int target, const wchar_t* hits) {
        story.Detect();
        CHECK(story.Status() ==
              L"分析完成：重复角色 " + std::wstring(roles) + L" 个，重复行会 " + guilds + L" 个" + kDetected);
        desk::ChooseComboItem(story.Child(kTargetCombo), target);
        const desk::MessageBoxView box = story.PressForBox(kRepairAllButton);
        CHECK(box.title == L"确认批量修复全部重复 ID");
        CHECK(box.text == L"即将批量修复全部重复角色和行会 ID。\n\n目标库：" +
                              (target == 1 ? story.zones.B() : story.zones.A()) + L"\n重复角色数量：" +
                              roles + L"\n重复行会数量：" + guilds + L"\n关联字段命中行数：" + hits +
                              L"\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
                              L"并在目标库的主表及关联字段中同步替换。\n"
                              L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？");
        CHECK((GetWindow(box.window, GW_OWNER) == story.window && desk::LooksYellow(box.icon)));
        CHECK(story.Off() == kEveryButton);
        desk::Answer(box, IDYES);
        const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
        CHECK(done.title + done.text == L"批量修复完成批量修复完成，事务已提交。程序将重新检测两个库。");
        CHECK((done.hasIcon && !desk::LooksYellow(done.icon) && done.buttons.size() == 1));
        desk::Answer(done, IDOK);
        story.WaitForStatus(L"分析完成：重复角色 0 个，重复行会 0 个" + kDetected);
        CHECK(story.Off().empty());
        CHECK(desk::ListRowCount(story.Child(kRoleList)) + desk::ListRowCount(story.Child(kGuildList)) == 0);
    };
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
                key != 0 ? desk::AnswerByKey(box, static_cast<WORD>(key)) : desk::AnswerByCloseBox(box);
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
    const HCURSOR arrow = desk::Cursor();
    const OdbcSession other = Connect(story.zones.B());
    std::string before = desk::Pixels(story.Child(kRepairStatus));
    const auto works = [&](const std::wstring& status, const std::string& off) {
        desk::WaitUntil(WideToUtf8(status), [&] {
            return desk::ShownText(story.Child(kRepairStatus)) == status && story.Off() == off &&
                   desk::Cursor() != arrow &&
                   (status.empty() || desk::Pixels(story.Child(kRepairStatus)) != before);
        });
    };
    const auto ends = [&](const std::wstring& status) {
        desk::WaitUntil(WideToUtf8(status), [&] {
            return story.Status().starts_with(status) && story.Off().empty() && desk::Cursor() == arrow;
        });
        desk::SetText(story.Child(kRepairStatus), L"");
        before = desk::Pixels(story.Child(kRepairStatus));
    };
    const char slow[] = "slow\tconnect\t1\t1000\n";
    const auto pressSlowly = [&](int button, const std::wstring& status, const std::string& off) {
        const Faults faults(slow);
        desk::PressWithoutWaiting(story.Child(button));
        works(status, off);
    };
    // Answers Yes while another connection keeps the repair waiting.
    const auto repairSlowly = [&](const desk::MessageBoxView& box, const std::wstring& status) {
        CHECK(desk::Cursor() == arrow);
        BeginTransaction(other.Connection());
        RunSql(other, {L"UPDATE TBL_CHARACTER SET FLD_ACCOUNT = FLD_ACCOUNT"});
        desk::Answer(box, IDYES);
        works(status, kEveryButton);
        RollbackTransaction(other.Connection());
        desk::Answer(desk::WaitForMessageBox(story.window), IDOK);
        ends(L"分析完成：");
    };
    pressSlowly(kDetectButton, L"正在连接并分析两个数据库，请稍候...", kEveryButton);
    ends(L"分析完成：");
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    pressSlowly(kAnalyzeButton, L"正在分析目标库中这个角色的关联字段...", "3011 3013 3016 ");
    ends(L"目标库关联字段 12 个");
    pressSlowly(kRepairButton, L"", "");
    repairSlowly(desk::WaitForMessageBox(story.window), L"正在事务中修复，请不要关闭窗口...");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    pressSlowly(kRepairAllButton, L"正在自动分析所有重复角色及关联字段，请稍候...", kEveryButton);
    repairSlowly(desk::WaitForMessageBox(story.window), L"正在事务中批量修复，请不要关闭窗口...");
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
    int tables = 0;
    struct Row {
        int button;
        std::wstring table, rows, state;
    };
    const std::wstring one = L"修复失败，已尝试回滚：", all = L"批量修复失败，已尝试回滚：";
    for (const Row& row : {Row{kRepairAllButton, L"sGuildID nvarchar(20)", L"(1, N'{BBBB}')", L"22001: "},
                           Row{kRepairButton, L"UserID varchar(4)", L"(1, '1001')", L"22001: "},
                           Row{kRepairAllButton, L"UserID varchar(4)", L"(1, '1001')", L"22001: "},
                           Row{kRepairButton, L"UserID varchar(9) NOT NULL PRIMARY KEY",
                               L"(1, '1001'), (2, '200001')", L"23000: "}}) {
        CAPTURE(row.table);
        const std::wstring table = L"TBL_STRICT" + std::to_wstring(++tables);
        RunSql(b, {L"CREATE TABLE " + table + L" (n int, " + row.table + L")",
                   L"INSERT INTO " + table + L" VALUES " + row.rows});
        const AllContents before = story.zones.Contents();
        story.Detect();
        desk::SelectListRow(story.Child(kRoleList), 1);
        desk::ChooseComboItem(story.Child(kTargetCombo), 1);
        desk::SetText(story.Child(kNewIdEdit), L"200001");
        desk::Answer(story.PressForBox(row.button), IDYES);
        const std::wstring status = (row.button == kRepairButton ? one : all) + row.state;
        desk::WaitUntil(WideToUtf8(status), [&] { return story.Status().starts_with(status); });
        CHECK(story.Status().size() > status.size() + 20);
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
