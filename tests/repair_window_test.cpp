#include "support/desk_fixture.h"

namespace {

using Texts = std::vector<std::wstring>;
const std::wstring kEveryButton = L"detect analyse repair batch ";
constexpr wchar_t kOneTitle[] = L"确认修复角色唯一 ID", kBatchTitle[] = L"确认批量修复全部重复 ID";
constexpr wchar_t kOneFailed[] = L"修复失败，已尝试回滚：", kBatchFailed[] = L"批量修复失败，已尝试回滚：";

std::wstring Detected(size_t roles, size_t guilds) {
    return L"分析完成：重复角色 " + std::to_wstring(roles) + L" 个，重复行会 " + std::to_wstring(guilds) +
           L" 个。默认未修改数据库。请选择目标库后可批量修复。";
}

std::wstring Analysed(References references) {
    return L"目标库关联字段 " + std::to_wstring(references.columns) + L" 个，命中总行数 " +
           std::to_wstring(references.rows) + L"；建议新 ID 已填入，确认目标库后才可执行修复。";
}

std::wstring OneQuestion(const std::wstring& target, const wchar_t* oldId, const wchar_t* newId,
                         References references) {
    return L"即将修改数据库：" + target + L"\n旧 ID：" + oldId + L"\n新 ID：" + newId + L"\n关联字段：" +
           std::to_wstring(references.columns) + L" 个，预计更新 " + std::to_wstring(references.rows) +
           L" 行。\n\n此操作会写入数据库，确认继续吗？";
}

std::wstring BatchQuestion(const std::wstring& target, size_t roles, size_t guilds, size_t rows) {
    return L"即将批量修复全部重复角色和行会 ID。\n\n目标库：" + target + L"\n重复角色数量：" +
           std::to_wstring(roles) + L"\n重复行会数量：" + std::to_wstring(guilds) + L"\n关联字段命中行数：" +
           std::to_wstring(rows) +
           L"\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
           L"并在目标库的主表及关联字段中同步替换。\n"
           L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？";
}

// Presses a button that repairs and answers its question with Yes and its notice with OK.
void Repair(const RepairDesk& story, int button, const std::wstring& question, const std::wstring& notice) {
    const desk::MessageBoxView box = story.PressForBox(button);
    CHECK(box.title == (button == kRepairButton ? kOneTitle : kBatchTitle));
    CHECK(box.text == question);
    desk::WaitUntil("a warning", [&] { return desk::Yellowness(box.icon) > 0; });
    desk::Answer(box, IDYES);
    const desk::MessageBoxView end = desk::WaitForMessageBox(story.window);
    CHECK(end.title + L"|" + end.text == notice);
    CHECK(end.buttons.size() == 1);
    desk::WaitUntil("an information", [&] { return desk::Yellowness(end.icon) < 0; });
    CHECK(story.Off() == kEveryButton);
    desk::Answer(end, IDOK);
}

void RepairOne(const RepairDesk& story, const std::wstring& question) {
    Repair(story, kRepairButton, question,
           L"修复完成|修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。");
}

void RepairAll(const RepairDesk& story, const std::wstring& question) {
    Repair(story, kRepairAllButton, question,
           L"批量修复完成|批量修复完成，事务已提交。程序将重新检测两个库。");
}

// The selected ID, its new one and the number of fields: what an analysis fills in.
std::wstring Filled(const RepairDesk& story) {
    return story.Text(kSelectedIdEdit) + L"," + story.Text(kNewIdEdit) + L"," +
           std::to_wstring(desk::ListRowCount(story.Child(kFieldList)));
}

std::vector<std::wstring> FirstCells(HWND list) {
    std::vector<std::wstring> cells;
    for (const auto& row : desk::ListRows(list)) cells.push_back(row[0]);
    return cells;
}

}  // namespace

TEST_CASE("without a selection or a detection an action is refused") {
    const RepairDesk story;
    for (const auto& [button, status] :
         {std::pair(kAnalyzeButton, L"请先在重复列表中选择一个角色。"),
          {kRepairButton, L"请先在重复列表中选择一个角色。"},
          {kRepairAllButton, L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。"}}) {
        story.Press(button);
        CHECK(story.Status() == status);
    }
}

TEST_CASE("a detection lists the duplicates and what can be repaired") {
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList), guilds = story.Child(kGuildList);
    desk::BringToFront(story.window);
    const std::string blank = desk::Pixels(roles);
    story.Detect();
    CHECK(story.Status() == Detected(kDuplicateRoles, kDuplicateGuilds));
    desk::WaitUntil("painted rows", [&] { return desk::Pixels(roles) != blank; });
    CHECK(FirstCells(roles) == Texts{L"0012", L"1001", L"1002", L"77"});
    CHECK(desk::ListRows(roles).at(1) == Texts{L"1001", L"张三", L"李四", L"zhang", L"li"});
    CHECK(FirstCells(guilds) == Texts{L"{A'1}", L"{BBBB}"});
    CHECK(desk::ListRows(guilds).at(1) == Texts{L"{BBBB}", L"青龙会", L"白虎会"});
    CHECK(desk::ComboItems(story.Child(kTargetCombo)) == Texts{story.zones.A(), story.zones.B()});
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
}

TEST_CASE("an analysis fills in what a selection and a detection take away") {
    const RepairDesk story;
    const HWND roles = story.Child(kRoleList);
    story.Detect();
    desk::SelectListRow(roles, 1);
    CHECK(Filled(story) == L"1001,,0");
    CHECK(story.Status() == L"已选择重复 ID，请点击“分析选中 ID”。");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    desk::SetText(story.Child(kSelectedIdEdit), L"");
    story.Press(kAnalyzeButton);
    CHECK(story.Status() == Analysed(kRole1001));
    const std::wstring filled = L"1001,100235," + std::to_wstring(kRole1001.columns);
    CHECK(Filled(story) == filled);
    CHECK(desk::ListRows(story.Child(kFieldList)).at(7) ==
          Texts{L"mail.信件", L"收件ROLEID", L"nvarchar", L"6"});
    desk::SelectListRow(story.Child(kGuildList), 1);
    desk::SelectListRow(story.Child(kFieldList), 1);
    CHECK(Filled(story) == filled);
    CHECK(story.Status() == Analysed(kRole1001));
    desk::SelectListRow(roles, 2);
    CHECK(Filled(story) == L"1002,,0");
    story.Press(kAnalyzeButton);
    CHECK(Filled(story) == L"1002,100235," + std::to_wstring(kRole1002.columns));
    story.Detect();
    CHECK(Filled(story) == L",,0");
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    CHECK(desk::ComboItems(story.Child(kTargetCombo)).size() == 2);
}

TEST_CASE("what has changed on the server since it was shown is refused and left as it is") {
    const RepairDesk story;
    const std::wstring set = L"UPDATE TBL_CHARACTER SET FLD_USERID = ",
                       now = L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录";
    for (const auto& [change, zone, row, changed, back] :
         {std::tuple("gone from A", story.zones.A(), L" WHERE n = 1", L"'5'", L"'1001'"),
          {"twice in B", story.zones.B(), L" WHERE n = 7", L"'1001'", L"'3001'"},
          {"gone from B", story.zones.B(), L" WHERE n = 1", L"NULL", L"'1001'"}}) {
        for (const auto& [button, status] :
             {std::pair(kAnalyzeButton, L"分析失败：" + now),
              {kRepairButton, kOneFailed + now},
              {kRepairAllButton,
               kBatchFailed + std::wstring(L"重复 ID 在两个库中不再各有且只有一条主表记录：1001")}}) {
            CAPTURE(change);
            CAPTURE(button);
            story.DetectAndSelect();
            desk::SetText(story.Child(kNewIdEdit), L"200001");
            RunSql(Connect(zone), {set + changed + row});
            const AllContents before = story.zones.Contents();
            desk::PressWithoutWaiting(story.Child(button));
            story.WaitForStatus(status);  // and no question
            CHECK(story.Off() == L"");
            CHECK(story.zones.ChangeSince(before) == L"");
            RunSql(Connect(zone), {set + back + row});
        }
    }
}

// Roles of a new pair of zones are stored and shown no more than the guilds of the pair before.
struct HalfDetected : RepairDesk {
    HalfDetected() {
        RunSql(Connect(zones.Third()), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (2, '1002')"});
        Detect();
        desk::SetText(Child(kDatabaseBEdit), zones.Third());
        const Faults noGuilds("execute\t'TBL_GUILD_INFO'\t1\tHY000\t1\tx\n");
        Press(kDetectButton);
        CHECK(Status() == L"检测失败：HY000: x");
    }
};

TEST_CASE("after half a detection a row stands for what is stored") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const HalfDetected story;
    const AllContents before = story.zones.Contents();
    desk::SelectListRow(story.Child(kRoleList), 1);  // one role alone is stored
    story.Press(kRepairButton);
    CHECK(story.Status() == L"请先在重复列表中选择一个角色。");
    desk::SelectListRow(story.Child(kRoleList), 0);
    CHECK(FirstCells(story.Child(kRoleList)).at(0) == L"0012");
    CHECK(story.Text(kSelectedIdEdit) == L"1002");
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    const desk::MessageBoxView question = story.PressForBox(kRepairButton);
    CHECK(question.text == OneQuestion(story.zones.Third(), L"1002", L"200001", {1, 1}));
    desk::Answer(question, IDNO);
    CHECK(story.zones.ChangeSince(before) == L"");
}

TEST_CASE("after half a detection the batch repairs what is stored and no more") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const HalfDetected story;
    const std::wstring& b = story.zones.B();
    desk::SetText(story.Child(kDatabaseBEdit), b);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    // Duplicates that no detection has found stay.
    RunSql(Connect(story.zones.A()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = '12x' WHERE n = 5",
                                      L"UPDATE TBL_GUILD_INFO SET sGuildID = N'{ONLY-B}' WHERE n = 3"});
    const Content before = ContentOf(b);
    constexpr size_t kStored = kRole1002.rows + kAllGuilds.rows;
    RepairAll(story, BatchQuestion(b, 1, kDuplicateGuilds, kStored));
    story.WaitForStatus(Detected(kDuplicateRoles - 1 + 1, 1));
    CHECK(Difference(before, ContentOf(b)).size() == kStored);
}

TEST_CASE("a new ID that is malformed unchanged or taken is refused before the question") {
    const RepairDesk story;
    story.DetectAndSelect();
    for (const auto& [newId, refused] : {std::pair(L"", std::wstring(L"新角色唯一 ID必须是纯数字唯一 ID")),
                                         {L"1001", L"新旧角色唯一 ID 不能相同"},
                                         {L"100234", L"新 ID 已存在于数据库：" + story.zones.Third()}}) {
        desk::SetText(story.Child(kNewIdEdit), newId);
        story.Press(kRepairButton);
        CHECK(story.Status() == kOneFailed + refused);
    }
}

TEST_CASE("one ID is repaired after a question and then everything is detected again") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    desk::SetText(story.Child(kNewIdEdit), L"2001");
    RepairOne(story, OneQuestion(story.zones.B(), L"1001", L"2001", kRole1001));
    story.WaitForStatus(Detected(kDuplicateRoles - 1, kDuplicateGuilds));
    CHECK(story.Off() == L"");
    CHECK(desk::ComboSelection(story.Child(kTargetCombo)) == 0);
    const Content changed = Difference(before.b, story.zones.Contents().b);
    CHECK(changed.size() == kRole1001.rows);
    for (const auto& [cell, value] : changed) {
        CAPTURE(cell);
        CHECK(Trim(before.b.at(cell)) == L"1001");
        CHECK(Trim(value) == L"2001");
    }
}

TEST_CASE("guilds alone are repaired and in the first zone as well") {
    const RepairDesk story;
    const std::wstring& a = story.zones.A();
    RunSql(Connect(a), {L"UPDATE TBL_CHARACTER SET FLD_USERID = NULL"});
    const AllContents before = story.zones.Contents();
    story.Detect();
    CHECK(story.Status() == Detected(0, kDuplicateGuilds));
    RepairAll(story, BatchQuestion(a, 0, kDuplicateGuilds, kDuplicateGuilds));
    story.WaitForStatus(Detected(0, 0));
    CHECK(story.Off() == L"");
    const AllContents after = story.zones.Contents();
    CHECK(after.b == before.b);
    CHECK(Difference(before.a, after.a).size() == kDuplicateGuilds);
}

TEST_CASE("Enter Escape and the close box answer No") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    for (const auto& [button, status] : {std::pair(kRepairButton, L"已取消修复，数据库未修改。"),
                                         {kRepairAllButton, L"已取消批量修复，数据库未修改。"}}) {
        for (const auto& [name, key] : {std::pair("Enter", VK_RETURN), {"Escape", VK_ESCAPE}, {"×", 0}}) {
            CAPTURE(button);
            CAPTURE(name);
            const desk::MessageBoxView box = story.PressForBox(button);
            CHECK(box.defaultButton == IDNO);
            CHECK(box.buttons.size() == 2);
            const bool gone =
                key ? desk::AnswerByKey(box, static_cast<WORD>(key)) : desk::AnswerByCloseBox(box);
            if (key == VK_RETURN) CHECK(gone);
            if (!gone) desk::Answer(box, IDNO);  // Windows: a question without Cancel ignores the other two
            story.WaitForStatus(status);
            CHECK(story.Off() == L"");
        }
    }
    CHECK(story.zones.ChangeSince(before) == L"");
}

TEST_CASE("closing the program over a question answers nothing") {
    const RepairDesk story;
    const AllContents before = story.zones.Contents();
    story.DetectAndSelect();
    story.PressForBox(kRepairAllButton);
    desk::Close(story.desk.window);
    CHECK(story.desk.tool->WaitForEnd() == 0);
    CHECK(story.zones.ChangeSince(before) == L"");
}

// What a person sees: the buttons that are off, the pointer and the status.
struct Watched : RepairDesk {
    const HWND line = Child(kRepairStatus);
    const HCURSOR arrow = ClickForArrow(window);

    std::wstring Seen() const {
        return Off() + (desk::Cursor() == arrow ? L"arrow " : L"wait ") + desk::ShownText(line);
    }
    /// Presses under a slow server until the action is seen.
    void See(HWND button, const std::wstring& expected) const {
        desk::SetText(line, L"");
        const Faults untilSeen(kSlowServer);
        desk::PressWithoutWaiting(button);
        desk::WaitFor("what is seen to be", expected, [&] { return Seen(); });
    }
    void WaitForEnd(const std::wstring& status) const {
        desk::WaitFor("what is seen to be", L"arrow " + status, [&] { return Seen(); });
    }
};

TEST_CASE("a detection and an analysis tell what they do and take buttons away while they work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const Watched story;
    desk::SetText(story.Child(kDatabaseBEdit), story.zones.B());
    story.See(story.Child(kDetectButton), kEveryButton + L"wait 正在连接并分析两个数据库，请稍候...");
    story.WaitForEnd(Detected(kDuplicateRoles, kDuplicateGuilds));
    desk::SelectListRow(story.Child(kRoleList), 1);
    desk::ChooseComboItem(story.Child(kTargetCombo), 1);
    story.See(story.Child(kAnalyzeButton),
              L"analyse repair batch wait 正在分析目标库中这个角色的关联字段...");
    story.WaitForEnd(Analysed(kRole1001));
}

TEST_CASE("each repair tells what it does reads on master and writes on a connection to its target") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const Watched story;
    story.DetectAndSelect();
    desk::SetText(story.Child(kNewIdEdit), L"200001");
    const std::wstring b = story.zones.B() + L" ",
                       connections = L"connect master connect " + b + L"manual " + b + L"connect master ";
    for (const auto& [button, planning, repairing, detected] :
         {std::tuple(kRepairButton, std::wstring(L"wait "), L"正在事务中修复，请不要关闭窗口...",
                     Detected(kDuplicateRoles - 1, kDuplicateGuilds)),
          {kRepairAllButton, kEveryButton + L"wait 正在自动分析所有重复角色及关联字段，请稍候...",
           L"正在事务中批量修复，请不要关闭窗口...", Detected(0, 0)}}) {
        CAPTURE(button);
        const Trace trace;
        desk::ChooseComboItem(story.Child(kTargetCombo), 1);
        story.See(story.Child(button), planning);
        const desk::MessageBoxView question = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == story.arrow);
        story.See(desk::Child(question.window, IDYES), kEveryButton + L"wait " + repairing);
        const desk::MessageBoxView done = desk::WaitForMessageBox(story.window);
        CHECK(desk::Cursor() == story.arrow);
        desk::Answer(done, IDOK);
        story.WaitForEnd(detected);
        std::wstring used;
        for (const std::wstring& event : trace.Events())
            if (event.starts_with(L"connect ") || event.starts_with(L"manual ")) used += event + L" ";
        CHECK(used == connections);
    }
}

TEST_CASE("what the server refuses inside a repair reaches the status line and changes nothing") {
    const RepairDesk story;
    // A column too short for the new ID and one that holds each ID once; the last table is the first to be
    // written.
    for (const auto& [name, button, sql, status] :
         {std::tuple("too short", kRepairAllButton,
                     L"CREATE TABLE c (n int, sGuildID nvarchar(20)); INSERT INTO c (n, sGuildID) VALUES (1, "
                     L"N'{BBBB}')",
                     kBatchFailed + std::wstring(L"22001: ")),
          {"not unique", kRepairButton,
           L"CREATE TABLE b (n int, UserID varchar(9) PRIMARY KEY); INSERT INTO b (n, UserID) VALUES (1, "
           L"'1001'), (2, '200001')",
           kOneFailed + std::wstring(L"23000: ")}}) {
        CAPTURE(name);
        RunSql(Connect(story.zones.B()), {sql});
        const AllContents before = story.zones.Contents();
        story.DetectAndSelect();
        desk::SetText(story.Child(kNewIdEdit), L"200001");
        desk::Answer(story.PressForBox(button), IDYES);
        const std::wstring expected = status;
        desk::WaitFor("the status to begin with", expected,
                      [&] { return story.Status().substr(0, expected.size()); });
        CHECK(story.Off() == L"");
        CHECK(story.zones.ChangeSince(before) == L"");
    }
}
